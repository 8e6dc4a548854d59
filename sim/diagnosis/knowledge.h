// Which faults look like what: learned from runs with one fault each.
#pragma once

#include "sim/diagnosis/symptoms.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// A sign that some run showed.
struct KnownSign {
    Sign sign;
    Shaped shaped{};
    double weight = 0; // how much it tells: the fewer classes show such a one, the more
};

// Faults of one board that look the same to whoever sees only rows, console and levels.
struct FaultClass {
    std::string board;
    std::vector<std::string> faults; // as after --fault
    std::vector<std::size_t> signs;  // in the list of all, ascending
};

class Knowledge {
public:
    // What k4sim knows by itself.
    static const Knowledge& own();

    // From a campaign's results, one object each: those with a "fault" and "symptoms" whose
    // "class" says that the run did not go as without it. The order of the results does not
    // matter. Throws std::runtime_error when there is none.
    static Knowledge learned(const std::vector<Json>& results);

    // As a file holds it, and back. Throws std::runtime_error for a text that is none.
    static Knowledge parsed(std::string_view text);
    std::string text() const;

    const std::vector<KnownSign>& signs() const { return signs_; }
    const std::vector<FaultClass>& classes() const { return classes_; }
    // Its number; empty: no run showed it.
    std::optional<std::size_t> find(const Sign& sign) const;
    // Of a sign of that kind and shape.
    double weight_of(const std::string& what, const std::string& shape) const;
    // The share of the classes that show one, from 0 to 1.
    double share_of(const std::string& what, const std::string& shape) const;

private:
    std::size_t number_of(const Sign& sign);
    bool alike(const FaultClass& one, const std::vector<std::size_t>& signs) const;
    void weigh();

    std::vector<KnownSign> signs_;
    std::map<Sign, std::size_t> numbers_;
    std::map<Sign, double> shown_by_; // by kind and shape: how many classes
    std::vector<FaultClass> classes_;
};

} // namespace k4sim
