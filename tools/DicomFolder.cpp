#include "tools/DicomFolder.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace zorbel::tools {

namespace {

std::vector<std::filesystem::path> filesBelow(const std::filesystem::path& folder) {
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error))
        throw std::runtime_error("no such folder: " + folder.string());
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(
             folder, std::filesystem::directory_options::skip_permission_denied))
        if (entry.is_regular_file(error))
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

/// One line holds one reason; the first file's stands for all.
std::string firstReason(const std::vector<imaging::RejectedFile>& rejected) {
    if (rejected.empty())
        return {};
    const std::size_t others = rejected.size() - 1;
    return " (" + rejected.front().reason +
           (others > 0 ? ", and " + std::to_string(others) + " more left out" : std::string()) + ")";
}

} // namespace

imaging::DicomAnalysis analyzeFolder(const std::filesystem::path& folder) {
    imaging::DicomAnalysis analysis = imaging::DicomSeriesReader::analyze(filesBelow(folder));
    if (analysis.blocks.empty())
        throw std::runtime_error("no DICOM image in " + folder.string() + firstReason(analysis.rejected));
    return analysis;
}

} // namespace zorbel::tools
