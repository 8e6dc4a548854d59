#include "app/required_keys.h"

#include "hw/keypad.h"

namespace {

constexpr uint32_t allKeys = 0x3FFFFF;
constexpr uint32_t keysWithoutKeypad = 0x38F000;
constexpr int keyCount = 22;

struct NamedKey {
    int code;
    const char* name;
};

// The knobs M and H, turned left (l) or right (r) or pushed, and Esc.
constexpr NamedKey namedKeys[] = {
    {12, "Ml "}, {13, "Mr "}, {14, "M "}, {15, "Esc "}, {19, "H "}, {20, "Hl "}, {21, "Hr "},
};

bool contains(uint32_t keys, int code) { return (keys >> code & 1U) != 0; }

KLTastr characters(uint32_t keys) {
    KLTastr text;
    for (int code = 0; code < keyCount; ++code)
        if (contains(keys, code)) text.append(CHfpK4keyBuf::keyCharacters[code], 1);
    return text;
}

KLTastr names(uint32_t keys) {
    KLTastr text("Missing ");
    for (const NamedKey& key : namedKeys)
        if (contains(keys, key.code)) text.append(KLTastrc(key.name));
    return text;
}

} // namespace

void RequiredKeys::require(bool keypad) {
    keypad_ = keypad;
    missing_.store(keypad ? allKeys : keysWithoutKeypad, std::memory_order_relaxed);
}

void RequiredKeys::accept(int code) {
    if (code >= 0 && code < keyCount) missing_.fetch_and(~(1U << code), std::memory_order_relaxed);
}

KLTastr RequiredKeys::text() const { return keypad_ ? characters(missing()) : names(missing()); }
