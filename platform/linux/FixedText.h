#pragma once

#include <cstddef>
#include <string_view>

#include <unistd.h>

namespace zorbel {

/// A text of fixed capacity; what does not fit is cut off. Neither allocates nor locks: usable within a
/// signal handler.
template <std::size_t Capacity>
class FixedText {
public:
    FixedText& operator<<(std::string_view text) noexcept {
        for (const char c : text) {
            if (length_ + 1 < Capacity)
                text_[length_++] = c;
        }
        text_[length_] = '\0';
        return *this;
    }
    FixedText& operator<<(unsigned long number) noexcept { return put(number, 10); }
    FixedText& operator<<(long number) noexcept {
        return number < 0 ? *this << "-" << -static_cast<unsigned long>(number)
                          : *this << static_cast<unsigned long>(number);
    }
    FixedText& operator<<(int number) noexcept { return *this << static_cast<long>(number); }
    FixedText& hex(unsigned long number) noexcept { return put(number, 16); }
    /// Two digits each.
    FixedText& hexBytes(const unsigned char* bytes, std::size_t count) noexcept {
        for (std::size_t i = 0; i < count; ++i)
            put(bytes[i] >> 4U, 16).put(bytes[i] & 15U, 16);
        return *this;
    }

    const char* text() const noexcept { return text_; }
    std::string_view view() const noexcept { return {text_, length_}; }

private:
    FixedText& put(unsigned long number, unsigned long base) noexcept {
        char digits[24];
        char* const end = digits + sizeof digits;
        char* first = end;
        do {
            *--first = "0123456789abcdef"[number % base];
            number /= base;
        } while (number != 0);
        return *this << std::string_view(first, static_cast<std::size_t>(end - first));
    }

    char text_[Capacity] = {};
    std::size_t length_ = 0;
};

/// All of it, unless the file takes no more; likewise.
inline void writeAll(int file, std::string_view bytes) noexcept {
    while (!bytes.empty()) {
        const ssize_t count = write(file, bytes.data(), bytes.size());
        if (count <= 0)
            return;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

} // namespace zorbel
