#include "report/package/RootList.h"

#include "report/package/MarkupReader.h"

namespace zorbel {

std::optional<RootPlace> readRootList(
    const QByteArray& utf8, const RootList& list,
    const std::function<void(QStringView name, const QXmlStreamAttributes& attributes)>& element) {
    RootPlace place;
    MarkupReader reader(utf8);
    while (reader.next()) {
        const QXmlStreamReader& xml = reader.xml();
        const bool ours = xml.namespaceUri() == QLatin1String(list.namespaceUri);
        if (reader.depth() == 1) {
            if (!ours || xml.name() != QLatin1String(list.name))
                return std::nullopt;
            place.prefix = xml.prefix().toUtf8();
            if (!place.prefix.isEmpty())
                place.prefix += ':';
            place.endTag = reader.tag().begin;
            place.isEmptyTag = reader.tag().isEmpty;
        } else if (ours && reader.depth() == 2 && xml.isStartElement()) {
            element(xml.name(), xml.attributes());
        }
    }
    return reader.isWellFormed() ? std::optional(place) : std::nullopt;
}

QByteArray appendToRoot(const QByteArray& utf8, const RootPlace& place, const QByteArray& elements) {
    QByteArray text = utf8;
    if (!place.isEmptyTag)
        return text.insert(place.endTag, elements);
    const qsizetype slash = text.indexOf("/>", place.endTag);
    qsizetype nameEnd = place.endTag + 1;
    while (nameEnd<slash&& static_cast<unsigned char>(text[nameEnd])> ' ')
        ++nameEnd;
    const QByteArray name = text.mid(place.endTag + 1, nameEnd - place.endTag - 1);
    return text.replace(slash, 2, ">" + elements + "</" + name + ">");
}

} // namespace zorbel
