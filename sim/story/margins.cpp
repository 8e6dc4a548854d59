#include "sim/story/margins.h"

#include "sim/formats/short_number.h"
#include "sim/story/readings.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

namespace k4sim {

namespace {

using State = Margin::State;

constexpr double loop_below_nominal_db = 14;
constexpr std::size_t quiet_cycles_needed = 8;
constexpr int good_sweeps_needed = 4;
constexpr double sweep_hz[] = {25, 100, 500, 1000, 5000, 12000, 19000};
constexpr int parallel_lines = 8, parallel_passes_needed = 10;
constexpr int link_readings_needed = 20;
constexpr int rounds_needed = 100;
constexpr double steady_needed_s = 5;
constexpr int key_codes = 22, code_escape = 15;
constexpr int codes_without_keypad[] = {12, 13, 14, 15, 19, 20, 21};

struct Account {
    const Story& story;
    const Readings& readings;
    std::vector<Margin>& ledger;
};

double hundredths(double number) { return std::round(number * 100) / 100; }

std::optional<double> hundredths(std::optional<double> number) {
    return number ? std::optional(hundredths(*number)) : std::nullopt;
}

// `distance` from the limit is what is left of it: the worst is the smallest.
struct Worst {
    std::optional<double> value, limit;
    double distance = 0;
    Microseconds at_us = 0;

    void see(double seen, double its_limit, double left, Microseconds t) {
        if (value && left >= distance) return;
        *this = {seen, its_limit, left, t};
    }
};

void add_measured(Account& told, const std::string& unit, const std::string& quantity,
                  const Worst& worst) {
    Margin margin{unit, quantity, "dB", hundredths(worst.limit)};
    margin.kind = Margin::Kind::measured;
    if (worst.value) {
        margin.state = worst.distance >= 0 ? State::met : State::missed;
        margin.worst = hundredths(*worst.value);
        margin.distance = hundredths(worst.distance);
        margin.at_us = worst.at_us;
    }
    told.ledger.push_back(margin);
}

struct Count {
    std::string unit, quantity, in;
    double needed = 0;
};

void add_counted(Account& told, const Count& what, State state, std::optional<double> reached,
                 Microseconds at_us) {
    Margin margin{what.unit, what.quantity, what.in, what.needed, state};
    if (reached) {
        margin.worst = hundredths(*reached);
        margin.distance = hundredths(*reached - what.needed);
        margin.at_us = at_us;
    }
    told.ledger.push_back(margin);
}

void add_counted(Account& told, const Count& what, double reached, Microseconds at_us) {
    add_counted(told, what, reached >= what.needed ? State::met : State::missed, reached, at_us);
}

// What a row says in its last text that is counted until it says "OK". `reached` reads that text;
// empty: it does not tell.
template <class Reached>
void add_by_row(Account& told, const Count& what, Reached reached) {
    const StatusRow* const row = told.story.row(what.unit);
    if (row == nullptr || row->status().empty())
        return add_counted(told, what, told.story.timed ? State::not_judged : State::not_told, {},
                           0);
    const Microseconds at_us = row->texts.back().at_us;
    if (row->status() == "OK") return add_counted(told, what, what.needed, at_us);
    const std::optional<double> count = reached(row->status());
    add_counted(told, what, State::missed, count, at_us);
}

std::optional<double> good_lines(const std::string& text) {
    constexpr std::string_view head = "Bit status: ";
    if (!text.starts_with(head) || text.size() != head.size() + parallel_lines) return std::nullopt;
    return static_cast<double>(std::ranges::count(text.substr(head.size()), '+'));
}

void add_parallel(Account& told) {
    add_by_row(told, {"ParallelPrt", "good lines", "lines", parallel_lines}, good_lines);
    add_by_row(told, {"ParallelPrt", "good passes in a row", "passes", parallel_passes_needed},
               [](const std::string& text) -> std::optional<double> {
                   if (good_lines(text) == parallel_lines) return std::nullopt;
                   return 0.0;
               });
}

void add_links(Account& told) {
    add_by_row(told,
               {"Ethernet", "readings of both links up in a row", "readings", link_readings_needed},
               [](const std::string& text) -> std::optional<double> {
                   if (text.find("-??") == std::string::npos) return std::nullopt;
                   return 0.0;
               });
}

std::set<int> required_codes(bool keypad) {
    if (!keypad) return {std::begin(codes_without_keypad), std::end(codes_without_keypad)};
    std::set<int> codes;
    for (int code = 0; code < key_codes; ++code)
        codes.insert(code);
    return codes;
}

void add_keys(Account& told) {
    const Count order{"Frontpanel", "order of keys: others between two Esc", "keys", 1};
    std::set<int> missing = required_codes(told.readings.keypad);
    const auto needed = static_cast<double>(missing.size());
    Microseconds at_us = 0;
    std::optional<double> between; // keys since the last Esc
    Worst closest;
    for (const Pressed& key : told.readings.keys) {
        if (missing.erase(key.code) > 0) at_us = key.at_us;
        if (key.code != code_escape) {
            if (between) ++*between;
            continue;
        }
        if (between) closest.see(*between, 1, *between, key.at_us);
        between = 0;
    }
    const Count all{"Frontpanel", "keys and steps of the knobs", "keys", needed};
    if (told.readings.keys.empty() && told.story.row(all.unit) == nullptr)
        add_counted(told, all, State::not_judged, {}, 0);
    else
        add_counted(told, all, needed - static_cast<double>(missing.size()), at_us);
    if (closest.value)
        add_counted(told, order, *closest.value, closest.at_us);
    else
        add_counted(told, order, State::not_judged, {}, 0);
    told.ledger.back().kind = Margin::Kind::noted;
}

void add_rounds(Account& told) {
    add_by_row(told, {"USB Ports", "good rounds in a row", "rounds", rounds_needed},
               [](const std::string& text) -> std::optional<double> {
                   constexpr std::string_view head = "In progress: ";
                   if (!text.starts_with(head)) return 0.0;
                   return std::atof(text.c_str() + head.size());
               });
}

double above(const Quiet& cycle) {
    return std::max({cycle.rms[0] - noise_limit_db, cycle.rms[1] - noise_limit_db,
                     cycle.dc[0] - dc_limit_db, cycle.dc[1] - dc_limit_db});
}

void add_quiet_cycles(Account& told) {
    const Count what{"AnalogAudio", "quiet cycles in a row", "cycles", quiet_cycles_needed};
    double in_a_row = 0, most = 0;
    Microseconds at_us = 0;
    for (const Quiet& cycle : told.readings.quiet) {
        in_a_row = above(cycle) <= 0 ? in_a_row + 1 : 0;
        if (in_a_row <= most) continue;
        most = in_a_row;
        at_us = cycle.at_us;
    }
    if (told.readings.quiet.empty()) return add_counted(told, what, State::not_judged, {}, 0);
    add_counted(told, what, most, at_us);
}

void add_silence(Account& told) {
    std::vector<Quiet> cycles = told.readings.quiet;
    if (told.readings.asked_us && cycles.size() > quiet_cycles_needed)
        cycles.erase(cycles.begin(),
                     cycles.end() - static_cast<std::ptrdiff_t>(quiet_cycles_needed));
    for (std::size_t input = 0; input < 2; ++input) {
        Worst noise{{}, noise_limit_db}, dc{{}, dc_limit_db};
        for (const Quiet& cycle : cycles) {
            noise.see(cycle.rms[input], noise_limit_db, noise_limit_db - cycle.rms[input],
                      cycle.at_us);
            dc.see(cycle.dc[input], dc_limit_db, dc_limit_db - cycle.dc[input], cycle.at_us);
        }
        const std::string of_input = " of input " + std::to_string(input + 1);
        add_measured(told, "AnalogAudio", "noise" + of_input, noise);
        add_measured(told, "AnalogAudio", "DC" + of_input, dc);
    }
}

double room_of(const Readings& readings, double level) {
    return std::min(level - readings.lowest, readings.highest - level);
}

// The sweeps that are whole and good.
std::set<int> good_sweeps(const Readings& readings) {
    std::map<int, std::size_t> tones;
    std::set<int> bad;
    for (const Tone& tone : readings.tones) {
        ++tones[tone.sweep];
        for (const double level : tone.rms)
            if (room_of(readings, level) < 0) bad.insert(tone.sweep);
    }
    std::set<int> good;
    for (const auto& [sweep, count] : tones)
        if (count == std::size(sweep_hz) && !bad.contains(sweep)) good.insert(sweep);
    return good;
}

// Its level is on no console, only whether it was there.
void add_loop(Account& told) {
    const Readings& readings = told.readings;
    Margin margin{"AnalogAudio", "tone over the cable", "dB"};
    if (readings.nominal_swing)
        margin.limit = hundredths(*readings.nominal_swing - loop_below_nominal_db);
    if (readings.analysed)
        margin.state = State::met;
    else if (readings.asked_us)
        margin.state = State::missed;
    told.ledger.push_back(margin);
}

void add_gain(Account& told) {
    const Readings& readings = told.readings;
    const std::set<int> good = good_sweeps(readings);
    const bool passed = good.size() >= good_sweeps_needed;
    const Count sweeps{"AnalogAudio", "good sweeps", "sweeps", good_sweeps_needed};
    if (readings.tones.empty())
        add_counted(told, sweeps, State::not_judged, {}, 0);
    else
        add_counted(told, sweeps, static_cast<double>(good.size()), readings.tones.back().at_us);
    for (const double hertz : sweep_hz)
        for (std::size_t input = 0; input < 2; ++input) {
            Worst worst;
            if (!readings.tones.empty()) worst.limit = readings.lowest;
            for (const Tone& tone : readings.tones) {
                if (tone.hertz != hertz || (passed && !good.contains(tone.sweep))) continue;
                const double level = tone.rms[input];
                const bool low = level - readings.lowest < readings.highest - level;
                worst.see(level, low ? readings.lowest : readings.highest, room_of(readings, level),
                          tone.at_us);
            }
            add_measured(told, "AnalogAudio",
                         "gain of input " + std::to_string(input + 1) + " at " +
                             short_number(hertz) + " Hz",
                         worst);
        }
}

// The longest time on end, before `end_us`, for which the receiver was locked to that rate.
Worst longest_lock(const Story& story, int rate_hz, Microseconds end_us) {
    Worst longest;
    AesLock former;
    const auto until = [&](Microseconds t) {
        const double held_s = in_seconds(std::min(t, end_us) - former.at_us);
        if (former.rate_hz == rate_hz && held_s > 0) longest.see(held_s, 0, -held_s, former.at_us);
    };
    for (const AesLock& lock : story.locks) {
        until(lock.at_us);
        former = lock;
    }
    until(end_us);
    return longest;
}

// When the row read something else than that text; when the run ended, if it always did.
Microseconds end_of(const StatusRow& row, const std::string& text, Microseconds end_us) {
    bool stood = false;
    for (const StatusText& entry : row.texts) {
        if (stood && entry.text != text) return entry.at_us;
        stood |= entry.text == text;
    }
    return end_us;
}

void add_locks(Account& told) {
    const struct {
        int rate_hz;
        std::string quantity, waits;
    } steps[] = {{0, "without lock", "Wait for cable unplugged"},
                 {32000, "lock at 32000 Hz", "Wait for 32000 Hz 'LOCK'"},
                 {44100, "lock at 44100 Hz", "Wait for 44100 Hz 'LOCK'"},
                 {48000, "lock at 48000 Hz", "Wait for 48000 Hz 'LOCK'"}};
    const StatusRow* const row = told.story.row("AES/EBU");
    const std::string text = row == nullptr ? "" : row->status();
    const auto waiting =
        std::ranges::find_if(steps, [&](const auto& step) { return step.waits == text; });
    for (const auto& step : steps) {
        const Count what{"AES/EBU", step.quantity, "s", steady_needed_s};
        const Worst held = told.story.timed && !text.empty()
                               ? longest_lock(told.story, step.rate_hz,
                                              end_of(*row, step.waits, told.story.end_us))
                               : Worst{};
        State state = told.story.timed ? State::not_judged : State::not_told;
        if (text == "OK" || (waiting != std::end(steps) && &step < waiting))
            state = State::met;
        else if (&step == waiting)
            state = State::missed;
        add_counted(told, what, state, held.value, held.at_us);
    }
}

bool is_measured(const Margin& margin) { return margin.kind == Margin::Kind::measured; }

double share(const Margin& margin) { return *margin.distance / *margin.limit; }

} // namespace

std::vector<Margin> ledger_of(const Story& story) {
    std::vector<Margin> ledger;
    const Readings readings = readings_of(story);
    Account told{story, readings, ledger};
    for (const auto add : {add_parallel, add_links, add_keys, add_rounds, add_quiet_cycles,
                           add_silence, add_loop, add_gain, add_locks})
        add(told);
    return ledger;
}

const Margin* smallest(const std::vector<Margin>& ledger) {
    const Margin* best = nullptr;
    const auto rank = [](const Margin& margin) {
        return margin.state == State::met ? 2 : is_measured(margin) ? 0 : 1;
    };
    const auto nearer = [&](const Margin& one, const Margin& other) {
        if (rank(one) != rank(other)) return rank(one) < rank(other);
        return is_measured(one) ? *one.distance < *other.distance : share(one) < share(other);
    };
    for (const Margin& margin : ledger) {
        const bool judged = margin.state == State::met || margin.state == State::missed;
        if (!margin.distance || !judged || margin.kind == Margin::Kind::noted) continue;
        if (!is_measured(margin) && margin.state == State::met) continue;
        if (best == nullptr || nearer(margin, *best)) best = &margin;
    }
    return best;
}

std::string in_words(const Margin& margin) {
    const std::string distance = short_number(margin.distance.value_or(0));
    if (is_measured(margin)) return distance + " " + margin.in + " (" + margin.quantity + ")";
    return distance + " (" + margin.quantity + ": " + short_number(margin.worst.value_or(0)) +
           " of " + short_number(margin.limit.value_or(0)) + ")";
}

std::string_view name_of(State state) {
    constexpr std::string_view names[] = {"met", "missed", "not judged", "not told"};
    return names[static_cast<std::size_t>(state)];
}

} // namespace k4sim
