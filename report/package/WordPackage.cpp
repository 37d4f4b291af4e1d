#include "report/package/WordPackage.h"

#include "report/package/EditFailure.h"
#include "report/package/RootList.h"
#include "report/package/TextPart.h"

#include <QList>

#include <algorithm>
#include <utility>

namespace zorbel {

namespace {

/// The part that a target names in the package's own relationships.
QByteArray partNamed(const QString& target) {
    QList<QByteArray> path;
    for (const QByteArray& part : QByteArray::fromPercentEncoding(target.toUtf8()).split('/')) {
        if (part == "..") {
            if (!path.isEmpty())
                path.removeLast();
        } else if (!part.isEmpty() && part != ".") {
            path.append(part);
        }
    }
    return path.join('/');
}

} // namespace

WordPackage::WordPackage(ZipRecords records) : records_(std::move(records)) {
    const QByteArray target = mainTarget();
    if (!target.isEmpty())
        mainPart_ = findFilled(target);
    if (mainPart_ == nullptr)
        mainPart_ = findFilled("word/document.xml");
}

const ZipEntry* WordPackage::find(const QByteArray& name) const {
    const auto& entries = records_.entries();
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const ZipEntry& entry) {
        return entry.isFile && entry.name.compare(name, Qt::CaseInsensitive) == 0;
    });
    return found == entries.end() ? nullptr : &*found;
}

const ZipEntry* WordPackage::findFilled(const QByteArray& name) const {
    const ZipEntry* entry = find(name);
    return entry != nullptr && entry->size > 0 ? entry : nullptr;
}

const ZipEntry* WordPackage::contentTypes() const {
    return findFilled("[Content_Types].xml");
}

const ZipEntry* WordPackage::mainRelationships() const {
    if (mainPart_ == nullptr)
        return nullptr;
    const QByteArray folder = folderOf(mainPart_->name);
    return findFilled(folder + "_rels/" + mainPart_->name.mid(folder.size()) + ".rels");
}

QByteArray WordPackage::contents(const ZipEntry& entry) const {
    auto bytes = records_.data(entry);
    if (!bytes)
        throw EditFailure{unreadablePackage};
    return std::move(*bytes);
}

QByteArray WordPackage::mainTarget() const {
    const ZipEntry* entry = findFilled("_rels/.rels");
    if (entry == nullptr)
        return {};
    const auto part = TextPart::decode(contents(*entry));
    QByteArray target;
    const auto look = [&](QStringView name, const QXmlStreamAttributes& attributes) {
        const QStringView type = attributes.value(QLatin1String("Type"));
        const bool document =
            type == QLatin1String("http://schemas.openxmlformats.org/officeDocument/2006/relationships/"
                                  "officeDocument") ||
            type == QLatin1String("http://purl.oclc.org/ooxml/officeDocument/relationships/officeDocument");
        if (target.isEmpty() && name == QLatin1String("Relationship") && document &&
            attributes.value(QLatin1String("TargetMode")) != QLatin1String("External"))
            target = partNamed(attributes.value(QLatin1String("Target")).toString());
    };
    return part && readRootList(part->utf8, relationshipList, look) ? target : QByteArray();
}

QByteArray folderOf(const QByteArray& partName) {
    return partName.left(partName.lastIndexOf('/') + 1);
}

} // namespace zorbel
