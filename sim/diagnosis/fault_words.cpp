#include "sim/diagnosis/fault_words.h"

#include "sim/models/faults.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <string_view>
#include <utility>

namespace k4sim {

namespace {

using Word = std::pair<std::string_view, std::string_view>;

constexpr Word places[] = {{"cpld", "the CPLD"},
                           {"panel", "the front panel"},
                           {"keys", "the keys"},
                           {"oled", "the OLED"},
                           {"parallel", "the parallel port"},
                           {"codec", "the audio converter"},
                           {"mixer", "the mixer"},
                           {"aes", "AES/EBU"},
                           {"link", "the link"},
                           {"speaker", "the speaker"},
                           {"sda", "the data line"},
                           {"scl", "the clock line"},
                           {"in", "input"},
                           {"out", "output"}};

constexpr Word ways[] = {{"stuck-0", "is stuck at 0"},
                         {"stuck-1", "is stuck at 1"},
                         {"inverted", "is inverted"},
                         {"open", "is broken"},
                         {"tied-low", "are tied to each other, and a low one wins"},
                         {"tied-high", "are tied to each other, and a high one wins"},
                         {"slipped", "have lost one"},
                         {"swapped", "are swapped"}};

const std::string_view* find(const auto& words, std::string_view word) {
    const auto found = std::ranges::find(words, word, &Word::first);
    return found == std::end(words) ? nullptr : &found->second;
}

bool is_letter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }

// "bit3": "bit 3".
std::string with_blank(std::string_view place) {
    std::size_t digits = place.size();
    while (digits > 0 && !is_letter(place[digits - 1]))
        --digits;
    const std::string_view letters = place.substr(0, digits);
    const std::string_view* const known = find(places, letters);
    std::string words(known == nullptr ? letters : *known);
    if (digits == place.size() || digits == 0) return words.append(place.substr(digits));
    return words.append(" ").append(place.substr(digits));
}

// From the innermost place outwards.
std::string site_in_words(std::string_view site) {
    std::string words;
    for (std::size_t dot = 0; dot != std::string_view::npos;) {
        dot = site.rfind('.');
        const std::string_view place = site.substr(dot == std::string_view::npos ? 0 : dot + 1);
        words.append(words.empty() ? "" : " of ").append(with_blank(place));
        if (dot != std::string_view::npos) site = site.substr(0, dot);
    }
    return words;
}

std::string way_in_words(std::string_view way) {
    if (const std::string_view* const known = find(ways, way)) return std::string(*known);
    constexpr std::string_view flaky = "flaky-";
    if (way.starts_with(flaky))
        return "is wrong once in " + std::string(way.substr(flaky.size())) + " times";
    return "is " + std::string(way);
}

// With the value in the place of the capitals that stand for it.
std::string with_value(std::string_view breaks, std::string_view stands, std::string_view value) {
    std::string words(breaks);
    for (std::size_t at = 0; (at = words.find(stands, at)) != std::string::npos;) {
        const std::size_t end = at + stands.size();
        const bool whole = (at == 0 || !is_letter(words[at - 1])) &&
                           (end == words.size() || !is_letter(words[end]));
        if (whole) words.replace(at, stands.size(), value);
        at += whole ? value.size() : stands.size();
    }
    return words;
}

bool is_capitals(std::string_view text) {
    return !text.empty() &&
           text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") == std::string_view::npos;
}

} // namespace

std::string fault_in_words(const std::string& fault) {
    const std::size_t equals = fault.find('=');
    const std::string name = fault.substr(0, equals);
    const std::string value = equals == std::string::npos ? "" : fault.substr(equals + 1);
    const Fault* const named = find_fault(name);
    if (named == nullptr) return site_in_words(name) + " " + way_in_words(value);
    const std::string_view stands = named->value_syntax;
    if (is_capitals(stands)) return with_value(named->breaks, stands, value);
    return std::string(named->breaks);
}

} // namespace k4sim
