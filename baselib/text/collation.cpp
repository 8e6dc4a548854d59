#include "baselib/text/collation.h"

#include "baselib/text/latin1.h"

#include <algorithm>
#include <array>

namespace {

constexpr unsigned characters = 256;

struct Entry {
    unsigned char rank;
    unsigned char folded;
};

int group(int c) {
    const int classes = KLNlatin1::info(c);
    if (classes & KLNlatin1::control) return 0;
    if (classes & KLNlatin1::blank) return 1;
    if (classes & KLNlatin1::symbol) return 2;
    return classes & KLNlatin1::digit ? 3 : 4;
}

// What decides the order, most important first: the group, for letters the plain letter,
// the code of the lower-case form, and the case (upper-case codes are the smaller ones).
int sortKey(int c) {
    const int lower = KLNlatin1::lower(c);
    const char* plain = KLNlatin1::asciiLetters(lower);
    const int base = group(c) < 4 ? 0 : plain ? plain[0] : lower;
    return group(c) << 24 | base << 16 | lower << 8 | c;
}

std::array<Entry, characters> makeTable() {
    std::array<int, characters> keys{};
    for (unsigned c = 0; c < characters; ++c)
        keys[c] = sortKey(static_cast<int>(c));
    std::array<Entry, characters> table{};
    for (unsigned c = 0; c < characters; ++c) {
        const auto before = std::count_if(keys.begin(), keys.end(),
                                          [key = keys[c]](int other) { return other < key; });
        table[c] = {static_cast<unsigned char>(before),
                    static_cast<unsigned char>(KLNlatin1::lower(static_cast<int>(c)))};
    }
    return table;
}

// Made by the first comparison, which may come from any static initialiser.
const Entry& entry(int c) {
    static const std::array<Entry, characters> table = makeTable();
    return table[static_cast<unsigned>(c) & 0xFFU];
}

} // namespace

int KLNcollation::rank(int c) { return entry(c).rank; }

int KLNcollation::fold(int c) { return entry(c).folded; }
