// The program's console: its bytes go where they would have gone, and are reported.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace k4sim {

// Replaces stdout, buffered as the C library would have it (by lines on a terminal only), and
// stderr, unbuffered. Each piece of text that comes out (1: output, 2: error) is written to the
// real descriptor unchanged, then given to `reader`, also when that descriptor takes nothing.
void capture_console(std::function<void(int stream, std::string_view text)> reader);

// For text of `size` bytes that the program wrote to descriptor 1 or 2 past stdio, with what the
// system said to it. What a full disk or a pipe without a reader refused was written all the same;
// what only was not taken yet will come again. Any other descriptor is ignored.
void report_console(int descriptor, const void* data, std::size_t size, ssize_t written);

// Puts pieces of text together to lines. A line ends at a line feed or a carriage
// return; empty lines are passed over.
class LineAssembler {
public:
    using Reader = std::function<void(std::string_view line)>;
    void add(std::string_view text, const Reader& reader);

private:
    std::string line_;
};

} // namespace k4sim
