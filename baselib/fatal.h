#pragma once
// Where failed assertions of the library end.

// Writes "KELlib-Error %s in module %s, line %d (%s)\n" (what, module, line, detail) to
// standard error and aborts the process, without any clean-up.
[[noreturn]] void KLFfatal(const char* what, int line, const char* module, const char* detail);

// What KLFfatal does between its message and the abort, such as leaving hardware safe. One
// action; null: nothing. Before the first thread starts.
void KLFbeforeFatal(void (*action)());

// Checks that the compiler's basic types have the sizes that the program relies on. One
// static instance does so before main: for every type that differs it writes
// "Word size mismatch for '%s': Expected %d, is %d\r\n" to standard error; after the last
// one it aborts if there was any.
//
// The program is built for a 32-bit target. A build of the whole for analysis tools that
// exist for 64 bits only leaves the static instance out (K4_ANALYSIS64).
class WSchecker {
public:
    struct Row {
        int expected; // bytes; 0 ends the table
        int actual;
        const char* name;
    };

    // Checks the table of the program.
    WSchecker();
    // Checks any table.
    explicit WSchecker(const Row* table);
};
