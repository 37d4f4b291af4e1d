#pragma once

#include <string>

namespace zorbel {

/// Which study, and whose: what every part of the program hands on when it speaks of one. UTF-8; empty where
/// it is not known. Value type; any thread.
struct StudyIdentity {
    std::string orthancId{}; ///< the service's own identifier
    std::string studyInstanceUid{};
    std::string patientName{};
    std::string modality{};
    std::string studyDate{};        ///< as DICOM writes it, "20240131"
    std::string studyDescription{}; ///< this and what follows make its study type, with the modality
    std::string bodyPart{};

    /// Without the blanks around each text.
    StudyIdentity trimmed() const;

    friend bool operator==(const StudyIdentity&, const StudyIdentity&) = default;
};

} // namespace zorbel
