#pragma once

#include <QByteArray>

#include <optional>

namespace zorbel {

/// An XML part in one of the encodings that a package may hold, as UTF-8 to work on and back again.
class TextPart {
public:
    static constexpr qsizetype largest = qsizetype{64} << 20U; ///< bytes

    /// Empty when it is neither UTF-8 nor UTF-16 with a byte order mark, declares another encoding than it is
    /// in, or is too large.
    static std::optional<TextPart> decode(const QByteArray& bytes);

    /// Without byte order mark. What is not changed in it comes back from encoded() byte for byte.
    QByteArray utf8;
    QByteArray encoded() const;

private:
    enum class Encoding { Utf8, Utf8WithMark, Utf16LittleEndian, Utf16BigEndian };
    explicit TextPart(Encoding encoding) : encoding_(encoding) {}

    Encoding encoding_;
};

} // namespace zorbel
