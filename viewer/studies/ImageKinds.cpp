#include "viewer/studies/ImageKinds.h"

#include "cache/StudyClassification.h"

namespace zorbel {

ImageKind imageKindOf(const QString& modality, const QString& description, bool volumetric) {
    if (volumetric)
        return ImageKind::Volume;
    const auto kind = StudyClassification::classify(modality, description);
    return kind.isPanoramic()       ? ImageKind::Panoramic
           : kind.isCephalometric() ? ImageKind::Cephalometric
                                    : ImageKind::Plain;
}

} // namespace zorbel
