// What a story can be made of: a run that was just seen, a record of it, or the console that was
// saved from a real device.
#pragma once

#include "sim/story/page.h"

#include <functional>
#include <string>
#include <string_view>

namespace k4sim {

// What a file of the record holds, by its name; empty when there is none.
using RecordFile = std::function<std::string(const std::string& name)>;

// Of a run that was seen, with its report.json.
Telling telling_of(const std::string& folder, const Json& report, const Story& story,
                   const RecordFile& file);

// The status rows of the self-test, from the top.
inline constexpr const char* row_names[] = {"ParallelPrt", "Ethernet",    "Frontpanel",
                                            "USB Ports",   "AnalogAudio", "AES/EBU"};

// Of the record in a folder. Throws std::runtime_error, with one line, when it is none.
Telling read_record(const std::string& folder);

// Of the console of a real device, as saved in a file of that name. What stands before the last
// start of the self-test is passed over. Throws std::runtime_error when it never started.
Telling read_console(const std::string& name, std::string_view bytes);

// A whole file; at most 64 MiB. Throws std::runtime_error.
std::string read_file(const std::string& path);

} // namespace k4sim
