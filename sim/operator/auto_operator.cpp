#include "sim/operator/auto_operator.h"

#include "sim/models/device.h"
#include "sim/operator/words.h"

#include <algorithm>
#include <array>

namespace k4sim {

namespace {

constexpr Microseconds look_us = 250'000;         // between two looks at the glass
constexpr Microseconds lamp_test_us = 220'000;    // with a look and a key: half a second
constexpr Microseconds reading_us = 2'500'000;    // until the screen shows what was done
constexpr Microseconds patience_us = 120'000'000; // without anything new but numbers

constexpr Microseconds end_us = 10'000'000; // that the program may take to end
constexpr int most_tries = 3;

constexpr std::string_view panel_label = "Frontpanel";
constexpr char escape_key = 'E';
constexpr std::string_view analog_request = "Check for loopback audio";
constexpr std::string_view digital_request = "'LOCK'";

Action press(char key) {
    Action action;
    action.kind = Action::Kind::press;
    action.key = key;
    return action;
}

Action turn(int encoder, int steps) {
    Action action;
    action.kind = Action::Kind::turn;
    action.encoder = encoder;
    action.steps = steps;
    return action;
}

// What the row asks for without a keypad.
struct Request {
    std::string_view word;
    Action action;
};

const std::array<Request, 7>& knob_requests() {
    static const std::array<Request, 7> requests{{
        {"Ml", turn(1, -1)},
        {"Mr", turn(1, 1)},
        {"M", press('K')},
        {"Esc", press(escape_key)},
        {"H", press('M')},
        {"Hl", turn(2, -1)},
        {"Hr", turn(2, 1)},
    }};
    return requests;
}

// What a character of the row asks for with a keypad.
Action request_of(char character) {
    switch (character) {
    case 'L':
        return turn(1, -1);
    case 'R':
        return turn(1, 1);
    case 'h':
        return turn(2, -1);
    case 'H':
        return turn(2, 1);
    default:
        return press(character);
    }
}

// What the table reads, without numbers: levels flicker for ever.
std::string words_on(const std::vector<ScreenRow>& rows) {
    std::string words;
    for (const ScreenRow& row : rows)
        words.append(row.label).append(" ").append(row.status).append("\n");
    std::erase_if(words, [](char character) {
        return std::string_view("0123456789.-").find(character) != std::string_view::npos;
    });
    return words;
}

bool passed(const ScreenRow& row) { return row.label.empty() || row.status == "OK"; }

// A unit that does not run, or passed, changes no more.
bool settled(const ScreenRow& row) {
    return row.status.empty() || passed(row) || row.status == "Not running";
}

} // namespace

AutoOperator::AutoOperator(std::uint64_t seed, Device& device, Surroundings& surroundings,
                           const OperatorCalls& calls, const Habits& habits)
    : device_(device), surroundings_(surroundings), hands_(device, surroundings, calls.apply_fault),
      random_(seed), habits_(habits), left_(calls.left) {}

void AutoOperator::start() {
    if (device_.oled() != nullptr) look();
}

void AutoOperator::console_line(std::string_view line) {
    if (line.find(analog_request) == std::string_view::npos || analog_plugged_) return;
    analog_plugged_ = true;
    plug(Action::Cable::analog);
}

void AutoOperator::look() {
    const Picture picture = device_.oled()->picture();
    if (picture != last_picture_) {
        last_picture_ = picture;
        rows_ = reader_.read(picture);
        plug_when_asked();
        notice(words_on(rows_));
    }
    const Microseconds pause = decide();
    if (pause > 0) surroundings_.at(surroundings_.now() + pause, [this] { look(); });
}

// What comes next, and when to look again; 0: never.
Microseconds AutoOperator::decide() {
    switch (phase_) {
    case Phase::waits_for_lamp_test:
        return wait_for_lamp_test();
    case Phase::operates:
        return operate();
    case Phase::watches:
        return watch();
    case Phase::aborts:
        break;
    }
    return operate();
}

Microseconds AutoOperator::wait_for_lamp_test() {
    const bool is_lit = ScreenReader::is_lamp_test(last_picture_) &&
                        surroundings_.now() - device_.oled()->changed_at() >= lamp_test_us;
    // A key that was down at the start ends the lamp test before anyone can see it.
    if (is_lit || !rows_.empty()) {
        plan_everything();
        phase_ = Phase::operates;
    } else if (surroundings_.now() - last_change_ >= patience_us) {
        give_up();
    }
    return look_us;
}

void AutoOperator::give_up() {
    plan_ = {press(escape_key), press(escape_key)};
    phase_ = Phase::aborts;
}

// A press may be missed; what does not end by the last one does not end.
Microseconds AutoOperator::try_again_or_leave() {
    if (++tries_ < most_tries) {
        give_up();
        return end_us;
    }
    if (left_) left_();
    return 0;
}

Microseconds AutoOperator::operate() {
    if (plan_.empty()) {
        if (phase_ == Phase::aborts) return try_again_or_leave();
        phase_ = Phase::watches;
        return reading_us;
    }
    hands_.act(slips() ? press(wrong_key()) : plan_.front());
    plan_.pop_front();
    return up_to(habits_.pause_us, habits_.pause_jitter_us);
}

// Not Esc, which ends the run when it comes twice.
char AutoOperator::wrong_key() {
    const char key = key_characters[random_() % key_characters.size()];
    return key == escape_key ? '0' : key;
}

bool AutoOperator::slips() {
    return habits_.slips > 0 && phase_ != Phase::aborts && random_() % habits_.slips == 0;
}

// At least `least`, and a random part of `more` in addition.
Microseconds AutoOperator::up_to(Microseconds least, Microseconds more) {
    return more == 0
               ? least
               : least + static_cast<Microseconds>(random_() % static_cast<std::uint64_t>(more));
}

Microseconds AutoOperator::watch() {
    if (nothing_more_can_come()) {
        give_up();
        return operate();
    }
    plan_what_is_asked();
    if (plan_.empty()) return look_us;
    phase_ = Phase::operates;
    return operate();
}

void AutoOperator::plug_when_asked() {
    const bool asked = std::ranges::any_of(rows_, [](const ScreenRow& row) {
        return row.status.find(digital_request) != std::string::npos;
    });
    if (!asked || digital_plugged_) return;
    digital_plugged_ = true;
    plug(Action::Cable::digital);
}

void AutoOperator::plug(Action::Cable cable) {
    Action action;
    action.kind = Action::Kind::plug;
    action.cable = cable;
    surroundings_.at(surroundings_.now() + up_to(habits_.plug_us, habits_.plug_jitter_us),
                     [this, action] { hands_.act(action); });
}

void AutoOperator::notice(std::string words) {
    if (seen_words_.insert(std::move(words)).second) last_change_ = surroundings_.now();
}

// Esc stands between other keys: twice in a row it would end the run.
void AutoOperator::plan_everything() {
    for (const char key : key_characters)
        plan_.push_back(press(key));
    for (const int encoder : {1, 2}) {
        plan_.push_back(turn(encoder, 1));
        plan_.push_back(turn(encoder, -1));
    }
    std::shuffle(plan_.begin(), plan_.end(), random_);
}

void AutoOperator::plan_what_is_asked() {
    const auto row = std::ranges::find(rows_, panel_label, &ScreenRow::label);
    if (row == rows_.end() || settled(*row)) return;
    if (row->status.starts_with("Missing ")) {
        for (const std::string_view word : words_of(std::string_view(row->status).substr(8)))
            for (const Request& request : knob_requests())
                if (request.word == word) plan_.push_back(request.action);
    } else if (row->status.find(' ') == std::string::npos) {
        for (const char character : row->status)
            plan_.push_back(request_of(character));
    }
}

bool AutoOperator::nothing_more_can_come() const {
    if (surroundings_.now() - last_change_ >= patience_us) return true;
    return !rows_.empty() && std::ranges::all_of(rows_, settled) &&
           !std::ranges::all_of(rows_, passed);
}

} // namespace k4sim
