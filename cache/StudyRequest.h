#pragma once

#include <QString>

namespace zorbel {

/// The study that the user asked to open. orthancId and the texts are empty when only the UID is known, as
/// from a link; the load then looks the study up in the organisation's list.
struct StudyRequest {
    QString orthancId;
    QString studyInstanceUID;
    QString patientName;
    QString modality;
    QString studyDate;
    /// Of the list's row, which with the modality make its study type.
    QString studyDescription{};
    QString bodyPart{};
};

} // namespace zorbel
