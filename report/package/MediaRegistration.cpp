#include "report/package/MediaRegistration.h"

#include "report/package/RootList.h"
#include "report/package/TextPart.h"

#include <algorithm>
#include <limits>

namespace zorbel {

namespace {

/// Some way below where counting on would overflow.
constexpr quint64 highestRelationship = std::numeric_limits<qint64>::max();
constexpr quint64 highestDrawing = std::numeric_limits<qint32>::max();
constexpr qsizetype longestName = 120;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The last part of a path, of letters that need no escaping anywhere, with ".png" at its end.
QByteArray safeName(const QString& wanted) {
    QByteArray name;
    for (const QChar c : wanted.mid(std::max(wanted.lastIndexOf(u'/'), wanted.lastIndexOf(u'\\')) + 1)) {
        const char latin = c.toLatin1();
        const bool kept = (latin >= 'a' && latin <= 'z') || (latin >= 'A' && latin <= 'Z') ||
                          isDigit(latin) || latin == '.' || latin == '_' || latin == '-';
        name += kept ? latin : '_';
    }
    if (name.toLower().endsWith(".png"))
        name.chop(4);
    while (name.startsWith('.'))
        name.remove(0, 1);
    name.truncate(longestName);
    return name;
}

} // namespace

void numberRelationships(std::vector<PlacedImage>& images, const QByteArray& relationships) {
    const auto part = TextPart::decode(relationships);
    const QByteArray& text = part ? part->utf8 : relationships;
    quint64 largest = 0;
    for (qsizetype at = text.indexOf("rId"); at >= 0; at = text.indexOf("rId", at + 3)) {
        if (at == 0 || (text[at - 1] != '"' && text[at - 1] != '\''))
            continue;
        qsizetype end = at + 3;
        while (end < text.size() && isDigit(text[end]))
            ++end;
        bool fits = false;
        const quint64 number = text.mid(at + 3, end - at - 3).toULongLong(&fits);
        if (fits && number <= highestRelationship)
            largest = std::max(largest, number);
    }
    for (PlacedImage& placed : images)
        placed.relationship = ++largest;
}

void numberDrawings(std::vector<PlacedImage>& images, const WordPackage& package, QSet<quint32> taken) {
    const QByteArray folder = folderOf(package.mainPart()->name);
    for (const ZipEntry& entry : package.records().entries()) {
        // Headers, footers and notes lie beside the main part.
        if (!entry.isFile || &entry == package.mainPart() || folderOf(entry.name) != folder ||
            !entry.name.toLower().endsWith(".xml") || entry.size > TextPart::largest)
            continue;
        const auto part = TextPart::decode(package.contents(entry));
        if (part && part->utf8.contains("docPr"))
            taken += drawingIds(part->utf8);
    }
    for (PlacedImage& placed : images) {
        placed.drawing = placed.relationship <= highestDrawing ? placed.relationship : 1;
        while (taken.contains(static_cast<quint32>(placed.drawing)))
            ++placed.drawing;
        taken.insert(static_cast<quint32>(placed.drawing));
    }
}

void nameFiles(std::vector<PlacedImage>& images, const WordPackage& package) {
    QSet<QByteArray> taken;
    for (const ZipEntry& entry : package.records().entries())
        taken.insert(entry.name.toLower());
    for (PlacedImage& placed : images) {
        QByteArray base = safeName(placed.image->fileName);
        if (base.isEmpty())
            base = "key-image";
        placed.fileName = base + ".png";
        for (int number = 2; taken.contains((mediaFolder + placed.fileName).toLower()); ++number)
            placed.fileName = base + '-' + QByteArray::number(number) + ".png";
        taken.insert((mediaFolder + placed.fileName).toLower());
    }
}

bool addImageRelationships(
    QByteArray& utf8, const std::vector<PlacedImage>& images, const char* type, const QByteArray& folder) {
    QSet<QString> ids;
    bool distinct = true;
    const auto collect = [&](QStringView name, const QXmlStreamAttributes& attributes) {
        if (name != QLatin1String("Relationship"))
            return;
        const QString id = attributes.value(QLatin1String("Id")).toString();
        distinct = distinct && !ids.contains(id);
        ids.insert(id);
    };
    const auto place = readRootList(utf8, relationshipList, collect);
    if (!place)
        return false;
    // Relative to the main part where that lies beside the media folder.
    const QByteArray target = folder == "word/" ? QByteArray("media/") : '/' + mediaFolder;
    QByteArray elements;
    for (const PlacedImage& placed : images) {
        const QByteArray id = "rId" + QByteArray::number(placed.relationship);
        distinct = distinct && !ids.contains(QString::fromLatin1(id));
        elements += '<' + place->prefix + R"(Relationship Id=")" + id + R"(" Type=")" + type +
                    R"(" Target=")" + target + placed.fileName + R"("/>)";
    }
    utf8 = appendToRoot(utf8, *place, elements);
    return distinct;
}

bool declarePng(QByteArray& utf8) {
    bool declared = false;
    const auto look = [&](QStringView name, const QXmlStreamAttributes& attributes) {
        if (name == QLatin1String("Default") &&
            attributes.value(QLatin1String("Extension")).compare(QLatin1String("png"), Qt::CaseInsensitive) ==
                0)
            declared = true;
    };
    const auto place = readRootList(utf8, contentTypeList, look);
    if (place && !declared)
        utf8 = appendToRoot(
            utf8, *place, '<' + place->prefix + R"(Default Extension="png" ContentType="image/png"/>)");
    return place.has_value();
}

} // namespace zorbel
