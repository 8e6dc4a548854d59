#pragma once
// The calls of ALSA that the program makes on their way to the real library: noted, and
// answered with an error where the test wants one.

#include <string>
#include <vector>

// One line a call, in order: "writei 480", "nonblock 0", "prepare", "close". Empties the log.
std::vector<std::string> takeAlsaLog();

// The next such call, such as "writei", returns this instead of reaching the library.
void answerNext(const std::string& call, int result);
