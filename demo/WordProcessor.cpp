#include "demo/WordProcessor.h"

#include "platform/linux/DesktopEntry.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include <unistd.h>

namespace zorbel::demo {

namespace fs = std::filesystem;

namespace {

constexpr const char* documentType =
    "application/vnd.openxmlformats-officedocument.wordprocessingml.document";
constexpr const char* desktopEntry = "libreoffice-writer.desktop";

// No tip of the day, no news of the version, and a save keeps the document's format without asking.
constexpr const char* settings = R"xml(<?xml version="1.0" encoding="UTF-8"?>
<oor:items xmlns:oor="http://openoffice.org/2001/registry" xmlns:xs="http://www.w3.org/2001/XMLSchema" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance">
<item oor:path="/org.openoffice.Office.Common/Misc"><prop oor:name="FirstRun" oor:op="fuse"><value>false</value></prop></item>
<item oor:path="/org.openoffice.Office.Common/Misc"><prop oor:name="ShowTipOfTheDay" oor:op="fuse"><value>false</value></prop></item>
<item oor:path="/org.openoffice.Office.Common/Save/Document"><prop oor:name="WarnAlienFormat" oor:op="fuse"><value>false</value></prop></item>
<item oor:path="/org.openoffice.Setup/Product"><prop oor:name="ooSetupLastVersion" oor:op="fuse"><value>99.9</value></prop></item>
</oor:items>
)xml";

/// The first of the names that a folder of the list holds.
fs::path
firstFound(const std::string& folders, const std::string& below, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        std::istringstream list(folders);
        for (std::string folder; std::getline(list, folder, ':');) {
            const fs::path file = fs::path(folder) / below / name;
            if (access(file.c_str(), R_OK) == 0) {
                return file;
            }
        }
    }
    return {};
}

std::string variable(const char* name, const char* fallback) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : fallback;
}

void makeDefault(const fs::path& list) {
    std::ifstream before(list, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(before), {}};
    std::ofstream(list, std::ios::binary) << withDefaultApplication(text, documentType, desktopEntry);
}

} // namespace

std::string prepareWordProcessor(const fs::path& configFolder) {
    const fs::path program =
        firstFound(variable("PATH", "/usr/bin"), "", {"libreoffice", "soffice", "lowriter"});
    if (program.empty()) {
        return "open in what the desktop has for .docx; LibreOffice Writer is not installed";
    }
    if (!firstFound(variable("XDG_DATA_DIRS", "/usr/local/share:/usr/share"), "applications", {desktopEntry})
             .empty()) {
        makeDefault(configFolder / "mimeapps.list");
    }
    const fs::path profile = configFolder / "libreoffice" / "4" / "user";
    if (!fs::exists(profile)) {
        fs::create_directories(profile);
        std::ofstream(profile / "registrymodifications.xcu") << settings;
    }
    return "open in LibreOffice Writer, " + program.string();
}

} // namespace zorbel::demo
