#pragma once

#include <QByteArray>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace zorbel {

/// Splits a multipart/related byte stream into its part bodies while it arrives, whatever the packet
/// boundaries. Holds the part being received and nothing that was handed on; no byte is searched twice. Line
/// ends may be CR LF or LF; part headers are skipped, not interpreted. Free of any network. Not thread safe.
///
/// Use: useContentType, then writable/commit and parse(More) for each piece, then parse(Final) at the end.
class MultipartPartParser {
public:
    /// The body is valid during the call. It may throw; the exception passes through parse, and the parser is
    /// then of no more use.
    using PartHandler = std::function<void(const std::byte* data, std::size_t length)>;
    enum class Input { More, Final };

    MultipartPartParser(std::size_t expectedParts, PartHandler handler);

    /// The delimiter that a Content-Type header announces, "--" included; empty without a boundary.
    static QByteArray delimiterOf(const QByteArray& contentType);

    /// Takes the delimiter from the header; ignored once one is known.
    void useContentType(const QByteArray& contentType);
    /// Room for at least `length` further bytes; valid until the next call. Throws std::bad_alloc.
    std::span<std::byte> writable(std::size_t length);
    /// The first `length` bytes of the last writable() were filled.
    void commit(std::size_t length);

    /// Hands on every part that is complete. False once an error is recorded; then nothing more happens.
    bool parse(Input input);

    std::size_t delivered() const { return delivered_; }
    /// Empty while there is none.
    const std::string& error() const { return error_; }
    /// Bytes of memory the parser holds for the stream.
    std::size_t capacity() const { return capacity_; }

private:
    enum class State { SeekDelimiter, AtDelimiter, InHeaders, InBody, Closed };
    struct Free {
        void operator()(std::byte* memory) const { std::free(memory); }
    };

    bool step(Input input);
    bool seekDelimiter(Input input);
    bool atDelimiter();
    bool skipHeaders(Input input);
    bool finishBody(Input input);
    std::optional<std::size_t> findDelimiter();
    std::optional<std::size_t> findHeaderEnd();
    void discardTo(std::size_t position);
    char at(std::size_t position) const { return static_cast<char>(buffer_.get()[position]); }

    std::size_t expectedParts_;
    PartHandler handler_;
    QByteArray delimiter_;
    std::array<std::size_t, 256> shift_{};
    State state_ = State::SeekDelimiter;
    std::size_t delivered_ = 0;
    std::string error_;
    bool textBeforeDelimiter_ = false; ///< bytes other than white space were dropped while seeking

    // The stream's unparsed bytes are buffer_[begin_, end_); everything before search_ was searched already.
    std::unique_ptr<std::byte[], Free> buffer_;
    std::size_t capacity_ = 0;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::size_t search_ = 0;
    std::size_t bodyStart_ = 0;
};

} // namespace zorbel
