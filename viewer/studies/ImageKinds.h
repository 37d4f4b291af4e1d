#pragma once

#include "viewer/reading/study/StudySeries.h"

#include <QString>

namespace zorbel {

/// What the image of a series is; volumetric: its slices make one.
ImageKind imageKindOf(const QString& modality, const QString& description, bool volumetric);

} // namespace zorbel
