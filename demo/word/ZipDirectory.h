#pragma once

#include <string>
#include <string_view>

namespace zorbel::demo {

/// Whether the bytes are a zip file whose end record and first directory entry are where they should be; one
/// that was cut off anywhere is not. What its entries hold is not looked at.
bool hasZipDirectory(std::string_view bytes);

/// The same zip file with another comment, so with other bytes. Needs hasZipDirectory.
std::string withZipComment(const std::string& bytes, const std::string& comment);

} // namespace zorbel::demo
