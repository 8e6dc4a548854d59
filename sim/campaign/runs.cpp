#include "sim/campaign/runs.h"

#include "sim/formats/short_number.h"
#include "sim/story/sources.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <stdexcept>

namespace k4sim {

namespace {

constexpr const char* linger_s = "30"; // what was asked to end has ended by then
constexpr const char* stall_s = "120"; // a busy machine is not a program that stands

// 16 hexadecimal digits of what the file holds (FNV-1a).
std::string fingerprint(const std::string& path) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char byte : read_file(path))
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%016" PRIx64, hash);
    return digits.data();
}

} // namespace

Json identity_of(const RunsPlan& plan, const std::string& program, const std::string& device) {
    Json arguments = Json::array();
    for (std::size_t i = 1; i < plan.program.size(); ++i)
        arguments.add(plan.program[i]);
    return Json::object()
        .set("program", fingerprint(program))
        .set("device", fingerprint(device))
        .set("arguments", arguments)
        .set("seed", std::to_string(plan.seed))
        .set("limit", in_seconds(plan.limit_us));
}

std::vector<std::string> with_program(std::vector<std::string> words, const RunsPlan& plan) {
    words.insert(words.end(), {"--limit", short_seconds(plan.limit_us), "--linger", linger_s,
                               "--stall", stall_s, "--"});
    std::ranges::copy(plan.program, std::back_inserter(words));
    return words;
}

// What can't be judged must not look like a result.
Sighting look_at(const FinishedRun& run, const std::string& what) {
    try {
        return sighting_of(run.folder);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error("the run of " + what + " came to nothing (status " +
                                 std::to_string(run.status) + "): " + error.what() + "\n" +
                                 read_file(complaints_of(run.folder)));
    }
}

Json cost_of(const std::string& fault, const std::string& board, const FinishedRun& run) {
    const auto milli = [](double seconds) { return std::round(seconds * 1000) / 1000; };
    return Json::object()
        .set("fault", fault)
        .set("board", board)
        .set("real_s", milli(run.real_s))
        .set("processor_s", milli(run.processor_s));
}

} // namespace k4sim
