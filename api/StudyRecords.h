#pragma once

#include "base/StudyIdentity.h"

#include <QString>
#include <QStringList>

namespace zorbel {

/// One row of the organisation's study list.
struct ViewerStudySummary {
    QString id;
    QString orthancId;
    QString studyInstanceUID;
    QString patientName;
    QString modality;
    QString studyDescription;
    QString bodyPart;
    QString studyDate; ///< as the service sent it: ISO 8601 or yyyyMMdd
    QString source;
};

/// Which study a row names, and the row of a study that is known by its identity alone.
StudyIdentity identityOf(const ViewerStudySummary& row);
ViewerStudySummary summaryOf(const StudyIdentity& study);

/// One series of a study as the image archive lists it. instanceIds keep the archive's order, which is not
/// the order of the slices.
struct OrthancSeriesSummary {
    QString orthancId;
    QString seriesInstanceUID;
    QString modality;
    QString seriesDescription;
    QString protocolName;
    QString seriesNumber;
    QStringList instanceIds;
};

/// A clinic's on-site archive, as the service lists it.
struct LocalNodeEntry {
    QString clinicId; ///< the node's id
    QString name;
    QString baseUrl;
    QString status;
    QString appVersion;
};

} // namespace zorbel
