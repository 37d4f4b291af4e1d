#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace zorbel::demo {

/// One state of a report's document, as it was stored; it never changes.
struct DeskVersion {
    std::string id;
    int number = 0;      ///< from 1, the template's document
    std::string sha256;  ///< hexadecimal
    std::string savedBy; ///< an account's id, empty for a version that was made elsewhere
    std::chrono::system_clock::time_point savedAt;
    std::shared_ptr<const std::string> bytes;
};

struct DeskReport {
    std::string id;
    std::string documentId;
    std::string organizationId;
    std::string studyInstanceUid;
    std::string templateName;
    std::string fileName;
    std::vector<DeskVersion> versions; ///< oldest first, never empty
};

/// What the viewer works with: the right to read and save one report's document until it expires.
struct DeskSession {
    std::string id;
    std::string reportId;
    std::string organizationId;
    std::chrono::system_clock::time_point expires;
    int knownVersion = 0; ///< the newest that its holder has heard of
};

} // namespace zorbel::demo
