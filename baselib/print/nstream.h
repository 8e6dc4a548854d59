#pragma once
// The manipulators of print objects:  pout << KLNstream::hex8 << status << KLNstream::cr;

#include "baselib/print/modifier.h"
#include "baselib/print/print.h"

namespace KLNstream {

namespace detail {

void lineEnd(KLTprint& print);
void carriageReturnLineFeed(KLTprint& print);
void lineEndFlush(KLTprint& print);
void lineEndRelease(KLTprint& print);
void lineEndFlushRelease(KLTprint& print);
void takeLock(KLTprint& print);
void giveLock(KLTprint& print);
void flushSink(KLTprint& print);
void flushAll(KLTprint& print);
void plusSign(KLTprint& print);
void blankSign(KLTprint& print);
void persist(KLTprint& print);
void normalise(KLTprint& print);

template <int base>
void setBase(KLTprint& print) {
    base == 2    ? print.binary()
    : base == 8  ? print.octal()
    : base == 16 ? print.hexadec()
                 : print.decimal();
}

template <int digits>
void lowerHex(KLTprint& print) {
    print.hexadec();
    print.numwidth(digits);
}

template <int digits>
void upperHex(KLTprint& print) {
    lowerHex<digits>(print);
    print.uprise();
}

void upperHexAnyWidth(KLTprint& print);

} // namespace detail

inline constexpr KLTmodifier0 cr{detail::lineEnd};                  // the line end
inline constexpr KLTmodifier0 crlf{detail::carriageReturnLineFeed}; // "\r\n" in any case
inline constexpr KLTmodifier0 crf{detail::lineEndFlush};            // line end, flush
inline constexpr KLTmodifier0 crd{detail::lineEndRelease};          // line end, release
inline constexpr KLTmodifier0 crfld{detail::lineEndFlushRelease};   // line end, flush, release
inline constexpr KLTmodifier0 lock{detail::takeLock};               // take the sink's lock
inline constexpr KLTmodifier0 done{detail::giveLock};               // release it
inline constexpr KLTmodifier0 fl{detail::flushSink};                // flush the sink only
inline constexpr KLTmodifier0 flush{detail::flushAll};              // and what lies behind it
inline constexpr KLTmodifier0 plus{detail::plusSign};               // "+" before numbers >= 0
inline constexpr KLTmodifier0 pspc{detail::blankSign};              // " " before numbers >= 0
inline constexpr KLTmodifier0 pers{detail::persist};                // formatting stays ...
inline constexpr KLTmodifier0 norm{detail::normalise};              // ... until this

// Number bases.
inline constexpr KLTmodifier0 bin{detail::setBase<2>};
inline constexpr KLTmodifier0 oct{detail::setBase<8>};
inline constexpr KLTmodifier0 dec{detail::setBase<10>};
inline constexpr KLTmodifier0 hex{detail::setBase<16>};

// Hexadecimal with at least that many digits; the capital ones with capital digits.
inline constexpr KLTmodifier0 hex2{detail::lowerHex<2>};
inline constexpr KLTmodifier0 hex4{detail::lowerHex<4>};
inline constexpr KLTmodifier0 hex6{detail::lowerHex<6>};
inline constexpr KLTmodifier0 hex8{detail::lowerHex<8>};
inline constexpr KLTmodifier0 hex12{detail::lowerHex<12>};
inline constexpr KLTmodifier0 hex16{detail::lowerHex<16>};
inline constexpr KLTmodifier0 Hex{detail::upperHexAnyWidth};
inline constexpr KLTmodifier0 Hex2{detail::upperHex<2>};
inline constexpr KLTmodifier0 Hex4{detail::upperHex<4>};
inline constexpr KLTmodifier0 Hex6{detail::upperHex<6>};
inline constexpr KLTmodifier0 Hex8{detail::upperHex<8>};
inline constexpr KLTmodifier0 Hex12{detail::upperHex<12>};
inline constexpr KLTmodifier0 Hex16{detail::upperHex<16>};

// Field of w characters, padded with c.
KLTmodifier2 width(int w, int c = ' ');

// A base and at least n digits: hexadecimal, the same in capitals, octal, binary, decimal.
KLTmodifier1 hexa(int n);
KLTmodifier1 Hexa(int n);
KLTmodifier1 octa(int n);
KLTmodifier1 bina(int n);
KLTmodifier1 deca(int n);

// c, n times.
KLTmodifier2 rep(int n, int c);

// How doubles are written: see KLTprtFlags. dblw: in a field, with a "." for the point.
KLTmodifier3 dbl(int precision, char format = 'g', int point = '.');
KLTmodifier3 dblw(int width, int precision, char format = 'g');

} // namespace KLNstream
