#pragma once

#include "report/package/AppendReportPacket.h"

#include <QBuffer>

#include <gtest/gtest.h>

#include <private/qzipreader_p.h>
#include <private/qzipwriter_p.h>

#include <ostream>
#include <utility>
#include <vector>

inline std::ostream& operator<<(std::ostream& stream, const QString& text) {
    return stream << text.toStdString();
}

namespace zorbel::test {

using Part = std::pair<QString, QByteArray>;
using Parts = std::vector<Part>;

inline QByteArray zipOf(const Parts& parts) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QZipWriter writer(&buffer);
    for (const auto& [name, data] : parts)
        writer.addFile(name, data);
    writer.close();
    return bytes;
}

/// All parts, as Qt's own reader reads them.
inline Parts partsOf(QByteArray bytes) {
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QZipReader reader(&buffer);
    Parts parts;
    for (const QZipReader::FileInfo& file : reader.fileInfoList())
        parts.emplace_back(file.filePath, reader.fileData(file.filePath));
    return parts;
}

inline QByteArray part(const EditResult& result, const QString& name) {
    EXPECT_TRUE(result.success) << result.error;
    for (const auto& [partName, data] : partsOf(result.bytes))
        if (partName == name)
            return data;
    return {};
}

inline const QByteArray transitional = "http://schemas.openxmlformats.org/";
inline const QByteArray strict = "http://purl.oclc.org/ooxml/";
inline const QByteArray w = "xmlns:w=\"" + transitional + "wordprocessingml/2006/main\"";
inline const QByteArray wp = "xmlns:wp=\"" + transitional + "drawingml/2006/wordprocessingDrawing\"";
inline const QByteArray r = "xmlns:r=\"" + transitional + "officeDocument/2006/relationships\"";
inline const QByteArray documentName = "word/document.xml";
inline const QByteArray relationshipsName = "word/_rels/document.xml.rels";
inline const QByteArray typesName = "[Content_Types].xml";

inline QByteArray document(const QByteArray& body, const QByteArray& namespaces = w + ' ' + wp + ' ' + r) {
    return "<w:document " + namespaces + "><w:body>" + body + "</w:body></w:document>";
}
inline QByteArray relationships(const QByteArray& entries = {}) {
    return "<Relationships xmlns=\"" + transitional + "package/2006/relationships\">" + entries +
           "</Relationships>";
}
inline QByteArray types(const QByteArray& entries = {}) {
    return "<Types xmlns=\"" + transitional + "package/2006/content-types\">" + entries + "</Types>";
}
inline Parts simpleParts(const QByteArray& main = document("<w:p/>")) {
    return {{documentName, main}, {relationshipsName, relationships()}, {typesName, types()}};
}

inline const ReportPacket finding{{}, {}, {{"36", "Caries", "deep"}}, {}, {}};
inline ReportPacket picture(const QString& fileName = "key.png", qint32 width = 96, qint32 height = 48) {
    return {{}, {}, {}, {}, {{fileName, "Cap > 1", "png bytes", width, height}}};
}

} // namespace zorbel::test
