#pragma once
// The command line, its formats read with std::string and strtoll.

#include "choices.h"
#include "latin1_model.h"

#include "baselib/params.h"
#include "baselib/text/astr.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <tuple>
#include <vector>

class ParamsModel {
public:
    ParamsModel(std::vector<const char*> arguments, bool caseSensitive)
        : caseSensitive_(caseSensitive), arguments_(std::move(arguments)),
          marks_(arguments_.size()),
          params_(static_cast<int>(marks_.size()), arguments_.data(), caseSensitive) {}

    // Compares the status, every target and what became of every argument. A format may ask
    // for as many targets as there are.
    void parse(const std::string& format) {
        targets_.fill({});
        expected_.fill({});
        pointers_.fill(nullptr);
        used_ = 0;
        const int expected = statusOf(format);
        const auto parsing = [&](auto... all) {
            return format.size() % 2 ? params_(format.c_str(), all...)
                                     : params_.parse(format.c_str(), all...);
        };
        require(std::apply(parsing, pointers_) == expected, "status of " + format);
        require(targets_ == expected_, "targets of " + format);
        for (std::size_t i = 0; i < marks_.size(); ++i)
            require(params_.used(static_cast<int>(i)) == marks_[i], "marks of " + format);
    }

private:
    // What one pointer behind the format may point to.
    struct Target {
        bool flag = false;
        long number = 7;
        long long longNumber = 7;
        KLTastr text = "before";
        bool operator==(const Target&) const = default;
    };

    // What is expected of the next pointer, which a conversion letter tells the type of.
    Target& next(char letter) {
        Target& target = targets_[used_];
        pointers_[used_] = letter == 's'   ? static_cast<void*>(&target.text)
                           : letter == 'l' ? static_cast<void*>(&target.number)
                           : letter == 'L' ? static_cast<void*>(&target.longNumber)
                                           : &target.flag;
        return expected_[used_++];
    }

    int statusOf(const std::string& format) {
        std::string separators = "%";
        for (char c = 1; c <= 32; ++c)
            separators += c;
        for (std::size_t pos = 0; pos < format.size();) {
            const std::size_t end = format.find_first_of(separators, pos);
            if (end == pos && format[pos] == '%') return KLTparamsNoKeyword;
            if (end == std::string::npos || format[end] != '%') return KLTparamsBadKeyword;
            std::size_t index = find(format.substr(pos, end - pos));
            if (index != 0 && marks_[index] != 0) return KLTparamsUsed;
            marks_[index] = index ? 1 : std::min(marks_[0] + 1, 255);
            const bool wantsMatch = format.compare(end, 2, "%%") == 0;
            const std::size_t letter = end + 1 + wantsMatch;
            if (const int status = convert(format.c_str()[letter], index)) return status;
            if (wantsMatch) next('p').flag = index != 0;
            pos = format.find_first_not_of(separators.substr(1), letter + 1);
        }
        return KLTparamsOk;
    }

    // The first argument that begins with the keyword, or 0.
    std::size_t find(const std::string& keyword) const {
        const auto folded = [this](const std::string& text) {
            return caseSensitive_ ? text : changed(text, lower);
        };
        for (std::size_t index = 1; index < arguments_.size(); ++index)
            if (folded(arguments_[index]).starts_with(folded(keyword))) return index;
        return 0;
    }

    int convert(char letter, std::size_t& index) {
        if (!letter || !std::strchr("PplLs", letter)) return KLTparamsBadLetter;
        Target& target = next(letter);
        target.flag = letter == 'P' ? index == 0 : letter == 'p' && index != 0;
        if (letter == 'P' || letter == 'p' || index == 0) return KLTparamsOk;
        if (index + 1 == arguments_.size()) return KLTparamsNoValue;
        if (marks_[index + 1] != 0) return KLTparamsUsed;
        const char* const text = arguments_[index + 1];
        char* end = nullptr;
        const long long number = std::strtoll(text, &end, 0);
        const bool isTaken = letter == 's' || (end != text && *end == '\0');
        if (isTaken && letter == 's') target.text = text;
        if (isTaken && letter == 'l') target.number = std::strtol(text, &end, 0);
        if (isTaken && letter == 'L') target.longNumber = number;
        marks_[index + 1] = isTaken ? 2 : 0;
        index = isTaken ? index : 0;
        return KLTparamsOk;
    }

    bool caseSensitive_;
    std::vector<const char*> arguments_;
    std::vector<int> marks_;
    KLTparams params_;
    std::array<Target, 16> targets_, expected_;
    std::array<void*, 16> pointers_{};
    std::size_t used_ = 0;
};

inline void compareParams(Choices& choices) {
    static constexpr const char* formats[] = {
        "a%%l ", "a%L ", "b%%s ", "b%s\t", "AB%P\n", "%",     " ",          "\x01",
        "a",     "a%x ", "1%p ",  "c%p ",  "\xC4%p", "b%%L ", "program%p ", "\x80\x7F\"%p"};
    static constexpr const char* words[] = {
        "a", "B", "ab", "A1", "12", "0x1F", "08", "12x", "", "c", "\xE4", "99999999999999999999"};
    std::vector<const char*> arguments{"program"};
    for (int count = choices.below(7); count > 0; --count)
        arguments.push_back(choices.of(words));
    ParamsModel model(arguments, choices.below(2));
    for (int calls = 0; calls < 2; ++calls)
        model.parse(choices.text(formats, 8));
}
