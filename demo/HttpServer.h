#pragma once

#include "demo/ByteSource.h"

#include <httplib.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>

namespace zorbel::demo {

/// A reply before it is sent. Without a length the body goes out chunked, so that the client sees a break.
struct HttpReply {
    int status = 200;
    std::string contentType;
    std::multimap<std::string, std::string> headers;
    std::optional<std::uint64_t> length;
    std::unique_ptr<ByteSource> body;
    bool silent = false; ///< close the connection instead

    static HttpReply bytes(int status, std::string contentType, std::string body);
};

/// cpp-httplib's server on loopback with two things of its own: stop() ends connections that idle or hang,
/// and bodies are pulled from a ByteSource.
class HttpServer : private httplib::Server {
public:
    using Request = httplib::Request;
    using Answer = std::function<HttpReply(const Request&)>;

    explicit HttpServer(Answer answer);
    ~HttpServer() override;

    /// 0 takes a free port. Throws std::runtime_error when the port is taken.
    void start(int port);
    void stop();
    int port() const { return port_; }
    /// Waits; false when the server stops meanwhile. For answers that are to be late.
    bool pause(std::chrono::milliseconds time);

private:
    bool process_and_close_socket(socket_t sock) override;
    void emit(HttpReply reply, httplib::Response& response);
    bool enter(int sock);
    void leave(int sock);

    Answer answer_;
    int port_ = 0;
    int listening_ = -1;
    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable stopped_;
    bool stopping_ = false;
    std::set<int> connections_;
};

} // namespace zorbel::demo
