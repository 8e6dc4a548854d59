#pragma once
// Read-only view of a text.

#include <climits>

class KLTastr;

// A pointer to characters that somebody else owns, and their count. Cheap to copy and to
// pass; valid as long as the characters are. Implicit from `const char*`, so that every
// operation below takes a literal too.
//
// Texts are Latin-1: every byte is a character. NUL is not a character of a text; it ends
// it. Characters come and go as int; of an argument only the low 8 bits count, so that a
// plain char may be passed whatever its sign.
//
// Positions count from 0. A position or count outside the text is never an error: negative
// ones count as 0, ones beyond the end as the end. Searches answer -1 for "not found".
// "Case-insensitive" and the order of characters are those of collation.h.
class KLTastrc {
public:
    // Views characters in place, without a copy, and counts them. Null or "" gives the
    // shared empty text, length 0.
    KLTastrc(const char* characters = nullptr);
    KLTastrc(const KLTastrc&) = default;
    KLTastrc& operator=(const KLTastrc&) = default;
    virtual ~KLTastrc() = default;

    // The characters, NUL-terminated; never null.
    const char* text() const { return text_; }
    // Their number, as counted when the view was made.
    int length() const { return length_; }
    // Their number counted anew, up to length(): less than length() when the owner of the
    // characters has shortened them since.
    int trueLen() const;
    // The character at a position, 0..255; 0 outside the text.
    int into(int pos) const;

    // Comparison. Order: that of the first two characters that differ, then the shorter
    // text first. -1 before other, 0 equal, 1 behind.

    // The same characters, case counted.
    bool operator==(const KLTastrc& other) const;
    int compare(const KLTastrc& other, bool caseSensitive = true) const;
    // compare() of the first n characters of both.
    int compareLeft(const KLTastrc& other, int n, bool caseSensitive = true) const;
    // Does the text begin (end) with other? The empty text begins and ends every text.
    bool matchLeft(const KLTastrc& other, bool caseSensitive = true) const;
    bool matchRight(const KLTastrc& other, bool caseSensitive = true) const;
    // The first position where the texts differ: the length of the shorter one when the
    // longer begins with it, -1 when they are equal.
    int findDiffPos(const KLTastrc& other, bool caseSensitive = true) const;

    // Searches. Each returns a position or -1.

    // The first occurrence at or behind start. The empty text occurs at every position up
    // to length(), so at start, if that is not beyond the end.
    int findStr(const KLTastrc& other, bool caseSensitive = true, int start = 0) const;
    // The last occurrence that begins at or before start; -1 for a negative start.
    int findRev(const KLTastrc& other, bool caseSensitive = true, int start = INT_MAX) const;
    // As findStr, but only where neither neighbour of the occurrence is a letter, a digit
    // or "_". The empty text is no word.
    int findWord(const KLTastrc& other, bool caseSensitive = true, int start = 0) const;
    // The first character at or behind start that is (Other: is not) in set.
    int findChr(const KLTastrc& set, int start = 0) const;
    int findChrOther(const KLTastrc& set, int start = 0) const;
    // The last character at or before start that is (Other: is not) in set; -1 for a
    // negative start.
    int findChrRev(const KLTastrc& set, int start = INT_MAX) const;
    int findChrOtherRev(const KLTastrc& set, int start = INT_MAX) const;

    // Is there a character of a class asked for? control: 0x01..0x1F and 0x7F..0x9F;
    // blank: the space and the no-break space 0xA0; beyondAscii: 0x80 and up.
    bool hasSpecial(bool control, bool blank, bool beyondAscii) const;
    // Does the text begin with the UTF-8 byte order mark EF BB BF?
    bool hasBOM() const;

    // Numbers: 0, or a code of number.h with the target unchanged. The whole text must be
    // the number: no blanks before or behind it.

    // "-" or "+", then digits of base 2..36 in either case. Base 0 asks for a prefix behind
    // the sign: "#" decimal, "$" hexadecimal, "%" binary, "0x" or "0X" with a digit behind
    // hexadecimal; without a prefix decimal.
    [[nodiscard]] int num(long long& value, int base = 10) const;
    // "-" or "+", digits with or without a "." and an exponent. No "inf", no "nan".
    [[nodiscard]] int num(double& value) const;

    // Parts of the text, each a string of its own.

    // n characters from pos, fewer at the end of the text.
    KLTastr substr(int pos, int n = INT_MAX) const;
    // Exactly n characters: substr(pos, n) with blanks behind it where the text ends.
    KLTastr substrN(int pos, int n) const;
    // The first (last) n characters; all when there are fewer.
    KLTastr left(int n) const;
    KLTastr right(int n) const;
    // From start to the first character of delimiters, which is left out, or to the end.
    KLTastr getUpTo(const KLTastrc& delimiters, int start = 0) const;
    // Without the characters of set at either end.
    KLTastr trimmed(const KLTastrc& set = " \t\r\n") const;
    // On one line: every run of characters of set is one blank; none at either end.
    KLTastr unbreak(const KLTastrc& set = "\r\n") const;

    // The text in UTF-8: characters from 0x80 up take two bytes.
    KLTastr toUTF8() const;
    // In ASCII letters: umlauts as "ae", "Oe", the sharp s as "ss", other letters without
    // their accents, the ligatures and thorn as "AE", "th". Other characters stay.
    KLTastr noUmlauts() const;

    // The upper-case form of a character, 0..255. The sharp s and 0xFF have none and stay.
    static int upper(int c);
    // The classes of a character: bits of KLNlatin1 (latin1.h).
    static int charInfo(int c);

    // Paths. The delimiter is "/"; the examples are for "/usr/lib/a.tar.gz".

    // The directory without a delimiter behind it: "/usr/lib". "/" for a name in the root,
    // "" without a delimiter in the text.
    KLTastr pathGetDir() const;
    // The directory with its delimiter: "/usr/lib/".
    KLTastr pathGetPath() const;
    // What follows the last delimiter: "a.tar.gz", without extension "a.tar".
    KLTastr pathGetName(bool withExtension = true) const;
    // What follows the last "." of the name: "gz". A "." that begins the name begins no
    // extension.
    KLTastr pathGetExt() const;
    // compare() of the directories of two paths.
    int pathCompDir(const KLTastrc& other, bool caseSensitive = true) const;

protected:
    // Views characters whose number is known.
    KLTastrc(const char* characters, int count) : text_(characters), length_(count) {}

    // The shared empty text.
    static const char empty[1];

    const char* text_;
    int length_;
};
