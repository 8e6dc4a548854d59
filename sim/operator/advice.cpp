#include "sim/operator/advice.h"

#include "sim/models/panel/keys.h"
#include "sim/operator/words.h"

#include <algorithm>

namespace k4sim {

namespace {

struct KnobStep {
    std::string_view asked;
    std::string_view action;
};

// The letters of the row with a keypad, which are no keys, and its words without one.
constexpr KnobStep knob_steps[] = {
    {"L", "turn 1 -1"},
    {"R", "turn 1 1"},
    {"h", "turn 2 -1"},
    {"H", "turn 2 1"},
};
constexpr KnobStep words_without_keypad[] = {
    {"Ml", "turn 1 -1"}, {"Mr", "turn 1 1"},  {"M", "press K"},   {"Esc", "press E"},
    {"H", "press M"},    {"Hl", "turn 2 -1"}, {"Hr", "turn 2 1"},
};

const ScreenRow* row_with(const std::vector<ScreenRow>& rows, std::string_view text) {
    const auto found = std::ranges::find_if(rows, [&](const ScreenRow& row) {
        return (row.label + " " + row.status).find(text) != std::string::npos;
    });
    return found == rows.end() ? nullptr : &*found;
}

Advice lookup(std::string_view asked, const auto& table, const std::string& why) {
    const auto found = std::ranges::find(table, asked, &KnobStep::asked);
    return found == std::end(table) ? Advice{} : Advice{std::string(found->action), why};
}

Advice for_panel_row(const std::string& status) {
    const std::string why = "the row Frontpanel still asks for ";
    if (status.starts_with("Missing ")) {
        const auto words = words_of(std::string_view(status).substr(8));
        if (words.empty()) return {};
        return lookup(words[0], words_without_keypad, why + std::string(words[0]));
    }
    if (status.empty() || status == "OK" || status.find(' ') != std::string::npos) return {};
    const std::string_view asked = std::string_view(status).substr(0, 1);
    const Advice knob = lookup(asked, knob_steps, why + std::string(asked));
    if (!knob.action.empty()) return knob;
    if (key_characters.find(asked) == std::string_view::npos) return {};
    return {"press " + std::string(asked), why + std::string(asked)};
}

Advice for_cables(const Situation& now) {
    if (!now.analog_plugged && now.console.find("Check for loopback audio") != std::string::npos)
        return {"plug analog", "the console asks to \"Check for loopback audio\""};
    if (!now.digital_plugged && row_with(now.rows, "'LOCK'") != nullptr)
        return {"plug digital", "the row AES/EBU waits for 'LOCK'"};
    if (now.digital_plugged && row_with(now.rows, "cable unplugged") != nullptr)
        return {"unplug digital", "the row AES/EBU waits for the cable to be unplugged"};
    if (now.analog_plugged && row_with(now.rows, "Silence/DC") != nullptr)
        return {"unplug analog", "the row AnalogAudio listens to inputs without a cable"};
    return {};
}

} // namespace

Advice next_step(const Situation& now) {
    if (now.lamp_test)
        return {"press 0", "every pixel is lit to be looked at, until the first key"};
    if (const Advice cables = for_cables(now); !cables.action.empty()) return cables;
    if (const ScreenRow* row = row_with(now.rows, "Frontpanel "))
        if (const Advice keys = for_panel_row(row->status); !keys.action.empty()) return keys;
    if (now.rows.empty()) return {"", "nothing is on the glass that asks for anything"};
    const bool passed =
        std::ranges::all_of(now.rows, [](const ScreenRow& row) { return row.status == "OK"; });
    if (passed) return {"", "all rows read OK: there is nothing left to do"};
    return {"", "no row asks for anything now: wait, or end the test by Esc twice"};
}

} // namespace k4sim
