#pragma once
// A text taken apart in any way, piece by piece, compared with std::string.

#include "number_model.h"

#include "baselib/text/strextr.h"

#include <array>

struct StrextrModel {
    std::string text;
    std::string delimiters;
    KLTstrextr extractor{text.c_str(), delimiters.c_str()};
    std::size_t pos = 0;

    std::size_t start() const {
        return std::min(text.find_first_not_of(delimiters, pos), text.size());
    }

    std::string next() const {
        return text.substr(start(), text.find_first_of(delimiters, start()) - start());
    }

    void line(int) {
        const std::string line = text.substr(pos, text.find_first_of("\r\n", pos) - pos);
        pos += line.size();
        pos = std::min(pos + (text.compare(pos, 2, "\r\n") == 0 ? 2 : 1), text.size());
        require(extractor.extractLine() == line.c_str(), "line " + line);
    }

    void skip(int) {
        pos = start();
        require(extractor.skipDelims() == (pos < text.size()), "end of " + text);
    }

    void token(int longest) {
        const std::string wanted = next().substr(0, static_cast<std::size_t>(std::max(longest, 1)));
        KLTastr token;
        const int status = extractor.extract(token, longest);
        require(status == (wanted.empty() ? KLTnumberEmpty : KLTnumberOk), "token " + wanted);
        require(token == wanted.c_str(), "token " + wanted);
        pos = wanted.empty() ? pos : start() + wanted.size();
    }

    template <class Number>
    void number(int base) {
        const Reading<Number> none{KLTnumberEmpty, 0};
        const auto expected = next().empty() ? none : reading<Number>(next(), base);
        compareReading(next(), expected, [&](Number& value) {
            if constexpr (std::is_integral_v<Number>)
                if (base != 10) return extractor.extract(value, base);
            return extractor.extract(value);
        });
        if (expected.first == KLTnumberOk) pos = start() + next().size();
    }
};

inline void compareExtraction(Choices& choices) {
    static const std::string limits[] = {
        "2147483647", "2147483648", "-2147483648", "-2147483649",          "4294967295",
        "4294967296", "-1",         "-0",          "18446744073709551615", "18446744073709551616"};
    using M = StrextrModel;
    static constexpr std::array pieces = {
        &M::line,
        &M::skip,
        &M::token,
        &M::number<double>,
        &M::number<int>,
        &M::number<long>,
        &M::number<unsigned long>,
        &M::number<long long>,
    };
    const std::string separators = choices.text(std::string(" \t\r\n,;1"), 5);
    std::string text;
    for (int count = choices.below(9); count > 0; --count)
        text += choices.text(" \r\n" + separators, 3) +
                (choices.below(4) ? anyNumber(choices, 10) : choices.of(limits));
    M model{text, separators};
    for (int count = 0; count < 50; ++count)
        (model.*choices.of(pieces))(choices.below(2) ? 10 : choices.between(-1, 37));
}
