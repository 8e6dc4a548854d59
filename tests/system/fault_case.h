// A fault of the list, and what a run of the self-test with it must come to.
#pragma once

#include <gtest/gtest.h>
#include <ostream>
#include <string>

namespace k4test {

struct FaultCase {
    const char* fault; // as after --fault
    const char* board;
    const char* verdict;
    const char* label;        // of the row that tells; "": no row could ever be read
    const char* status;       // what the row reads at last, a regular expression
    const char* console = ""; // a text that the console must hold
    const char* event = "";   // what the hardware must have seen: source and event, "link/down"
};

void PrintTo(const FaultCase& one, std::ostream* out);

// "analog_gain__6_on_plain", for the name of a test.
std::string name_of(const testing::TestParamInfo<FaultCase>& info);

// Runs the self-test with the fault and an automatic operator, and looks.
void expect_verdict(const FaultCase& expected);

} // namespace k4test
