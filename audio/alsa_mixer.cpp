#include "audio/alsa_mixer.h"

#include "audio/alsa_owned.h"
#include "audio/quiet_call.h"
#include "baselib/print/nstream.h"

#include <algorithm>
#include <alsa/asoundlib.h>

namespace {

using SimpleId = KLTalsaOwned<snd_mixer_selem_id_t, snd_mixer_selem_id_free>;

// The functions of ALSA for a side of an element.
struct Side {
    const char* name;
    int (*hasChannel)(snd_mixer_elem_t*, snd_mixer_selem_channel_id_t);
    int (*hasVolume)(snd_mixer_elem_t*);
    int (*hasSwitch)(snd_mixer_elem_t*);
    int (*volumeRange)(snd_mixer_elem_t*, long*, long*);
    int (*volume)(snd_mixer_elem_t*, snd_mixer_selem_channel_id_t, long*);
    int (*setVolume)(snd_mixer_elem_t*, snd_mixer_selem_channel_id_t, long);
    int (*setVolumes)(snd_mixer_elem_t*, long);
    int (*switchOn)(snd_mixer_elem_t*, snd_mixer_selem_channel_id_t, int*);
    int (*setSwitch)(snd_mixer_elem_t*, snd_mixer_selem_channel_id_t, int);
    int (*setSwitches)(snd_mixer_elem_t*, int);
};

constexpr Side playbackSide = {
    "playback",
    snd_mixer_selem_has_playback_channel,
    snd_mixer_selem_has_playback_volume,
    snd_mixer_selem_has_playback_switch,
    snd_mixer_selem_get_playback_volume_range,
    snd_mixer_selem_get_playback_volume,
    snd_mixer_selem_set_playback_volume,
    snd_mixer_selem_set_playback_volume_all,
    snd_mixer_selem_get_playback_switch,
    snd_mixer_selem_set_playback_switch,
    snd_mixer_selem_set_playback_switch_all,
};

constexpr Side captureSide = {
    "capture",
    snd_mixer_selem_has_capture_channel,
    snd_mixer_selem_has_capture_volume,
    snd_mixer_selem_has_capture_switch,
    snd_mixer_selem_get_capture_volume_range,
    snd_mixer_selem_get_capture_volume,
    snd_mixer_selem_set_capture_volume,
    snd_mixer_selem_set_capture_volume_all,
    snd_mixer_selem_get_capture_switch,
    snd_mixer_selem_set_capture_switch,
    snd_mixer_selem_set_capture_switch_all,
};

const Side& side(bool playback) { return playback ? playbackSide : captureSide; }

snd_mixer_selem_channel_id_t channelId(int channel) {
    return static_cast<snd_mixer_selem_channel_id_t>(channel);
}

constexpr bool isSet(uint32_t bits, int channel) { return (bits >> channel & 1U) != 0; }

int status(int result) { return std::min(result, 0); }

template <class Action>
void forChannels(uint32_t mask, Action action) {
    for (int channel = 0; channel < KLTalsaMixerEle::maxChannels; ++channel)
        if (isSet(mask, channel)) action(channelId(channel));
}

} // namespace

int KLTalsaMixer::open(const KLTastrc& device) {
    if (device.length() == 0) return KLTmixerNoName;
    close();
    const KLTastr copy(device);
    const QuietCall quiet;
    if (snd_mixer_open(&handle_, 0) < 0) {
        handle_ = nullptr;
        return KLTmixerOpenFailed;
    }
    if (const int error = load(copy.text()); error != 0) {
        close();
        return error;
    }
    name_ = copy;
    return 0;
}

void KLTalsaMixer::close() {
    name_.clr();
    if (!handle_) return;
    const QuietCall quiet;
    snd_mixer_close(handle_);
    handle_ = nullptr;
}

int KLTalsaMixer::load(const char* device) {
    if (snd_mixer_attach(handle_, device) < 0) return KLTmixerAttachFailed;
    if (snd_mixer_selem_register(handle_, nullptr, nullptr) < 0) return KLTmixerRegisterFailed;
    return snd_mixer_load(handle_) < 0 ? KLTmixerLoadFailed : 0;
}

int KLTalsaMixerEle::open(const KLTalsaMixer& mixer, const char* name) {
    close();
    if (!mixer.handle()) return KLTmixerNotOpen;
    snd_mixer_selem_id_t* allocated = nullptr;
    if (const int error = snd_mixer_selem_id_malloc(&allocated); error < 0) return error;
    const SimpleId id(allocated);
    snd_mixer_selem_id_set_index(id.get(), 0);
    snd_mixer_selem_id_set_name(id.get(), name);
    element_ = snd_mixer_find_selem(mixer.handle(), id.get());
    return element_ ? 0 : KLTmixerNotOpen;
}

uint32_t KLTalsaMixerEle::channels() const {
    if (!element_) return 0;
    uint32_t mask = 0;
    for (int channel = 0; channel < maxChannels; ++channel)
        if (side(playback_).hasChannel(element_, channelId(channel)) != 0) mask |= 1U << channel;
    return mask;
}

bool KLTalsaMixerEle::hasVolume() const {
    return element_ && side(playback_).hasVolume(element_) != 0;
}

bool KLTalsaMixerEle::hasSwitch() const {
    return element_ && side(playback_).hasSwitch(element_) != 0;
}

int KLTalsaMixerEle::volume(int level, int mask) {
    if (!element_) return KLTmixerNotOpen;
    if (!hasVolume()) return KLTmixerNoSuchControl;
    if (mask == allChannels) return status(side(playback_).setVolumes(element_, level));
    return setChannels(static_cast<uint32_t>(mask), [this, level](int channel) {
        return side(playback_).setVolume(element_, channelId(channel), level);
    });
}

int KLTalsaMixerEle::switches(uint32_t bits) {
    if (!element_) return KLTmixerNotOpen;
    if (!hasSwitch()) return KLTmixerNoSuchControl;
    if (bits == 0 || bits == UINT32_MAX)
        return status(side(playback_).setSwitches(element_, bits != 0));
    return setChannels(UINT32_MAX, [this, bits](int channel) {
        return side(playback_).setSwitch(element_, channelId(channel), isSet(bits, channel));
    });
}

void KLTalsaMixerEle::dump(KLTprint& print) const {
    if (!element_) {
        print << "(not open)" << KLNstream::cr;
        return;
    }
    print << snd_mixer_selem_get_name(element_) << ": " << side(playback_).name << ", channels";
    forChannels(channels(), [&print](auto channel) { print << ' ' << static_cast<int>(channel); });
    if (hasVolume()) dumpVolume(print);
    if (hasSwitch()) dumpSwitch(print);
    print << KLNstream::cr;
}

template <class SetChannel>
int KLTalsaMixerEle::setChannels(uint32_t mask, SetChannel setChannel) {
    const uint32_t chosen = mask & channels();
    int first = 0;
    for (int channel = 0; channel < maxChannels; ++channel) {
        const int result = isSet(chosen, channel) ? setChannel(channel) : 0;
        if (first == 0) first = status(result);
    }
    return first;
}

void KLTalsaMixerEle::dumpVolume(KLTprint& print) const {
    print << ", volume";
    forChannels(channels(), [this, &print](auto channel) {
        long level = 0;
        side(playback_).volume(element_, channel, &level);
        print << ' ' << level;
    });
    long lowest = 0;
    long highest = 0;
    side(playback_).volumeRange(element_, &lowest, &highest);
    print << " of " << lowest << ".." << highest;
}

void KLTalsaMixerEle::dumpSwitch(KLTprint& print) const {
    print << ", switch";
    forChannels(channels(), [this, &print](auto channel) {
        int on = 0;
        side(playback_).switchOn(element_, channel, &on);
        print << ' ' << (on != 0);
    });
}
