#pragma once
// The order of characters.

// Each of the 256 characters has a rank of its own. By rising rank: control characters,
// blanks, symbols, digits, letters. Letters stand as in a dictionary, each with all its
// accents and each upper-case form right before its lower-case one: A a, then A and a with
// the accents by code, B b ... Ligatures follow the letter they begin with, the sharp s
// follows S, thorn T; 0xFF, which has no upper-case form here, ends Y. Within the other
// groups the order is that of the codes.
//
// Of the arguments only the low 8 bits count.
namespace KLNcollation {

// The place of a character in the order, 0..255.
int rank(int c);

// The character that stands for it when case does not count: the lower-case letter.
int fold(int c);

} // namespace KLNcollation
