#pragma once
// The table of "make bench": what the program does against its peer, in one process.

#include <benchmark/benchmark.h>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Keeps the compiler from leaving out what nobody reads.
template <class Value>
void keep(Value&& value) {
    benchmark::DoNotOptimize(value);
    benchmark::ClobberMemory();
}

class Table {
public:
    // A row of two operations. goal: how many times the peer's time the own may take.
    template <class Own, class Peer>
    void compare(const char* what, double goal, const char* peerName, Own own, Peer peer) {
        rows_.push_back(
            {what, goal, peerName, timed(own), timed(peer), repeated(own), repeated(peer), {}, {}});
    }
    // A row of two counts that no machine changes.
    void count(const char* what, double goal, const char* peerName, double own, double peer) {
        rows_.push_back({what, goal, peerName, {}, {}, {}, {}, {own}, {peer}});
    }
    // A row whose peer is not installed.
    void missing(const char* what, const char* peerName) { missing_.push_back({what, peerName}); }

    // Median times of interleaved rounds, in nanoseconds.
    void measure();
    // Instructions of one operation, under callgrind: leaves a dump for each side of each row,
    // named "number what|own" or "|peer", for scripts/instructions.
    void dumpInstructions() const;

private:
    using Timed = std::function<void(benchmark::State&)>;
    using Repeated = std::function<void(int rounds)>;

    struct Row {
        std::string what;
        double goal;
        std::string peerName;
        Timed own, peer;
        Repeated ownRounds, peerRounds;
        std::vector<double> ownResults, peerResults;
    };
    struct Missing {
        std::string what, peerName;
    };

    template <class Operation>
    static Timed timed(Operation operation) {
        return [operation](benchmark::State& state) mutable {
            for (auto _ : state)
                operation();
        };
    }
    template <class Operation>
    static Repeated repeated(Operation operation) {
        return [operation](int rounds) mutable {
            for (int round = 0; round < rounds; ++round)
                operation();
        };
    }

    void print() const;

    std::vector<Row> rows_;
    std::vector<Missing> missing_;
};

// The rows of each folder.
void addPrintRows(Table& table);
void addTextRows(Table& table);
void addAudioRows(Table& table);
void addPictureRows(Table& table);

// A minute of audio, for processes that are compared whole: "fill" or "info". False: neither.
bool doAudioMinute(std::string_view what);
