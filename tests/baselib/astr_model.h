#pragma once
// Random changes of a few strings, each done to a std::string as well.

#include "baselib/text/astr.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

inline std::string characters(const KLTastrc& text) {
    return {text.text(), static_cast<std::size_t>(text.length())};
}

// Next gives the next random number, 0 up to but not including its argument.
template <class Next>
class AstrModel {
public:
    explicit AstrModel(Next next) : next_(next) {}

    // One change of one string. False when a string differs from its counterpart; throws
    // when a string is inconsistent.
    bool step() {
        static constexpr std::array changes = {
            &AstrModel::assignPart, &AstrModel::assignView, &AstrModel::share,
            &AstrModel::move,       &AstrModel::append,     &AstrModel::appendOwn,
            &AstrModel::appendFill, &AstrModel::insert,     &AstrModel::replacePart,
            &AstrModel::replaceOwn, &AstrModel::replaceOne, &AstrModel::replaceFirst,
            &AstrModel::replaceAll, &AstrModel::replaceSet, &AstrModel::deletePart,
            &AstrModel::deleteLast, &AstrModel::changeCase, &AstrModel::reverse,
            &AstrModel::clean,      &AstrModel::clear,
        };
        Pair& pair = any();
        (this->*changes[number(changes.size())])(pair);
        if (pair.expected.size() > longest) deleteAll(pair);
        return std::all_of(pairs_.begin(), pairs_.end(), isSame);
    }

private:
    struct Pair {
        KLTastr string;
        std::string expected;
    };

    static constexpr std::size_t longest = 400;

    static bool isSame(const Pair& pair) {
        pair.string.checkKrnl2(__LINE__);
        return characters(pair.string) == pair.expected;
    }

    std::size_t number(std::size_t limit) { return next_(static_cast<unsigned>(limit)); }
    Pair& any() { return pairs_[number(pairs_.size())]; }
    char character() { return "abcAB_ /\xE4\xC4\xDF"[number(11)]; }

    // A position or a count, also some outside the text.
    int place(const Pair& pair) { return static_cast<int>(number(pair.expected.size() + 7)) - 3; }

    std::string word() {
        std::string result;
        for (auto count = number(4); count > 0; --count)
            result += character();
        return result;
    }

    static std::size_t inside(int pos, const std::string& text) {
        return static_cast<std::size_t>(std::clamp(pos, 0, static_cast<int>(text.size())));
    }

    static std::size_t count(int n) { return static_cast<std::size_t>(std::max(n, 0)); }

    void assignPart(Pair& pair) {
        const Pair& other = any();
        const int pos = place(other);
        const int n = place(other);
        const std::string part = other.expected.substr(inside(pos, other.expected), count(n));
        number(2) ? pair.string.assign(other.string, pos, n)
                  : pair.string.assign(other.string.text(), pos, n);
        pair.expected = part;
    }

    void assignView(Pair& pair) {
        const std::size_t pos = number(pair.expected.size() + 1);
        pair.string = KLTastrc(pair.string.text() + pos);
        pair.expected.erase(0, pos);
    }

    void share(Pair& pair) {
        const Pair& other = any();
        pair.string = other.string;
        pair.expected = other.expected;
    }

    void move(Pair& pair) {
        Pair& other = any();
        if (&other == &pair) return;
        pair.string = std::move(other.string);
        pair.expected = std::exchange(other.expected, {});
    }

    void append(Pair& pair) {
        const Pair& other = any();
        pair.string.append(other.string);
        pair.expected += std::string(other.expected);
    }

    void appendOwn(Pair& pair) {
        const std::size_t pos = number(pair.expected.size() + 1);
        const int n = place(pair);
        pair.string.append(pair.string.text() + pos, n);
        pair.expected += pair.expected.substr(pos, count(n));
    }

    void appendFill(Pair& pair) {
        const char c = character();
        const int n = static_cast<int>(number(50)) - 2;
        pair.string.append(c, n);
        pair.expected.append(count(n), c);
    }

    void insert(Pair& pair) {
        const char c = character();
        const int pos = place(pair);
        const int n = static_cast<int>(number(9)) - 2;
        pair.string.insert2(pos, c, n);
        pair.expected.insert(inside(pos, pair.expected), count(n), c);
    }

    void replacePart(Pair& pair) {
        const std::string source = number(2) ? word() : any().expected;
        const int pos = place(pair);
        const int n = place(pair);
        pair.string.replace(pos, n, source.c_str());
        pair.expected.replace(inside(pos, pair.expected), count(n), source);
    }

    void replaceOwn(Pair& pair) {
        const std::size_t from = number(pair.expected.size() + 1);
        const int pos = place(pair);
        const int n = place(pair);
        const std::string source = pair.expected.substr(from);
        pair.string.replace(pos, n, KLTastrc(pair.string.text() + from));
        pair.expected.replace(inside(pos, pair.expected), count(n), source);
    }

    void replaceOne(Pair& pair) {
        const char from = character();
        const char to = number(4) ? character() : '\0';
        pair.string.replace(from, to);
        replaceCharacters(pair.expected, {from}, to);
    }

    void replaceFirst(Pair& pair) {
        const std::string from = word();
        const std::string to = word();
        const int start = place(pair);
        const int pos = pair.string.replaceFirst(from.c_str(), to.c_str(), true, start);
        const std::size_t expected =
            from.empty() ? std::string::npos : pair.expected.find(from, count(start));
        if (expected != std::string::npos) pair.expected.replace(expected, from.size(), to);
        if (pos != static_cast<int>(expected)) pair.expected = "another position";
    }

    void replaceAll(Pair& pair) {
        const std::string from = word();
        const std::string to = word();
        pair.string.replaceAll(from.c_str(), to.c_str());
        if (from.empty()) return;
        for (std::size_t pos = pair.expected.find(from); pos != std::string::npos;
             pos = pair.expected.find(from, pos + to.size()))
            pair.expected.replace(pos, from.size(), to);
    }

    void replaceSet(Pair& pair) {
        const bool isOwn = number(3) == 0;
        const std::string set = isOwn ? pair.expected : word();
        const char to = number(4) ? character() : '\0';
        isOwn ? pair.string.replaceAll(KLTastrc(pair.string.text()), to)
              : pair.string.replaceAll(set.c_str(), to);
        replaceCharacters(pair.expected, set, to);
    }

    static void replaceCharacters(std::string& text, const std::string& set, char to) {
        const auto isIn = [&set](char c) { return set.find(c) != std::string::npos; };
        if (to)
            std::replace_if(text.begin(), text.end(), isIn, to);
        else
            std::erase_if(text, isIn);
    }

    void deletePart(Pair& pair) {
        const int pos = place(pair);
        const int n = place(pair);
        const bool byRange = number(2) == 0;
        byRange ? pair.string.delRange(pos, n) : pair.string.delN(pos, n);
        const std::size_t start = inside(pos, pair.expected);
        const std::size_t end = inside(n, pair.expected);
        pair.expected.erase(start, !byRange ? count(n) : end > start ? end - start : 0);
    }

    void deleteLast(Pair& pair) {
        const int n = place(pair);
        pair.string.dellast(n);
        pair.expected.resize(pair.expected.size() - inside(n, pair.expected));
    }

    static void deleteAll(Pair& pair) {
        pair.string.dellast(pair.string.length());
        pair.expected.clear();
    }

    void changeCase(Pair& pair) {
        static const std::string upper = "ABC\xC4";
        static const std::string lower = "abc\xE4";
        const bool toUpper = number(2) == 0;
        toUpper ? pair.string.toUpper() : pair.string.toLower();
        for (std::size_t i = 0; i < upper.size(); ++i)
            replaceCharacters(pair.expected, {toUpper ? lower[i] : upper[i]},
                              toUpper ? upper[i] : lower[i]);
    }

    void reverse(Pair& pair) {
        pair.string.reverse();
        std::reverse(pair.expected.begin(), pair.expected.end());
    }

    void clean(Pair& pair) { pair.string.cleanCopy(place(pair) * 2); }

    void clear(Pair& pair) {
        number(2) ? pair.string.clr() : pair.string.erase();
        pair.expected.clear();
    }

    Next next_;
    std::array<Pair, 3> pairs_;
};
