#pragma once

#include "base/StudyIdentity.h"
#include "imaging/ImageMetadata.h"
#include "imaging/VoiTransform.h"

#include <QString>
#include <QStringList>

namespace zorbel {

/// The corner texts of a viewport. Pure functions; any thread.
class OverlayTexts {
public:
    /// Patient and study date as the image's own file names them, and the series: what is seen, not what was
    /// asked for. Only what the image does not say, as one from the volume cache, is taken from the study.
    static QStringList patient(const StudyIdentity& study, const imaging::ImageMetadata& metadata);
    /// "W: 1800  L: 400", with "HU" behind it where the image's values are Hounsfield units.
    static QString window(const imaging::LevelWindow& window, const imaging::ImageMetadata& metadata);
    /// What a reader must know of a tilted or lossy image.
    static QStringList notes(const imaging::ImageMetadata& metadata, double tiltDegrees);
};

} // namespace zorbel
