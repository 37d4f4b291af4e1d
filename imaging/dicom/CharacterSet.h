#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zorbel::imaging {

/// Text of a DICOM element in UTF-8. characterSets: the values of SpecificCharacterSet, the first for the
/// beginning of the text, the others reached by ISO 2022 escape sequences (PS3.5 6.1.2.5). Bytes that mean
/// nothing in the character set become "?". Any thread.
std::string toUtf8(std::string_view text, const std::vector<std::string>& characterSets);

/// A PN value for the screen: its first component group that is not empty, "Family Given", without carets.
std::string displayName(std::string_view utf8PersonName);

} // namespace zorbel::imaging
