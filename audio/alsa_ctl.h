#pragma once
// Control elements of a sound card, read and written by name.

#include "baselib/print/out.h"

#include <array>
#include <cstdint>
#include <cstring>

typedef struct _snd_ctl snd_ctl_t;

// What an element holds.
enum class KLTctlKind : uint32_t { integers = 0, bytes = 1 };

// The values of an element: 128 integers of 32 bits or 512 bytes, in the same place. All 0 at
// first.
struct KLTctlRecord {
    static constexpr int byteCount = 512;
    static constexpr int integerCount = 128;

    KLTctlKind kind = KLTctlKind::integers;
    std::array<unsigned char, byteCount> bytes{};

    // index: 0 to integerCount - 1.
    int32_t integer(int index) const {
        int32_t value;
        memcpy(&value, &bytes[offset(index)], sizeof value);
        return value;
    }
    void integer(int index, int32_t value) { memcpy(&bytes[offset(index)], &value, sizeof value); }

private:
    static size_t offset(int index) { return static_cast<size_t>(index) * sizeof(int32_t); }
};

// Access to one card at a time, by one thread. Nothing is printed, not even by ALSA.
class KLlinuxALSActl : private KLTnoncopyable {
public:
    static constexpr int anyIndex = -1;
    // set(): the element can't take a write at all.
    static constexpr int writeIgnored = 1;

    KLlinuxALSActl() = default;
    // Closes the card.
    virtual ~KLlinuxALSActl();

    // Closes a card left open and opens another, such as "hw:0". Elements may belong to a PCM
    // device of the card, which can be named too: "hw:0,1" is device 1 of card 0. The usual
    // configuration of ALSA knows such names for streams only, not for controls; so the name
    // is tried as it stands, and then without the device. 0, or ALSA's negative code.
    [[nodiscard]] virtual int open(const char* card);
    // Harmless when closed.
    virtual void close();
    bool isOpen() const { return handle_ != nullptr; }

    // An element is looked up on the named device first, 0 when none was named, and then by
    // its name alone. index is its number among those of the same name; anyIndex takes the
    // first.
    //
    // Negative results of both, besides ALSA's own codes: -ENODEV not open, -ENOENT no such
    // element, -EINVAL an element of another kind. Integers are integers and booleans; bytes
    // are bytes and channel status.

    // Reads an element. 0; else the record stays as it was.
    virtual int get(KLTctlRecord& record, const char* name, KLTctlKind kind);

    // Writes an element, with as many values as it has. 0: written, also where it held these
    // values before, since a sender that is told its rate twice is as well programmed as one
    // told once. writeIgnored: it is inactive or read-only, and nothing was written.
    virtual int set(const KLTctlRecord& record, const char* name, KLTctlKind kind, int index);

private:
    struct Element;

    int openHandle(const char* name);
    int find(Element& element, const char* name, KLTctlKind kind, int index) const;

    snd_ctl_t* handle_ = nullptr;
    unsigned int device_ = 0;
};
