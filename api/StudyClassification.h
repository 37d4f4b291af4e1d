#pragma once

#include <QString>

namespace zorbel {

/// What kind of imaging a study or series is, from its modality and its texts. The same rule labels the study list
/// and decides between the three planes and the 2D view.
class StudyClassification {
public:
    /// Texts of any case; empty where unknown.
    static StudyClassification classify(
        const QString& modality, const QString& description, const QString& bodyPart = {});

    /// The text says CBCT or cone beam (tested first), or names no 2D kind and its modality is a volume's (CT, MR, PT, NM).
    bool isVolumetric() const { return volumetric_; }
    bool isPanoramic() const { return panoramic_; }
    /// "CBCT", "CT", "MRI", "X-ray", "Panoramic", "Cephalometric", "Intraoral", "Ultrasound", "Mammography",
    /// "PET / Nuclear Medicine", "Other".
    const QString& label() const { return label_; }

    /// The labels that the study-type filter offers, in its order.
    static QStringList labels();

private:
    QString label_;
    bool volumetric_ = false;
    bool panoramic_ = false;
};

} // namespace zorbel
