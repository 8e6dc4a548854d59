// What the launcher leaves in the process of a program that it starts, and the device library
// finds there: descriptors beyond those that a program gets for its own files, so that these
// have the numbers that they have on a real device, and a variable of the environment.
#pragma once

namespace k4sim {

// Where the report lines go.
inline constexpr int report_descriptor = 100;
// The folder of the device libraries. A path through it suits the loader and libasound,
// whatever characters the folder's own name has.
inline constexpr int library_folder_descriptor = 101;
inline constexpr char library_folder[] = "/proc/self/fd/101/";

// An eventfd: it holds 1 until a process of the run takes it, and with it the device.
inline constexpr int claim_descriptor = 102;

// A file in memory that nobody can change: the setup of the run, as encode() writes it.
inline constexpr int setup_descriptor = 103;

// The dump of the wires (--vcd), behind its header; not there without.
inline constexpr int wires_descriptor = 104;

// The folder for what is played and recorded (--wave); not there without.
inline constexpr int wave_descriptor = 105;

// A socket, where the launcher serves a panel: what somebody there does, a message each.
inline constexpr int control_descriptor = 106;

// All of these.
inline constexpr int first_descriptor = report_descriptor;
inline constexpr int last_descriptor = control_descriptor;

// What the process is to the launcher, as one of the following.
inline constexpr char role_variable[] = "K4SIM_ROLE";
inline constexpr char role_watched[] = "watched"; // its child, which waits for the library
inline constexpr char role_first[] = "first";     // its child, after an execution of its own
inline constexpr char role_further[] = "further"; // any other process of the run

} // namespace k4sim
