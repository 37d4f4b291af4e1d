#pragma once

#include "demo/ImportResult.h"

#include <filesystem>
#include <functional>
#include <string_view>

namespace zorbel::demo {

/// Hands every DICOM file below the folder (or the one file) to `store`, unchanged, from several threads.
/// `store` returns whether the instance is new and throws the reason when it is refused. Throws
/// std::runtime_error when the folder cannot be read.
ImportResult
importDicom(const std::filesystem::path& folder, const std::function<bool(std::string_view file)>& store);

} // namespace zorbel::demo
