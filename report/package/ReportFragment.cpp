#include "report/package/ReportFragment.h"

#include <QStringList>

namespace zorbel {

namespace {

constexpr qint64 emuPerPixel = 914400 / 96;
constexpr qint64 widestDrawing = 5486400;

constexpr char tableHead[] =
    R"(<w:tbl><w:tblPr><w:tblStyle w:val="TableGrid"/><w:tblW w:w="0" w:type="auto"/><w:tblBorders>)"
    R"(<w:top w:val="single" w:sz="4" w:color="999999"/><w:left w:val="single" w:sz="4" w:color="999999"/>)"
    R"(<w:bottom w:val="single" w:sz="4" w:color="999999"/><w:right w:val="single" w:sz="4" w:color="999999"/>)"
    R"(<w:insideH w:val="single" w:sz="4" w:color="CCCCCC"/><w:insideV w:val="single" w:sz="4" w:color="CCCCCC"/>)"
    R"(</w:tblBorders></w:tblPr>)";
constexpr char lineBreak[] = R"(</w:t><w:br/><w:t xml:space="preserve">)";

/// Without what XML cannot hold. In place of each of its line breaks stands `breakAs`.
QByteArray escaped(const QString& text, const char* breakAs) {
    QString result;
    result.reserve(text.size());
    for (qsizetype at = 0; at < text.size(); ++at) {
        const QChar c = text[at];
        if (c == u'&')
            result += QLatin1String("&amp;");
        else if (c == u'<')
            result += QLatin1String("&lt;");
        else if (c == u'>')
            result += QLatin1String("&gt;");
        else if (c == u'"')
            result += QLatin1String("&quot;");
        else if (c == u'\'')
            result += QLatin1String("&apos;");
        else if (c == u'\n' || c == u'\r') {
            if (c == u'\r' && at + 1 < text.size() && text[at + 1] == u'\n')
                ++at;
            result += QLatin1String(breakAs);
        } else if (c.isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate())
            result += QStringView(text).mid(at++, 2);
        else if (!c.isSurrogate() && (c >= u' ' || c == u'\t') && c != QChar(0xfffe) && c != QChar(0xffff))
            result += c;
    }
    return result.toUtf8();
}

QByteArray textRun(const QString& text, const char* properties = "") {
    return QByteArray("<w:r>") + properties + R"(<w:t xml:space="preserve">)" + escaped(text, lineBreak) +
           "</w:t></w:r>";
}

/// An empty style gives a plain paragraph.
QByteArray paragraph(const char* style, const QString& text) {
    QByteArray result = "<w:p><w:pPr>";
    if (*style != '\0')
        result += QByteArray(R"(<w:pStyle w:val=")") + style + R"("/>)";
    return result + "</w:pPr>" + textRun(text) + "</w:p>";
}

QByteArray row(const QStringList& cells, const char* properties) {
    QByteArray result = "<w:tr>";
    for (const QString& cell : cells)
        result += R"(<w:tc><w:tcPr><w:tcW w:w="0" w:type="auto"/></w:tcPr><w:p>)" +
                  textRun(cell, properties) + "</w:p></w:tc>";
    return result + "</w:tr>";
}

template <class Entry, class Cells>
QByteArray table(const QStringList& header, const std::vector<Entry>& entries, bool grid, Cells cells) {
    QByteArray result = tableHead;
    if (grid)
        result += "<w:tblGrid>" + QByteArray("<w:gridCol/>").repeated(header.size()) + "</w:tblGrid>";
    result += row(header, "<w:rPr><w:b/></w:rPr>");
    for (const Entry& entry : entries)
        result += row(cells(entry), "");
    return result + "</w:tbl>";
}

QByteArray drawing(const PlacedImage& placed, const WordDialect& dialect) {
    const QByteArray id = QByteArray::number(placed.drawing);
    const QByteArray cx = QByteArray::number(placed.size.width);
    const QByteArray cy = QByteArray::number(placed.size.height);
    return R"(<w:p><w:r><w:drawing><wp:inline distT="0" distB="0" distL="0" distR="0"><wp:extent cx=")" + cx +
           R"(" cy=")" + cy + R"("/><wp:docPr id=")" + id + R"(" name="Key image )" + id + R"(" descr=")" +
           escaped(placed.image->caption, " ") + R"("/><a:graphic xmlns:a=")" + dialect.a +
           R"("><a:graphicData uri=")" + dialect.pic + R"("><pic:pic xmlns:pic=")" + dialect.pic +
           R"("><pic:nvPicPr><pic:cNvPr id=")" + id + R"(" name=")" + placed.fileName +
           R"("/><pic:cNvPicPr/></pic:nvPicPr><pic:blipFill><a:blip r:embed="rId)" +
           QByteArray::number(placed.relationship) +
           R"("/><a:stretch><a:fillRect/></a:stretch></pic:blipFill><pic:spPr><a:xfrm><a:off x="0" y="0"/>)"
           R"(<a:ext cx=")" +
           cx + R"(" cy=")" + cy +
           R"("/></a:xfrm><a:prstGeom prst="rect"><a:avLst/></a:prstGeom></pic:spPr></pic:pic>)"
           R"(</a:graphicData></a:graphic></wp:inline></w:drawing></w:r></w:p>)";
}

} // namespace

std::optional<DrawingSize> drawingSize(qint32 pixelWidth, qint32 pixelHeight) {
    if (pixelWidth < 1 || pixelHeight < 1)
        return std::nullopt;
    DrawingSize size{pixelWidth * emuPerPixel, pixelHeight * emuPerPixel};
    if (size.width > widestDrawing)
        // In pixels, as the product of two sizes in EMU may not fit.
        size = {widestDrawing, widestDrawing * pixelHeight / pixelWidth};
    return size.height < 1 ? std::nullopt : std::optional(size);
}

QByteArray reportFragment(
    const ReportPacket& packet, const std::vector<PlacedImage>& images, const WordDialect& dialect) {
    QByteArray result;
    if (!packet.title.isEmpty())
        result += paragraph("Heading1", packet.title);
    if (!packet.subtitle.isEmpty())
        result += paragraph("", packet.subtitle);
    if (!packet.findings.empty()) {
        result += paragraph("Heading2", QStringLiteral("Findings"));
        result += table(
            {QStringLiteral("Site"), QStringLiteral("Finding"), QStringLiteral("Note")}, packet.findings,
            packet.tableGrids, [](const ReportPacket::Finding& entry) {
                return QStringList{entry.site, entry.finding, entry.note};
            });
    }
    if (!packet.measurements.empty()) {
        result += paragraph("Heading2", QStringLiteral("Measurements"));
        result += table(
            {QStringLiteral("Measurement"), QStringLiteral("Value"), QStringLiteral("View")},
            packet.measurements, packet.tableGrids, [](const ReportPacket::Measurement& entry) {
                return QStringList{entry.measurement, entry.value, entry.view};
            });
    }
    if (!images.empty())
        result += paragraph("Heading2", QStringLiteral("Key images"));
    for (const PlacedImage& placed : images) {
        result += drawing(placed, dialect);
        result += paragraph("Caption", placed.image->caption);
    }
    return result;
}

} // namespace zorbel
