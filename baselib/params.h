#pragma once
// Keywords on the command line.

#include <cstdint>
#include <vector>

class KLTastrc;

// Status of KLTparams::parse.
constexpr int KLTparamsOk = 0;
constexpr int KLTparamsMissing = -8849;      // count negative, or format or vector null
constexpr int KLTparamsNullArgument = -8848; // an entry of the vector is null
constexpr int KLTparamsBadKeyword = -8847;   // blank, control character or the end before "%"
constexpr int KLTparamsNoKeyword = -8846;    // a directive begins with "%"
constexpr int KLTparamsBadLetter = -8845;    // unknown conversion letter
constexpr int KLTparamsNoValue = -8844;      // no argument follows a keyword that needs one
constexpr int KLTparamsUsed = -8842;         // the argument, or its value, is already taken

// Matches keywords against the arguments of a program and stores what it finds through
// pointers, as scanf does. An argument matches a keyword that it begins with; the first
// such argument counts, and each argument is taken once, over all calls of one object.
// Arguments that no keyword matches are ignored.
//
// The format is a row of directives, separated by any characters of codes 1 to 32 and
// not begun by one: a keyword of characters from 33 up, "%", a letter. Per letter, the
// target that its pointer points to:
//   P  bool       true when the keyword matched no argument: "nokeypad%P" gives keypad
//   p  bool       true when it matched
//   l  long       the argument behind, "0x" hexadecimal, leading "0" octal, else decimal;
//   L  long long  beyond the range the nearest limit
//   s  KLTastr    the argument behind
// l, L and s leave their target alone without a match. So do l and L when the value is not
// a number to its last character: the keyword then counts as not matched, and the value
// stays free for other keywords.
// A second "%" ("mode%%s") asks for one more target, a bool: did the keyword match?
//
// A status other than 0 ends the work at the directive that caused it; targets before
// it are written, those from it on are not.
class KLTparams {
public:
    // argv[0] is the program's name and is never matched. The arguments must stay valid.
    // Without case, letters match as in collation.h.
    KLTparams(int argc, const char** argv, bool caseSensitive);
    KLTparams(const KLTparams&) = delete;
    KLTparams& operator=(const KLTparams&) = delete;

    // The arguments behind the format are pointers to the targets, in order; none null.
    // Both the same. The caller may ignore the status.
    int parse(const char* format, ...);
    int operator()(const char* format, ...);

    // What became of argument index: 0 free, 1 taken by a keyword, 2 taken as a value. For
    // index 0 the number of keywords that matched no argument, at most 255. 0 outside.
    int used(int index) const;

private:
    struct Targets;

    int parseAll(const char* format, Targets& targets);
    int parseOne(const char*& format, Targets& targets);
    int match(const KLTastrc& keyword, int& index);
    int find(const KLTastrc& keyword) const;
    int convert(char letter, int& index, Targets& targets);
    template <class Read>
    int takeValue(int& index, Read read);

    int argc_;
    const char** argv_;
    bool caseSensitive_;
    std::vector<uint8_t> used_;
};
