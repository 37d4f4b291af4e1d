#pragma once

#include "report/package/EditResult.h"
#include "report/package/ReportPacket.h"

namespace zorbel {

/// Appends findings, measurements and key images to the end of a Word document's body and returns the new
/// package, or one of a fixed set of sentences. What the document held stays byte for byte, but for the
/// declarations and registrations that the new content needs. For any thread; throws nothing.
EditResult appendReportPacket(const QByteArray& package, const ReportPacket& packet);

} // namespace zorbel
