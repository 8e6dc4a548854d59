// The command line of k4sim.
#pragma once

#include "sim/campaign/campaign.h"
#include "sim/campaign/soak.h"
#include "sim/launcher/demand.h"
#include "sim/launcher/verdict.h"
#include "sim/setup.h"
#include "sim/story/tolerance.h"

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace k4sim {

// A command line, file or folder that can't be used. what() is one line that says what is
// wrong and how to mend it.
class UsageError : public std::exception {
public:
    explicit UsageError(std::string message) : message_(std::move(message)) {}
    const char* what() const noexcept override { return message_.c_str(); }

private:
    std::string message_;
};

enum class Command {
    run,
    panel,
    check,
    report,
    diff,
    diagnose,
    faults,
    campaign,
    coverage,
    soak,
    keys,
    help,
    version,
    complete,
    describe
};

// What k4sim diagnose goes by.
struct Inquiry {
    std::string board;                                     // empty: not known
    std::vector<std::pair<std::string, std::string>> rows; // label and text
    std::string learn, judge;                              // folders of campaigns
};

struct Options {
    Command command = Command::help;
    Setup setup;
    std::string record;                 // folder; empty: no record
    std::string vcd;                    // file for the wires; empty: none
    bool wave = false;                  // keep sound in the record
    std::vector<Verdict> expected;      // empty: the status is the program's own
    bool quiet = false;                 // no closing line
    std::vector<Demand> demands;        // of the scenario
    std::vector<std::string> program;   // with its arguments
    std::vector<std::string> arguments; // of a scenario: of a program that is given none
    std::string scenario;               // the file to check
    std::vector<std::string> files;     // to report on, or to compare
    std::optional<Tolerance> tolerance; // of what is compared
    Inquiry inquiry;
    std::string pattern;               // of faults; empty: all
    bool json = false;                 // list them for a program
    bool all = false;                  // every single fault
    std::optional<Board> board;        // of these faults; empty: all that have a panel
    std::vector<std::string> words;    // to complete
    std::string topic;                 // the command to tell about; empty: all of them
    std::string listen = "127.0.0.1";  // of the panel: the address
    std::optional<std::uint16_t> port; // of the panel; empty: the first that is free
    CampaignPlan campaign;
    SoakPlan soak;                // but for its runs, which are those of the campaign
    std::string coverage_out;     // folder; empty: the first of `files`
    std::string coverage_judged;  // folder by which the diagnosis is judged; empty: it is not
    std::string coverage_against; // a coverage.json to compare with; empty: none
};

// arguments: without the name of k4sim itself. Throws UsageError. A scenario file is read
// here; what the command line says goes before what the file says. An option may be said
// again: the last one counts, and faults add up.
Options parse_options(const std::vector<std::string>& arguments);

} // namespace k4sim
