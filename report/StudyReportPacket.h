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

} // namespace zorbel
