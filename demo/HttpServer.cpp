#include "demo/HttpServer.h"

#include <array>
#include <cstring>
#include <stdexcept>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zorbel::demo {

namespace {

constexpr int idleMilliseconds = 5000;
constexpr int stalledMilliseconds = 120000;
// One thread for each connection, idle ones included.
constexpr std::size_t threads = 48;

bool wait(int sock, short events, int milliseconds) {
    pollfd one{sock, events, 0};
    return poll(&one, 1, milliseconds) > 0 && (one.revents & events) != 0;
}

/// Set while a connection is to close without a reply; each connection has its thread.
thread_local bool silent = false;

/// The connection as cpp-httplib wants to see it.
class SocketStream : public httplib::Stream {
public:
    explicit SocketStream(int sock) : socket_(sock) {}

    bool is_readable() const override { return at_ < filled_ || wait(socket_, POLLIN, stalledMilliseconds); }
    bool is_writable() const override { return wait(socket_, POLLOUT, stalledMilliseconds); }

    ssize_t read(char* ptr, size_t size) override {
        if (at_ == filled_) {
            if (!wait(socket_, POLLIN, stalledMilliseconds)) {
                return -1;
            }
            const ssize_t got = recv(socket_, buffer_.data(), buffer_.size(), 0);
            if (got <= 0) {
                return got;
            }
            at_ = 0;
            filled_ = static_cast<std::size_t>(got);
        }
        const std::size_t given = std::min(size, filled_ - at_);
        std::memcpy(ptr, buffer_.data() + at_, given);
        at_ += given;
        return static_cast<ssize_t>(given);
    }

    ssize_t write(const char* ptr, size_t size) override {
        if (silent) {
            return -1;
        }
        std::size_t sent = 0;
        while (sent < size) {
            const ssize_t now = send(socket_, ptr + sent, size - sent, MSG_NOSIGNAL);
            if (now < 0 && errno == EINTR) {
                continue;
            }
            if (now <= 0) {
                return -1;
            }
            sent += static_cast<std::size_t>(now);
        }
        return static_cast<ssize_t>(size);
    }

    void get_remote_ip_and_port(std::string& ip, int& port) const override {
        ip = "127.0.0.1";
        port = 0;
    }
    void get_local_ip_and_port(std::string& ip, int& port) const override {
        ip = "127.0.0.1";
        port = 0;
    }
    socket_t socket() const override { return socket_; }

    bool hasBuffered() const { return at_ < filled_; }

private:
    int socket_;
    std::array<char, 16384> buffer_{};
    std::size_t at_ = 0;
    std::size_t filled_ = 0;
};

void configureConnection(int sock) {
    const int yes = 1;
    const timeval patience{stalledMilliseconds / 1000, 0};
    setsockopt(sock, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    setsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setsockopt(sock, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
}

} // namespace

HttpReply HttpReply::bytes(int status, std::string contentType, std::string body) {
    HttpReply reply;
    reply.status = status;
    reply.contentType = std::move(contentType);
    reply.length = body.size();
    reply.body = std::make_unique<MemorySource>(std::move(body));
    return reply;
}

HttpServer::HttpServer(Answer answer) : answer_(std::move(answer)) {
    const auto handle = [this](const httplib::Request& request, httplib::Response& response) {
        emit(answer_(request), response);
    };
    Get(".*", handle);
    Post(".*", handle);
    Put(".*", handle);
    Delete(".*", handle);
    new_task_queue = [] { return new httplib::ThreadPool(threads); };
    set_payload_max_length(64U << 20);
    // Not SO_REUSEPORT, cpp-httplib's default: a second service on the same port has to fail.
    set_socket_options([this](socket_t sock) {
        listening_ = sock;
        const int yes = 1;
        setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
}

HttpServer::~HttpServer() {
    stop();
}

void HttpServer::start(int port) {
    port_ = port;
    if (port == 0) {
        port_ = bind_to_any_port("127.0.0.1");
    } else if (!bind_to_port("127.0.0.1", port)) {
        port_ = -1;
    }
    if (port_ <= 0) {
        throw std::runtime_error("Port " + std::to_string(port) + " of this computer is taken.");
    }
    // cpp-httplib's backlog of five makes a client that opens sixteen connections wait a second for some.
    ::listen(listening_, 128);
    thread_ = std::thread([this] { listen_after_bind(); });
    while (!is_running()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void HttpServer::stop() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        for (const int sock : connections_) {
            shutdown(sock, SHUT_RDWR);
        }
    }
    stopped_.notify_all();
    if (thread_.joinable()) {
        Server::stop();
        thread_.join();
    }
}

bool HttpServer::pause(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    return !stopped_.wait_for(lock, time, [this] { return stopping_; });
}

bool HttpServer::enter(int sock) {
    const std::lock_guard lock(mutex_);
    return !stopping_ && connections_.insert(sock).second;
}

void HttpServer::leave(int sock) {
    const std::lock_guard lock(mutex_);
    connections_.erase(sock);
    shutdown(sock, SHUT_RDWR);
    close(sock);
}

bool HttpServer::process_and_close_socket(socket_t sock) {
    if (!enter(sock)) {
        close(sock);
        return false;
    }
    configureConnection(sock);
    SocketStream stream(sock);
    bool more = true;
    silent = false;
    while (more && (stream.hasBuffered() || wait(sock, POLLIN, idleMilliseconds))) {
        bool closed = false;
        more = process_request(stream, false, closed, [](httplib::Request&) {}) && !closed && !silent;
    }
    leave(sock);
    return more;
}

void HttpServer::emit(HttpReply reply, httplib::Response& response) {
    silent = reply.silent;
    response.status = reply.status;
    for (const auto& [name, value] : reply.headers) {
        response.set_header(name, value);
    }
    if (reply.length == 0U || !reply.body) {
        response.set_content("", reply.contentType);
        return;
    }
    const std::shared_ptr<ByteSource> body = std::move(reply.body);
    const auto next = [body](std::string_view& piece) {
        try {
            piece = body->read();
            return true;
        } catch (const std::exception&) {
            return false;
        }
    };
    if (reply.length) {
        response.set_content_provider(
            static_cast<std::size_t>(*reply.length), reply.contentType,
            [next](std::size_t, std::size_t, httplib::DataSink& sink) {
                std::string_view piece;
                return next(piece) && !piece.empty() && sink.write(piece.data(), piece.size());
            });
        return;
    }
    response.set_chunked_content_provider(reply.contentType, [next](std::size_t, httplib::DataSink& sink) {
        std::string_view piece;
        if (!next(piece)) {
            return false;
        }
        if (piece.empty()) {
            sink.done();
            return true;
        }
        return sink.write(piece.data(), piece.size());
    });
}

} // namespace zorbel::demo
