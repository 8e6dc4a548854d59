#include "baselib/fatal.h"

#include <cstdio>
#include <cstdlib>

namespace {

constexpr WSchecker::Row wordSizes[] = {
    {2, sizeof(short), "short"},
    {4, sizeof(int), "int"},
    {4, sizeof(long), "long"},
    {8, sizeof(long long), "long long"},
    {4, sizeof(void*), "pointer"},
    {4, sizeof(wchar_t), "wchar"},
    {0, 0, nullptr},
};

void (*beforeFatal)() = nullptr;

#ifndef K4_ANALYSIS64
const WSchecker checkerOfThisProgram;
#endif

} // namespace

void KLFfatal(const char* what, int line, const char* module, const char* detail) {
    fprintf(stderr, "KELlib-Error %s in module %s, line %d (%s)\n", what, module, line, detail);
    // An action that is fatal itself is not called again.
    if (void (*const action)() = beforeFatal) {
        beforeFatal = nullptr;
        action();
    }
    abort();
}

void KLFbeforeFatal(void (*action)()) { beforeFatal = action; }

WSchecker::WSchecker() : WSchecker(wordSizes) {}

WSchecker::WSchecker(const Row* table) {
    bool failed = false;
    for (const Row* row = table; row->expected != 0; ++row) {
        if (row->actual == row->expected) continue;
        fprintf(stderr, "Word size mismatch for '%s': Expected %d, is %d\r\n", row->name,
                row->expected, row->actual);
        failed = true;
    }
    if (failed) abort();
}
