// What stands between a run and those who sit before its panel: what they may do, what they get to
// see, and what was done, as a scenario.
#pragma once

#include "sim/launcher/options.h"
#include "sim/launcher/watcher.h"
#include "sim/operator/advice.h"
#include "sim/panel/server.h"

#include <chrono>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <set>

namespace k4sim {

// A step that was done by hand.
struct DoneStep {
    std::string action;
    Microseconds at_us;
};

// The TOML of a run and of what was done in it: `k4sim run --scenario` of it is the same run.
std::string scenario_of(const Options& options, const std::vector<DoneStep>& done);

// Runs on the server's thread, but for what the run calls.
class PanelDesk final : public WebSite, public RunWatcher {
public:
    // first: what the panel was started for. `wake` is called when a run is to begin.
    PanelDesk(const Options& first, std::string token, std::function<void()> wake);
    ~PanelDesk() override;

    // What the server is, which serves this desk, before any run.
    void attach(WebServer& server) { server_ = &server; }

    // Of the run: its thread calls these.
    void begin(const Options& options);
    int device_end() const override { return device_end_; }
    bool takes(const std::string& line) override;
    void ended(const std::string& closing_line, int status, bool asked_to_end) override;
    bool asked_to_end() const { return asked_to_end_; }
    // The run that was asked for last; empty: none since.
    std::optional<Options> asked_for();

    // Of the server.
    WebReply answer(const WebRequest& request) override;
    std::string stream_begins(const std::string& query) override;
    void stream_ends(const std::string& query) override;
    void tick() override;

private:
    using Clock = std::chrono::steady_clock;

    struct Place {
        std::string_view path;
        WebReply (PanelDesk::*answer)(const WebRequest& request);
        bool operates; // for who operates, or else whoever has the token
    };
    static const Place places[];

    WebReply carry_out(const Place& place, const WebRequest& request);
    WebReply take(const WebRequest& request);
    WebReply release(const WebRequest& request);
    WebReply act(const WebRequest& request);
    WebReply set_pace(const WebRequest& request);
    WebReply show_next(const WebRequest& request);
    WebReply start(const WebRequest& request);
    WebReply stop(const WebRequest& request);
    bool holder_is_gone() const;
    void give_to(const std::string& client);

    void start_anew(const Options& options, int own_end);
    void see(const std::string& line);
    void note_done(const DoneStep& step);
    void look_at(const std::string& pixels, Microseconds t);
    void keep(const std::string& source, const std::string& message);
    void say(const std::string& message);
    void tell_rows();
    std::string diagnosis() const;
    std::string holder_message() const;
    std::string run_message() const;

    const Options first_;
    const std::string token_;
    const std::function<void()> wake_;
    WebServer* server_ = nullptr;

    // Of the run's thread.
    int device_end_ = -1;
    bool asked_to_end_ = false;

    std::mutex mutex_; // of what was asked for
    std::optional<Options> asked_for_;

    // Of the server's thread.
    int own_end_ = -1;
    Options options_; // of this run
    bool runs_ = false;
    std::string closing_line_;
    int status_ = 0;
    bool asked_off_ = false;
    // What a new onlooker has to know of the run, by source.
    std::map<std::string, std::deque<std::string>> history_;
    std::map<std::string, std::string> latest_; // of which only the latest counts
    std::vector<DoneStep> done_;
    std::set<char> held_; // keys
    Situation situation_;
    ScreenReader reader_;
    std::vector<ScreenRow> last_rows_;    // that were lit
    std::vector<Microseconds> row_since_; // when each row came to its text
    std::string console_;
    std::map<std::string, int> streams_; // by client
    std::string holder_;                 // who operates; empty: nobody
    Clock::time_point holder_seen_{};
};

} // namespace k4sim
