#include "sim/launcher/panel_desk.h"

#include "sim/formats/json.h"
#include "sim/formats/short_number.h"
#include "sim/launcher/diagnose.h"
#include "sim/launcher/listing.h"
#include "sim/launcher/panel_page.h"
#include "sim/launcher/signals.h"
#include "sim/models/panel/keys.h"
#include "sim/operator/action.h"
#include "sim/operator/words.h"
#include "sim/setup_choices.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace k4sim {

namespace {

constexpr std::chrono::seconds absence{10};
constexpr std::size_t history_max = 4000; // of a source
constexpr std::size_t name_max = 64;      // of a client
constexpr std::size_t line_max = 400;     // of an action

const WebReply done_reply{204, "text/plain", ""};

WebReply refused(int status, const std::string& why) {
    return {status, "text/plain; charset=utf-8", why + "\n"};
}

// As long for each that is wrong.
bool is_same(std::string_view token, std::string_view said) {
    unsigned difference = token.size() == said.size() ? 0 : 1;
    for (std::size_t i = 0; i < token.size(); ++i)
        difference |= static_cast<unsigned char>(token[i] ^ (i < said.size() ? said[i] : 0));
    return difference == 0;
}

bool is_name(std::string_view name) {
    return !name.empty() && name.size() <= name_max && std::ranges::all_of(name, [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z');
    });
}

std::string client_of(const std::string& query) {
    constexpr std::string_view member = "client=";
    const std::string name = query.starts_with(member) ? query.substr(member.size()) : "";
    return is_name(name) ? name : "";
}

Json panel_message(std::string_view event) {
    return Json::object().set("source", "panel").set("event", event);
}

std::string member_of(const WebRequest& request, std::string_view name) {
    const auto body = Json::parse(request.body);
    return body ? body->text(name).value_or("") : "";
}

// The report lines are written by the device library, members in this order.
bool is_of(const std::string& line, std::string_view source) {
    constexpr std::string_view name = ",\"source\":\"";
    const std::size_t place = line.find(name);
    return place != std::string::npos && std::string_view(line)
                                             .substr(place + name.size())
                                             .starts_with(std::string(source) + "\"");
}

std::optional<Picture> picture_of(const std::string& pixels) {
    Picture picture{};
    if (pixels.size() != picture.size()) return std::nullopt;
    std::ranges::transform(pixels, picture.begin(), [](char digit) {
        return static_cast<std::uint8_t>(digit <= '9' ? digit - '0' : digit - 'a' + 10);
    });
    return picture;
}

// A text in quotes, as TOML has it.
std::string toml_text(std::string_view text) { return Json(text).dump(); }

// To the microsecond, however long the run was.
std::string exact_seconds(Microseconds time) {
    std::string digits = std::to_string(time % us_per_second);
    digits.insert(0, 6 - digits.size(), '0');
    return std::to_string(time / us_per_second) + "." + digits;
}

std::string fault_text(const FaultSetting& fault) {
    std::string text = fault.name + (fault.value.empty() ? "" : "=" + fault.value);
    return fault.at_us == 0 ? text : text + "@" + exact_seconds(fault.at_us);
}

std::string list_of_texts(std::string_view name, const std::vector<std::string>& texts) {
    std::string list;
    for (const std::string& text : texts)
        list += (list.empty() ? "" : ", ") + toml_text(text);
    return texts.empty() ? "" : std::string(name) + " = [" + list + "]\n";
}

std::string step_text(const ScenarioStep& step) {
    std::string text = "\n[[step]]\n";
    switch (step.trigger) {
    case ScenarioStep::Trigger::time:
        text += "at = " + exact_seconds(step.at_us);
        break;
    case ScenarioStep::Trigger::console:
        text += "when = " + toml_text("console:" + step.text);
        break;
    case ScenarioStep::Trigger::screen:
        text += "when = " + toml_text("screen:" + step.text);
        break;
    case ScenarioStep::Trigger::beep:
        text += "when = \"beep\"";
        break;
    }
    if (step.trigger != ScenarioStep::Trigger::time)
        text += "\nafter = " + exact_seconds(step.at_us);
    return text + "\ndo = " + toml_text(step.action) + "\n";
}

bool same_row(const ScreenRow& one, const ScreenRow& other) {
    return one.label == other.label && one.status == other.status;
}

// Why those options make no run; empty: they do.
std::string obstacle(const Options& options) {
    for (const FaultSetting& fault : options.setup.faults)
        if (auto error = fault_error(options.setup.board, fault.name, fault.value); !error.empty())
            return error;
    for (const ScenarioStep& step : options.setup.steps)
        if (auto error = action_error(options.setup.board, step.action); !error.empty())
            return error;
    return "";
}

} // namespace

std::string scenario_of(const Options& options, const std::vector<DoneStep>& done) {
    const Setup& setup = options.setup;
    std::string text = "# What was done at the panel of a virtual K/4.\n";
    text.append("board = ").append(toml_text(name_of(boards, setup.board)));
    text.append("\noperator = ").append(toml_text(name_of(operators, setup.operator_kind)));
    text.append("\nseed = ").append(std::to_string(setup.seed));
    text.append("\nschedule = ").append(toml_text(name_of(schedules, setup.schedule)));
    text.append("\nlimit = ").append(exact_seconds(setup.limit_us)).append("\n");
    text += list_of_texts("arguments", {options.program.begin() + 1, options.program.end()});
    std::vector<std::string> faults;
    std::ranges::transform(setup.faults, std::back_inserter(faults), fault_text);
    text += list_of_texts("faults", faults);
    for (const ScenarioStep& step : setup.steps)
        text += step_text(step);
    for (const DoneStep& step : done)
        text += step_text({ScenarioStep::Trigger::time, step.at_us, "", step.action});
    return text;
}

const PanelDesk::Place PanelDesk::places[] = {
    {"/api/take", &PanelDesk::take, false},     {"/api/release", &PanelDesk::release, true},
    {"/api/do", &PanelDesk::act, true},         {"/api/pace", &PanelDesk::set_pace, true},
    {"/api/show", &PanelDesk::show_next, true}, {"/api/start", &PanelDesk::start, true},
    {"/api/stop", &PanelDesk::stop, true},
};

PanelDesk::PanelDesk(const Options& first, std::string token, std::function<void()> wake)
    : first_(first), token_(std::move(token)), wake_(std::move(wake)), options_(first) {}

PanelDesk::~PanelDesk() {
    if (device_end_ >= 0) close(device_end_);
    if (own_end_ >= 0) close(own_end_);
}

void PanelDesk::begin(const Options& options) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) != 0)
        throw UsageError(std::string("no socket to the device: ") + std::strerror(errno));
    device_end_ = ends[1];
    server_->post([this, options, own_end = ends[0]] { start_anew(options, own_end); });
}

bool PanelDesk::takes(const std::string& line) {
    const bool live = is_of(line, "live");
    if (!is_of(line, "plan")) server_->post([this, line] { see(line); });
    return live;
}

void PanelDesk::ended(const std::string& closing_line, int status, bool asked_to_end) {
    asked_to_end_ = asked_to_end;
    close(device_end_);
    device_end_ = -1;
    server_->post([this, closing_line, status] {
        close(own_end_);
        own_end_ = -1;
        runs_ = false;
        closing_line_ = closing_line;
        status_ = status;
        server_->publish(run_message());
    });
}

std::optional<Options> PanelDesk::asked_for() {
    const std::lock_guard lock(mutex_);
    return std::exchange(asked_for_, {});
}

WebReply PanelDesk::answer(const WebRequest& request) {
    if (request.post) {
        const auto place = std::ranges::find(places, request.path, &Place::path);
        return place == std::end(places) ? refused(404, "there is nothing of that name")
                                         : carry_out(*place, request);
    }
    if (request.path == "/api/scenario")
        return {200, "application/toml", scenario_of(options_, done_), "panel.toml"};
    if (request.path == "/api/faults")
        return {200, "application/json", faults_as_json(matching_faults(""))};
    if (request.path == "/api/diagnosis") return {200, "application/json", diagnosis()};
    if (const PageFile* file = find_page_file(request.path))
        return {200, std::string(file->type), std::string(file->content)};
    return refused(404, "there is nothing of that name");
}

std::string PanelDesk::stream_begins(const std::string& query) {
    if (streams_.empty()) say("watch 1");
    ++streams_[client_of(query)];
    std::string text = WebServer::framed(run_message()) + WebServer::framed(holder_message());
    for (const auto& [source, messages] : history_)
        for (const std::string& message : messages)
            text += WebServer::framed(message);
    for (const auto& [event, message] : latest_)
        text += WebServer::framed(message);
    return text;
}

void PanelDesk::stream_ends(const std::string& query) {
    const std::string client = client_of(query);
    if (--streams_[client] <= 0) streams_.erase(client);
    if (client == holder_) holder_seen_ = Clock::now();
    if (streams_.empty()) say("watch 0");
}

void PanelDesk::tick() {
    if (!holder_.empty() && holder_is_gone()) give_to("");
}

WebReply PanelDesk::carry_out(const Place& place, const WebRequest& request) {
    if (!is_same(token_, request.token) || !is_name(request.client))
        return refused(403, "open the address that k4sim panel printed to operate");
    if (request.client == holder_)
        holder_seen_ = Clock::now();
    else if (place.operates)
        return refused(409, "another browser operates");
    return (this->*place.answer)(request);
}

WebReply PanelDesk::take(const WebRequest& request) {
    if (!holder_.empty() && holder_ != request.client)
        return refused(409, "another browser operates");
    give_to(request.client);
    return done_reply;
}

WebReply PanelDesk::release(const WebRequest&) {
    give_to("");
    return done_reply;
}

WebReply PanelDesk::act(const WebRequest& request) {
    const std::string action = member_of(request, "action");
    if (action.size() > line_max) return refused(400, "that is no action");
    const std::string error = action_error(options_.setup.board, action);
    if (!error.empty()) return refused(400, error);
    if (!runs_) return refused(409, "the device is off");
    say("do " + action);
    return done_reply;
}

WebReply PanelDesk::set_pace(const WebRequest& request) {
    constexpr std::string_view verbs[] = {"pause", "go", "step"};
    const std::string pace = member_of(request, "pace");
    double factor = 0;
    std::from_chars(pace.data(), pace.data() + pace.size(), factor);
    if (std::ranges::find(verbs, pace) != std::end(verbs))
        say(pace);
    else if (pace == "max" || (factor >= 0.01 && factor <= 1000))
        say("pace " + pace);
    else
        return refused(400, "say max, a factor, pause, go or step");
    return done_reply;
}

WebReply PanelDesk::show_next(const WebRequest&) {
    if (!runs_) return refused(409, "the device is off");
    situation_.console = console_;
    const Advice advice = next_step(situation_);
    if (!advice.action.empty()) say("do " + advice.action);
    server_->publish(
        panel_message("advice").set("action", advice.action).set("why", advice.why).dump());
    return done_reply;
}

// {"arguments": words, "board": name, "seed": number, "operator": name, "held": keys}
WebReply PanelDesk::start(const WebRequest& request) {
    const auto body = Json::parse(request.body);
    const auto board = value_of(boards, member_of(request, "board"));
    const auto kind = value_of(operators, member_of(request, "operator"));
    if (!body || !board || !kind) return refused(400, "that is no run");
    Options next = first_;
    next.setup.board = *board;
    next.setup.operator_kind = *kind;
    next.setup.seed = static_cast<std::uint64_t>(body->integer("seed").value_or(1));
    next.program.resize(1);
    const std::string arguments = member_of(request, "arguments");
    for (const std::string_view word : words_of(arguments))
        next.program.emplace_back(word);
    for (const char key : member_of(request, "held"))
        next.setup.steps.push_back(
            {ScenarioStep::Trigger::time, 0, "", "hold " + std::string(1, key)});
    if (const std::string error = obstacle(next); !error.empty()) return refused(400, error);
    {
        const std::lock_guard lock(mutex_);
        asked_for_ = next;
    }
    if (runs_) return stop(request);
    wake_();
    return done_reply;
}

// By the device, at a virtual time; who asks again has a program in which no such time passes.
WebReply PanelDesk::stop(const WebRequest&) {
    if (std::exchange(asked_off_, true)) RunSignals::kill_child();
    say("off");
    say("go");
    return done_reply;
}

bool PanelDesk::holder_is_gone() const {
    return !streams_.contains(holder_) && Clock::now() - holder_seen_ >= absence;
}

void PanelDesk::give_to(const std::string& client) {
    holder_ = client;
    holder_seen_ = Clock::now();
    for (const char key : held_) // a hand that goes lets go
        say(std::string("do release ") + key);
    server_->publish(holder_message());
}

void PanelDesk::start_anew(const Options& options, int own_end) {
    own_end_ = own_end;
    options_ = options;
    runs_ = true;
    asked_off_ = false;
    history_.clear();
    latest_.clear();
    done_.clear();
    held_.clear();
    situation_ = {};
    reader_ = {};
    console_.clear();
    if (!streams_.empty()) say("watch 1");
    server_->publish(run_message());
}

// Of a report line of this run.
void PanelDesk::see(const std::string& line) {
    const auto event = Json::parse(line);
    if (!event) return;
    const std::string source = event->text("source").value_or("");
    const std::string what = event->text("event").value_or("");
    if (source == "oled" && event->text("pixels")) {
        // Late, but told also while nobody looks on.
        if (streams_.empty() && what == "picture")
            look_at(*event->text("pixels"), event->integer("t").value_or(0));
        return;
    }
    if (source == "live" && what == "did")
        note_done({event->text("action").value_or(""), event->integer("at").value_or(0)});
    if (source == "live" && what == "off")
        options_.setup.limit_us = event->integer("at").value_or(options_.setup.limit_us);
    if (source == "live" && what == "picture")
        look_at(event->text("pixels").value_or(""), event->integer("t").value_or(0));
    if (source == "console") console_ += event->text("text").value_or("");
    if (what == "analog-cable") situation_.analog_plugged = event->text("fitted") != "unplugged";
    if (what == "digital-cable")
        situation_.digital_plugged = event->flag("plugged").value_or(false);
    if (source == "live" && what != "did")
        latest_[what] = line;
    else
        keep(source, line);
    server_->publish(line);
}

void PanelDesk::note_done(const DoneStep& step) {
    done_.push_back(step);
    if (step.action.starts_with("hold ")) held_.insert(step.action.back());
    if (step.action.starts_with("release ")) held_.erase(step.action.back());
}

void PanelDesk::look_at(const std::string& pixels, Microseconds t) {
    const auto picture = picture_of(pixels);
    if (!picture) return;
    situation_.lamp_test = ScreenReader::is_lamp_test(*picture);
    auto rows = reader_.read(*picture);
    if (std::ranges::equal(rows, situation_.rows, same_row)) return;
    row_since_.resize(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (i >= situation_.rows.size() || !same_row(rows[i], situation_.rows[i]))
            row_since_[i] = t;
    situation_.rows = std::move(rows);
    if (!situation_.rows.empty()) last_rows_ = situation_.rows;
    tell_rows();
}

void PanelDesk::tell_rows() {
    Json rows = Json::array();
    for (std::size_t i = 0; i < row_since_.size(); ++i)
        rows.add(Json::object()
                     .set("label", situation_.rows[i].label)
                     .set("status", situation_.rows[i].status)
                     .set("since", row_since_[i]));
    latest_["rows"] = panel_message("rows").set("rows", rows).dump();
    server_->publish(latest_["rows"]);
}

// Of each source by itself, so that what one repeats without end does not push out another.
void PanelDesk::keep(const std::string& source, const std::string& message) {
    std::deque<std::string>& messages = history_[source];
    messages.push_back(message);
    if (messages.size() > history_max) messages.pop_front();
}

// To the device; one that takes nothing any more has its reason.
void PanelDesk::say(const std::string& message) {
    if (own_end_ >= 0) send(own_end_, message.data(), message.size(), MSG_NOSIGNAL);
}

// By what stands on the rows, or stood there last.
std::string PanelDesk::diagnosis() const {
    std::vector<std::pair<std::string, std::string>> rows;
    for (const ScreenRow& row : last_rows_)
        if (!row.label.empty()) rows.emplace_back(row.label, row.status);
    return diagnosis_of_rows(rows, std::string(name_of(boards, options_.setup.board)));
}

std::string PanelDesk::holder_message() const {
    return panel_message("holder").set("client", holder_).dump();
}

std::string PanelDesk::run_message() const {
    std::string arguments;
    for (std::size_t i = 1; i < options_.program.size(); ++i)
        arguments += (i > 1 ? " " : "") + options_.program[i];
    Json message = panel_message("run");
    message.set("runs", runs_)
        .set("board", name_of(boards, options_.setup.board))
        .set("operator", name_of(operators, options_.setup.operator_kind))
        .set("seed", static_cast<std::int64_t>(options_.setup.seed))
        .set("arguments", arguments);
    if (!runs_) message.set("closing", closing_line_).set("status", status_);
    return message.dump();
}

} // namespace k4sim
