#include "sim/story/differences.h"

#include "sim/formats/short_number.h"
#include "sim/story/events.h"
#include "sim/story/sources.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace k4sim {

namespace {

constexpr std::string_view analog_row = "AnalogAudio"; // its texts are in dB

struct Compared {
    std::string folder;
    Telling telling;
    std::vector<Event> events;

    explicit Compared(const std::string& path)
        : folder(path), telling(read_record(path)),
          events(read_events(telling.picture("events.jsonl"))) {}

    std::string event(std::size_t i) const {
        if (i >= events.size()) return "(no more events)";
        return short_seconds(events[i].t) + " s " + events[i].what->text;
    }

    // What is in the file that an event names.
    std::string file_of(std::size_t i) const {
        const std::string name = events[i].what->event.text("file").value_or("");
        return is_plain_png(name) ? telling.picture(name) : "";
    }
};

class Comparison {
public:
    Comparison(const std::string& first, const std::string& second,
               const std::optional<Tolerance>& tolerance)
        : first_(first), second_(second), tolerance_(tolerance) {}

    Differences result() {
        if (!tolerance_) compare_events();
        begin_table("");
        add_row("verdict", verdict(first_), verdict(second_));
        compare_rows();
        begin_table("\n");
        compare_margins();
        if (any_) return {true, text_};
        return {false, tolerance_ ? "Nothing differs by more than the tolerance.\n"
                                  : "The runs are the same.\n"};
    }

private:
    static std::string verdict(const Compared& told) {
        return told.telling.report.text("verdict").value_or("");
    }

    bool same_event(std::size_t i) const {
        const Event &one = first_.events[i], &other = second_.events[i];
        return one.t == other.t && one.what->text == other.what->text &&
               (!one.what->event.has("file") || first_.file_of(i) == second_.file_of(i));
    }

    void compare_events() {
        const std::size_t most = std::max(first_.events.size(), second_.events.size());
        const std::size_t both = std::min(first_.events.size(), second_.events.size());
        std::size_t i = 0;
        while (i < both && same_event(i))
            ++i;
        if (i == most) return;
        any_ = true;
        text_ += "The first different event is number " + std::to_string(i + 1) + ":\n  " +
                 first_.event(i) + "\n  " + second_.event(i) + "\n";
        if (i < both && first_.event(i) == second_.event(i)) text_ += "  (the pictures differ)\n";
        text_ += "\n";
    }

    void begin_table(const std::string& before) {
        text_ += before;
        add_row("", first_.folder, second_.folder, false);
    }

    void add_row(const std::string& name, const std::string& one, const std::string& other,
                 bool compared = true) {
        write_row(name, one, other, compared && one != other);
    }

    void write_row(const std::string& name, const std::string& one, const std::string& other,
                   bool differs) {
        any_ |= differs;
        std::array<char, 400> line{};
        std::snprintf(line.data(), line.size(), "%c %-50.100s %-32.100s %.100s",
                      differs ? '!' : ' ', name.c_str(), one.c_str(), other.c_str());
        text_ += line.data();
        text_.erase(text_.find_last_not_of(' ') + 1);
        text_ += "\n";
    }

    // What one story has and the other lacks is compared with "-".
    template <class List, class Name, class Words, class Covered>
    void compare(const List& ones, const List& others, Name name, Words words, Covered covered) {
        const auto find = [&](const List& list, const std::string& wanted) {
            return std::ranges::find(list, wanted, name);
        };
        for (const auto& one : ones) {
            const auto other = find(others, name(one));
            if (other == others.end())
                add_row(name(one), words(one), "-");
            else
                write_row(name(one), words(one), words(*other),
                          tolerance_ ? !covered(one, *other) : words(one) != words(*other));
        }
        for (const auto& other : others)
            if (find(ones, name(other)) == ones.end()) add_row(name(other), "-", words(other));
    }

    void compare_rows() {
        compare(
            first_.telling.story.rows, second_.telling.story.rows,
            [](const StatusRow& row) { return row.label; },
            [](const StatusRow& row) {
                return "\"" + row.status() + "\" from " + short_seconds(row.texts.back().at_us) +
                       " s";
            },
            [&](const StatusRow& one, const StatusRow& other) {
                return tolerance_->covers_text(one.label == analog_row ? "dB" : "", one.status(),
                                               other.status()) &&
                       tolerance_->covers("s", in_seconds(one.texts.back().at_us),
                                          in_seconds(other.texts.back().at_us));
            });
    }

    void compare_margins() {
        compare(
            first_.telling.ledger, second_.telling.ledger,
            [](const Margin& margin) { return margin.unit + ": " + margin.quantity; },
            [](const Margin& margin) {
                const std::string state(name_of(margin.state));
                if (!margin.worst) return state;
                return state + ", " + short_number(*margin.worst) + " " + margin.in + " (" +
                       short_number(*margin.distance) + ")";
            },
            [&](const Margin& one, const Margin& other) {
                return one.state == other.state &&
                       one.worst.has_value() == other.worst.has_value() &&
                       (!one.worst || tolerance_->covers(one.in, *one.worst, *other.worst));
            });
    }

    Compared first_, second_;
    std::optional<Tolerance> tolerance_;
    bool any_ = false;
    std::string text_;
};

} // namespace

Differences differences_of(const std::string& first, const std::string& second,
                           const std::optional<Tolerance>& tolerance) {
    return Comparison(first, second, tolerance).result();
}

} // namespace k4sim
