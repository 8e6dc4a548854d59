// k4bench prints the table; under callgrind, "k4bench instructions" counts instead of timing.
// "k4bench minute fill" and "k4bench minute info" do a minute of audio.

#include "table.h"

#include <cstring>
#include <vector>

int main(int argc, char** argv) {
    if (argc > 2 && strcmp(argv[1], "minute") == 0) return doAudioMinute(argv[2]) ? 0 : 2;
    Table table;
    addPrintRows(table);
    addTextRows(table);
    addAudioRows(table);
    addPictureRows(table);
    if (argc > 1 && strcmp(argv[1], "instructions") == 0) {
        table.dumpInstructions();
        return 0;
    }
    // Rounds of all rows in turn, so that what else the machine does strikes both sides alike.
    std::vector<char*> arguments(argv, argv + argc);
    static char interleaved[] = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, interleaved);
    auto count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    table.measure();
}
