#include "demo/ByteSource.h"

#include <algorithm>
#include <stdexcept>

namespace zorbel::demo {

std::string_view MemorySource::read() {
    constexpr std::size_t largest = 1 << 20;
    const std::string_view piece = std::string_view(bytes_).substr(at_, largest);
    at_ += piece.size();
    return piece;
}

ArchiveSource::ArchiveSource(std::unique_ptr<LoopbackReply> reply) : reply_(std::move(reply)) {
    const std::string boundary = boundaryOf(reply_->contentType());
    if (!reply_->contentLength() && !boundary.empty()) {
        closing_ = "--" + boundary + "--";
    }
}

std::string_view ArchiveSource::read() {
    const std::string_view piece = reply_->read();
    if (closing_.empty()) {
        return piece;
    }
    if (piece.empty()) {
        if (tail_.find(closing_) == std::string::npos) {
            throw std::runtime_error("The archive's series ended too early.");
        }
        return piece;
    }
    const std::size_t keep = closing_.size() + 8;
    tail_.append(piece.size() > keep ? piece.substr(piece.size() - keep) : piece);
    if (tail_.size() > keep) {
        tail_.erase(0, tail_.size() - keep);
    }
    return piece;
}

PaddedSource::PaddedSource(std::unique_ptr<ByteSource> inner, std::uint64_t total)
    : inner_(std::move(inner)), left_(total), blanks_(1 << 20, ' ') {}

std::string_view PaddedSource::read() {
    std::string_view piece;
    if (!innerEnded_) {
        piece = inner_->read();
        innerEnded_ = piece.empty();
    }
    if (innerEnded_) {
        piece = blanks_;
    }
    piece = piece.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), left_)));
    left_ -= piece.size();
    return piece;
}

CutSource::CutSource(std::unique_ptr<ByteSource> inner, std::uint64_t bytes, Pause hang)
    : inner_(std::move(inner)), left_(bytes), hang_(std::move(hang)) {}

std::string_view CutSource::read() {
    if (left_ == 0) {
        while (hang_ && hang_(std::chrono::hours(1))) {
        }
        throw std::runtime_error("Cut on request.");
    }
    std::string_view piece = inner_->read();
    piece = piece.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), left_)));
    left_ -= piece.size();
    return piece;
}

ThrottledSource::ThrottledSource(std::unique_ptr<ByteSource> inner, std::uint64_t bytesPerSecond, Pause pause)
    : inner_(std::move(inner)), rate_(std::max<std::uint64_t>(bytesPerSecond, 1)), pause_(std::move(pause)) {}

std::string_view ThrottledSource::read() {
    if (piece_.empty()) {
        piece_ = inner_->read();
    }
    const std::uint64_t slice = std::clamp<std::uint64_t>(rate_ / 20, 1, 1 << 20);
    const std::string_view out = piece_.substr(0, static_cast<std::size_t>(slice));
    piece_.remove_prefix(out.size());
    if (!out.empty() && !pause_(std::chrono::milliseconds(1000 * out.size() / rate_))) {
        throw std::runtime_error("The service ends.");
    }
    return out;
}

std::string boundaryOf(const std::string& contentType) {
    const std::size_t at = contentType.find("boundary=");
    if (at == std::string::npos) {
        return {};
    }
    std::string value = contentType.substr(at + 9);
    if (!value.empty() && value.front() == '"') {
        return value.substr(1, value.find('"', 1) - 1);
    }
    return value.substr(0, value.find_first_of("; \t"));
}

std::string readAll(ByteSource& source) {
    std::string all;
    for (std::string_view piece = source.read(); !piece.empty(); piece = source.read()) {
        all += piece;
    }
    return all;
}

} // namespace zorbel::demo
