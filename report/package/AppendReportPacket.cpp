#include "report/package/AppendReportPacket.h"

#include "report/package/BodyPlace.h"
#include "report/package/EditFailure.h"
#include "report/package/MediaRegistration.h"
#include "report/package/ReportFragment.h"
#include "report/package/TextPart.h"
#include "report/package/WordPackage.h"

#include <QBuffer>
#include <QMap>
#include <QXmlStreamReader>

#include <private/qzipwriter_p.h>

#include <new>

namespace zorbel {

namespace {

constexpr char notAssembled[] = "The updated report could not be assembled.";

using EditedParts = QMap<const ZipEntry*, QByteArray>;

WordPackage openPackage(const QByteArray& bytes) {
    if (bytes.isEmpty())
        throw EditFailure{"The report is empty."};
    auto records = ZipRecords::read(bytes);
    if (!records)
        throw EditFailure{unreadablePackage};
    if (records->entries().empty())
        throw EditFailure{"The report package is empty."};
    return WordPackage(std::move(*records));
}

std::vector<PlacedImage> usableImages(const ReportPacket& packet) {
    std::vector<PlacedImage> images;
    for (const ReportPacket::KeyImage& image : packet.keyImages) {
        const auto size = drawingSize(image.width, image.height);
        if (size && !image.png.isEmpty())
            images.push_back({&image, *size, 0, 0, {}});
    }
    return images;
}

void requireWellFormed(const QByteArray& part, const char* sentence) {
    QXmlStreamReader xml(part);
    while (!xml.atEnd())
        xml.readNext();
    if (xml.hasError())
        throw EditFailure{sentence};
}

/// Declares what the drawings need and the document's root does not.
QByteArray missingDeclarations(const BodyPlace& place) {
    const std::pair<const char*, const char*> needed[] = {{"wp", place.dialect->wp}, {"r", place.dialect->r}};
    QByteArray result;
    for (const auto& [prefix, uri] : needed) {
        const auto declared = place.namespaces.constFind(QLatin1String(prefix));
        if (declared == place.namespaces.constEnd())
            result += QByteArray(" xmlns:") + prefix + "=\"" + uri + '"';
        else if (*declared != QLatin1String(uri))
            throw EditFailure{uneditableBody};
    }
    return result;
}

/// Numbers the images on the way. Returns the dialect, which the other parts follow.
const WordDialect& editBody(
    const WordPackage& package, const ReportPacket& packet, std::vector<PlacedImage>& images,
    EditedParts& edited) {
    auto body = TextPart::decode(package.contents(*package.mainPart()));
    const auto place = body ? findBodyPlace(body->utf8) : std::nullopt;
    if (!place)
        throw EditFailure{uneditableBody};
    QByteArray declarations;
    if (!images.empty()) {
        declarations = missingDeclarations(*place);
        numberDrawings(images, package, place->drawingIds);
    }
    // The later place first, so that the earlier one stays where it is.
    const QByteArray fragment = reportFragment(packet, images, *place->dialect);
    TextPart frame = *body;
    body->utf8.insert(place->insertion, fragment);
    body->utf8.insert(place->rootTagEnd, declarations);
    // The text around it was read already, what is new is read as the body's only content: as good as reading
    // all of it again, and for a long document much faster.
    frame.utf8.truncate(place->bodyBegin);
    frame.utf8.insert(place->rootTagEnd, declarations);
    frame.utf8 += fragment + "</w:body></" + place->rootName + '>';
    requireWellFormed(frame.encoded(), uneditableBody);
    edited.insert(package.mainPart(), body->encoded());
    return *place->dialect;
}

void addMedia(
    const WordPackage& package, const std::vector<PlacedImage>& images, const WordDialect& dialect,
    EditedParts& edited) {
    const auto edit = [&](const ZipEntry* part, const auto& change) {
        auto text = TextPart::decode(package.contents(*part));
        if (!text || !change(text->utf8))
            throw EditFailure{uneditableMedia};
        QByteArray bytes = text->encoded();
        requireWellFormed(bytes, uneditableMedia);
        edited.insert(part, std::move(bytes));
    };
    edit(package.mainRelationships(), [&](QByteArray& utf8) {
        return addImageRelationships(
            utf8, images, dialect.imageRelationship, folderOf(package.mainPart()->name));
    });
    edit(package.contentTypes(), [](QByteArray& utf8) { return declarePng(utf8); });
}

QByteArray
writePackage(const WordPackage& package, const EditedParts& edited, const std::vector<PlacedImage>& images) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly))
        throw EditFailure{notAssembled};
    QZipWriter writer(&buffer);
    writer.setCompressionPolicy(QZipWriter::AutoCompress);
    for (const ZipEntry& entry : package.records().entries()) {
        if (!entry.isFile)
            continue;
        const auto change = edited.constFind(&entry);
        writer.addFile(
            QString::fromUtf8(entry.name),
            change == edited.constEnd() ? package.contents(entry) : change.value());
    }
    for (const PlacedImage& placed : images)
        writer.addFile(QString::fromUtf8(mediaFolder + placed.fileName), placed.image->png);
    writer.close();
    if (writer.status() != QZipWriter::NoError)
        throw EditFailure{"The updated report could not be written."};
    if (bytes.isEmpty())
        throw EditFailure{"The updated report came out empty."};
    return bytes;
}

EditResult edit(const QByteArray& bytes, const ReportPacket& packet) {
    if (packet.findings.empty() && packet.measurements.empty() && packet.keyImages.empty())
        throw EditFailure{"Nothing to append."};
    const WordPackage package = openPackage(bytes);
    if (package.mainPart() == nullptr || package.contentTypes() == nullptr ||
        package.mainRelationships() == nullptr)
        throw EditFailure{"The report template is missing a part this viewer needs to edit."};
    std::vector<PlacedImage> images = usableImages(packet);
    if (packet.findings.empty() && packet.measurements.empty() && images.empty())
        throw EditFailure{"No measurements or key images could be read."};

    numberRelationships(images, package.contents(*package.mainRelationships()));
    nameFiles(images, package);
    EditedParts edited;
    const WordDialect& dialect = editBody(package, packet, images, edited);
    if (!images.empty())
        addMedia(package, images, dialect, edited);
    try {
        return {writePackage(package, edited, images), {}, true, static_cast<int>(images.size())};
    } catch (const std::bad_alloc&) {
        throw EditFailure{notAssembled};
    }
}

} // namespace

EditResult appendReportPacket(const QByteArray& package, const ReportPacket& packet) {
    try {
        return edit(package, packet);
    } catch (const EditFailure& failure) {
        return {{}, QString::fromLatin1(failure.sentence), false, 0};
    } catch (const std::bad_alloc&) {
        return {{}, QStringLiteral("The report could not be read."), false, 0};
    }
}

} // namespace zorbel
