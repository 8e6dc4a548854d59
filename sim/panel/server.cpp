#include "sim/panel/server.h"

#include "sim/panel/origin.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <csignal>
#include <cstring>
#include <deque>
#include <fcntl.h>
#include <optional>
#include <set>
#include <stdexcept>
#include <sys/socket.h>
#include <thread>

namespace k4sim {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using Tcp = asio::ip::tcp;
using Error = boost::system::error_code;

constexpr std::size_t body_max = 64 * 1024;
constexpr std::uint32_t header_max = 8 * 1024;
constexpr std::size_t connections_max = 100;
constexpr std::size_t backlog_max = 4 * 1024 * 1024; // that a stream has not taken
constexpr std::chrono::seconds patience{10};

// What a browser may do with the page: nothing that leads elsewhere.
constexpr std::pair<const char*, const char*> always[] = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
     "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
    {"Cache-Control", "no-store"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
};

using Request = http::request<http::string_body>;
using Response = http::response<http::string_body>;

void fill(http::fields& header) {
    for (const auto& [field, value] : always)
        header.set(field, value);
}

Response response_of(const WebReply& reply, const Request& request) {
    Response response{static_cast<http::status>(reply.status), request.version()};
    fill(response);
    response.set(http::field::content_type, reply.type);
    if (!reply.file_name.empty())
        response.set(http::field::content_disposition,
                     "attachment; filename=\"" + reply.file_name + "\"");
    if (reply.status == 405) response.set(http::field::allow, "GET, POST");
    response.body() = reply.body;
    response.keep_alive(request.keep_alive());
    response.prepare_payload();
    return response;
}

std::string text_of(beast::string_view view) { return {view.data(), view.size()}; }

WebRequest web_request(const Request& request) {
    WebRequest web;
    web.post = request.method() == http::verb::post;
    const std::string target = text_of(request.target());
    const std::size_t mark = target.find('?');
    web.path = target.substr(0, mark);
    if (mark != std::string::npos) web.query = target.substr(mark + 1);
    web.client = text_of(request["X-K4-Client"]);
    web.token = text_of(request["X-K4-Token"]);
    web.body = request.body();
    return web;
}

// What a request that can't be read is worth an answer.
std::optional<WebReply> reply_to(Error error) {
    if (error == http::error::body_limit) return WebReply{413, "text/plain", "too long\n"};
    if (error == http::error::header_limit) return WebReply{431, "text/plain", "too long\n"};
    const bool broken = error.category() == make_error_code(http::error::bad_version).category();
    if (!broken || error == http::error::end_of_stream || error == http::error::partial_message)
        return std::nullopt;
    return WebReply{400, "text/plain", "no request\n"};
}

// Sockets of the server are not the program's.
int accept_alone(int listening) {
    return accept4(listening, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
}

Tcp::acceptor make_acceptor(asio::io_context& context, const Tcp::endpoint& where, Error& error) {
    Tcp::acceptor acceptor(context);
    const int family = where.protocol().family();
    const int socket = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket < 0) {
        error.assign(errno, boost::system::system_category());
        return acceptor;
    }
    acceptor.assign(where.protocol(), socket, error);
    if (!error) acceptor.set_option(Tcp::acceptor::reuse_address(true), error);
    if (!error) acceptor.bind(where, error);
    if (!error) acceptor.listen(asio::socket_base::max_listen_connections, error);
    return acceptor;
}

} // namespace

class WebServer::Listener {
public:
    Listener(const std::string& address, std::uint16_t port, int ports, WebSite& site)
        : address_(address), site_(site), acceptor_(open(address, port, ports)), clock_(context_) {
        acceptor_.non_blocking(true);
        accept();
        tick();
        start();
    }

    ~Listener() {
        context_.stop();
        thread_.join();
        streams_.clear();
    }

    std::uint16_t port() const { return acceptor_.local_endpoint().port(); }
    void post(std::function<void()> work) { asio::post(context_, std::move(work)); }
    void publish(const std::string& message);

private:
    class Connection;

    Tcp::acceptor open(const std::string& address, std::uint16_t port, int ports) {
        Error error;
        const auto number = asio::ip::make_address(address, error);
        if (error) throw std::runtime_error("\"" + address + "\" is no IP address; say 127.0.0.1");
        const int last = std::min(port + ports, 65536);
        for (int candidate = port; candidate < last; ++candidate) {
            error = {};
            auto acceptor =
                make_acceptor(context_, {number, static_cast<std::uint16_t>(candidate)}, error);
            if (!error) return acceptor;
            if (error != asio::error::address_in_use && error != asio::error::access_denied) break;
        }
        throw std::runtime_error("no port from " + std::to_string(port) + " to " +
                                 std::to_string(last - 1) + " of " + address +
                                 " can be listened at: " + error.message());
    }

    // The process's signals are for its first thread, from the beginning of this one on.
    void start() {
        sigset_t all{};
        sigset_t former{};
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &former);
        thread_ = std::thread([this] { context_.run(); });
        pthread_sigmask(SIG_SETMASK, &former, nullptr);
    }

    void accept();

    void tick() {
        clock_.expires_after(std::chrono::seconds(1));
        clock_.async_wait([this](Error error) {
            if (error) return;
            site_.tick();
            tick();
        });
    }

    const std::string address_;
    WebSite& site_;
    std::size_t connections_ = 0;
    asio::io_context context_{1};
    Tcp::acceptor acceptor_;
    asio::steady_timer clock_;
    std::set<std::shared_ptr<Connection>> streams_;
    std::thread thread_;
};

// A client; it lives as long as something of it is under way.
class WebServer::Listener::Connection : public std::enable_shared_from_this<Connection> {
public:
    Connection(Tcp::socket socket, Listener& owner) : stream_(std::move(socket)), owner_(owner) {
        ++owner_.connections_;
    }
    ~Connection() { --owner_.connections_; }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void read() {
        parser_.emplace();
        parser_->header_limit(header_max);
        parser_->body_limit(body_max);
        stream_.expires_after(patience);
        http::async_read(
            stream_, buffer_, *parser_,
            [self = shared_from_this()](Error error, std::size_t) { self->handle(error); });
    }

    // Of a stream.
    void send(const std::string& text) {
        waiting_ += text.size();
        if (waiting_ > backlog_max) return close();
        queue_.push_back(text);
        if (queue_.size() == 1) write_next();
    }

private:
    void handle(Error error) {
        if (error) {
            const auto reply = reply_to(error);
            if (!reply) return close();
            Request unreadable;
            unreadable.version(11);
            unreadable.keep_alive(false);
            return answer(response_of(*reply, unreadable));
        }
        const Request request = parser_->release();
        if (const auto refused = refusal(request)) return answer(response_of(*refused, request));
        const WebRequest web = web_request(request);
        if (!web.post && web.path == stream_path) return begin_stream(web.query);
        answer(response_of(owner_.site_.answer(web), request));
    }

    std::optional<WebReply> refusal(const Request& request) const {
        const std::string host = text_of(request[http::field::host]);
        const std::string origin = text_of(request[http::field::origin]);
        if (request.count(http::field::host) != 1 ||
            !is_own_host(host, owner_.address_, owner_.port()) || !is_own_origin(origin, host))
            return WebReply{403, "text/plain", "not from there\n"};
        if (request.method() != http::verb::get && request.method() != http::verb::post)
            return WebReply{405, "text/plain", "GET or POST\n"};
        return std::nullopt;
    }

    void answer(Response response) {
        response_ = std::move(response);
        stream_.expires_after(patience);
        http::async_write(stream_, *response_,
                          [self = shared_from_this()](Error error, std::size_t) {
                              if (error || !self->response_->keep_alive()) return self->close();
                              self->read();
                          });
    }

    void begin_stream(const std::string& query) {
        query_ = query;
        http::response<http::empty_body> header{http::status::ok, 11};
        fill(header);
        header.set(http::field::content_type, "text/event-stream");
        header.keep_alive(false);
        std::string text;
        http::response_serializer<http::empty_body> serializer{header};
        Error error;
        serializer.next(error, [&](Error&, const auto& buffers) {
            text = beast::buffers_to_string(buffers);
            serializer.consume(text.size());
        });
        owner_.streams_.insert(shared_from_this());
        send(text + owner_.site_.stream_begins(query_));
        stream_.expires_never();
        watch();
    }

    // The only thing that a stream can still say is that it is gone.
    void watch() {
        stream_.socket().async_read_some(asio::buffer(unused_),
                                         [self = shared_from_this()](Error error, std::size_t) {
                                             if (error) return self->close();
                                             self->watch();
                                         });
    }

    void write_next() {
        const auto late = std::make_shared<asio::steady_timer>(owner_.context_, patience);
        late->async_wait([self = shared_from_this()](Error error) {
            if (!error) self->close();
        });
        asio::async_write(stream_.socket(), asio::buffer(queue_.front()),
                          [self = shared_from_this(), late](Error error, std::size_t) {
                              late->cancel();
                              if (error) return self->close();
                              self->waiting_ -= self->queue_.front().size();
                              self->queue_.pop_front();
                              if (!self->queue_.empty()) self->write_next();
                          });
    }

    void close() {
        Error ignored;
        stream_.socket().close(ignored);
        if (owner_.streams_.erase(shared_from_this()) > 0) owner_.site_.stream_ends(query_);
    }

    beast::tcp_stream stream_;
    Listener& owner_;
    beast::flat_buffer buffer_{body_max + header_max};
    std::optional<http::request_parser<http::string_body>> parser_;
    std::optional<Response> response_;
    std::string query_;
    std::deque<std::string> queue_;
    std::size_t waiting_ = 0;
    std::array<char, 256> unused_{};
};

void WebServer::Listener::accept() {
    acceptor_.async_wait(Tcp::acceptor::wait_read, [this](Error error) {
        if (error) return;
        for (int socket = accept_alone(acceptor_.native_handle()); socket >= 0;
             socket = accept_alone(acceptor_.native_handle())) {
            Tcp::socket client(context_);
            client.assign(acceptor_.local_endpoint().protocol(), socket, error);
            if (!error) client.set_option(Tcp::no_delay(true), error); // pictures are news
            if (!error && connections_ < connections_max)
                std::make_shared<Connection>(std::move(client), *this)->read();
        }
        accept();
    });
}

void WebServer::Listener::publish(const std::string& message) {
    const std::string text = framed(message);
    const auto streams = streams_; // one that takes nothing any more goes meanwhile
    for (const auto& stream : streams)
        stream->send(text);
}

WebServer::WebServer(const std::string& address, std::uint16_t port, int ports, WebSite& site)
    : listener_(std::make_unique<Listener>(address, port, ports, site)) {}

WebServer::~WebServer() = default;

std::uint16_t WebServer::port() const { return listener_->port(); }

void WebServer::post(std::function<void()> work) { listener_->post(std::move(work)); }

void WebServer::publish(const std::string& message) { listener_->publish(message); }

} // namespace k4sim
