#pragma once
// The simple mixer of a sound card: its named elements with volumes and switches.

#include "baselib/print/out.h"
#include "baselib/print/print.h"
#include "baselib/text/astr.h"

#include <cstdint>

typedef struct _snd_mixer snd_mixer_t;
typedef struct _snd_mixer_elem snd_mixer_elem_t;

// Results, besides 0 for success and the negative codes of ALSA for an element that refuses.
inline constexpr int KLTmixerNoName = -8449; // empty device name
inline constexpr int KLTmixerOpenFailed = -8448;
inline constexpr int KLTmixerNotOpen = -8447; // the element, or what it would be opened on
inline constexpr int KLTmixerAttachFailed = -8446;
inline constexpr int KLTmixerRegisterFailed = -8445;
inline constexpr int KLTmixerLoadFailed = -8444;
inline constexpr int KLTmixerNoSuchControl = -8441; // no volume, no switch on that side

// The mixer of a card. Used by one thread.
//
// Volumes and switches are kept as they were when the mixer was opened and as this object
// changed them since; what is already so is not written again.
class KLTalsaMixer : private KLTnoncopyable {
public:
    KLTalsaMixer() = default;
    // Closes the mixer.
    ~KLTalsaMixer() { close(); }

    // Closes a mixer left open and opens that of the ALSA control device, such as "default".
    // Elements opened before must not be used any more. KLTmixerNoName, KLTmixerOpenFailed,
    // KLTmixerAttachFailed, KLTmixerRegisterFailed, KLTmixerLoadFailed.
    [[nodiscard]] int open(const KLTastrc& device);
    void close();

    // Of the open device; empty when closed.
    const KLTastr& name() const { return name_; }
    // Null when closed.
    snd_mixer_t* handle() const { return handle_; }

private:
    int load(const char* device);

    KLTastr name_;
    snd_mixer_t* handle_ = nullptr;
};

// An element of a mixer, and the side of it that is meant: playback or capture. The mixer
// must outlive its use. Every operation of an element that is not open gives KLTmixerNotOpen.
class KLTalsaMixerEle {
public:
    // Channels are counted from 0; masks have bit (1 << c) set for channel c.
    static constexpr int maxChannels = 10;
    static constexpr int allChannels = -1;

    // Finds the first element of that name. Until then, and when there is none
    // (KLTmixerNotOpen), the element is not open.
    [[nodiscard]] int open(const KLTalsaMixer& mixer, const char* name);
    void close() { element_ = nullptr; }
    bool isOpen() const { return element_ != nullptr; }

    bool playback() const { return playback_; }
    void playback(bool on) { playback_ = on; }

    // Of the side that is meant: the channels that exist (0 when not open), and what they
    // have.
    uint32_t channels() const;
    bool hasVolume() const;
    bool hasSwitch() const;

    // The raw volume of the channels of mask, in steps of the card; allChannels sets all at
    // once. Channels that don't exist are left out. A channel that refuses does not keep the
    // others from being set; the first error is returned.
    // KLTmixerNoSuchControl, or ALSA's code.
    int volume(int level, int mask);
    // The switch of each channel: on where its bit is set. All 32 bits alike set all at once.
    // As volume().
    int switches(uint32_t bits);

    // One line on what the element is and how it is set, such as
    // "Line In: capture, channels 0 1, volume 24 24 of 0..80, switch 1 1".
    void dump(KLTprint& print) const;

private:
    template <class SetChannel>
    int setChannels(uint32_t mask, SetChannel setChannel);
    void dumpVolume(KLTprint& print) const;
    void dumpSwitch(KLTprint& print) const;

    snd_mixer_elem_t* element_ = nullptr;
    bool playback_ = true;
};
