// What the processes of a run hand on, so that each program that one of them executes is on the
// virtual device as well.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// The role is from the environment that this process was started with (see setup_process.h). From
// then on the process passes the run on to what it executes, and dies with the one that started it.
void join_run(std::string_view role);

// In the child of a fork.
void inherit_run();

bool in_run();

// One of the descriptors of setup_process.h: not the program's to close.
bool belongs_to_run(int descriptor);

// Whether the file can be executed on the virtual device, be it a script or a program. If not,
// errno tells why; when it is the device that can't be had, it is EPERM, and a line on standard
// error says so. What is not there or not executable is left to the system to refuse.
bool can_execute(const std::string& path);

// The variables for a program, with what it needs in this run instead of what they say of it.
// The word size is that of the program, or of the script's interpreter.
std::vector<std::string> environment_for(const std::string& path, char* const* variables);

} // namespace k4sim
