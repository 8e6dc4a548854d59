#pragma once
// The characters of ISO 8859-1. Of every argument only the low 8 bits count, so that a plain
// char may be passed whatever its sign; results are 0..255.

namespace KLNlatin1 {

// Classes of a character, any number of them at once.
constexpr int control = 0x01;     // 0x00..0x1F, 0x7F..0x9F
constexpr int blank = 0x02;       // the space and the no-break space 0xA0
constexpr int digit = 0x04;       // 0..9
constexpr int hexDigit = 0x08;    // 0..9, A..F, a..f
constexpr int upperCase = 0x10;   // a letter with a lower-case form
constexpr int lowerCase = 0x20;   // any other letter, the sharp s and 0xFF among them
constexpr int beyondAscii = 0x40; // 0x80..0xFF
constexpr int symbol = 0x80;      // none of control, blank, digit and letter
constexpr int letter = upperCase | lowerCase;

// The classes of a character.
int info(int c);

// The other case of a letter; any other character itself. So for the sharp s and 0xFF,
// which have no upper-case form here.
int upper(int c);
int lower(int c);

// A character from 0xC0 up in ASCII letters, at most two, such as "ae" for 0xE4; null for
// every other character and for the two that are no letters (0xD7, 0xF7).
const char* asciiLetters(int c);

} // namespace KLNlatin1
