// Runs with parts of this machine in the place of the virtual ones. Real things take their time: a
// test waits for them, and uses no processor meanwhile.
#include "launcher_stage.h"
#include "support/pseudo_terminal.h"
#include "support/unfolded_events.h"

#include <atomic>
#include <chrono>
#include <future>
#include <gmock/gmock.h>
#include <thread>

namespace {

using namespace k4test;
using testing::HasSubstr;
using Clock = std::chrono::steady_clock;

class RealParts : public LauncherStage {
protected:
    std::vector<nlohmann::json> events(const std::string& source, const std::string& what,
                                       const std::string& record = "record") const {
        std::vector<nlohmann::json> found;
        std::ifstream file(folder_.file(record + "/events.jsonl"));
        std::ostringstream text;
        text << file.rdbuf();
        for (const nlohmann::json& event : unfolded_events(text.str()))
            if (event["source"] == source && event["event"] == what) found.push_back(event);
        return found;
    }
};

// Two adapters, and the cable between them: what is sent at one end arrives at the other.
class Relay {
public:
    // One byte of all that passes is flipped; 0: none is.
    explicit Relay(std::size_t flipped) : flipped_(flipped), worker_([this] { work(); }) {}
    ~Relay() {
        end();
        for (const int line : lines_)
            close(line);
    }
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    void end() {
        stop_ = true;
        if (worker_.joinable()) worker_.join();
    }

    std::string paths() const { return ends_[0].path() + "," + ends_[1].path(); }

    // By a clock of this machine, when that byte of all had passed.
    double seconds_at(std::size_t byte) const {
        const auto passing = std::ranges::lower_bound(passings_, byte, {}, &Passing::first);
        return std::chrono::duration<double>(passing->second.time_since_epoch()).count();
    }

private:
    using Passing = std::pair<std::size_t, Clock::time_point>;

    void work() {
        while (!stop_) {
            pollfd states[] = {{ends_[0].far_end(), POLLIN, 0}, {ends_[1].far_end(), POLLIN, 0}};
            poll(states, 2, 20);
            for (int i : {0, 1})
                if ((states[i].revents & POLLIN) != 0) pass_on(ends_[i].take(), ends_[1 - i]);
        }
    }

    void pass_on(std::string bytes, const PseudoTerminal& end) {
        if (flipped_ > passed_ && flipped_ <= passed_ + bytes.size())
            bytes[flipped_ - passed_ - 1] ^= 1;
        passed_ += bytes.size();
        passings_.emplace_back(passed_, Clock::now());
        end.give(bytes);
    }

    const std::size_t flipped_;
    std::size_t passed_ = 0;
    std::vector<Passing> passings_;
    PseudoTerminal ends_[2];
    // An adapter is there also while nobody has it open.
    int lines_[2] = {open(ends_[0].path().c_str(), O_RDWR | O_NOCTTY),
                     open(ends_[1].path().c_str(), O_RDWR | O_NOCTTY)};
    std::atomic<bool> stop_ = false;
    std::thread worker_; // last: it uses all of these
};

TEST_F(RealParts, SerialAdaptersPassUnlessAByteIsWrong) {
    auto good = std::make_unique<Relay>(0), bad = std::make_unique<Relay>(700);
    const auto start = [this](const Relay& relay, const std::string& record, const char* limit) {
        return std::async(std::launch::async, [this, paths = relay.paths(), record, limit] {
            return launch("run --quiet --real serial=" + paths + " --record " + record +
                          " --stop-at 'screen:USB Ports OK' --limit " + limit +
                          " -- " K4_PROGRAM " run");
        });
    };
    auto passing = start(*good, "good", "40"), failing = start(*bad, "bad", "12");
    EXPECT_EQ(passing.get().status, 123);
    EXPECT_EQ(failing.get().status, 124);
    good->end();

    const auto sent = events("serial", "sent", "good");
    ASSERT_EQ(sent.size(), 200U);
    std::string received;
    for (const nlohmann::json& event : events("serial", "received", "good"))
        if (event["device"] == 1) received += event["text"].get<std::string>();
    EXPECT_TRUE(received.starts_with(sent[0]["text"].get<std::string>())) << received;
    // How far virtual time is behind this machine's clock. On a busy machine it may be late now and
    // then, but the least that it is stays the same.
    std::vector<double> lags;
    for (std::size_t i = 0, bytes = 0; i < sent.size(); ++i) {
        bytes += sent[i]["text"].get<std::string>().size();
        lags.push_back(good->seconds_at(bytes) - sent[i]["t"].get<double>() / 1e6);
    }
    const double early = *std::min_element(lags.begin(), lags.begin() + 80);
    const double late = *std::min_element(lags.end() - 80, lags.end());
    const double between_s = (sent[160]["t"].get<double>() - sent[40]["t"].get<double>()) / 1e6;
    EXPECT_NEAR(late, early, 0.02 * between_s);

    const auto bad_rounds = events("serial", "sent", "bad");
    EXPECT_LT(bad_rounds.size(), 30U);
    EXPECT_GT(bad_rounds.size(), 2U);
}

// Down, then up, then away for a moment, and steady at last.
TEST_F(RealParts, NetworkLinksAreThoseOfTheKernel) {
    write("links.sh", R"(for n in 0 1; do
            ip link add v$n type veth peer name p$n && ip link set v$n up || exit 77
        done
        ip link set p1 up
        seen() { until grep -q "event.:.$1.,.interface.:.$2" record/events.jsonl; do sleep .1; done; }
        (seen down eth0; ip link set p0 up
         seen up eth0; ip link set p1 down
         seen down usb0; ip link set p1 up) 2>/dev/null &
        exec "$@")");
    const CommandResult result =
        shell("exec unshare -rn sh links.sh " K4_SIM " run --quiet --real network=v0,v1 "
              "--record record --limit 40 --stop-at 'screen:Ethernet OK' -- " K4_PROGRAM " run");
    if (result.status == 77 || result.status == 1 || result.status == 127)
        GTEST_SKIP() << "no network of its own can be had here: " << result.error;
    EXPECT_EQ(result.status, 123) << result.error;
    std::string story;
    double steady_s = 0;
    for (const auto& [up, what] : {std::pair(false, "down"), std::pair(true, "up")})
        for (const nlohmann::json& event : events("link", what)) {
            story += event["interface"].get<std::string>() + (up ? "+" : "-");
            if (up) steady_s = std::max(steady_s, event["t"].get<double>() / 1e6);
        }
    EXPECT_EQ(story, "eth0-usb0-usb0+eth0+usb0+");
    const auto end = events("program", "stop");
    ASSERT_EQ(end.size(), 1U);
    EXPECT_GE(end[0]["t"].get<double>() / 1e6 - steady_s, 9.5); // 20 readings
}

// A PCM that this machine's libasound has, and the virtual card has not.
TEST_F(RealParts, SoundGoesThroughLibasoundToAPcmOfThisMachine) {
    const CommandResult result =
        launch("run --quiet --real 'sound=file:FILE=played.raw,FORMAT=raw' --record record "
               "--stop-at 'screen:AnalogAudio ALSA' --limit 20 -- " K4_PROGRAM " run");
    EXPECT_EQ(result.status, 123) << result.error; // there is no mixer behind it
    EXPECT_TRUE(std::filesystem::exists(folder_.file("played.raw")));
}

// What the bare program gets of the kernel. Nobody who could reach a port may get this far: all
// rights are dropped for good first, and that is looked at.
TEST_F(RealParts, PortsAreRefusedByTheKernelToWhoHasNoRight) {
    const std::string dropped =
        "drop=; [ $(id -u) = 0 ] && drop=\"setpriv --reuid=65534 --regid=65534 --clear-groups "
        "--bounding-set=-all --inh-caps=-all --no-new-privs\"; "
        "exec $drop sh -c '[ $(id -u) != 0 ] && grep -q \"^CapEff:.0*$\" /proc/self/status || "
        "exit 99; [ -x " K4_SIM " ] || exit 77; exec " K4_SIM " run --quiet --limit 9 "
        "--stop-at \"console:FP init error\" ";
    const auto run = [&](const std::string& options) {
        return shell(dropped + options + " -- " K4_PROGRAM " run'");
    };
    for (const char* options : {"--real ports", "--real all"}) {
        const CommandResult result = run(options);
        if (result.status == 77) GTEST_SKIP() << "the program is not where everybody can start it";
        EXPECT_EQ(result.status, 123) << result.error;
        EXPECT_THAT(result.out, HasSubstr("FP init error -49999"));
    }
    for (const auto& [options, words] :
         {std::pair("--real ports --operator auto", "--operator none"),
          std::pair("--real ports=yes", "ports=this-is-a-k4")})
        EXPECT_THAT(expect_refused(run(options)), HasSubstr(words));
}

} // namespace
