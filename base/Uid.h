#pragma once

#include <optional>
#include <string_view>

namespace zorbel {

/// Whether the text is a DICOM UID: digits in groups separated by dots, at most 64 characters. Such a text is
/// safe as the name of a file.
bool isUid(std::string_view text);

/// The UID in a text that may have blanks and null characters around it, as DICOM pads it; nothing when there
/// is none.
std::optional<std::string_view> uidIn(std::string_view text);

} // namespace zorbel
