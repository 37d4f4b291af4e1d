#pragma once

#include "demo/Loopback.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace zorbel::demo {

/// The body of a reply, produced piece by piece while it is sent.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    /// Valid until the next call; empty at the end. Throws where the body cannot go on: the connection is
    /// then cut, so that what was sent does not look complete.
    virtual std::string_view read() = 0;
};

/// Waits; returns false when the service ends meanwhile.
using Pause = std::function<bool(std::chrono::milliseconds)>;

class MemorySource : public ByteSource {
public:
    explicit MemorySource(std::string bytes) : bytes_(std::move(bytes)) {}
    std::string_view read() override;

private:
    std::string bytes_;
    std::size_t at_ = 0;
};

/// Passes on what the archive sends. A multipart body without its closing delimiter counts as broken off,
/// because Orthanc ends such a reply like a complete one.
class ArchiveSource : public ByteSource {
public:
    explicit ArchiveSource(std::unique_ptr<LoopbackReply> reply);
    std::string_view read() override;

private:
    std::unique_ptr<LoopbackReply> reply_;
    std::string closing_; ///< empty when the end is told otherwise
    std::string tail_;
};

/// Blanks after the end of a body until it is `total` long.
class PaddedSource : public ByteSource {
public:
    PaddedSource(std::unique_ptr<ByteSource> inner, std::uint64_t total);
    std::string_view read() override;

private:
    std::unique_ptr<ByteSource> inner_;
    std::uint64_t left_;
    bool innerEnded_ = false;
    std::string blanks_;
};

/// Breaks off after `bytes`: at once, or after waiting for as long as the service lives.
class CutSource : public ByteSource {
public:
    CutSource(std::unique_ptr<ByteSource> inner, std::uint64_t bytes, Pause hang);
    std::string_view read() override;

private:
    std::unique_ptr<ByteSource> inner_;
    std::uint64_t left_;
    Pause hang_;
};

class ThrottledSource : public ByteSource {
public:
    ThrottledSource(std::unique_ptr<ByteSource> inner, std::uint64_t bytesPerSecond, Pause pause);
    std::string_view read() override;

private:
    std::unique_ptr<ByteSource> inner_;
    std::uint64_t rate_;
    Pause pause_;
    std::string_view piece_;
};

/// The boundary parameter of a multipart content type, empty when there is none.
std::string boundaryOf(const std::string& contentType);

std::string readAll(ByteSource& source);

} // namespace zorbel::demo
