#pragma once
// The string that owns its text.

#include "baselib/text/astrc.h"

#include <cstdint>

// Use of the heap by all strings of the process (KLTastr::info). The counters are kept
// without a common lock: each is exact, two of them read together need not match while
// other threads work.
struct KLTastrInfo {
    int32_t nodesAllocated; // since the start
    int32_t bytesHeld;
    int32_t bytesPeak;
    int32_t nodesLive;
    int32_t nodesPeak;
};

// A text in a heap node that copies share; a string that is about to change takes a node of
// its own first. So a copy costs a pointer and a count, and appending is cheap too: a node
// has room for half as much text again.
//
// The counts are not locked: strings that share a node must stay in one thread. For another
// thread make a copy with a node of its own, KLTastr(static_cast<const KLTastrc&>(text)).
//
// NUL is no character: a source ends at its NUL, adding NUL does nothing, and replacing a
// character by NUL deletes it. Sources may lie inside the string's own text. Positions and
// counts outside the text are cut to it, as in KLTastrc.
//
// Operations that change the string return it, if nothing else is said. All that need room
// throw what `new char[]` throws, std::bad_array_new_length for more than 2,147,483,572
// characters; the string is then as it was.
class KLTastr : public KLTastrc {
public:
    KLTastr();
    KLTastr(const char* source);
    // Copies the text into a node of its own.
    KLTastr(const KLTastrc& source);
    // Shares the node.
    KLTastr(const KLTastr& source);
    // Takes the node; source is empty afterwards.
    KLTastr(KLTastr&& source) noexcept;
    ~KLTastr() override;

    KLTastr& operator=(const char* source);
    KLTastr& operator=(const KLTastrc& source);
    KLTastr& operator=(const KLTastr& source);
    // NOLINTNEXTLINE(performance-noexcept-move-constructor,bugprone-exception-escape): checks
    KLTastr& operator=(KLTastr&& source);

    // Copies n characters of source from pos on. Null is an empty source.
    KLTastr& assign(const char* source, int pos = 0, int n = INT_MAX);
    KLTastr& assign(const KLTastrc& source, int pos = 0, int n = INT_MAX);
    // Empties the string and gives its node back; both the same.
    KLTastr& erase();
    KLTastr& clr();

    KLTastr& append(const KLTastrc& source);
    // At most n characters.
    KLTastr& append(const char* source, int n);
    // c, count times.
    KLTastr& append(int c, int count = 1);
    // c, count times, before the character at pos.
    KLTastr& insert2(int pos, int c, int count = 1);

    // source in place of n characters from pos on.
    KLTastr& replace(int pos, int n, const KLTastrc& source);
    // c2 in place of every c1.
    KLTastr& replace(int c1, int c2);
    // to in place of the first from at or behind start. Returns its position, or -1.
    int replaceFirst(const KLTastrc& from, const KLTastrc& to, bool caseSensitive = true,
                     int start = 0);
    // to in place of every from; what was put in is not searched again. Returns how many.
    // An empty from is found nowhere (in both).
    int replaceAll(const KLTastrc& from, const KLTastrc& to);
    // c in place of every character of set. Returns how many.
    int replaceAll(const KLTastrc& set, int c);

    // Deletes n characters from pos on; those from one position up to, not including,
    // another; the last n.
    KLTastr& delN(int pos, int n);
    KLTastr& delRange(int from, int to);
    KLTastr& dellast(int n);

    // Latin-1 letters too; see upper().
    KLTastr& toUpper();
    KLTastr& toLower();
    KLTastr& reverse();

    // A "/" at the end, if there is none and the text is not empty.
    KLTastr& pathAddDelim();
    // No "/" at the end, unless it is the whole text.
    KLTastr& pathRemDelim();
    // "\" becomes "/", and a run of these becomes one.
    KLTastr& pathCorrDelim();

    // The text becomes the number. pad fills it to width characters, in front; a pad of "0"
    // goes between sign and digits, NUL fills nothing. sign ("+", " ", or 0 for none) stands before
    // a number that is not negative and counts for the width. Base 2..36, lower-case digits; any
    // other base is 10.
    KLTastr& itos(long long value, char pad = ' ', int width = 0, char sign = 0, int base = 10);
    // As itos, filled with "0" and without a sign for numbers that are not negative.
    KLTastr& itosb(long long value, int base, int width = 0);

    // Makes the node private, with room for a text of the given length, or of its own if
    // that is longer. The empty string has no node and stays as it is.
    KLTastr& cleanCopy(int length);
    // Does a source pointer lie inside this string's own text? A change keeps the old text
    // until such a source has been copied.
    bool hasOverlap(const char* source) const;

    // For tests and for the hunt after damaged memory: a string that is inconsistent prints
    // "KLTastr::check() error %d in line %d\r\n" (code, line) to standard error and throws
    // the code as an int. Assignments do it by themselves.
    //   -1 text is null             -4 node but length below 1      -7 text begins with NUL
    //   -2 no node but a length     -5 text is not the node's       -8 nobody counted
    //   -3 no node but characters   -6 length not below capacity    -9 no NUL at the end
    void checkKrnl2(int line) const;

    static KLTastrInfo info();

protected:
    struct HN; // the heap node, astr_node.h

    HN* node_ = nullptr;

private:
    [[nodiscard]] int check() const;
    void release();
    void adopt(HN* node, int length);
    [[nodiscard]] bool mustMove(int length) const;
    char* open(int pos, int removed, int inserted);
    char* openEnd(int count);
    char* moveEnd(int count);
    void put(const char* source, int n);
    KLTastr& splice(int pos, int removed, const char* source, int n);
    KLTastr& spliceOwn(int pos, int removed, const char* source, int n);
    KLTastr& fill(int pos, int c, int count);
    template <class Change>
    KLTastr& changeEach(Change change);
    int deleteAll(const KLTastrc& set);
};
