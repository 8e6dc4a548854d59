// How far two runs may be apart, where one of them has real parts.
#pragma once

#include <map>
#include <optional>
#include <string>

namespace k4sim {

class Tolerance {
public:
    // "LIMIT[,LIMIT]": "0.5dB" and "2s" for what is in dB or seconds, "3" for all the rest, "10%"
    // of the larger value for everything. Empty for any other text.
    static std::optional<Tolerance> from(const std::string& text);

    // Two values in that unit.
    bool covers(const std::string& unit, double one, double other) const;

    // Two texts that differ in such values at most.
    bool covers_text(const std::string& unit, const std::string& one,
                     const std::string& other) const;

private:
    bool add(const std::string& limit);

    std::map<std::string, double> limits_; // by unit
};

} // namespace k4sim
