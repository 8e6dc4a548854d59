// The events of a record, with what repeats itself there as often as it came.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

inline std::vector<nlohmann::json> unfolded_events(const std::string& text) {
    std::vector<nlohmann::json> events;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        nlohmann::json event = nlohmann::json::parse(line);
        if (event["event"] != "repeat") {
            events.push_back(std::move(event));
            continue;
        }
        const std::size_t pattern = event["lines"];
        for (std::size_t left = event["times"].get<std::size_t>() * pattern; left > 0; --left) {
            nlohmann::json again = events.at(events.size() - pattern);
            again["t"] = again["t"].get<std::int64_t>() + event["every"].get<std::int64_t>();
            events.push_back(std::move(again));
        }
    }
    return events;
}
