#pragma once

#include "imaging/ImageMetadata.h"
#include "imaging/VoiTransform.h"

#include <QString>
#include <QStringList>

namespace zorbel {

/// The corner texts of a viewport. Pure functions; any thread.
class OverlayTexts {
public:
    /// Patient and study date as the image's own file names them, and the series: what is seen, not what was
    /// asked for.
    static QStringList patient(const imaging::ImageMetadata& metadata);
    /// "W: 1800  L: 400"; values under 10 with two decimals, as floating-point images need them.
    static QString window(const imaging::LevelWindow& window);
    /// What a reader must know of a tilted or lossy image.
    static QStringList notes(const imaging::ImageMetadata& metadata, double tiltDegrees);
};

} // namespace zorbel
