#include "api/StudyRecords.h"

namespace zorbel {

StudyIdentity identityOf(const ViewerStudySummary& row) {
    return {
        .orthancId = row.orthancId.toStdString(),
        .studyInstanceUid = row.studyInstanceUID.toStdString(),
        .patientName = row.patientName.toStdString(),
        .modality = row.modality.toStdString(),
        .studyDate = row.studyDate.toStdString(),
        .studyDescription = row.studyDescription.toStdString(),
        .bodyPart = row.bodyPart.toStdString()};
}

ViewerStudySummary summaryOf(const StudyIdentity& study) {
    return {
        .id = {},
        .orthancId = QString::fromStdString(study.orthancId),
        .studyInstanceUID = QString::fromStdString(study.studyInstanceUid),
        .patientName = QString::fromStdString(study.patientName),
        .modality = QString::fromStdString(study.modality),
        .studyDescription = QString::fromStdString(study.studyDescription),
        .bodyPart = QString::fromStdString(study.bodyPart),
        .studyDate = QString::fromStdString(study.studyDate),
        .source = {}};
}

} // namespace zorbel
