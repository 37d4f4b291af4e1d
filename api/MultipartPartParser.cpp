#include "api/MultipartPartParser.h"

#include <QRegularExpression>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <new>
#include <utility>

namespace zorbel {

namespace {

constexpr std::size_t smallestBuffer = 1024 * 1024;

bool isBlank(std::byte value) {
    return std::isspace(std::to_integer<unsigned char>(value)) != 0;
}

} // namespace

MultipartPartParser::MultipartPartParser(std::size_t expectedParts, PartHandler handler)
    : expectedParts_(expectedParts), handler_(std::move(handler)) {}

QByteArray MultipartPartParser::delimiterOf(const QByteArray& contentType) {
    static const QRegularExpression pattern(
        QStringLiteral(R"re(boundary=(?:"([^"]+)"|([^;\s]+)))re"), QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = pattern.match(QString::fromLatin1(contentType));
    if (!match.hasMatch())
        return {};
    const QString quoted = match.captured(1);
    return "--" + (quoted.isEmpty() ? match.captured(2) : quoted).toLatin1();
}

void MultipartPartParser::useContentType(const QByteArray& contentType) {
    if (!delimiter_.isEmpty())
        return;
    delimiter_ = delimiterOf(contentType);
    const auto length = static_cast<std::size_t>(delimiter_.size());
    shift_.fill(length);
    for (std::size_t i = 0; i + 1 < length; ++i)
        shift_[static_cast<unsigned char>(delimiter_[static_cast<qsizetype>(i)])] = length - 1 - i;
}

std::span<std::byte> MultipartPartParser::writable(std::size_t length) {
    if (capacity_ - end_ < length && begin_ > 0 && (begin_ >= end_ - begin_ || begin_ >= length)) {
        // The pending bytes are few beside those handed on, so that over the stream each byte moves about
        // once at most.
        std::memmove(buffer_.get(), buffer_.get() + begin_, end_ - begin_);
        search_ -= begin_;
        bodyStart_ -= std::min(bodyStart_, begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    if (capacity_ - end_ < length) {
        const std::size_t wanted = std::max({smallestBuffer, end_ + length, capacity_ + capacity_ / 2});
        void* const grown = std::realloc(buffer_.get(), wanted);
        if (!grown)
            throw std::bad_alloc();
        static_cast<void>(buffer_.release());
        buffer_.reset(static_cast<std::byte*>(grown));
        capacity_ = wanted;
    }
    return {buffer_.get() + end_, capacity_ - end_};
}

void MultipartPartParser::commit(std::size_t length) {
    end_ += length;
}

bool MultipartPartParser::parse(Input input) {
    if (!error_.empty())
        return false;
    if (delimiter_.isEmpty()) {
        begin_ = search_ = end_ = 0;
        if (input == Input::Final)
            error_ = "DICOMweb response did not include a multipart boundary";
        return error_.empty();
    }
    while (step(input)) {
    }
    return error_.empty();
}

/// One transition; false when it needs more bytes, or none can follow.
bool MultipartPartParser::step(Input input) {
    switch (state_) {
    case State::SeekDelimiter:
        return seekDelimiter(input);
    case State::AtDelimiter:
        return atDelimiter();
    case State::InHeaders:
        return skipHeaders(input);
    case State::InBody:
        return finishBody(input);
    case State::Closed:
        break;
    }
    discardTo(end_);
    return false;
}

bool MultipartPartParser::seekDelimiter(Input input) {
    if (const auto found = findDelimiter()) {
        discardTo(*found);
        state_ = State::AtDelimiter;
        return true;
    }
    const std::size_t keepFrom = input == Input::Final ? end_ : search_;
    textBeforeDelimiter_ =
        textBeforeDelimiter_ || !std::all_of(buffer_.get() + begin_, buffer_.get() + keepFrom, isBlank);
    discardTo(keepFrom);
    if (input == Input::Final && textBeforeDelimiter_)
        error_ = "Malformed streaming DICOMweb response boundary";
    return false;
}

bool MultipartPartParser::atDelimiter() {
    const std::size_t after = begin_ + static_cast<std::size_t>(delimiter_.size());
    if (end_ < after + 2)
        return false;
    search_ = after;
    state_ = at(after) == '-' && at(after + 1) == '-' ? State::Closed : State::InHeaders;
    return true;
}

bool MultipartPartParser::skipHeaders(Input input) {
    if (const auto found = findHeaderEnd()) {
        bodyStart_ = search_ = *found;
        state_ = State::InBody;
        return true;
    }
    if (input == Input::Final)
        error_ = "Malformed streaming DICOMweb part headers";
    return false;
}

bool MultipartPartParser::finishBody(Input input) {
    const auto next = findDelimiter();
    if (!next) {
        if (input == Input::Final)
            error_ = "Incomplete streaming DICOMweb part";
        return false;
    }
    std::size_t bodyEnd = *next;
    if (bodyEnd > bodyStart_ && at(bodyEnd - 1) == '\n') {
        --bodyEnd;
        if (bodyEnd > bodyStart_ && at(bodyEnd - 1) == '\r')
            --bodyEnd;
    }
    if (delivered_ == expectedParts_ || bodyEnd == bodyStart_) {
        error_ = "DICOMweb series returned an unexpected instance count";
        return false;
    }
    handler_(buffer_.get() + bodyStart_, bodyEnd - bodyStart_);
    ++delivered_;
    discardTo(*next);
    state_ = State::AtDelimiter;
    return true;
}

/// The first delimiter at or after search_ (Horspool's search). Without one, search_ advances to where one
/// that is still incomplete may begin.
std::optional<std::size_t> MultipartPartParser::findDelimiter() {
    const auto length = static_cast<std::size_t>(delimiter_.size());
    const char* const wanted = delimiter_.constData();
    const char last = wanted[length - 1];
    const char* const bytes = reinterpret_cast<const char*>(buffer_.get());
    std::size_t position = search_;
    while (position + length <= end_) {
        const char tail = bytes[position + length - 1];
        if (tail == last && std::memcmp(bytes + position, wanted, length - 1) == 0)
            return position;
        position += shift_[static_cast<unsigned char>(tail)];
    }
    search_ = std::min(position, end_);
    return std::nullopt;
}

/// Where the body begins: behind the first empty line, of either line end. Taking the earlier one keeps pixel
/// data that happens to hold the other from being mistaken for it.
std::optional<std::size_t> MultipartPartParser::findHeaderEnd() {
    const std::size_t headers = begin_ + static_cast<std::size_t>(delimiter_.size());
    while (search_ < end_) {
        const void* const found = std::memchr(buffer_.get() + search_, '\n', end_ - search_);
        if (!found) {
            search_ = end_;
            break;
        }
        const auto newline = static_cast<std::size_t>(static_cast<const std::byte*>(found) - buffer_.get());
        search_ = newline;
        if (newline + 1 == end_)
            break;
        if (at(newline + 1) == '\n')
            return newline + 2;
        if (at(newline + 1) == '\r' && newline > headers && at(newline - 1) == '\r') {
            if (newline + 2 == end_)
                break;
            if (at(newline + 2) == '\n')
                return newline + 3;
        }
        search_ = newline + 1;
    }
    return std::nullopt;
}

void MultipartPartParser::discardTo(std::size_t position) {
    begin_ = position;
    search_ = std::max(search_, begin_);
    if (begin_ == end_)
        begin_ = search_ = end_ = 0;
}

} // namespace zorbel
