// Writing all or nothing. False, with errno, for what can't be written.
#pragma once

#include <string>
#include <string_view>

namespace k4sim {

// By the system's own calls.
bool write_all(int descriptor, std::string_view bytes);

// To a file, which is made if need be. flags: O_APPEND or O_TRUNC.
bool write_file(const std::string& path, int flags, std::string_view bytes);

// What a file is called while it is being written.
inline constexpr std::string_view part_suffix = ".part";

// A whole file, with all its bytes or not at all.
bool write_whole(const std::string& path, std::string_view bytes);

} // namespace k4sim
