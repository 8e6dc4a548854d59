#include "table.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <valgrind/callgrind.h>

namespace {

constexpr int repetitions = 7;
constexpr double leastSeconds = 0.02;
constexpr int instructionRounds = 4;

// Collects every round by the name of its benchmark.
class Collector : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration)
                results[run.run_name.function_name].push_back(run.GetAdjustedCPUTime());
    }

    std::map<std::string, std::vector<double>> results;
};

double median(std::vector<double> results) {
    const auto middle = results.begin() + static_cast<std::ptrdiff_t>(results.size() / 2);
    std::nth_element(results.begin(), middle, results.end());
    return *middle;
}

void dumpRounds(const std::string& name, const std::function<void(int)>& rounds) {
    rounds(1); // first calls are bound, tables made
    CALLGRIND_ZERO_STATS;
    rounds(instructionRounds);
    CALLGRIND_DUMP_STATS_AT(name.c_str());
}

} // namespace

void Table::measure() {
    for (const Row& row : rows_) {
        if (!row.own) continue;
        for (const auto& [side, operation] :
             {std::pair{"|own", row.own}, std::pair{"|peer", row.peer}})
            benchmark::RegisterBenchmark((row.what + side).c_str(), operation)
                ->Repetitions(repetitions)
                ->MinTime(leastSeconds);
    }
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    for (Row& row : rows_) {
        if (!row.own) continue;
        row.ownResults = collector.results[row.what + "|own"];
        row.peerResults = collector.results[row.what + "|peer"];
    }
    print();
}

void Table::print() const {
    printf("%-44s %12s %12s %7s %6s  %s\n", "what", "now ns", "peer ns", "ratio", "goal", "peer");
    for (const Row& row : rows_) {
        if (row.ownResults.empty() || row.peerResults.empty()) continue; // filtered out
        const double own = median(row.ownResults);
        const double peer = median(row.peerResults);
        printf("%-44s %12.1f %12.1f %7.2f %6.2f  %s\n", row.what.c_str(), own, peer, own / peer,
               row.goal, row.peerName.c_str());
    }
    for (const Missing& row : missing_)
        printf("%-44s not measured: %s is not installed\n", row.what.c_str(), row.peerName.c_str());
}

void Table::dumpInstructions() const {
    printf("%d rounds each\n", instructionRounds);
    for (const Row& row : rows_) {
        if (!row.own) continue;
        dumpRounds(row.what + "|own", row.ownRounds);
        dumpRounds(row.what + "|peer", row.peerRounds);
    }
}
