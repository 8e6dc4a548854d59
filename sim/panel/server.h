// A small HTTP server for a page and those who look at it: files and answers, and a stream of
// events to each of them (Server-sent events). It has a thread of its own, on which all that it
// calls runs, so that what is called needs no lock.
//
// It serves those who call it by the name or address that it listens at, with an Origin that is
// the same or none; GET, and POST with a body of 64 KiB at most; a hundred connections at once,
// each of which has to say what it wants within ten seconds, and to take what it gets.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace k4sim {

struct WebRequest {
    bool post = false;
    std::string path;   // without what stands behind "?"
    std::string query;  // that
    std::string client; // the header X-K4-Client
    std::string token;  // the header X-K4-Token
    std::string body;
};

struct WebReply {
    int status = 200;
    std::string type = "text/plain; charset=utf-8";
    std::string body{};
    std::string file_name{}; // to be saved under; empty: to be shown
};

// What is behind a server.
class WebSite {
public:
    virtual ~WebSite() = default;
    virtual WebReply answer(const WebRequest& request) = 0;
    // A stream of events begins, or ends. The messages that it is to begin with, as sent by
    // publish().
    virtual std::string stream_begins(const std::string& query) = 0;
    virtual void stream_ends(const std::string& query) = 0;
    // Comes every second.
    virtual void tick() = 0;
};

class WebServer {
public:
    static constexpr std::string_view stream_path = "/events";

    // Listens at the address (an IP address), at `port`, or where that is taken at the first free
    // one of the `ports` from there on. `site` must outlive the server. Throws std::runtime_error,
    // with one line, where there is none.
    WebServer(const std::string& address, std::uint16_t port, int ports, WebSite& site);
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    std::uint16_t port() const;

    // From any thread: runs on the server's.
    void post(std::function<void()> work);

    // On the server's thread: a message, which is one line, to all streams.
    void publish(const std::string& message);

    // A message as it stands in a stream.
    static std::string framed(const std::string& message) { return "data: " + message + "\n\n"; }

private:
    class Listener;
    std::unique_ptr<Listener> listener_;
};

} // namespace k4sim
