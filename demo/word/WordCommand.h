#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>

namespace zorbel::demo {

/// The reports of a running demo service with all their versions, a line each. Throws std::runtime_error,
/// with a text for the user, when it does not answer.
void listReports(const std::string& serviceUrl, std::ostream& out);

/// Writes the document of the version whose id begins so. Throws std::runtime_error, with a text for the
/// user, when not exactly one does.
void fetchVersion(
    const std::string& serviceUrl, const std::string& versionId, const std::filesystem::path& file);

} // namespace zorbel::demo
