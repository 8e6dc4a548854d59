// The results of a campaign in its folder, as far as it came.
#pragma once

#include "sim/formats/json.h"

#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

// "FAULT on BOARD", of a result.
std::string run_name(const Json& result);

inline constexpr std::string_view results_name = "results.jsonl";  // one object a line
inline constexpr std::string_view costs_name = "costs.jsonl";      // what each run took here
inline constexpr std::string_view identity_name = "campaign.json"; // what was run, and how

// For one campaign at a time, which may go on where another one was broken off.
class Results {
public:
    // Made with its parents if need be. A last line that is cut goes. Throws std::runtime_error
    // for a folder that can't be used, that another campaign is using, or that holds results of
    // another `identity`.
    Results(const std::string& folder, const Json& identity);
    ~Results();
    Results(const Results&) = delete;
    Results& operator=(const Results&) = delete;

    // Of the earlier ones and those that were added.
    const std::vector<Json>& all() const { return all_; }

    // A line of results, and one of costs. Throws std::runtime_error when it can't be written.
    void add(const Json& result, const Json& cost);

private:
    int results_ = -1;
    int costs_ = -1;
    std::vector<Json> all_;
};

// All lines of a file of JSON objects; a last one that is cut is left out. Throws
// std::runtime_error for a line that is none.
std::vector<Json> json_lines(const std::string& path);

} // namespace k4sim
