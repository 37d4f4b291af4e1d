#pragma once

#include <filesystem>

namespace zorbel {

/// Opens a Word document (.docx) in the user's program for such files, which then outlives this one. Where a
/// Linux desktop knows none, LibreOffice is taken if it is installed. False when no program could be started;
/// what becomes of a started one, nobody tells. Any thread; takes as long as the system needs to find the
/// program, a fraction of a second.
bool openDocument(const std::filesystem::path& document) noexcept;

} // namespace zorbel
