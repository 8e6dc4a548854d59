// Why a status row does not read "OK", in words.
#pragma once

#include "sim/story/margins.h"
#include "sim/story/story.h"

#include <string>
#include <vector>

namespace k4sim {

// AnalogAudio stayed at "Loop gain -6.0 -6.0 (2)": both inputs 4.0 dB below the limit; and so on
// for each row that does not read "OK", with "; " between them. Empty: all read it.
std::string rows_not_ok(const std::vector<StatusRow>& rows, const std::vector<Margin>& ledger);

} // namespace k4sim
