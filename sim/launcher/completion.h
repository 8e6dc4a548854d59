// What a shell can offer for a command line that is being typed.
#pragma once

#include <string>
#include <vector>

namespace k4sim {

// words: after "k4sim", up to the cursor, as bash has them: split also at "=", ":" and "@", each
// a word of its own then. The last one is what is being typed; empty where nothing is yet.
// Returns what it may become, each on a line, without what the shell takes for words before it.
// A line "<files", "<toml", "<folders" or "<programs" stands for all of that kind, which the shell
// knows better.
std::string completions(const std::vector<std::string>& words);

} // namespace k4sim
