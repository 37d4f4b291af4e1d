#pragma once

#include "viewer/reading/records/FindingList.h"
#include "viewer/reading/records/KeyImageList.h"

#include <optional>
#include <string>
#include <string_view>

// The lists of a study as JSON files. Readers give nothing for what is no such file at all; of a list with
// records that cannot be read they give the others.

namespace zorbel {

std::string findingsText(const FindingList& findings);
/// An unknown category or region is Other; a site that is neither tooth nor region as well.
std::optional<FindingList> findingsFrom(std::string_view text);

std::string keyImagesText(const KeyImageList& images);
/// A name that is no key image's, and one that comes again, is left out.
std::optional<KeyImageList> keyImagesFrom(std::string_view text);

/// The measurements are the text of a JSON array that only those who draw them know to read. Nothing where
/// it is none.
std::optional<std::string> measurementsText(std::string_view array);
/// The array's text.
std::optional<std::string> measurementsFrom(std::string_view text);

} // namespace zorbel
