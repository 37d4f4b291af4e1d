#pragma once

#include "demo/FaultBoard.h"
#include "demo/HttpServer.h"
#include "demo/RequestRecord.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace zorbel::demo {

/// An HttpServer that remembers its requests and misbehaves as its fault board says. All but start() and
/// stop() is safe from any thread.
class FaultyServer {
public:
    using Request = HttpServer::Request;
    using Answer = HttpServer::Answer;

    /// `control` answers what lies under /demo/, unharmed by faults and unrecorded. An exception of either
    /// becomes a 502.
    explicit FaultyServer(Answer answer, Answer control = {});
    ~FaultyServer();

    /// Also after stop(). 0 takes a free port. Throws std::runtime_error when the port is taken.
    void start(int port);
    void stop();
    bool isRunning() const;
    /// Of the last start.
    int port() const;

    FaultBoard& faults() { return faults_; }
    /// Those whose path matches the shell pattern, oldest first.
    std::vector<RequestRecord> requests(const std::string& pathPattern = "*") const;
    void resetRequests();

private:
    HttpReply serve(const Request& request);
    HttpReply misbehave(const Request& request);
    HttpReply withBodyFaults(HttpReply reply, const std::vector<Fault>& faults);
    void record(const Request& request);

    Answer answer_;
    Answer control_;
    FaultBoard faults_;
    mutable std::mutex mutex_;
    std::vector<RequestRecord> requests_;
    int port_ = 0;
    bool running_ = false;
    std::unique_ptr<HttpServer> server_; ///< last, so that its threads end before what they use
};

} // namespace zorbel::demo
