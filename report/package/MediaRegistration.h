#pragma once

#include "report/package/ReportFragment.h"
#include "report/package/WordPackage.h"

#include <QByteArray>
#include <QSet>

#include <vector>

namespace zorbel {

inline const QByteArray mediaFolder = "word/media/";

/// Gives each image its relationship: numbers above all that the relationships part holds.
void numberRelationships(std::vector<PlacedImage>& images, const QByteArray& relationships);

/// Gives each image its drawing's id: its relationship's number, or the next that is not taken, be it in the
/// main part or in another.
void numberDrawings(std::vector<PlacedImage>& images, const WordPackage& package, QSet<quint32> taken);

/// Gives each image a file name that is safe and that the package does not hold.
void nameFiles(std::vector<PlacedImage>& images, const WordPackage& package);

/// Adds the images to the relationships of a main part in `folder`; false when the text is no list of
/// relationships with different ids.
bool addImageRelationships(
    QByteArray& utf8, const std::vector<PlacedImage>& images, const char* type, const QByteArray& folder);

/// Declares the content type of PNG files unless it is; false when the text is no list of content types.
bool declarePng(QByteArray& utf8);

} // namespace zorbel
