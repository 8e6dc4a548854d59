// What a configuration node of type "hw" addresses.
#pragma once

#include <alsa/asoundlib.h>

namespace k4sim {

// The number and the id of the virtual card, the only one.
inline constexpr int card_number = 0;
inline constexpr char card_id[] = "K4";

// 0 when the node's "card" is the virtual card and the card answers. Else what libasound
// says of a card that the kernel does not have: -ENOENT for a number, -ENODEV for an id,
// -EINVAL for a number that no card can have, and for a node without a card.
int find_card(snd_config_t* node);

// The node's "device", by default 0, or -EINVAL. A "subdevice" other than the only one,
// number 0, is -EBUSY, as one that the kernel can't give.
int find_device(snd_config_t* node);

} // namespace k4sim
