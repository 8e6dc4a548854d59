#include "sim/machine/last_words.h"

#include "sim/machine/report.h"

#include <algorithm>
#include <charconv>

namespace k4sim {

namespace {

bool is_plain(char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; }

} // namespace

FixedLine::FixedLine(Microseconds t, std::string_view source, std::string_view what) {
    add("{");
    set("t", t);
    set_text("source", source);
    set_text("event", what);
}

void FixedLine::set(std::string_view name, std::int64_t number) {
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    begin(name);
    add({digits.data(), static_cast<std::size_t>(end - digits.data())});
}

void FixedLine::set_address(std::string_view name, std::uintptr_t address) {
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), address, 16).ptr;
    begin(name);
    add("\"0x");
    add({digits.data(), static_cast<std::size_t>(end - digits.data())});
    add("\"");
}

void FixedLine::set_text(std::string_view name, std::string_view text) {
    begin(name);
    add("\"");
    for (const char c : text)
        add(is_plain(c) ? std::string_view(&c, 1) : "?");
    add("\"");
}

void FixedLine::write_to(int descriptor) {
    add("}\n");
    write_fully(descriptor, {text_.data(), size_});
}

void FixedLine::begin(std::string_view name) {
    if (size_ > 1) add(",");
    add("\"");
    add(name);
    add("\":");
}

void FixedLine::add(std::string_view text) {
    const std::size_t count = std::min(text.size(), text_.size() - size_);
    std::copy_n(text.data(), count, text_.data() + size_);
    size_ += count;
}

} // namespace k4sim
