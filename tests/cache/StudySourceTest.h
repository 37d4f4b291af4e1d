#pragma once

#include "LoadRecorder.h"
#include "cache/writer/VolumeCacheWriter.h"
#include "imaging/DicomSeriesReader.h"

#include <filesystem>
#include <fstream>

namespace zorbel::test {

/// Opens studies with a cache folder of the test's own, and sees where their images came from.
class StudySourceTest : public StudyLoadTest {
protected:
    void SetUp() override {
        StudyLoadTest::SetUp();
        options_.storage.emplace(
            std::filesystem::path(folder_.filePath(QStringLiteral("cache")).toStdString()),
            StorageScope::of("organization", "reader"));
        options_.manifestSchema = ZORBEL_MANIFEST_SCHEMA;
        options_.archivePatience = long_;
        study_ = upload({series_});
        service_->resetRequests();
    }

    struct Opened {
        std::optional<OrthancImageLoadResult> result;
        QString failure;
    };

    /// Opens, or loads anew, and waits for the end and for the archive.
    Opened open(const StudyIdentity& study, bool past = false) {
        capture_->clear();
        StudyLoadController controller(client_, options_);
        LoadRecorder recorder(controller);
        controller.openStudy(study);
        EXPECT_TRUE(recorder.waitForEnd());
        if (past) {
            recorder.images.clear();
            recorder.failures.clear();
            controller.retry();
            EXPECT_TRUE(recorder.waitForEnd());
        }
        Opened opened;
        if (!recorder.failures.empty())
            opened.failure = recorder.failures.front().text;
        if (!recorder.images.empty()) {
            opened.result = recorder.images.front();
            if (opened.result->source == ImageSource::Service) {
                EXPECT_TRUE(waitFor([this] {
                    return capture_->contains("Viewer cache quota enforced after study download") ||
                           capture_->contains("Study could not be archived");
                }));
            }
        }
        return opened;
    }
    Opened open() { return open(study_); }

    void expectWhole(const Opened& opened, ImageSource source) {
        ASSERT_TRUE(opened.result.has_value()) << opened.failure.toStdString();
        EXPECT_EQ(opened.result->source, source);
        ASSERT_EQ(opened.result->image->geometry().dimensions()[2], series_.slices);
        for (int slice = 0; slice < series_.slices; ++slice)
            ASSERT_EQ(opened.result->image->valueAt(7, 3, slice), slice * 100 + 7);
    }

    std::filesystem::path studyFolder() const {
        return options_.storage->studyDirectory(study_.studyInstanceUid);
    }
    std::filesystem::path archiveFolder() const {
        return options_.storage->archiveDirectory(study_.studyInstanceUid, series_.seriesUid());
    }
    std::size_t imageRequests() const {
        return service_->requestCount(demo::Fault::instanceFiles) +
               service_->requestCount(demo::Fault::seriesStreams);
    }

    void packVolumeCache() {
        const std::filesystem::path dicom =
            std::filesystem::path(folder_.filePath(QStringLiteral("pack")).toStdString());
        series_.write(dicom);
        std::vector<std::filesystem::path> files;
        for (const auto& entry : std::filesystem::directory_iterator(dicom))
            files.push_back(entry.path());
        const auto analysis = imaging::DicomSeriesReader::analyze(files);
        VolumeCacheWriter::write(
            *imaging::DicomSeriesReader::load(analysis.blocks.front()), studyFolder(),
            {.studyInstanceUid = {}, .chunkSlices = 3});
    }
    static void overwriteByte(const std::filesystem::path& file, std::streamoff offset) {
        std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
        stream.seekg(offset);
        const char byte = static_cast<char>(stream.get() ^ 0x40);
        stream.seekp(offset);
        stream.put(byte);
        ASSERT_TRUE(stream.good());
    }

    /// How long a service may take that is to answer, and that is not to.
    static constexpr std::chrono::milliseconds long_ = std::chrono::minutes(5);
    static constexpr std::chrono::milliseconds short_{300};

    const TestSeries series_{.study = "sources"};
    StudyLoadOptions options_;
    StudyIdentity study_;
};

} // namespace zorbel::test
