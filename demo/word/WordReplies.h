#pragma once

#include "demo/HttpServer.h"
#include "demo/word/DeskReport.h"

#include <chrono>
#include <string>

namespace zorbel::demo {

/// "2026-11-22T09:05:00.250Z"
std::string utcText(std::chrono::system_clock::time_point time);

HttpReply documentReply(const DeskVersion& version);

} // namespace zorbel::demo
