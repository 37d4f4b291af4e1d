#pragma once

#include <QString>

#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace zorbel::test {

struct RecordedRequest {
    std::string method;
    std::string target; ///< path and query as sent
    std::string headers;
    std::string body;

    bool has(std::string_view header) const { return headers.find(header) != std::string::npos; }
    bool isFor(std::string_view path) const { return target.find(path) != std::string::npos; }
};

/// One connection with its request read; what is sent on it is up to the script, byte by byte.
class Exchange {
public:
    Exchange(int socket, RecordedRequest received) : request(std::move(received)), socket_(socket) {}

    /// False once the client is gone.
    bool send(std::string_view bytes);
    /// A whole, correct reply.
    void reply(int status, std::string_view body, std::string_view extraHeaders = {});
    /// Sends nothing more until the client hangs up.
    void waitForHangUp();

    const RecordedRequest request;

private:
    int socket_;
};

/// An HTTP server on loopback, one thread a connection and one request each, that does whatever its script
/// says.
class MisbehavingServer {
public:
    using Script = std::function<void(Exchange&)>;

    explicit MisbehavingServer(Script script);
    ~MisbehavingServer();

    QString url(const QString& path = {}) const;
    std::vector<RecordedRequest> requests() const;
    /// Waits until `count` scripts run at one time; false after five minutes.
    bool waitForConcurrency(int count);

private:
    void accept();
    void serve(int socket);

    Script script_;
    int listener_ = -1;
    int port_ = 0;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<RecordedRequest> requests_;
    std::vector<int> open_;
    int running_ = 0;
    bool stopping_ = false;
    std::list<std::thread> connections_;
    std::thread acceptor_;
};

/// Answers sign-in, validation, study list and audit as a working service does; false for any other request.
bool serveSession(Exchange& exchange);

} // namespace zorbel::test
