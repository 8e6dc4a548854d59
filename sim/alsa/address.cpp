#include "sim/alsa/address.h"

#include "sim/machine/machine.h"
#include "sim/models/device.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>

namespace k4sim {

namespace {

constexpr std::size_t card_digits_max = 2;
constexpr int cards_max = 32;

// Empty when there is no such field.
std::string text_of(snd_config_t* node, const char* field) {
    snd_config_t* found = nullptr;
    char* text = nullptr;
    if (snd_config_search(node, field, &found) < 0 || snd_config_get_ascii(found, &text) < 0)
        return {};
    std::string result(text);
    std::free(text);
    return result;
}

// False when the field is there and is no number.
bool read_number(snd_config_t* node, const char* field, long& number) {
    snd_config_t* found = nullptr;
    return snd_config_search(node, field, &found) < 0 ||
           snd_config_get_integer(found, &number) >= 0;
}

bool is_number(const std::string& text) {
    return text.size() <= card_digits_max &&
           std::ranges::all_of(text, [](char c) { return '0' <= c && c <= '9'; });
}

} // namespace

int find_card(snd_config_t* node) {
    const std::string card = text_of(node, "card");
    const bool present = machine().device().sound_card().present();
    if (card.empty()) return -EINVAL;
    if (!is_number(card)) return present && card == card_id ? 0 : -ENODEV;
    const int number = std::stoi(card);
    if (number >= cards_max) return -EINVAL;
    return present && number == card_number ? 0 : -ENOENT;
}

int find_device(snd_config_t* node) {
    long device = 0;
    long subdevice = -1;
    if (!read_number(node, "device", device) || !read_number(node, "subdevice", subdevice))
        return -EINVAL;
    if (device < 0) return -EINVAL;
    return subdevice > 0 ? -EBUSY : static_cast<int>(device);
}

} // namespace k4sim
