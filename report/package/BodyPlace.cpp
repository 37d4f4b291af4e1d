#include "report/package/BodyPlace.h"

#include "report/package/MarkupReader.h"

namespace zorbel {

const WordDialect WordDialect::transitional{
    "http://schemas.openxmlformats.org/wordprocessingml/2006/main",
    "http://schemas.openxmlformats.org/drawingml/2006/wordprocessingDrawing",
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships",
    "http://schemas.openxmlformats.org/drawingml/2006/main",
    "http://schemas.openxmlformats.org/drawingml/2006/picture",
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships/image"};

const WordDialect WordDialect::strict{
    "http://purl.oclc.org/ooxml/wordprocessingml/main",
    "http://purl.oclc.org/ooxml/drawingml/wordprocessingDrawing",
    "http://purl.oclc.org/ooxml/officeDocument/relationships",
    "http://purl.oclc.org/ooxml/drawingml/main",
    "http://purl.oclc.org/ooxml/drawingml/picture",
    "http://purl.oclc.org/ooxml/officeDocument/relationships/image"};

namespace {

const WordDialect* dialectOf(QStringView uri) {
    for (const WordDialect* dialect : {&WordDialect::transitional, &WordDialect::strict})
        if (uri == QLatin1String(dialect->w))
            return dialect;
    return nullptr;
}

void addDeclarations(QMap<QString, QString>& namespaces, const QXmlStreamReader& xml) {
    for (const QXmlStreamNamespaceDeclaration& declaration : xml.namespaceDeclarations())
        namespaces.insert(declaration.prefix().toString(), declaration.namespaceUri().toString());
}

void addDrawingId(QSet<quint32>& ids, const QXmlStreamReader& xml) {
    if (xml.isStartElement() && xml.name() == QLatin1String("docPr"))
        ids.insert(xml.attributes().value(QLatin1String("id")).toUInt());
}

} // namespace

std::optional<BodyPlace> findBodyPlace(const QByteArray& utf8) {
    BodyPlace place;
    std::optional<qsizetype> bodyEnd;
    std::optional<qsizetype> section;
    bool inBody = false;
    MarkupReader reader(utf8);
    while (reader.next()) {
        const QXmlStreamReader& xml = reader.xml();
        const MarkupTag& tag = reader.tag();
        addDrawingId(place.drawingIds, xml);
        if (reader.depth() == 1 && xml.isStartElement()) {
            place.dialect = dialectOf(xml.namespaceUri());
            if (place.dialect == nullptr || xml.name() != QLatin1String("document"))
                return std::nullopt;
            place.rootName = xml.qualifiedName().toUtf8();
            place.rootTagEnd = tag.end - (tag.isEmpty ? 2 : 1);
            addDeclarations(place.namespaces, xml);
        } else if (reader.depth() == 2 && xml.qualifiedName() == QLatin1String("w:body")) {
            inBody = xml.isStartElement();
            if (inBody && (bodyEnd || tag.isEmpty))
                return std::nullopt;
            if (inBody) {
                place.bodyBegin = tag.end;
                addDeclarations(place.namespaces, xml);
            } else {
                bodyEnd = tag.begin;
            }
        } else if (
            inBody && reader.depth() == 3 && xml.isStartElement() &&
            xml.qualifiedName() == QLatin1String("w:sectPr")) {
            // Those of earlier sections, of tracked changes and of text boxes lie deeper.
            section = tag.begin;
        }
    }
    if (!reader.isWellFormed() || !bodyEnd ||
        place.namespaces.value(QStringLiteral("w")) != QLatin1String(place.dialect->w))
        return std::nullopt;
    place.insertion = section.value_or(*bodyEnd);
    return place;
}

QSet<quint32> drawingIds(const QByteArray& utf8) {
    QSet<quint32> ids;
    MarkupReader reader(utf8);
    while (reader.next())
        addDrawingId(ids, reader.xml());
    return ids;
}

} // namespace zorbel
