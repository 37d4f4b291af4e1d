#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace zorbel::demo {

/// One template of the Word desk: what the list of templates tells of it, and its document.
struct DeskTemplate {
    std::string id;
    std::string name;
    std::string description;
    std::string language;
    std::string direction; ///< "ltr" or "rtl"
    std::string fileName;  ///< of the reports made from it
    std::shared_ptr<const std::string> document;
};

/// Beside the program.
std::filesystem::path deskTemplateFolder();

/// Those that the folder's templates.json lists, in its order. Throws std::runtime_error, with a text for the
/// user, when one of its files cannot be read.
std::vector<DeskTemplate> readDeskTemplates(const std::filesystem::path& folder);

} // namespace zorbel::demo
