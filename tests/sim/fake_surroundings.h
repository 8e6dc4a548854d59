// Surroundings for one model alone: time stands until the test moves it, and events are
// kept as text.
#pragma once

#include "sim/models/surroundings.h"

#include <algorithm>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

class FakeSurroundings final : public k4sim::Surroundings {
public:
    // Each event as "source what name=value ...".
    std::vector<std::string> events;

    // Lets time pass, and what is due happen.
    void advance(k4sim::Microseconds duration) {
        const k4sim::Microseconds end = now_ + duration;
        while (!planned_.empty() && planned_.begin()->first <= end) {
            auto first = planned_.extract(planned_.begin());
            now_ = std::max(now_, first.key());
            first.mapped()();
        }
        now_ = end;
    }

    k4sim::SoundListener* listener = nullptr;

    k4sim::Microseconds now() const override { return now_; }
    k4sim::SoundListener* sound_listener() override { return listener; }

    void at(k4sim::Microseconds when, std::function<void()> action) override {
        planned_.emplace(when, std::move(action));
    }

    void event(std::string_view source, std::string_view what,
               std::initializer_list<k4sim::Field> fields) override {
        std::ostringstream text;
        text << std::boolalpha << source << " " << what;
        for (const auto& [name, value] : fields)
            std::visit([&](const auto& held) { text << " " << name << "=" << held; }, value);
        events.push_back(text.str());
    }

private:
    k4sim::Microseconds now_ = 0;
    std::multimap<k4sim::Microseconds, std::function<void()>> planned_;
};
