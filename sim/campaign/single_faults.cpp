#include "sim/campaign/single_faults.h"

#include "sim/models/faults.h"
#include "sim/models/nearest.h"
#include "sim/setup_choices.h"

#include <algorithm>
#include <fnmatch.h>
#include <sstream>
#include <stdexcept>

namespace k4sim {

namespace {

struct Concern {
    std::string_view beginning, unit;
};

// How the names of the faults begin that are a row's concern.
constexpr Concern concerns[] = {
    {"aes-", "AES/EBU"},          {"analog-", "AnalogAudio"},   {"capture-", "AnalogAudio"},
    {"card-", "AnalogAudio"},     {"playback-", "AnalogAudio"}, {"encoder-", "Frontpanel"},
    {"key-", "Frontpanel"},       {"panel-", "Frontpanel"},     {"link-", "Ethernet"},
    {"parallel-", "ParallelPrt"}, {"serial-", "USB Ports"},
};

std::string concern_of(std::string_view name) {
    for (const auto& [beginning, unit] : concerns)
        if (name.starts_with(beginning)) return std::string(unit);
    return "";
}

// Each word of a fault that takes one; of the others an example.
std::vector<std::string> settings_of(const Fault& fault) {
    if (fault.value != Fault::Value::word) return {fault_example(fault)};
    std::vector<std::string> settings;
    std::istringstream words{std::string(fault.value_syntax)};
    for (std::string word; std::getline(words, word, '|');)
        settings.push_back(std::string(fault.name) + "=" + word);
    return settings;
}

std::string expected_of(const Fault& fault) {
    if (fault.sight != Fault::Sight::seen) return "";
    return fault.verdict.starts_with("UNDECIDED") ? "blocked" : "detected";
}

bool matches(const std::string& name, const std::string& pattern) {
    if (pattern.find_first_of("*?[") == std::string::npos)
        return name.find(pattern) != std::string::npos;
    return fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
}

void add_faults(std::vector<SingleFault>& faults, std::string_view board) {
    for (const Fault& fault : fault_list()) {
        const std::vector<std::string_view> suitable = fault_boards(fault);
        if (std::ranges::find(suitable, board) == suitable.end()) continue;
        for (const std::string& setting : settings_of(fault))
            faults.push_back({setting, std::string(board), concern_of(fault.name),
                              expected_of(fault), std::string(fault.verdict)});
    }
}

} // namespace

std::vector<SingleFault> single_faults(const std::string& pattern,
                                       const std::vector<Board>& chosen) {
    std::vector<SingleFault> faults;
    for (const Board board : chosen)
        add_faults(faults, name_of(boards, board));
    std::erase_if(faults, [&](const SingleFault& one) { return !matches(one.fault, pattern); });
    if (faults.empty())
        throw std::runtime_error("no fault of these boards is named like \"" + pattern + "\"" +
                                 did_you_mean(pattern, fault_names()));
    return faults;
}

std::vector<Board> boards_of(const std::string& list) {
    std::vector<Board> chosen;
    std::vector<std::string_view> suitable = names_of(boards);
    std::erase(suitable, name_of(boards, Board::none));
    std::istringstream names(list);
    for (std::string name; std::getline(names, name, ',');) {
        if (std::ranges::find(suitable, name) == suitable.end())
            throw std::runtime_error("--boards: " + no_such("board", name, suitable));
        chosen.push_back(*value_of(boards, name));
    }
    if (chosen.empty())
        for (const std::string_view name : suitable)
            chosen.push_back(*value_of(boards, name));
    return chosen;
}

} // namespace k4sim
