// Any bytes as a saved console, or as the events of a record, are refused with a line or give a
// page of at most 2 MB.

#include "../baselib/choices.h"
#include "sim/story/events.h"
#include "sim/story/sources.h"

#include <stdexcept>

namespace {

using namespace k4sim;

void require_page(const Telling& telling) {
    const std::string page = page_of(telling);
    require(page.size() < 2'000'000 && page.starts_with(page_head), page.substr(0, 200));
}

Telling of_events(const std::string& text) {
    Story story;
    for (const Event& event : read_events(text))
        story.see(event.t, event.what->event);
    story.close();
    return telling_of("x", Json::object(), story, [](const std::string&) { return ""; });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(data, data + size);
    require_page(read_console("tty", "***** Vorlink K/4 selftest\nSilence: RMS=" + bytes));
    for (const char* head : {"", "{\"t\":1,\"source\":\"console\",\"event\":\"text\",\"text\":\"",
                             "{\"t\":1,\"source\":\"a\",\"event\":\"b\"}\n"
                             "{\"t\":2,\"source\":\"record\",\"event\":\"repeat\",\"lines\":"})
        try {
            require_page(of_events(head + bytes + "\n"));
        } catch (const std::runtime_error& error) {
            require(std::string(error.what()).find('\n') == std::string::npos, error.what());
        }
    return 0;
}
