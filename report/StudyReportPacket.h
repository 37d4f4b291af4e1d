#pragma once

#include "report/package/ReportPacket.h"
#include "viewer/reading/records/KeyImagePng.h"

#include <vector>

namespace zorbel {

class StudyReading;

/// The key images that the reader wants in the report, in its order.
std::vector<KeyImage> imagesForReport(const StudyReading& reading);

/// What the reader recorded of a study, for its report. It names the study, not the patient: the document's
/// own head says whose it is. pictures: of imagesForReport(); those that could not be read are left out.
ReportPacket reportPacketOf(const StudyReading& reading, const std::vector<KeyImagePng>& pictures);

/// For a document that is written from right to left: there a value would read "mm 7.2", and a negative one
/// lose its sign to the other side.
void keepValuesLeftToRight(ReportPacket& packet);

} // namespace zorbel
