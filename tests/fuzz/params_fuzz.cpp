// Any format with any arguments, compared with a plain model of the format language: the
// status, every target and what became of every argument.

#include "baselib/params.h"
#include "baselib/text/astr.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t targetCount = 8;

void require(bool condition) {
    if (!condition) std::abort();
}

// What one pointer behind the format may point to.
struct Target {
    bool flag = false;
    long number = 7;
    long long longNumber = 7;
    std::string text = "before";
    bool operator==(const Target&) const = default;
};

using Targets = std::array<Target, targetCount>;
using Arguments = std::vector<std::string>;

enum class Kind { flag, number, longNumber, text };

std::string lower(std::string text) {
    for (char& c : text) {
        const auto code = static_cast<unsigned char>(c);
        if ((c >= 'A' && c <= 'Z') || (code >= 0xC0 && code <= 0xDE && code != 0xD7))
            c = static_cast<char>(code + 0x20);
    }
    return text;
}

struct Model {
    const Arguments& arguments;
    bool caseSensitive;
    Targets targets{};
    std::vector<int> marks = std::vector<int>(arguments.size());
    std::vector<Kind> kinds{}; // of the targets, in the order of the format

    std::size_t find(const std::string& keyword) const {
        const auto begins = [&](const std::string& argument) {
            const std::string start = argument.substr(0, keyword.size());
            return caseSensitive ? start == keyword : lower(start) == lower(keyword);
        };
        const auto found = std::find_if(std::next(arguments.begin()), arguments.end(), begins);
        return found == arguments.end() ? 0 : static_cast<std::size_t>(found - arguments.begin());
    }

    Target& next(Kind kind) {
        static Target spare;
        kinds.push_back(kind);
        return kinds.size() <= targetCount ? targets[kinds.size() - 1] : spare;
    }

    int take(char letter, std::size_t& index) {
        Target& target = next(letter == 's'   ? Kind::text
                              : letter == 'l' ? Kind::number
                                              : Kind::longNumber);
        if (index == 0) return 0;
        if (index + 1 == arguments.size()) return -8844;
        if (marks[index + 1] != 0) return -8842;
        const char* const value = arguments[index + 1].c_str();
        char* end = nullptr;
        const long number = std::strtol(value, &end, 0);
        if (letter != 's' && (end == value || *end != '\0')) {
            index = 0;
            return 0;
        }
        if (letter == 's') target.text = value;
        if (letter == 'l') target.number = number;
        if (letter == 'L') target.longNumber = std::strtoll(value, &end, 0);
        marks[index + 1] = 2;
        return 0;
    }

    int directive(const std::string& keyword, char letter, bool wantsMatch) {
        std::size_t index = find(keyword);
        if (index != 0 && marks[index] != 0) return -8842;
        index == 0 ? marks[0] += !marks.empty() : marks[index] = 1;
        if (letter == '\0' || std::strchr("PplLs", letter) == nullptr) return -8845;
        if (letter == 'P' || letter == 'p')
            next(Kind::flag).flag = (letter == 'p') == (index != 0);
        else if (const int status = take(letter, index))
            return status;
        if (wantsMatch) next(Kind::flag).flag = index != 0;
        return 0;
    }

    int parse(const std::string& format) {
        static const std::string separators =
            "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E\x0F\x10"
            "\x11\x12\x13\x14\x15\x16\x17\x18\x19\x1A\x1B\x1C\x1D\x1E\x1F ";
        std::size_t pos = 0;
        while (pos < format.size()) {
            const std::size_t end = format.find_first_of(separators + "%", pos);
            if (end == pos && format[pos] == '%') return -8846;
            if (end == std::string::npos || format[end] != '%') return -8847;
            const bool wantsMatch = format.compare(end, 2, "%%") == 0;
            const std::size_t letter = end + (wantsMatch ? 2 : 1);
            if (const int status =
                    directive(format.substr(pos, end - pos), format.c_str()[letter], wantsMatch))
                return status;
            pos = std::min(format.find_first_not_of(separators, letter + 1), format.size());
        }
        return 0;
    }
};

// The targets of the parser. Which of each is meant, only the format tells.
struct Real {
    std::array<bool, targetCount> flag{};
    std::array<long, targetCount> number{};
    std::array<long long, targetCount> longNumber{};
    std::array<KLTastr, targetCount> text{};

    Real() {
        number.fill(7);
        longNumber.fill(7);
        text.fill("before");
    }
    void* pointer(std::size_t i, const std::vector<Kind>& kinds) {
        switch (i < kinds.size() ? kinds[i] : Kind::flag) {
        case Kind::flag:
            return &flag[i];
        case Kind::number:
            return &number[i];
        case Kind::longNumber:
            return &longNumber[i];
        default:
            return &text[i];
        }
    }
    Target target(std::size_t i) const {
        return {flag[i], number[i], longNumber[i], text[i].text()};
    }
};

// Pieces that soon make a format and arguments that match it.
constexpr const char* pieces[] = {"a%%l", "a%L",     "b%%s",      "b%p", "ab%P", "%",
                                  " \t",  "program", "program%p", "a",   "B",    "\n",
                                  "\n",   "\n",      "012",       "0xA", "-1"};

std::string build(const std::string& bytes) {
    std::string result;
    for (const char c : bytes)
        result += pieces[static_cast<unsigned char>(c) % std::size(pieces)];
    return result;
}

// The lines of a text: the format, then the arguments.
Arguments lines(const std::string& text) {
    Arguments result(1);
    for (const char c : text) {
        if (c == '\n')
            result.emplace_back();
        else if (c != '\0')
            result.back() += c;
    }
    return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string bytes(data + 1, data + size);
    Arguments arguments = lines((*data & 6) != 0 ? build(bytes) : bytes);
    const std::string format = std::exchange(arguments.front(), "program");
    Model model{arguments, (*data & 1) != 0};
    const int expected = model.parse(format);
    if (model.kinds.size() > targetCount || model.marks[0] > 255) return 0;

    std::vector<const char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(argument.c_str());
    KLTparams params(static_cast<int>(argv.size()), argv.data(), model.caseSensitive);
    Real real;
    const auto at = [&](std::size_t i) { return real.pointer(i, model.kinds); };
    require(params.parse(format.c_str(), at(0), at(1), at(2), at(3), at(4), at(5), at(6), at(7)) ==
            expected);
    for (std::size_t i = 0; i < targetCount; ++i)
        require(real.target(i) == model.targets[i]);
    for (std::size_t i = 0; i < argv.size(); ++i)
        require(params.used(static_cast<int>(i)) == model.marks[i]);
    return 0;
}
