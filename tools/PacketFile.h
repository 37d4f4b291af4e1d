#pragma once

#include "report/package/ReportPacket.h"

#include <filesystem>

namespace zorbel::tools {

/// Reads a packet from JSON: "title", "subtitle", "findings" (a list of "site", "finding", "note"),
/// "measurements" ("measurement", "value", "view"), "keyImages" ("file", a PNG beside the JSON, and
/// "caption"). What is not there is empty. Throws std::runtime_error that names the file and what is wrong
/// with it.
ReportPacket readPacketFile(const std::filesystem::path& file);

/// Throws std::runtime_error that names the file.
QByteArray readWholeFile(const std::filesystem::path& file);

} // namespace zorbel::tools
