#include "demo/Loopback.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zorbel::demo {

namespace {

constexpr std::size_t pieceSize = 1 << 20;
constexpr std::size_t largestHead = 64 * 1024;
constexpr timeval patience{120, 0};

sockaddr_in loopbackAddress(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

std::string trimmed(std::string text) {
    const auto blank = [](unsigned char c) { return std::isspace(c) != 0; };
    text.erase(text.begin(), std::find_if_not(text.begin(), text.end(), blank));
    text.erase(std::find_if_not(text.rbegin(), text.rend(), blank).base(), text.end());
    return text;
}

} // namespace

std::string randomToken() {
    std::array<unsigned char, 32> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("The system gave no random numbers.");
    }
    std::string text;
    for (const unsigned char byte : bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

std::string basicAuthorization(const std::string& user, const std::string& password) {
    static constexpr char letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::string plain = user + ":" + password;
    std::string encoded;
    for (std::size_t at = 0; at < plain.size(); at += 3) {
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            group = group << 8 | (at + i < plain.size() ? static_cast<unsigned char>(plain[at + i]) : 0U);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            encoded += at + i <= plain.size() ? letters[group >> (18 - 6 * i) & 63] : '=';
        }
    }
    return "Basic " + encoded;
}

int freePort() {
    const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopbackAddress(0);
    socklen_t length = sizeof address;
    const bool bound = bind(probe, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
                       getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    close(probe);
    if (!bound) {
        throw std::runtime_error("No free port on this computer.");
    }
    return ntohs(address.sin_port);
}

bool answers(int port, const std::string& path, const std::string& authorization) {
    try {
        return LoopbackReply(port, "GET", path, authorization).status() == 200;
    } catch (const std::runtime_error&) {
        return false;
    }
}

LoopbackReply::LoopbackReply(
    int port, const std::string& method, const std::string& target, const std::string& authorization,
    const std::string& accept, std::string_view body) {
    socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopbackAddress(port);
    const int yes = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    try {
        if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            throw std::runtime_error("The archive does not answer.");
        }
        std::string head = method + " " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n" +
                           "Accept-Encoding: identity\r\nAuthorization: " + authorization + "\r\n";
        if (!accept.empty()) {
            head += "Accept: " + accept + "\r\n";
        }
        if (!body.empty()) {
            head += "Content-Length: " + std::to_string(body.size()) + "\r\n";
        }
        sendAll(head + "\r\n");
        sendAll(body);
        readHead();
    } catch (...) {
        close(socket_);
        throw;
    }
}

LoopbackReply::~LoopbackReply() {
    close(socket_);
}

void LoopbackReply::sendAll(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent <= 0) {
            throw std::runtime_error("The archive closed the connection.");
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

std::size_t LoopbackReply::receive(char* data, std::size_t size) {
    for (;;) {
        const ssize_t got = recv(socket_, data, size, 0);
        if (got >= 0) {
            return static_cast<std::size_t>(got);
        }
        if (errno != EINTR) {
            throw std::runtime_error("The archive stopped answering.");
        }
    }
}

void LoopbackReply::readHead() {
    buffer_.resize(pieceSize);
    std::size_t filled = 0;
    for (;;) {
        const std::size_t got = receive(buffer_.data() + filled, largestHead - filled);
        filled += got;
        const std::size_t end = std::string_view(buffer_.data(), filled).find("\r\n\r\n");
        if (end != std::string_view::npos) {
            parseHead(buffer_.substr(0, end));
            early_ = filled - end - 4;
            std::memmove(buffer_.data(), buffer_.data() + end + 4, early_);
            return;
        }
        if (got == 0 || filled == largestHead) {
            throw std::runtime_error("The archive gave no proper reply.");
        }
    }
}

void LoopbackReply::parseHead(const std::string& head) {
    if (head.rfind("HTTP/1.", 0) != 0 || head.size() < 12) {
        throw std::runtime_error("The archive gave no proper reply.");
    }
    status_ = std::atoi(head.c_str() + 9);
    for (std::size_t at = head.find("\r\n"); at != std::string::npos; at = head.find("\r\n", at + 2)) {
        const std::string line = head.substr(at + 2, head.find("\r\n", at + 2) - at - 2);
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos) {
            continue;
        }
        std::string name = line.substr(0, colon);
        std::transform(
            name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
        const std::string value = trimmed(line.substr(colon + 1));
        if (name == "content-type") {
            contentType_ = value;
        } else if (name == "content-length") {
            contentLength_ = std::strtoull(value.c_str(), nullptr, 10);
        } else if (name == "transfer-encoding" || (name == "content-encoding" && value != "identity")) {
            throw std::runtime_error("The archive answered with an encoding that was not asked for.");
        }
    }
}

std::string_view LoopbackReply::read() {
    std::size_t got = early_;
    early_ = 0;
    const std::uint64_t left = contentLength_ ? *contentLength_ - delivered_ : pieceSize;
    if (left == 0) {
        return {};
    }
    if (got == 0) {
        got = receive(buffer_.data(), static_cast<std::size_t>(std::min<std::uint64_t>(left, pieceSize)));
        if (got == 0 && contentLength_) {
            throw std::runtime_error("The archive's reply ended too early.");
        }
    }
    got = static_cast<std::size_t>(std::min<std::uint64_t>(got, left));
    delivered_ += got;
    return {buffer_.data(), got};
}

std::string LoopbackReply::readAll() {
    std::string all;
    for (std::string_view piece = read(); !piece.empty(); piece = read()) {
        all += piece;
    }
    return all;
}

} // namespace zorbel::demo
