#pragma once
// The formatting front end of all output, and the two of the console.

#include "baselib/print/convert.h"
#include "baselib/print/modifier.h"
#include "baselib/print/out.h"
#include "baselib/text/astr.h"

#include <cstdint>

class KLTtextarray;

// How the next item is printed.
struct KLTprtFlags {
    static constexpr int defaultPrecision = 6;

    uint32_t uflags_ = 0; // the user's own
    int16_t width = 0;    // padded to so many characters: > 0 on the left, < 0 on the right
    int16_t numwidth = 0; // integers: at least so many digits, filled with "0", sign counted
    uint16_t base = 0;    // of integers: 0 and 10 decimal, 2, 8, 16
    char paddingchar = ' ';
    bool upper = false;      // hexadecimal digits above 9 in upper case
    char addNneg = 0;        // before decimal numbers and doubles >= 0: "+", " ", 0 for none
    bool persistent = false; // keep all this for further items
    int dblPrecision = defaultPrecision; // 0..30
    char dblFormat = 'g'; // a conversion letter of printf: e, f, g, a, or in upper case
    int dblPoint = '.';   // written for the decimal point

    void uflags(uint32_t value) { uflags_ = value; }
    // Only the bits of mask.
    void uflags(uint32_t value, uint32_t mask) { uflags_ = (uflags_ & ~mask) | value; }
};

// Prints items to a sink:  pout << "Missing USBs: " << n << KLNstream::cr;
//
// Formatting applies to the next item and is gone behind it, unless made persistent. An
// empty text without a width is no item: it leaves the formatting to the next one. Nothing
// is allocated on the way. A print object is used by one thread at a time; so is a sink
// that does not lock.
class KLTprint : private KLTnoncopyable {
public:
    // On the null device.
    KLTprint() : KLTprint(devNull) {}
    // The sink stays its owner's and must outlive the print object's use.
    constexpr explicit KLTprint(KLTout& sink) : sink_(&sink) {}
    virtual ~KLTprint();

    // Take and give back the sink's lock; push its buffered bytes on.
    virtual void dolock() { sink_->olock(); }
    virtual void dorelease() { sink_->orelease(); }
    virtual void flush(bool all) { sink_->oflush(all); }
    // A hook for subclasses; returns its argument.
    virtual int operator()(int value) { return value; }

    KLTprint& operator<<(const char* text); // null: "(null)"
    KLTprint& operator<<(const KLTastrc& text);
    KLTprint& operator<<(char character);
    KLTprint& operator<<(bool value); // "1" or "0"
    KLTprint& operator<<(unsigned char value) { return prtint(value, sizeof value, false); }
    KLTprint& operator<<(int value) { return prtint(value, sizeof value, true); }
    KLTprint& operator<<(unsigned int value) { return prtint(value, sizeof value, false); }
    KLTprint& operator<<(long value) { return prtint(value, sizeof value, true); }
    KLTprint& operator<<(unsigned long value) {
        return prtint(static_cast<long long>(value), sizeof value, false);
    }
    KLTprint& operator<<(long long value) { return prtint(value, sizeof value, true); }
    KLTprint& operator<<(unsigned long long value) {
        return prtint(static_cast<long long>(value), sizeof value, false);
    }
    KLTprint& operator<<(const void* pointer); // hexadecimal, whatever the base
    KLTprint& operator<<(const double& value);
    KLTprint& operator<<(const KLTmodifier& modifier);
    KLTprint& operator<<(const KLTprtFlags& flags);
    KLTprint& operator<<(const KLTtextarray& texts);

    // An integer of `size` bytes (1..8; anything else is a programming error and fatal). In
    // a base other than 10 a negative value shows as the two's complement of that width.
    KLTprint& prtint(long long value, int size, bool isSigned);

    // Formatting of the next item; see KLTprtFlags.
    void width(int characters) { flags_.width = static_cast<int16_t>(characters); }
    void numwidth(int digits) { flags_.numwidth = static_cast<int16_t>(digits); }
    void paddingchar(int character) { flags_.paddingchar = static_cast<char>(character); }
    void binary() { flags_.base = 2; }
    void octal() { flags_.base = 8; }
    void decimal() { flags_.base = 10; }
    void hexadec() { flags_.base = 16; }
    void uprise() { flags_.upper = true; }
    void addNneg(int character) { flags_.addNneg = static_cast<char>(character); }
    void uflags(long value) { flags_.uflags(static_cast<uint32_t>(value)); }
    void uflags(long value, long mask) {
        flags_.uflags(static_cast<uint32_t>(value), static_cast<uint32_t>(mask));
    }
    void dblfmt(int precision, char format, int point);
    // false: also resets every user manipulator's data.
    void persistent(bool on);
    const KLTprtFlags& flags() const { return flags_; }

    // Back to defaults, unless persistent.
    void nextflags();
    // Back to defaults, not persistent, user manipulators reset: the manipulator `norm`.
    void normal();

    // Writes a character n times; n below 1: nothing.
    void repeat(int n, int character);

    // Another sink; null: the null device.
    void output(KLTout* sink) { sink_ = sink != nullptr ? sink : KLTout::null(); }
    KLTout& output() const { return *sink_; }

    // The line end that `cr` writes; the caller's text, in place. null: "\n".
    void setCR(const char* lineEnd);
    void printCR() { sink_->ostring(lineEnd_); }

    // Forgets the user manipulators' data without freeing it, and restores the line end.
    void init();

    // The data that the user manipulators keep here.
    KLTmodifierUserData* findModifier(const void* key) const;
    void addModifier(const void* key, KLTmodifierUserData* data);
    // Frees one record, or all.
    void delModifier(const void* key);
    void freemem();

private:
    void pad(int count);
    void field(const char* characters, int length);
    void number(char sign, const char* digits, int count);
    void prtdecimal(long long value, int size, bool isSigned);
    void prtbinary(uint64_t value);
    void resetModifiers();

    KLTout* sink_;
    KLTprtFlags flags_;
    KLTmodifierUserData* modifiers_ = nullptr;
    char digits_[KLTconvertSize]{};
    const char* lineEnd_ = "\n";
};

// The console. Usable in every static initialiser and destructor.
extern KLTprint& pout; // standard output
extern KLTprint& perr; // standard error
