#include "sim/campaign/soak.h"

#include "sim/campaign/results.h"
#include "sim/campaign/runs.h"
#include "sim/campaign/single_faults.h"
#include "sim/campaign/time_left.h"
#include "sim/setup_choices.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <map>
#include <random>
#include <set>

namespace k4sim {

namespace {

constexpr int status_wrong = 1;
constexpr int status_soak_broken_off = 130;
constexpr unsigned most_faults = 3;
constexpr unsigned latest_s = 90; // by then a good device has passed

// How the names of faults begin that take from the program what it would switch the inputs off by.
constexpr std::string_view out_of_reach[] = {"card-", "cpld", "mixer.micboost-", "mixer.phantom-"};

// How lines of the console begin that a program ends with by mistake.
constexpr std::string_view fatal_lines[] = {"KELlib-Error", "terminate called"};

bool is_fatal(const Sign& sign) {
    return sign.what == "line" && std::ranges::any_of(fatal_lines, [&](std::string_view beginning) {
               return sign.text.starts_with(beginning);
           });
}

// What is in the name of a fault that comes and goes: when it does, it may be missed.
constexpr std::string_view at_times[] = {"flaky", "=lost-", "=doubled-", "=flipped-"};

bool comes_and_goes(const SingleFault& fault) {
    return std::ranges::any_of(
        at_times, [&](std::string_view way) { return fault.fault.find(way) != std::string::npos; });
}

struct SoakFault {
    SingleFault fault;
    unsigned at_s;

    std::string words() const {
        return fault.fault + (at_s == 0 ? "" : "@" + std::to_string(at_s));
    }
};

struct SoakRun {
    std::uint64_t seed;
    std::string board;
    std::vector<SoakFault> faults;

    bool inputs_in_reach() const {
        return std::ranges::none_of(faults, [](const SoakFault& one) {
            return std::ranges::any_of(out_of_reach, [&](std::string_view beginning) {
                return one.fault.fault.starts_with(beginning);
            });
        });
    }

    bool must_be_detected() const {
        return std::ranges::any_of(faults, [](const SoakFault& one) {
            return one.fault.expected == "detected" && one.at_s == 0 && !comes_and_goes(one.fault);
        });
    }
};

// By the seed alone, on any machine.
class Dice {
public:
    explicit Dice(std::uint64_t seed) : random_(seed) {}
    std::size_t below(std::size_t count) { return random_() % count; }

private:
    std::mt19937_64 random_;
};

class Soak {
public:
    Soak(const SoakPlan& plan, Results& results)
        : plan_(plan), results_(results), crew_(plan.runs.jobs) {
        for (const Board board : boards_of(""))
            faults_[std::string(name_of(boards, board))] = single_faults("", {board});
        std::set<std::string> done;
        for (const Json& result : results.all())
            done.insert(result.text("fault").value_or(""));
        for (std::uint64_t seed = plan.first; seed <= plan.last; ++seed)
            if (const SoakRun run = run_of(seed); !done.contains(name(run))) left_.push_back(run);
    }

    // False when it was broken off.
    bool run() { return run_good_devices() && run_left(); }

private:
    SoakRun run_of(std::uint64_t seed) const {
        Dice dice(seed);
        const auto board =
            std::next(faults_.begin(), static_cast<std::ptrdiff_t>(dice.below(faults_.size())));
        SoakRun run{seed, board->first, {}};
        for (std::size_t left = dice.below(most_faults + 1); left > 0; --left) {
            const SingleFault& fault = board->second[dice.below(board->second.size())];
            const bool from_the_start = dice.below(2) == 0;
            const auto second = static_cast<unsigned>(dice.below(latest_s));
            run.faults.push_back({fault, from_the_start ? 0 : second});
        }
        return run;
    }

    static std::string name(const SoakRun& run) {
        std::string text =
            "--board " + run.board + " --operator human --seed " + std::to_string(run.seed);
        for (const SoakFault& fault : run.faults)
            text += " --fault " + fault.words();
        return text;
    }

    std::vector<std::string> words(const SoakRun& run, const char* who) const {
        std::vector<std::string> all = {"--board", run.board, "--operator",
                                        who,       "--seed",  std::to_string(run.seed)};
        for (const SoakFault& fault : run.faults)
            all.insert(all.end(), {"--fault", fault.words()});
        return with_program(std::move(all), plan_.runs);
    }

    bool run_good_devices() {
        std::vector<std::string> names;
        for (const auto& [board, faults] : faults_)
            names.push_back(board);
        if (left_.empty()) return true;
        return crew_.run(
            names.size(),
            [&](std::size_t i) {
                return words({1, names[i], {}}, "auto");
            },
            [&](const FinishedRun& run) {
                good_[names[run.number]] = look_at(run, "board " + names[run.number]);
            });
    }

    bool run_left() {
        TimeLeft progress(left_.size());
        return crew_.run(
            left_.size(), [&](std::size_t i) { return words(left_[i], "human"); },
            [&](const FinishedRun& finished) {
                const SoakRun& run = left_[finished.number];
                const Sighting seen = look_at(finished, name(run));
                const std::string wrong = complaint(run, seen);
                Json result = Json::object().set("fault", name(run)).set("board", run.board);
                result.set("verdict", seen.verdict).set("wrong", wrong);
                results_.add(result, cost_of(name(run), run.board, finished));
                progress.one_done(wrong.empty());
            });
    }

    // Alone it may do no harm: what takes the Esc key away is found where a run has to be ended,
    // which is each one on a board without AES/EBU, and elsewhere one with a second fault.
    bool can_block(const SingleFault& fault) const {
        const auto blocks = [&](const SingleFault& one) {
            return one.fault == fault.fault && (one.expected == "blocked" || one.expected.empty());
        };
        return std::ranges::any_of(
            faults_, [&](const auto& board) { return std::ranges::any_of(board.second, blocks); });
    }

    // Empty: nothing is wrong.
    std::string complaint(const SoakRun& run, const Sighting& seen) const {
        if (seen.verdict == "DIED") return "the program died";
        if (std::ranges::any_of(seen.signs, is_fatal)) return "the program printed a fatal message";
        if (seen.verdict == "UNDECIDED")
            return std::ranges::any_of(
                       run.faults, [this](const SoakFault& one) { return can_block(one.fault); })
                       ? ""
                       : "nobody could end it, and no fault there is known for that";
        if (!seen.left_safe && run.inputs_in_reach()) return "the inputs were left on";
        const bool well = ended_well(seen, good_.at(run.board));
        if (run.faults.empty() && !well) return "a good device did not come to a good end";
        if (well && run.must_be_detected()) return "a fault that has to be detected was not";
        return "";
    }

    const SoakPlan& plan_;
    Results& results_;
    Crew crew_;
    std::map<std::string, std::vector<SingleFault>> faults_; // by board
    std::map<std::string, Sighting> good_;
    std::vector<SoakRun> left_;
};

} // namespace

int run_soak(const SoakPlan& plan, const std::string& program_path,
             const std::string& device_path) {
    Results results(plan.runs.out, identity_of(plan.runs, program_path, device_path));
    if (!Soak(plan, results).run()) return status_soak_broken_off;
    std::vector<std::string> wrong;
    for (const Json& result : results.all())
        if (const std::string what = result.text("wrong").value_or(""); !what.empty())
            wrong.push_back(what + ": k4sim run " + result.text("fault").value_or(""));
    std::printf("%zu runs, %zu wrong\n", results.all().size(), wrong.size());
    std::ranges::sort(wrong);
    for (const std::string& line : wrong)
        std::printf("%s\n", line.c_str());
    return wrong.empty() ? 0 : status_wrong;
}

} // namespace k4sim
