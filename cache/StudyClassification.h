#pragma once

#include <QString>
#include <QStringList>

namespace zorbel {

/// What kind of imaging a study or series is, from its modality and its texts. The same rule labels the study
/// list and decides between the three planes and the 2D view.
class StudyClassification {
public:
    /// Texts of any case; empty where unknown.
    static StudyClassification
    classify(const QString& modality, const QString& description, const QString& bodyPart = {});

    /// The text says CBCT or cone beam (tested first), or does not name a panoramic or cephalometric image
    /// and the modality is not one of single images (PX, IO, DX, CR, US, …). An unknown modality counts as
    /// volumetric: the decoded image then shows whether it has more than one slice.
    bool isVolumetric() const { return volumetric_; }
    bool isPanoramic() const { return panoramic_; }
    bool isCephalometric() const { return cephalometric_; }
    /// "CBCT", "CT", "MRI", "X-ray", "Panoramic", "Cephalometric", "Intraoral", "Ultrasound", "Mammography",
    /// "PET / Nuclear Medicine", "Other".
    const QString& label() const { return label_; }

    /// The labels that the study-type filter offers, in its order.
    static QStringList labels();

private:
    QString label_;
    bool volumetric_ = false;
    bool panoramic_ = false;
    bool cephalometric_ = false;
};

} // namespace zorbel
