#include "sim/story/reasons.h"

#include "sim/formats/short_number.h"
#include "sim/story/readings.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace k4sim {

namespace {

std::string comma(const std::string& former) { return former.empty() ? "" : ", "; }

std::string tenths(double number) { return with_decimals(number, 1); }

// "4.0 dB below the limit"; empty when it is not beyond.
std::string beyond(double deviation_db, double tolerance_db, const std::string& of) {
    const double excess_db = std::fabs(deviation_db) - tolerance_db;
    if (excess_db <= 0) return "";
    return tenths(excess_db) + (deviation_db < 0 ? " dB below the limit" : " dB above the limit") +
           of;
}

std::string by_input(const std::string& first, const std::string& second) {
    if (first == second) return first.empty() ? "" : "both inputs " + first;
    std::string words = first.empty() ? "" : "input 1 " + first;
    if (!second.empty()) words += comma(words) + "input 2 " + second;
    return words;
}

// What a unit measured that is beyond its limit by the most.
std::string worst_measured(const std::string& unit, const std::vector<Margin>& ledger) {
    const Margin* worst = nullptr;
    for (const Margin& margin : ledger)
        if (margin.unit == unit && margin.kind == Margin::Kind::measured &&
            margin.state == Margin::State::missed)
            if (worst == nullptr || *margin.distance < *worst->distance) worst = &margin;
    if (worst == nullptr) return "";
    return worst->quantity + " " + tenths(-*worst->distance) + " dB beyond the limit";
}

// The row shows the last frequency only, and another one may be the bad one.
std::string why_audio(const std::string& text, const std::vector<Margin>& ledger) {
    const std::vector<double> db = numbers_of(text);
    std::string words;
    if (text.starts_with("Loop gain") && db.size() == 3)
        words = by_input(beyond(db[0], db[2], ""), beyond(db[1], db[2], ""));
    if (text.starts_with("Silence/DC") && db.size() == 4) {
        words = by_input(beyond(std::max(db[0], 0.0), 0, " of noise"),
                         beyond(std::max(db[1], 0.0), 0, " of noise"));
        const std::string dc = by_input(beyond(std::max(db[2], 0.0), 0, " of DC"),
                                        beyond(std::max(db[3], 0.0), 0, " of DC"));
        if (!dc.empty()) words += comma(words) + dc;
    }
    if (text == "Voltages, loopback") return "the tone did not come back to both inputs";
    return words.empty() ? worst_measured("AnalogAudio", ledger) : words;
}

std::string why_parallel(const std::string& text, const std::vector<Margin>&) {
    constexpr std::string_view head = "Bit status: ";
    constexpr std::pair<char, std::string_view> states[] = {{'0', "never high"},
                                                            {'1', "stuck high"},
                                                            {'L', "tied to another"},
                                                            {'H', "tied to another"}};
    std::string words;
    for (std::size_t i = head.size(); text.starts_with(head) && i < text.size(); ++i)
        for (const auto& [character, meaning] : states)
            if (text[i] == character)
                words += comma(words) + "line " + std::to_string(i - head.size()) + " " +
                         std::string(meaning);
    return words;
}

std::string why_links(const std::string& text, const std::vector<Margin>&) {
    const bool lan = text.find("LAN-??") != std::string::npos;
    const bool wan = text.find("WAN-??") != std::string::npos;
    if (!lan && !wan) return "";
    return std::string("no link at ") + (lan && wan ? "LAN and WAN" : lan ? "LAN" : "WAN");
}

std::string why_rounds(const std::string& text, const std::vector<Margin>&) {
    constexpr std::string_view head = "In progress: ";
    if (!text.starts_with(head)) return "";
    return text.substr(head.size()) + " of 100 rounds came back";
}

std::string why_lock(const std::string& text, const std::vector<Margin>& ledger) {
    if (text == "Wait for cable unplugged") return "the receiver was never 5 s without lock";
    if (!text.starts_with("Wait for ")) return "";
    const std::string rate = text.substr(9, text.find(" '") - 9);
    for (const Margin& margin : ledger)
        if (margin.quantity == "lock at " + rate && margin.worst) {
            const bool long_enough = *margin.distance >= 0;
            return "the receiver was locked to " + rate + " for " + tenths(*margin.worst) +
                   (long_enough ? " s, but told another rate" : " s on end at most, 5 are needed");
        }
    return "the receiver never locked to " + rate;
}

// From the last text of the row and what was measured; empty where the text says it all.
std::string explanation(const StatusRow& row, const std::vector<Margin>& ledger) {
    constexpr std::pair<std::string_view,
                        std::string (*)(const std::string&, const std::vector<Margin>&)>
        reasons[] = {{"ParallelPrt", why_parallel},
                     {"Ethernet", why_links},
                     {"USB Ports", why_rounds},
                     {"AnalogAudio", why_audio},
                     {"AES/EBU", why_lock}};
    for (const auto& [label, why] : reasons)
        if (row.label == label) return why(row.status(), ledger);
    return "";
}

} // namespace

std::string rows_not_ok(const std::vector<StatusRow>& rows, const std::vector<Margin>& ledger) {
    std::string words;
    for (const StatusRow& row : rows) {
        if (row.label.empty() || row.status() == "OK") continue;
        words += (words.empty() ? "" : "; ") + row.label;
        if (row.status().empty()) {
            words += " stayed empty";
            continue;
        }
        const std::string why = explanation(row, ledger);
        words += " stayed at \"" + row.status() + "\"" + (why.empty() ? "" : ": " + why);
    }
    return words;
}

} // namespace k4sim
