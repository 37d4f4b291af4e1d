#include "base/StudyIdentity.h"

namespace zorbel {

namespace {

std::string trimmedText(const std::string& text) {
    constexpr char blanks[] = " \t\r\n\v\f";
    const auto first = text.find_first_not_of(blanks);
    return first == std::string::npos ? std::string()
                                      : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

} // namespace

StudyIdentity StudyIdentity::trimmed() const {
    return {trimmedText(orthancId), trimmedText(studyInstanceUid), trimmedText(patientName),
            trimmedText(modality),  trimmedText(studyDate),        trimmedText(studyDescription),
            trimmedText(bodyPart)};
}

} // namespace zorbel
