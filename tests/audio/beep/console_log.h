#pragma once
// What the program under test does to the console device and how long it sleeps.

#include <string>
#include <vector>

// One line a call, in order: "open /dev/console", "sound 2386", "tone 2386 100" (divider,
// ms), "sleep 100000" (us), "close". Empties the log.
std::vector<std::string> takeConsoleLog();
