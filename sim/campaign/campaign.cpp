#include "sim/campaign/campaign.h"

#include "sim/campaign/crew.h"
#include "sim/campaign/results.h"
#include "sim/campaign/runs.h"
#include "sim/campaign/sighting.h"
#include "sim/campaign/single_faults.h"
#include "sim/campaign/time_left.h"
#include "sim/setup_choices.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>
#include <stdexcept>

namespace k4sim {

namespace {

constexpr int status_unexpected = 1;
constexpr int status_broken_off = 130;

std::string run_name(const SingleFault& fault) { return fault.fault + " on " + fault.board; }

bool as_expected(const Json& result) {
    const std::string expected = result.text("expected").value_or("");
    return expected.empty() ? result.text("class") != "died" : result.text("class") == expected;
}

class Campaign {
public:
    Campaign(const CampaignPlan& plan, Results& results)
        : plan_(plan), results_(results), crew_(plan.runs.jobs), left_(all_left()) {}

    // False when it was broken off.
    bool run() {
        for (const SingleFault& fault : left_)
            if (!good_.contains(fault.board)) good_[fault.board];
        return run_good_devices() && run_faults();
    }

private:
    std::vector<SingleFault> all_left() const {
        std::set<std::string> done;
        for (const Json& result : results_.all())
            done.insert(run_name(result));
        std::vector<SingleFault> left;
        const std::vector<SingleFault> all = single_faults(plan_.pattern, plan_.boards);
        for (std::size_t i = plan_.shard.number - 1; i < all.size(); i += plan_.shard.of)
            if (is_wanted(all[i]) && !done.contains(run_name(all[i]))) left.push_back(all[i]);
        return left;
    }

    bool is_wanted(const SingleFault& fault) const {
        return plan_.expected.empty() || fault.expected.empty() || fault.expected == plan_.expected;
    }

    std::vector<std::string> words(const std::string& board, const std::string& fault) const {
        std::vector<std::string> all = {"--board", board, "--seed",
                                        std::to_string(plan_.runs.seed)};
        if (!fault.empty()) all.insert(all.end(), {"--fault", fault});
        return with_program(std::move(all), plan_.runs);
    }

    bool run_good_devices() {
        std::vector<std::string> names;
        for (const auto& [board, sighting] : good_)
            names.push_back(board);
        return crew_.run(
            names.size(), [&](std::size_t i) { return words(names[i], ""); },
            [&](const FinishedRun& run) { see_good(names[run.number], run); });
    }

    void see_good(const std::string& board, const FinishedRun& run) {
        Sighting seen = look_at(run, "board " + board);
        const bool can_pass = board == name_of(boards, Board::aes); // others have no AES/EBU
        if (seen.verdict != "PASSED" && (can_pass || seen.verdict != "ABORTED"))
            throw std::runtime_error("without a fault the program came to " + seen.verdict +
                                     " on board " + board +
                                     ": there is nothing to compare faults with");
        good_[board] = std::move(seen);
    }

    bool run_faults() {
        TimeLeft progress(left_.size());
        return crew_.run(
            left_.size(), [&](std::size_t i) { return words(left_[i].board, left_[i].fault); },
            [&](const FinishedRun& run) {
                const SingleFault& fault = left_[run.number];
                const Json result =
                    result_of(fault, look_at(run, run_name(fault)), good_[fault.board]);
                results_.add(result, cost_of(fault.fault, fault.board, run));
                progress.one_done(as_expected(result));
            });
    }

    const CampaignPlan& plan_;
    Results& results_;
    Crew crew_;
    std::vector<SingleFault> left_;
    std::map<std::string, Sighting> good_; // by board
};

// Returns whether all is as expected.
bool tell(const std::vector<Json>& results) {
    std::map<std::string, std::size_t> counts;
    std::vector<std::string> surprises;
    for (const Json& result : results) {
        const std::string found = result.text("class").value_or("");
        ++counts[found];
        if (!as_expected(result)) {
            const std::string expected = result.text("expected").value_or("");
            surprises.push_back(run_name(result) + ": " + found +
                                (expected.empty() ? "" : ", expected was " + expected));
        }
    }
    std::string line = std::to_string(results.size()) + " runs";
    for (const std::string& name : class_names())
        if (counts[name] > 0) line += ", " + std::to_string(counts[name]) + " " + name;
    std::printf("%s\n", line.c_str());
    std::ranges::sort(surprises);
    for (const std::string& surprise : surprises)
        std::printf("not as expected: %s\n", surprise.c_str());
    return surprises.empty();
}

} // namespace

int run_campaign(const CampaignPlan& plan, const std::string& program_path,
                 const std::string& device_path) {
    Results results(plan.runs.out, identity_of(plan.runs, program_path, device_path));
    if (!Campaign(plan, results).run()) return status_broken_off;
    return tell(results.all()) ? 0 : status_unexpected;
}

} // namespace k4sim
