#include "demo/word/DeskTemplate.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace zorbel::demo {

namespace fs = std::filesystem;

namespace {

std::string readFile(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!stream) {
        throw std::runtime_error("The template " + file.string() + " cannot be read.");
    }
    return bytes;
}

} // namespace

fs::path deskTemplateFolder() {
    return fs::read_symlink("/proc/self/exe").parent_path() / "demo-templates";
}

std::vector<DeskTemplate> readDeskTemplates(const fs::path& folder) {
    const fs::path index = folder / "templates.json";
    const std::string text = readFile(index);
    std::vector<DeskTemplate> templates;
    try {
        for (const nlohmann::json& one : nlohmann::json::parse(text)) {
            const auto member = [&one](const char* name) { return one.at(name).get<std::string>(); };
            templates.push_back(
                {member("id"), member("name"), member("description"), member("language"), member("direction"),
                 member("fileName"),
                 std::make_shared<const std::string>(readFile(folder / member("document")))});
        }
    } catch (const nlohmann::json::exception& error) {
        throw std::runtime_error(index.string() + " is not a list of templates: " + error.what());
    }
    return templates;
}

} // namespace zorbel::demo
