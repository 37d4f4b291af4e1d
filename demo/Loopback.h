#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zorbel::demo {

/// 32 random bytes from the system as hexadecimal digits.
std::string randomToken();

/// Value of an Authorization header.
std::string basicAuthorization(const std::string& user, const std::string& password);

/// A TCP port of 127.0.0.1 that was free a moment ago.
int freePort();

/// Whether GET path on 127.0.0.1:port gives status 200.
bool answers(int port, const std::string& path, const std::string& authorization);

/// One HTTP/1.1 reply of a server on loopback, read as it comes and in large pieces; the request asks for an
/// unencoded body on a connection of its own.
class LoopbackReply {
public:
    /// Sends the request and reads the head. Throws std::runtime_error when there is no proper reply.
    LoopbackReply(
        int port, const std::string& method, const std::string& target, const std::string& authorization,
        const std::string& accept = {}, std::string_view body = {});
    ~LoopbackReply();
    LoopbackReply(const LoopbackReply&) = delete;
    LoopbackReply& operator=(const LoopbackReply&) = delete;

    int status() const { return status_; }
    const std::string& contentType() const { return contentType_; }
    /// Unknown when the end of the connection ends the body.
    std::optional<std::uint64_t> contentLength() const { return contentLength_; }

    /// The next piece of the body, valid until the next call; empty at its end. Throws std::runtime_error
    /// when the connection ends before the announced length.
    std::string_view read();
    std::string readAll();

private:
    void sendAll(std::string_view bytes);
    void readHead();
    void parseHead(const std::string& head);
    std::size_t receive(char* data, std::size_t size);

    int socket_ = -1;
    int status_ = 0;
    std::string contentType_;
    std::optional<std::uint64_t> contentLength_;
    std::uint64_t delivered_ = 0;
    std::string buffer_;
    std::size_t early_ = 0; ///< body bytes that came with the head, at the start of buffer_
};

} // namespace zorbel::demo
