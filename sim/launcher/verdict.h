// What a run was worth, as an outside witness sees it.
#pragma once

#include "sim/launcher/demand.h"
#include "sim/launcher/record.h"
#include "sim/story/margins.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace k4sim {

enum class Verdict {
    passed,      // status 0, and the program said so in its last line
    aborted,     // the operator ended the run
    not_started, // a unit's thread could not be started
    not_run,     // status 0 without the closing line: no test was made
    died,        // a signal, a deadlock, or an end that the program never announces
    undecided    // the time limit or the stop came first, or what was seen ends before the program
};

// How the program's process ended.
struct ProcessEnd {
    bool by_signal = false;
    int code = 0;                // exit status 0..255, or the signal
    bool bare = false;           // killed before it began: it would have run without the device
    bool devices_guarded = true; // the kernel kept it from the device files, too
    bool asked_to_end = false;   // by a signal to the launcher
};

Verdict judge(const Observation& observation, ProcessEnd end);

// "PASSED", "ABORTED", "NOT STARTED", "NOT RUN", "DIED", "UNDECIDED".
std::string_view verdict_name(Verdict verdict);

// Its name back, in any case, with a blank, "-" or "_" between words; empty for none of them.
std::optional<Verdict> verdict_from_name(std::string_view name);

// "passed", "aborted", "not-started" ..., as they are typed.
std::vector<std::string_view> verdict_words();

// The verdicts of "VERDICT[,VERDICT]". A wrong name is told to `refuse`, which throws.
std::vector<Verdict> verdicts_of(const std::string& list,
                                 const std::function<void(const std::string& why)>& refuse);

// A run as it came out.
struct Outcome {
    std::string program;
    Verdict verdict;
    ProcessEnd end;
    std::vector<std::string> never_struck; // faults and steps of the setup
    double real_s = 0;
    std::vector<DemandResult> demands{};
    std::vector<Margin> ledger{};
    std::string why{}; // it came out so, in words
    std::string_view board{};
};

// report.xml, report.html and report.json in the record's folder. JUnit: one case a status row,
// failed when its last text is not "OK"; its time is that from its first text to this one. Where no
// row was ever seen, or none tells why the run did not pass, the run itself is a case. So is each
// demand. Of a record that has a gap no pass is reported.
void write_reports(Record& record, const Outcome& outcome);

} // namespace k4sim
