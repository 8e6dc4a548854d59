#pragma once
// Random changes of a few strings and questions to them, each put to a std::string as well.

#include "choices.h"
#include "latin1_model.h"

#include "baselib/text/astr.h"
#include "baselib/text/collation.h"

#include <array>
#include <utility>

class AstrModel {
public:
    explicit AstrModel(Choices& choices) : choices_(choices) {}

    // Until the choices end. Throws at the first difference.
    void run() {
        static constexpr std::array changes = {&AstrModel::assign,       &AstrModel::move,
                                               &AstrModel::edit,         &AstrModel::turn,
                                               &AstrModel::replaceFirst, &AstrModel::replaceAll};
        while (choices_.left()) {
            Pair& pair = choices_.of(pairs_);
            draw(pair.expected);
            (this->*choices_.of(changes))(pair);
            for (const Pair& each : pairs_)
                compare("the text", each.string, each.expected);
            search(pair, true);
            search(pair, false);
            cut(pair);
        }
    }

private:
    struct Pair {
        KLTastr string;
        std::string expected;
    };

    using Answers = std::initializer_list<std::pair<int, std::size_t>>;

    static constexpr std::size_t none = std::string::npos;

    static std::size_t count(int n) { return static_cast<std::size_t>(std::max(n, 0)); }

    static std::size_t within(int pos, const std::string& text) {
        return std::min(count(pos), text.size());
    }

    static std::string part(const std::string& text, int pos, int n) {
        return text.substr(within(pos, text), count(n));
    }

    static void compare(const char* question, const KLTastr& is, const std::string& expected) {
        is.checkKrnl2(__LINE__);
        require(is == expected.c_str(), question + (" is not \"" + expected) + '"');
    }

    // Pairs of what the string answered and what is right.
    static void compare(const std::string& text, Answers answers) {
        int number = 0;
        for (const auto& [is, expected] : answers) {
            const std::string answer = "answer " + std::to_string(++number);
            require(is == static_cast<int>(expected), answer + " about \"" + text + '"');
        }
    }

    // A position or a count, inside the text or somewhat or far outside.
    int place(const std::string& text) {
        const int end = static_cast<int>(text.size()) + 4;
        const int drawn = choices_.between(-4, end);
        return drawn == -4 ? INT_MIN : drawn == end ? INT_MAX : drawn;
    }

    void draw(const std::string& text) {
        static const std::string characters = "abcAB_ /\xE4\xC4\xDF";
        pos_ = place(text);
        n_ = place(text);
        few_ = choices_.between(-2, 20);
        c_ = choices_.of(characters);
        to_ = choices_.below(4) ? choices_.of(characters) : '\0';
        substitute_ = choices_.text(characters, 3);
        word_ = choices_.below(2) ? choices_.text(characters, 3) : part(text, pos_, n_);
        if (choices_.below(2)) word_ = changed(word_, upper);
    }

    // The string; it shares its node now and then.
    KLTastr& string(Pair& p) {
        if (choices_.below(2)) pairs_.back() = p;
        return p.string;
    }

    // Does to the other text what was done to the string: another part in place of one.
    static void follow(const KLTastr&, std::string& text, int pos, int n, const std::string& by) {
        text.replace(within(pos, text), count(n), by);
    }

    void assign(Pair& p) {
        const Pair other = choices_.of(pairs_);
        choices_.below(2) ? p.string.assign(other.string, pos_, n_)
                          : p.string.assign(other.string.text(), pos_, n_);
        p.expected = part(other.expected, pos_, n_);
    }

    void move(Pair& p) {
        Pair& other = choices_.of(pairs_);
        p.string = std::move(other.string);
        p.expected = std::exchange(other.expected, {});
    }

    void edit(Pair& p) {
        KLTastr& s = p.string;
        std::string& text = p.expected;
        if (text.size() > 300) follow(few_ > 0 ? s.clr() : s.erase(), text, 0, INT_MAX, "");
        const std::size_t start = within(pos_, text);
        follow(string(p).append(s.text() + start, n_), text, INT_MAX, 0, part(text, pos_, n_));
        follow(string(p).append(word_.c_str()), text, INT_MAX, 0, word_);
        const std::string fill(count(few_), c_);
        follow(string(p).append(c_, few_), text, INT_MAX, 0, fill);
        follow(string(p).insert2(pos_, c_, few_), text, pos_, 0, fill);
        follow(string(p).replace(pos_, n_, word_.c_str()), text, pos_, n_, word_);
        const KLTastrc own(s.text() + within(n_, text));
        follow(string(p).replace(few_, pos_, own), text, few_, pos_, part(text, n_, INT_MAX));
        follow(string(p).delN(pos_, few_), text, pos_, few_, "");
        follow(string(p).delRange(few_, n_), text, few_, std::max(n_, 0) - std::max(few_, 0), "");
        string(p).dellast(n_);
        text.resize(text.size() - within(n_, text));
    }

    void turn(Pair& p) {
        few_ % 2 ? string(p).toUpper() : string(p).toLower();
        p.expected = changed(p.expected, few_ % 2 ? upper : lower);
        string(p).reverse();
        std::reverse(p.expected.begin(), p.expected.end());
        string(p).cleanCopy(few_ < 0 ? INT_MIN : 9 * few_);
    }

    void replaceFirst(Pair& p) {
        const bool exact = choices_.below(2);
        const std::size_t found = ranks(p.expected, exact).find(ranks(word_, exact), count(pos_));
        const int pos = string(p).replaceFirst(word_.c_str(), substitute_.c_str(), exact, pos_);
        compare(p.expected, {{pos, word_.empty() ? none : found}});
        if (pos >= 0) p.expected.replace(found, word_.size(), substitute_);
    }

    void replaceAll(Pair& p) {
        std::string& text = p.expected;
        const int words = string(p).replaceAll(word_.c_str(), substitute_.c_str());
        std::size_t replaced = 0;
        for (std::size_t pos = text.find(word_); pos != none && !word_.empty(); ++replaced) {
            text.replace(pos, word_.size(), substitute_);
            pos = text.find(word_, pos + substitute_.size());
        }
        compare(text, {{words, replaced}});
        const KLTastrc set(few_ % 2 ? p.string.text() + text.size() / 2 : word_.c_str());
        const std::string setText = set.text();
        const int characters = string(p).replaceAll(set, to_);
        compare(text, {{characters, replaceCharacters(text, setText, to_)}});
        string(p).replace(c_, to_);
        replaceCharacters(text, {c_}, to_);
    }

    static std::size_t replaceCharacters(std::string& text, const std::string& set, char to) {
        const auto isIn = [&set](char c) { return set.find(c) != none; };
        const auto replaced = std::count_if(text.begin(), text.end(), isIn);
        std::replace_if(text.begin(), text.end(), isIn, to);
        std::erase(text, '\0');
        return static_cast<std::size_t>(replaced);
    }

    // Texts compare as the ranks of their characters do.
    static std::string ranks(const std::string& text, bool exact) {
        return changed(exact ? text : changed(text, lower), KLNcollation::rank);
    }

    static std::size_t order(const std::string& a, const std::string& b) {
        return static_cast<std::size_t>((a > b) - (a < b));
    }

    std::size_t wordIn(const std::string& text, const std::string& ranked,
                       const std::string& word) const {
        const auto isLetter = [&text](std::size_t pos) {
            const char c = pos < text.size() ? text[pos] : ' ';
            return c == '_' || iswalnum_l(static_cast<unsigned char>(c), unicode());
        };
        std::size_t pos = ranked.find(word, count(pos_));
        while (pos != none && (isLetter(pos - 1) || isLetter(pos + word.size())))
            pos = ranked.find(word, pos + 1);
        return word.empty() ? none : pos;
    }

    void search(const Pair& p, bool exact) const {
        const KLTastr& s = p.string;
        const KLTastrc w(word_.c_str());
        const std::string text = ranks(p.expected, exact);
        const std::string word = ranks(word_, exact);
        const std::size_t last = pos_ < 0 ? none : text.rfind(word, count(pos_));
        const auto same = std::mismatch(text.begin(), text.end(), word.begin(), word.end()).first;
        const auto common = static_cast<std::size_t>(same - text.begin());
        const std::size_t partial = order(part(text, 0, n_), part(word, 0, n_));
        compare(p.expected, {{s.findStr(w, exact, pos_), text.find(word, count(pos_))},
                             {s.findRev(w, exact, pos_), last},
                             {s.findWord(w, exact, pos_), wordIn(p.expected, text, word)},
                             {s.compare(w, exact), order(text, word)},
                             {s.compareLeft(w, n_, exact), partial},
                             {s.matchLeft(w, exact), text.starts_with(word)},
                             {s.matchRight(w, exact), text.ends_with(word)},
                             {s.findDiffPos(w, exact), text == word ? none : common}});
    }

    void cut(const Pair& p) const {
        const KLTastr& s = p.string;
        const KLTastrc set(word_.c_str());
        const std::string& text = p.expected;
        const std::size_t start = within(pos_, text);
        const std::size_t first = text.find_first_of(word_, start);
        const std::size_t firstOther = text.find_first_not_of(word_, start);
        const std::size_t last = pos_ < 0 ? none : text.find_last_of(word_, start);
        const std::size_t lastOther = pos_ < 0 ? none : text.find_last_not_of(word_, start);
        const bool isInside = pos_ >= 0 && start < text.size();
        compare(text, {{s.findChr(set, pos_), first},
                       {s.findChrOther(set, pos_), firstOther},
                       {s.findChrRev(set, pos_), last},
                       {s.findChrOtherRev(set, pos_), lastOther},
                       {s.into(pos_), isInside ? text[start] & 0xFFU : 0},
                       {s == set, text == word_}});
        std::string filled = part(text, pos_, few_);
        filled.resize(count(few_), ' ');
        compare("substrN", s.substrN(pos_, few_), filled);
        compare("substr", s.substr(pos_, n_), part(text, pos_, n_));
        compare("left", s.left(n_), part(text, 0, n_));
        compare("right", s.right(n_), text.substr(text.size() - within(n_, text)));
        compare("getUpTo", s.getUpTo(set, pos_), text.substr(start, first - start));
    }

    Choices& choices_;
    std::array<Pair, 3> pairs_;
    int pos_ = 0, n_ = 0, few_ = 0;
    char c_ = 0, to_ = 0;
    std::string word_, substitute_;
};
