// The control elements of the virtual card as a plug-in of libasound. Mixer elements are of
// the interface "mixer"; those of the digital line of the interface "PCM", device 1.
//
// Limit: nobody is notified of a change. Values are read when asked for. An element that goes
// away stays in the lists of the handles that were opened before, where nothing answers to it.
#include "sim/alsa/address.h"
#include "sim/alsa/callback.h"
#include "sim/machine/machine.h"
#include "sim/models/device.h"

#include <algorithm>
#include <alsa/asoundlib.h>
#include <alsa/control_external.h>
#include <array>
#include <cerrno>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

namespace {

using Values = std::array<std::int32_t, control_values_max>;

// In a decibel scale's step, as <sound/tlv.h> of the kernel has it.
constexpr unsigned minimum_mutes = 0x10000;

// A key is the element's index in controls(). For libasound an element's number is its place
// in the list, and it finds the element by that. So a handle's list never changes, as in the
// kernel a number never goes to another element.
struct CtlPlugin {
    snd_ctl_ext_t handle{};
    std::vector<snd_ctl_ext_key_t> listed;
};

CtlPlugin& plugin_of(snd_ctl_ext_t* handle) {
    return *static_cast<CtlPlugin*>(handle->private_data);
}

SoundCard& card() { return machine().device().sound_card(); }

const ControlElement& element(snd_ctl_ext_key_t key) { return card().controls()[key]; }

int error_of(ControlResult result) {
    switch (result) {
    case ControlResult::unchanged:
        return 0;
    case ControlResult::changed:
        return 1;
    case ControlResult::denied:
        return -EPERM;
    case ControlResult::invalid:
        return -EINVAL;
    case ControlResult::refused:
        return -EIO;
    case ControlResult::absent:
        break;
    }
    return -ENOENT;
}

snd_ctl_elem_iface_t interface_of(const ControlElement& element) {
    return element.device == 0 ? SND_CTL_ELEM_IFACE_MIXER : SND_CTL_ELEM_IFACE_PCM;
}

void close_ctl(snd_ctl_ext_t* handle) { delete &plugin_of(handle); }

int count(snd_ctl_ext_t* handle) { return static_cast<int>(plugin_of(handle).listed.size()); }

int list(snd_ctl_ext_t* handle, unsigned offset, snd_ctl_elem_id_t* id) {
    const auto& listed = plugin_of(handle).listed;
    if (offset >= listed.size()) return -ENOENT;
    const ControlElement& found = element(listed[offset]);
    snd_ctl_elem_id_set_interface(id, interface_of(found));
    snd_ctl_elem_id_set_device(id, found.device);
    snd_ctl_elem_id_set_name(id, std::string(found.name).c_str());
    return 0;
}

snd_ctl_ext_key_t find(snd_ctl_ext_t*, const snd_ctl_elem_id_t* id) {
    const auto index =
        card().find_control(snd_ctl_elem_id_get_name(id), snd_ctl_elem_id_get_device(id));
    const bool found = index &&
                       snd_ctl_elem_id_get_interface(id) == interface_of(element(*index)) &&
                       snd_ctl_elem_id_get_subdevice(id) == 0 && snd_ctl_elem_id_get_index(id) == 0;
    return found ? *index : SND_CTL_EXT_KEY_NOT_FOUND;
}

unsigned access_of(const ControlElement& element) {
    unsigned access = SND_CTL_EXT_ACCESS_READ;
    if (element.access != ControlElement::Access::read_only) access |= SND_CTL_EXT_ACCESS_WRITE;
    if (element.access == ControlElement::Access::inactive) access |= SND_CTL_EXT_ACCESS_INACTIVE;
    if (element.decibels)
        access |= SND_CTL_EXT_ACCESS_TLV_READ | unsigned{SND_CTL_EXT_ACCESS_TLV_CALLBACK};
    return access;
}

snd_ctl_elem_type_t type_of(ControlElement::Kind kind) {
    switch (kind) {
    case ControlElement::Kind::boolean:
        return SND_CTL_ELEM_TYPE_BOOLEAN;
    case ControlElement::Kind::bytes:
        return SND_CTL_ELEM_TYPE_BYTES;
    case ControlElement::Kind::integer:
        break;
    }
    return SND_CTL_ELEM_TYPE_INTEGER;
}

int attribute(snd_ctl_ext_t*, snd_ctl_ext_key_t key, int* type, unsigned* access,
              unsigned* value_count) {
    *type = type_of(element(key).kind);
    *access = access_of(element(key));
    *value_count = element(key).count;
    return 0;
}

int integer_range(snd_ctl_ext_t*, snd_ctl_ext_key_t key, long* minimum, long* maximum, long* step) {
    *minimum = element(key).minimum;
    *maximum = element(key).maximum;
    *step = element(key).step;
    return 0;
}

// Numbers and bytes alike. `room` is how many the caller's memory holds.
template <typename Value>
int read(snd_ctl_ext_key_t key, Value* values, std::size_t room) {
    Values held{};
    const ControlResult result = card().get(key, held);
    const std::size_t used = std::min<std::size_t>(element(key).count, room);
    if (result == ControlResult::unchanged)
        std::transform(held.begin(), held.begin() + used, values,
                       [](std::int32_t value) { return static_cast<Value>(value); });
    return error_of(result);
}

template <typename Value>
int write(snd_ctl_ext_key_t key, const Value* values, std::size_t room) {
    using Limits = std::numeric_limits<std::int32_t>;
    Values wanted{};
    const std::size_t used = std::min<std::size_t>(element(key).count, room);
    std::transform(values, values + used, wanted.begin(), [](Value value) {
        return static_cast<std::int32_t>(
            std::clamp<long>(static_cast<long>(value), Limits::min(), Limits::max()));
    });
    return error_of(card().put(key, wanted));
}

int read_integer(snd_ctl_ext_t*, snd_ctl_ext_key_t key, long* values) {
    return read(key, values, control_values_max);
}

int write_integer(snd_ctl_ext_t*, snd_ctl_ext_key_t key, long* values) {
    return write(key, values, control_values_max);
}

int read_bytes(snd_ctl_ext_t*, snd_ctl_ext_key_t key, unsigned char* bytes, std::size_t room) {
    return read(key, bytes, room);
}

int write_bytes(snd_ctl_ext_t*, snd_ctl_ext_key_t key, unsigned char* bytes, std::size_t room) {
    return write(key, bytes, room);
}

int decibel_scale(snd_ctl_ext_t*, snd_ctl_ext_key_t key, int operation, unsigned, unsigned* table,
                  unsigned table_bytes) {
    const auto& decibels = element(key).decibels;
    if (operation != 0 || !decibels) return -ENXIO;
    const std::array<unsigned, 4> scale{SND_CTL_TLVT_DB_SCALE, 2 * sizeof(unsigned),
                                        static_cast<unsigned>(decibels->minimum_hundredths),
                                        static_cast<unsigned>(decibels->step_hundredths) |
                                            (decibels->minimum_is_silence ? minimum_mutes : 0)};
    if (table_bytes < sizeof scale) return -ENOMEM;
    std::ranges::copy(scale, table);
    return 0;
}

constexpr snd_ctl_ext_callback_t ctl_callbacks = [] {
    snd_ctl_ext_callback_t table{};
    table.close = callback<close_ctl>;
    table.elem_count = callback<count>;
    table.elem_list = callback<list>;
    table.find_elem = callback<find>;
    table.get_attribute = callback<attribute>;
    table.get_integer_info = callback<integer_range>;
    table.read_integer = callback<read_integer>;
    table.write_integer = callback<write_integer>;
    table.read_bytes = callback<read_bytes>;
    table.write_bytes = callback<write_bytes>;
    return table;
}();

template <std::size_t size>
void copy_text(char (&destination)[size], std::string_view text) {
    destination[text.copy(destination, size - 1)] = '\0';
}

void describe_card(CtlPlugin& plugin) {
    snd_ctl_ext_t& handle = plugin.handle;
    handle.version = SND_CTL_EXT_VERSION;
    handle.card_idx = card_number;
    copy_text(handle.id, card_id);
    copy_text(handle.driver, "k4sim");
    copy_text(handle.name, "K/4");
    copy_text(handle.longname, "Sound card of the virtual K/4");
    copy_text(handle.mixername, "K/4");
    handle.poll_fd = -1;
    handle.callback = &ctl_callbacks;
    handle.private_data = &plugin;
    handle.tlv.c = callback<decibel_scale>;
    for (std::size_t index = 0; index < card().controls().size(); ++index)
        if (!card().control_missing(index)) plugin.listed.push_back(index);
}

int open_card(snd_ctl_t** result, const char* name, snd_config_t* node, int mode) {
    const Unobserved unobserved;
    if (!machine().claim()) return -EBUSY;
    if (const int error = find_card(node); error < 0) return error;
    auto plugin = std::make_unique<CtlPlugin>();
    describe_card(*plugin);
    if (const int error = snd_ctl_ext_create(&plugin->handle, name, mode); error < 0) return error;
    *result = plugin.release()->handle.handle;
    return 0;
}

} // namespace

} // namespace k4sim

extern "C" {

SND_CTL_PLUGIN_DEFINE_FUNC(k4sim);
SND_CTL_PLUGIN_DEFINE_FUNC(k4sim) {
    (void)root;
    return k4sim::open_card(handlep, name, conf, mode);
}

SND_CTL_PLUGIN_SYMBOL(k4sim)
}
