#include "baselib/print/nstream.h"

namespace KLNstream {

namespace detail {

void lineEnd(KLTprint& print) { print.printCR(); }

void carriageReturnLineFeed(KLTprint& print) { print.output().ostring("\r\n"); }

void lineEndFlush(KLTprint& print) {
    print.printCR();
    print.flush(true);
}

void lineEndRelease(KLTprint& print) {
    print.printCR();
    print.dorelease();
}

void lineEndFlushRelease(KLTprint& print) {
    lineEndFlush(print);
    print.dorelease();
}

void takeLock(KLTprint& print) { print.dolock(); }
void giveLock(KLTprint& print) { print.dorelease(); }
void flushSink(KLTprint& print) { print.flush(false); }
void flushAll(KLTprint& print) { print.flush(true); }
void plusSign(KLTprint& print) { print.addNneg('+'); }
void blankSign(KLTprint& print) { print.addNneg(' '); }
void persist(KLTprint& print) { print.persistent(true); }
void normalise(KLTprint& print) { print.normal(); }

void upperHexAnyWidth(KLTprint& print) {
    print.hexadec();
    print.uprise();
}

} // namespace detail

namespace {

template <void (KLTprint::*setBase)()>
void based(KLTprint& print, int digits) {
    (print.*setBase)();
    print.numwidth(digits);
}

void upperBased(KLTprint& print, int digits) {
    based<&KLTprint::hexadec>(print, digits);
    print.uprise();
}

void padded(KLTprint& print, int characters, int padding) {
    print.width(characters);
    print.paddingchar(padding);
}

void repeated(KLTprint& print, int n, int character) { print.repeat(n, character); }

void doubled(KLTprint& print, int precision, int format, int point) {
    print.dblfmt(precision, static_cast<char>(format), point);
}

void doubledInField(KLTprint& print, int characters, int precision, int format) {
    print.width(characters);
    print.dblfmt(precision, static_cast<char>(format), '.');
}

} // namespace

KLTmodifier2 width(int w, int c) { return {padded, w, c}; }
KLTmodifier1 hexa(int n) { return {based<&KLTprint::hexadec>, n}; }
KLTmodifier1 Hexa(int n) { return {upperBased, n}; }
KLTmodifier1 octa(int n) { return {based<&KLTprint::octal>, n}; }
KLTmodifier1 bina(int n) { return {based<&KLTprint::binary>, n}; }
KLTmodifier1 deca(int n) { return {based<&KLTprint::decimal>, n}; }
KLTmodifier2 rep(int n, int c) { return {repeated, n, c}; }

KLTmodifier3 dbl(int precision, char format, int point) {
    return {doubled, precision, format, point};
}

KLTmodifier3 dblw(int width, int precision, char format) {
    return {doubledInField, width, precision, format};
}

} // namespace KLNstream
