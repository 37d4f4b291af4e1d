#include "demo/FaultyServer.h"

#include "demo/MultipartFault.h"
#include "demo/RestReplies.h"

#include <fnmatch.h>

namespace zorbel::demo {

FaultyServer::FaultyServer(Answer answer, Answer control)
    : answer_(std::move(answer)), control_(std::move(control)) {}

FaultyServer::~FaultyServer() {
    stop();
}

void FaultyServer::start(int port) {
    stop();
    server_ = std::make_unique<HttpServer>([this](const Request& request) { return serve(request); });
    server_->start(port);
    const std::lock_guard lock(mutex_);
    port_ = server_->port();
    running_ = true;
}

void FaultyServer::stop() {
    {
        const std::lock_guard lock(mutex_);
        running_ = false;
    }
    if (server_) {
        server_->stop();
    }
    server_.reset();
}

bool FaultyServer::isRunning() const {
    const std::lock_guard lock(mutex_);
    return running_;
}

int FaultyServer::port() const {
    const std::lock_guard lock(mutex_);
    return port_;
}

std::vector<RequestRecord> FaultyServer::requests(const std::string& pathPattern) const {
    const std::lock_guard lock(mutex_);
    std::vector<RequestRecord> found;
    for (const RequestRecord& one : requests_) {
        if (fnmatch(pathPattern.c_str(), one.path.c_str(), 0) == 0) {
            found.push_back(one);
        }
    }
    return found;
}

void FaultyServer::resetRequests() {
    const std::lock_guard lock(mutex_);
    requests_.clear();
}

void FaultyServer::record(const Request& request) {
    RequestRecord one{
        request.method,
        request.path,
        {request.params.begin(), request.params.end()},
        request.get_header_value("Accept"),
        request.get_header_value("User-Agent"),
        !bearerToken(request).empty()};
    const std::lock_guard lock(mutex_);
    requests_.push_back(std::move(one));
}

HttpReply FaultyServer::serve(const Request& request) {
    try {
        if (control_ && startsWith(request.path, "/demo/")) {
            return control_(request);
        }
        record(request);
        return misbehave(request);
    } catch (const std::exception&) {
        // What went wrong may name a patient; the client gets the fact alone.
        return failure(502, "The image archive does not answer", "ARCHIVE_UNAVAILABLE");
    }
}

HttpReply FaultyServer::misbehave(const Request& request) {
    const std::vector<Fault> faults = faults_.take(request.method, request.path);
    std::optional<HttpReply> early;
    for (const Fault& fault : faults) {
        if (fault.kind == Fault::Kind::Delay) {
            server_->pause(fault.delay);
        } else if (fault.kind == Fault::Kind::NoReply && !early) {
            early.emplace();
            early->silent = true;
        } else if (fault.kind == Fault::Kind::Reply && !early) {
            early = HttpReply::bytes(fault.status, fault.contentType, fault.body);
        } else if (fault.kind == Fault::Kind::Redirect && !early) {
            early = HttpReply::bytes(302, "text/plain", "");
            early->headers.emplace("Location", fault.location);
        }
    }
    HttpReply reply = early ? std::move(*early) : answer_(request);
    for (const Fault& fault : faults) {
        reply.silent = reply.silent || fault.kind == Fault::Kind::LostReply;
    }
    return withBodyFaults(std::move(reply), faults);
}

HttpReply FaultyServer::withBodyFaults(HttpReply reply, const std::vector<Fault>& faults) {
    if (reply.silent) {
        return reply;
    }
    for (const Fault& fault : faults) {
        if (changesParts(fault.kind) && reply.status == 200 && startsWith(reply.contentType, "multipart/")) {
            MultipartReply changed = withFault({reply.contentType, readAll(*reply.body)}, fault);
            reply.contentType = std::move(changed.contentType);
            reply.body = std::make_unique<MemorySource>(std::move(changed.body));
            reply.length.reset();
        }
    }
    const Pause pause = [this](std::chrono::milliseconds time) { return server_->pause(time); };
    for (const Fault& fault : faults) {
        if (fault.kind == Fault::Kind::Oversize) {
            reply.body = std::make_unique<PaddedSource>(std::move(reply.body), fault.bytes);
            reply.length = fault.announced ? std::optional(fault.bytes) : std::nullopt;
        }
    }
    for (const Fault& fault : faults) {
        if (fault.kind == Fault::Kind::Throttle) {
            reply.body = std::make_unique<ThrottledSource>(std::move(reply.body), fault.bytes, pause);
        } else if (fault.kind == Fault::Kind::DropBody || fault.kind == Fault::Kind::Hang) {
            const bool hangs = fault.kind == Fault::Kind::Hang;
            reply.body =
                std::make_unique<CutSource>(std::move(reply.body), fault.bytes, hangs ? pause : Pause());
        }
    }
    return reply;
}

} // namespace zorbel::demo
