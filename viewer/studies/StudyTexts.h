#pragma once

#include "base/StudyIdentity.h"

#include <QString>

namespace zorbel {

/// How a study is named on the screen, with words where a text is empty. Pure functions; any thread.
class StudyTexts {
public:
    static QString patientName(const StudyIdentity& study);
    static QString studyInstanceUid(const StudyIdentity& study);
    /// "modality  ·  date  ·  Study UID"; modality: of what is shown, and where that says nothing the
    /// study's.
    static QString subtitle(const StudyIdentity& study, const std::string& modality);
};

} // namespace zorbel
