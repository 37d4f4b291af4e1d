#include "report/package/TextPart.h"

#include <QRegularExpression>
#include <QStringConverter>

namespace zorbel {

namespace {

constexpr char mark8[] = "\xef\xbb\xbf";
constexpr char littleEndianMark[] = "\xff\xfe";
constexpr char bigEndianMark[] = "\xfe\xff";

/// What the XML declaration says; empty where it says nothing.
QString declaredEncoding(const QByteArray& utf8) {
    static const QRegularExpression pattern(
        QStringLiteral("^<\\?xml\\s[^>]*?\\sencoding\\s*=\\s*[\"']([^\"']*)[\"']"));
    return pattern.match(QString::fromLatin1(utf8.left(512))).captured(1);
}

QStringConverter::Encoding utf16(bool littleEndian) {
    return littleEndian ? QStringConverter::Utf16LE : QStringConverter::Utf16BE;
}

} // namespace

std::optional<TextPart> TextPart::decode(const QByteArray& bytes) {
    if (bytes.size() > largest)
        return std::nullopt;
    const bool littleEndian = bytes.startsWith(littleEndianMark);
    if (littleEndian || bytes.startsWith(bigEndianMark)) {
        TextPart part(littleEndian ? Encoding::Utf16LittleEndian : Encoding::Utf16BigEndian);
        QStringDecoder decoder(utf16(littleEndian), QStringDecoder::Flag::Stateless);
        const QString text = decoder(QByteArrayView(bytes).sliced(2));
        part.utf8 = text.toUtf8();
        const QString encoding = declaredEncoding(part.utf8);
        // Half a character or half a pair does not come back.
        if (part.encoded() != bytes ||
            !(encoding.isEmpty() || encoding.startsWith(QLatin1String("utf-16"), Qt::CaseInsensitive)))
            return std::nullopt;
        return part;
    }
    const bool marked = bytes.startsWith(mark8);
    TextPart part(marked ? Encoding::Utf8WithMark : Encoding::Utf8);
    part.utf8 = marked ? bytes.mid(3) : bytes;
    const QString encoding = declaredEncoding(part.utf8);
    if (!encoding.isEmpty() && encoding.compare(QLatin1String("utf-8"), Qt::CaseInsensitive) != 0)
        return std::nullopt;
    return part;
}

QByteArray TextPart::encoded() const {
    switch (encoding_) {
    case Encoding::Utf8:
        break;
    case Encoding::Utf8WithMark:
        return mark8 + utf8;
    case Encoding::Utf16LittleEndian:
    case Encoding::Utf16BigEndian: {
        const bool littleEndian = encoding_ == Encoding::Utf16LittleEndian;
        QStringEncoder encoder(utf16(littleEndian), QStringEncoder::Flag::Stateless);
        const QByteArray text = encoder(QString::fromUtf8(utf8));
        return (littleEndian ? littleEndianMark : bigEndianMark) + text;
    }
    }
    return utf8;
}

} // namespace zorbel
