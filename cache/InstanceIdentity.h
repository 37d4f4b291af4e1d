#pragma once

#include "imaging/DicomIdentity.h"

#include <QString>
#include <QStringList>

namespace zorbel {

/// The id under which an Orthanc archive keeps an instance: SHA-1 of patient id, study, series and SOP
/// instance UID joined by "|", in hexadecimal, in five groups of eight.
QString orthancInstanceId(const imaging::DicomIdentity& identity);

/// Whether an id has the form of orthancInstanceId(). Other archives' ids are opaque.
bool isOrthancInstanceId(const QString& id);

} // namespace zorbel
