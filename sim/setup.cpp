#include "sim/setup.h"

#include "sim/setup_choices.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <span>

namespace k4sim {

namespace {

constexpr std::string_view hex_digits = "0123456789abcdef";

// Blanks separate the words of a line, so a word escapes them, the escape itself, and all
// that could end a line. "-" is the empty word.
std::string escaped(std::string_view text) {
    if (text.empty()) return "-";
    std::string word;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte > ' ' && byte < 0x7F && c != '%' && !(c == '-' && text.size() == 1)) {
            word += c;
        } else {
            word += '%';
            word += hex_digits[byte >> 4];
            word += hex_digits[byte & 15];
        }
    }
    return word;
}

std::optional<std::string> unescaped(std::string_view word) {
    if (word == "-") return std::string{};
    std::string text;
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (word[i] != '%') {
            text += word[i];
            continue;
        }
        if (i + 2 >= word.size()) return std::nullopt;
        const std::size_t high = hex_digits.find(word[i + 1]);
        const std::size_t low = hex_digits.find(word[i + 2]);
        if (high == std::string_view::npos || low == std::string_view::npos) return std::nullopt;
        text += static_cast<char>(high << 4 | low);
        i += 2;
    }
    return text;
}

template <class Number>
std::optional<Number> number_from(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::optional<std::int64_t> duration_from(std::string_view text) {
    const auto duration = number_from<std::int64_t>(text);
    return duration && *duration >= 0 ? duration : std::nullopt;
}

using Words = std::vector<std::string_view>;

// Exactly one blank between two words.
Words words_of(std::string_view line) {
    Words words;
    for (;;) {
        const std::size_t blank = line.find(' ');
        words.push_back(line.substr(0, blank));
        if (blank == std::string_view::npos) return words;
        line.remove_prefix(blank + 1);
    }
}

template <class Target, class Value>
bool store(Target& target, const std::optional<Value>& value) {
    if (value) target = static_cast<Target>(*value);
    return value.has_value();
}

bool read_fault(Setup& setup, const Words& words) {
    if (words.size() != 4) return false;
    setup.faults.emplace_back();
    FaultSetting& fault = setup.faults.back();
    return store(fault.name, unescaped(words[1])) && store(fault.value, unescaped(words[2])) &&
           store(fault.at_us, duration_from(words[3]));
}

bool read_step(ScenarioStep& step, const Words& words) {
    constexpr int triggers = 4;
    if (words.size() != 5) return false;
    const auto trigger = number_from<int>(words[1]);
    if (!trigger || *trigger < 0 || *trigger >= triggers) return false;
    step.trigger = static_cast<ScenarioStep::Trigger>(*trigger);
    return store(step.at_us, duration_from(words[2])) && store(step.text, unescaped(words[3])) &&
           store(step.action, unescaped(words[4]));
}

bool read_pace(Setup& setup, std::string_view word) {
    setup.pace = number_from<double>(word);
    return setup.pace.has_value() && std::isfinite(*setup.pace) && *setup.pace > 0;
}

bool read_real(Setup& setup, const Words& words) {
    if (words.size() < 2) return false;
    RealPart& part = setup.real.emplace_back();
    for (const std::string_view word : std::span(words).subspan(2))
        if (!store(part.names.emplace_back(), unescaped(word))) return false;
    return store(part.role, value_of(roles, words[1]));
}

bool read_line(Setup& setup, std::string_view line) {
    const Words words = words_of(line);
    if (words[0] == "real") return read_real(setup, words);
    if (words[0] == "fault") return read_fault(setup, words);
    if (words[0] == "step") return read_step(setup.steps.emplace_back(), words);
    if (words[0] == "stop") return read_step(setup.stop.emplace(), words);
    if (words.size() != 2) return false;
    if (words[0] == "board") return store(setup.board, value_of(boards, words[1]));
    if (words[0] == "operator") return store(setup.operator_kind, value_of(operators, words[1]));
    if (words[0] == "seed") return store(setup.seed, number_from<std::uint64_t>(words[1]));
    if (words[0] == "schedule") return store(setup.schedule, value_of(schedules, words[1]));
    if (words[0] == "gdb") return store(setup.gdb, number_from<int>(words[1]));
    if (words[0] == "pace") return read_pace(setup, words[1]);
    if (words[0] == "limit") return store(setup.limit_us, duration_from(words[1]));
    if (words[0] == "linger") return store(setup.linger_us, duration_from(words[1]));
    if (words[0] == "stall") return store(setup.stall_us, duration_from(words[1]));
    if (words[0] == "report") return store(setup.report_fd, number_from<int>(words[1]));
    if (words[0] == "wires") return store(setup.wires_fd, number_from<int>(words[1]));
    if (words[0] == "wave") return store(setup.wave_fd, number_from<int>(words[1]));
    if (words[0] == "control") return store(setup.control_fd, number_from<int>(words[1]));
    return false;
}

// As short as can be read back unchanged.
std::string text_of(double number) {
    std::array<char, 40> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
    return {buffer.data(), result.ptr};
}

} // namespace

const RealPart* real_part(const Setup& setup, Role role) {
    const auto found = std::ranges::find(setup.real, role, &RealPart::role);
    return found == setup.real.end() ? nullptr : &*found;
}

std::string encode(const Setup& setup) {
    const auto line_of = [](std::string_view word, const ScenarioStep& step) {
        return std::string(word) + " " + std::to_string(static_cast<int>(step.trigger)) + " " +
               std::to_string(step.at_us) + " " + escaped(step.text) + " " + escaped(step.action) +
               "\n";
    };
    std::string text;
    text.append("board ").append(name_of(boards, setup.board));
    text.append("\noperator ").append(name_of(operators, setup.operator_kind)).append("\n");
    text += "seed " + std::to_string(setup.seed) + "\n";
    if (setup.schedule == Schedule::random) text += "schedule random\n";
    if (setup.pace) text += "pace " + text_of(*setup.pace) + "\n";
    text += "limit " + std::to_string(setup.limit_us) + "\n";
    if (setup.linger_us) text += "linger " + std::to_string(*setup.linger_us) + "\n";
    text += "stall " + std::to_string(setup.stall_us) + "\n";
    text += "report " + std::to_string(setup.report_fd) + "\n";
    if (setup.wires_fd >= 0) text += "wires " + std::to_string(setup.wires_fd) + "\n";
    if (setup.wave_fd >= 0) text += "wave " + std::to_string(setup.wave_fd) + "\n";
    if (setup.control_fd >= 0) text += "control " + std::to_string(setup.control_fd) + "\n";
    for (const FaultSetting& fault : setup.faults)
        text += "fault " + escaped(fault.name) + " " + escaped(fault.value) + " " +
                std::to_string(fault.at_us) + "\n";
    for (const ScenarioStep& step : setup.steps)
        text += line_of("step", step);
    if (setup.stop) text += line_of("stop", *setup.stop);
    if (setup.gdb) text += "gdb 1\n";
    for (const RealPart& part : setup.real) {
        text.append("real ").append(name_of(roles, part.role));
        for (const std::string& name : part.names)
            text += " " + escaped(name);
        text += "\n";
    }
    return text;
}

std::optional<Setup> decode(std::string_view text) {
    Setup setup;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        if (end == std::string_view::npos || !read_line(setup, text.substr(0, end)))
            return std::nullopt;
        text.remove_prefix(end + 1);
    }
    return setup;
}

} // namespace k4sim
