#pragma once

#include "cache/archive/StudyArchiveReader.h"

#include <string>
#include <string_view>

namespace zorbel {

inline constexpr char archiveManifestName[] = "archive-manifest.json";

/// The manifest's JSON. Throws std::exception for text that is not UTF-8.
std::string archiveManifestText(const ArchivedSeries& series);

/// Reads a manifest from anywhere into `series` (all but the files' places); the memory it takes is bounded
/// by the text's size. Empty when every member is there, once, of its type and meaningful; otherwise what is
/// wrong.
std::string parseArchiveManifest(std::string_view text, ArchivedSeries& series);

} // namespace zorbel
