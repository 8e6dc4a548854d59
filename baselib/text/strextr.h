#pragma once
// Takes a text apart, piece by piece.

#include "baselib/text/astr.h"

// A token is a run of characters that are not delimiters; any run of delimiters separates
// two tokens. The object keeps copies of both texts.
//
// Every extract returns 0, or a code of number.h and neither moves on nor changes its
// target: KLTnumberEmpty when there is no token left (also for a text; for a number also when
// the token is a mere sign or prefix), the others when the token is not such a number. What
// isn't a number can thus still be taken as a text.
class KLTstrextr {
public:
    explicit KLTstrextr(const KLTastrc& text, const char* delimiters = " \t\r\n");

    // Moves on to the next token. Returns false when there is none.
    bool skipDelims();

    // The next token, its first maxLength characters (at least one); the rest of it is the
    // token after.
    [[nodiscard]] int extract(KLTastr& token, int maxLength = INT_MAX);
    // What is left of the line, whatever the delimiters, without its end ("\n", "\r\n" or
    // "\r"), and moves on to the next line. Empty at the end of the text.
    KLTastr extractLine();

    [[nodiscard]] int extract(double& value);
    // Base as in KLTastrc::num: 2..36, 0 asks for a prefix.
    [[nodiscard]] int extract(int& value, int base = 10);
    [[nodiscard]] int extract(long& value, int base = 10);
    [[nodiscard]] int extract(unsigned long& value, int base = 10);
    [[nodiscard]] int extract(long long& value, int base = 10);

private:
    struct Token {
        int start; // -1: there is none
        int end;
    };

    Token next() const;
    template <class Number>
    int extractInteger(Number& value, int base);

    KLTastr text_;
    KLTastr delimiters_;
    int position_ = 0;
};
