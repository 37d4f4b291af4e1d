#pragma once

#include "tools/CommandLine.h"

namespace zorbel::tools {

/// "report append IN.docx OUT.docx --packet PACKET.json [--table-grids]": what the viewer does to a report.
/// OUT is written in one step, and only when all went well; it may be IN.
int runReportAppend(std::span<const std::string> arguments, const Streams& streams);

} // namespace zorbel::tools
