#include "demo/PreparedStudy.h"

#include "app/identity/Identity.h"
#include "cache/storage/ViewerStorage.h"
#include "cache/writer/VolumeCacheWriter.h"
#include "demo/PhantomStudies.h"
#include "imaging/DicomSeriesReader.h"

#include <stdexcept>
#include <vector>

namespace zorbel::demo {

namespace fs = std::filesystem;

void prepareVolumeCache(
    const fs::path& phantomStudies, const fs::path& userCacheFolder, const DemoAccount& account) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(phantomStudies / preparedStudyName)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    const auto analysis = imaging::DicomSeriesReader::analyze(files);
    if (analysis.blocks.size() != 1) {
        throw std::runtime_error("The phantom study to be prepared is not one volume.");
    }
    const auto image = imaging::DicomSeriesReader::load(analysis.blocks.front());
    const ViewerStorage storage(
        userCacheFolder / organizationName / applicationName,
        StorageScope::of(account.organizationId, account.id));
    const fs::path folder = storage.studyDirectory(image->metadata().studyInstanceUID);
    VolumeCacheWriter::write(*image, folder, {});
    storage.touch(folder);
}

} // namespace zorbel::demo
