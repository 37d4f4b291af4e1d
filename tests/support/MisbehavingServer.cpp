#include "tests/support/MisbehavingServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <stdexcept>

namespace zorbel::test {

namespace {

std::size_t contentLength(const std::string& headers) {
    std::size_t length = 0;
    constexpr std::string_view name = "content-length: ";
    std::string lower = headers;
    std::transform(
        lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
    if (const auto at = lower.find(name); at != std::string::npos)
        std::from_chars(headers.data() + at + name.size(), headers.data() + headers.size(), length);
    return length;
}

bool readRequest(int socket, RecordedRequest& request) {
    std::string bytes;
    std::size_t headerEnd = std::string::npos;
    char chunk[16384];
    while (headerEnd == std::string::npos ||
           bytes.size() < headerEnd + 4 + contentLength(bytes.substr(0, headerEnd))) {
        const ssize_t count = ::recv(socket, chunk, sizeof chunk, 0);
        if (count <= 0)
            return false;
        bytes.append(chunk, static_cast<std::size_t>(count));
        headerEnd = bytes.find("\r\n\r\n");
    }
    const std::size_t first = bytes.find(' ');
    const std::size_t second = bytes.find(' ', first + 1);
    request = {
        bytes.substr(0, first), bytes.substr(first + 1, second - first - 1), bytes.substr(0, headerEnd),
        bytes.substr(headerEnd + 4)};
    return true;
}

} // namespace

bool Exchange::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

void Exchange::reply(int status, std::string_view body, std::string_view extraHeaders) {
    send(
        "HTTP/1.1 " + std::to_string(status) + " Told\r\nConnection: close\r\nContent-Length: " +
        std::to_string(body.size()) + "\r\n" + std::string(extraHeaders) + "\r\n" + std::string(body));
}

void Exchange::waitForHangUp() {
    char chunk[4096];
    while (::recv(socket_, chunk, sizeof chunk, 0) > 0) {
    }
}

MisbehavingServer::MisbehavingServer(Script script) : script_(std::move(script)) {
    listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        ::listen(listener_, 64) != 0 ||
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no free port on loopback");
    port_ = ntohs(address.sin_port);
    acceptor_ = std::thread([this] { accept(); });
}

MisbehavingServer::~MisbehavingServer() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        for (const int socket : open_)
            ::shutdown(socket, SHUT_RDWR);
    }
    ::shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    for (std::thread& connection : connections_)
        connection.join();
    ::close(listener_);
}

void MisbehavingServer::accept() {
    while (true) {
        const int socket = ::accept(listener_, nullptr, nullptr);
        if (socket < 0)
            return;
        const std::lock_guard lock(mutex_);
        open_.push_back(socket);
        if (stopping_)
            ::shutdown(socket, SHUT_RDWR);
        connections_.emplace_back([this, socket] { serve(socket); });
    }
}

void MisbehavingServer::serve(int socket) {
    RecordedRequest request;
    if (readRequest(socket, request)) {
        {
            const std::lock_guard lock(mutex_);
            requests_.push_back(request);
            ++running_;
            changed_.notify_all();
        }
        Exchange exchange(socket, std::move(request));
        script_(exchange);
        const std::lock_guard lock(mutex_);
        --running_;
    }
    const std::lock_guard lock(mutex_);
    open_.erase(std::find(open_.begin(), open_.end(), socket));
    ::close(socket);
}

QString MisbehavingServer::url(const QString& path) const {
    return QStringLiteral("http://127.0.0.1:%1%2").arg(port_).arg(path);
}

std::vector<RecordedRequest> MisbehavingServer::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

bool MisbehavingServer::waitForConcurrency(int count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::minutes(5), [&] { return running_ >= count; });
}

bool serveSession(Exchange& exchange) {
    if (exchange.request.isFor("/api/auth/login"))
        exchange.reply(200, R"({"token":"t0ken","user":{"id":"u1","effectiveOrganizationId":"o1"}})");
    else if (exchange.request.isFor("/api/auth/me"))
        exchange.reply(
            200,
            R"({"user":{"id":"u1","email":"anna@clinic.example","name":"Anna","role":"reader","effectiveOrganizationId":"o1","organizationName":"Clinic"}})");
    else if (exchange.request.isFor("/apps/pacs/api/studies"))
        exchange.reply(200, R"({"studies":[]})");
    else if (exchange.request.isFor("/apps/pacs/api/viewer-audit"))
        exchange.reply(204, "");
    else
        return false;
    return true;
}

} // namespace zorbel::test
