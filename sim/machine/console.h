// The program's console: its bytes go where they would have gone, and are reported.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace k4sim {

// Replaces stdout, buffered as the C library would have it (by lines on a terminal only), and
// stderr, unbuffered. Each piece of text that comes out (1: output, 2: error) is written to the
// real descriptor unchanged, then given to `reader`.
void capture_console(std::function<void(int stream, std::string_view text)> reader);

// For text that the program wrote to descriptor 1 or 2 past stdio; any other descriptor,
// or a result that is no count, is ignored.
void report_console(int descriptor, const void* data, ssize_t written);

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
