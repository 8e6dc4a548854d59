// What several real threads do with sinks at once; virtual time would keep them apart.
#include "baselib/print/astrs.h"
#include "baselib/print/line_out.h"
#include "baselib/print/mprint.h"
#include "baselib/print/nstream.h"
#include "baselib/print/out_handle.h"
#include "support/scratch_folder.h"

#include <atomic>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <thread>

namespace {

TEST(Console, LinesOfThreadsNeverMix) {
    const ScratchFolder folder;
    std::FILE* file = std::fopen(folder.file("console").c_str(), "w");
    ASSERT_NE(file, nullptr);
    constexpr int lines = 20'000;
    const auto print_lines = [file](char letter) {
        KLToutHandle handle(file);
        KLTlineOut whole(handle);
        KLTprint print(whole);
        for (int i = 0; i < lines; ++i)
            print << letter << letter << KLNstream::rep(9, letter) << KLNstream::cr;
        print << "end " << letter; // without a line end until the sink goes
    };
    std::thread other(print_lines, 'b');
    print_lines('a');
    other.join();
    std::fclose(file);
    std::ifstream console(folder.file("console"));
    int whole = 0;
    for (std::string line; std::getline(console, line);)
        whole += line == std::string(11, 'a') || line == std::string(11, 'b');
    EXPECT_GE(whole, 2 * lines - 1); // "end a" may stand before a line of b's
}

TEST(Console, SinksComeAndGoOnEveryThread) {
    std::atomic<bool> stop{false};
    std::thread texts([&] {
        while (!stop) {
            KLTastrs text;
            text << "text";
        }
    });
    for (int i = 0; i < 20'000; ++i) {
        KLTmprint print;
        KLTastrs sink_of_its_own;
        print.add(*KLTout::null());
        print << "fan-out";
    }
    stop = true;
    texts.join();
}

} // namespace
