#pragma once

#include "report/package/ZipRecords.h"

#include <QByteArray>

#include <optional>

namespace zorbel {

/// A zip file as the parts of a Word document. Part names compare without case.
class WordPackage {
public:
    explicit WordPackage(ZipRecords records);

    const ZipRecords& records() const { return records_; }
    const ZipEntry* find(const QByteArray& name) const;
    /// Null when there is none, or one without bytes.
    const ZipEntry* contentTypes() const;
    /// The document itself, which the package's relationships name; "word/document.xml" where they do not.
    const ZipEntry* mainPart() const { return mainPart_; }
    const ZipEntry* mainRelationships() const;
    /// Throws EditFailure when the entry is damaged.
    QByteArray contents(const ZipEntry& entry) const;

private:
    const ZipEntry* findFilled(const QByteArray& name) const;
    QByteArray mainTarget() const;

    ZipRecords records_;
    const ZipEntry* mainPart_ = nullptr;
};

/// "word/" of "word/document.xml".
QByteArray folderOf(const QByteArray& partName);

} // namespace zorbel
