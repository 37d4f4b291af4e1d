#pragma once

#include "report/package/ReportFragment.h"
#include "report/package/WordPackage.h"

#include <QByteArray>

#include <vector>

namespace zorbel {

inline const QByteArray mediaFolder = "word/media/";

/// Gives each image its relationship: numbers above all that the relationships part holds.
void numberRelationships(std::vector<PlacedImage>& images, const QByteArray& relationships);

/// Gives each image its drawing's id: its relationship's number, or the next that no drawing of the package
/// has.
void numberDrawings(std::vector<PlacedImage>& images, const WordPackage& package);

/// Gives each image a file name that is safe and that the package does not hold.
void nameFiles(std::vector<PlacedImage>& images, const WordPackage& package);

/// Adds the images to the relationships of a main part in `folder`; false when the text is no list of
/// relationships with different ids.
bool addImageRelationships(
    QByteArray& utf8, const std::vector<PlacedImage>& images, const char* type, const QByteArray& folder);

/// Declares the content type of PNG files unless it is; false when the text is no list of content types.
bool declarePng(QByteArray& utf8);

} // namespace zorbel
