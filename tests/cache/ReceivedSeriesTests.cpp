#include "TestSeries.h"
#include "cache/InstanceIdentity.h"
#include "cache/ReceivedSeries.h"
#include "imaging/DicomIdentity.h"
#include "tests/support/Files.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <span>

namespace zorbel {
namespace {

using test::TestSeries;

std::vector<std::byte> bytesOf(const std::filesystem::path& file) {
    const std::string text = test::readFile(file);
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

class ReceivedSeriesTest : public testing::Test {
protected:
    ReceivedSeriesTest() {
        std::filesystem::create_directories(source());
        std::filesystem::create_directories(target());
        for (int slice = 0; slice < 4; ++slice) {
            files_.push_back(file(series_, slice));
            ids_.append(orthancInstanceId(imaging::readDicomIdentity(files_.back())));
        }
    }

    std::vector<std::byte> file(const TestSeries& series, int slice) const {
        const auto path = source() / "slice.dcm";
        series.writeSlice(path, slice);
        return bytesOf(path);
    }

    std::filesystem::path source() const {
        return std::filesystem::path(folder_.path().toStdString()) / "source";
    }
    std::filesystem::path target() const {
        return std::filesystem::path(folder_.path().toStdString()) / "target";
    }
    QString seriesUid() const { return QString::fromStdString(series_.seriesUid()); }

    QTemporaryDir folder_;
    TestSeries series_;
    std::vector<std::vector<std::byte>> files_;
    QStringList ids_;
};

TEST_F(ReceivedSeriesTest, keepsEachPartUnderItsOwnIdWhateverTheOrder) {
    ReceivedSeries received(target(), ids_, seriesUid());
    constexpr int order[]{2, 0, 3, 1};
    for (int position = 0; position < 4; ++position)
        received.addStreamed(ids_[position], files_[static_cast<std::size_t>(order[position])]);
    EXPECT_TRUE(received.missingIds().isEmpty());
    for (const auto& instance : received.instances()) {
        EXPECT_TRUE(instance.idVerified);
        const auto slice = ids_.indexOf(instance.id);
        EXPECT_EQ(instance.sopInstanceUID, series_.sopUid(static_cast<int>(slice)));
        EXPECT_EQ(bytesOf(instance.file), files_[static_cast<std::size_t>(slice)]);
    }
}

TEST_F(ReceivedSeriesTest, refusesWhatTheSeriesDoesNotHold) {
    ReceivedSeries received(target(), ids_, seriesUid());
    received.addStreamed(ids_[0], files_[0]);
    EXPECT_THROW(received.addStreamed(ids_[1], files_[0]), UnexpectedInstanceError) << "twice";
    EXPECT_THROW(received.addStreamed(ids_[1], file(series_, 9)), UnexpectedInstanceError) << "not listed";
    TestSeries other = series_;
    other.name = "other";
    EXPECT_THROW(received.addStreamed(ids_[1], file(other, 1)), UnexpectedInstanceError) << "another series";
    EXPECT_THROW(
        received.addStreamed(ids_[1], std::vector<std::byte>(500, std::byte{65})), UnexpectedInstanceError);
    EXPECT_THROW(received.addStreamed(ids_[1], std::span(files_[1]).first(200)), UnexpectedInstanceError);
    EXPECT_THROW(received.addDownloaded(ids_[1], files_[2]), UnexpectedInstanceError)
        << "another than requested";
    EXPECT_EQ(received.missingIds(), ids_.mid(1)) << "a refused part leaves nothing behind";
    EXPECT_EQ(received.files().size(), 1u);
}

TEST_F(ReceivedSeriesTest, trustsOpaqueIdsOnlyWhenFetchedByThem) {
    const QStringList opaque{QStringLiteral("a"), QStringLiteral("b/../c")};
    ReceivedSeries received(target(), opaque, seriesUid());
    received.addStreamed(opaque[0], files_[0]);
    EXPECT_FALSE(received.instances()[0].idVerified);
    EXPECT_THROW(received.addStreamed(opaque[1], files_[0]), UnexpectedInstanceError);
    EXPECT_TRUE(received.dropUnverified());
    EXPECT_FALSE(received.dropUnverified());
    EXPECT_EQ(received.missingIds(), opaque);
    received.addDownloaded(opaque[0], files_[0]);
    received.addDownloaded(opaque[1], files_[1]);
    EXPECT_TRUE(received.missingIds().isEmpty());
    for (const auto& instance : received.instances()) {
        EXPECT_TRUE(instance.idVerified);
        EXPECT_EQ(instance.file.parent_path(), target()) << "an id from outside is no path";
    }
}

TEST_F(ReceivedSeriesTest, saysWhenTheDiskRefuses) {
    ReceivedSeries received(target() / "missing folder", ids_, seriesUid());
    try {
        received.addStreamed(ids_[0], files_[0]);
        FAIL();
    } catch (const UnexpectedInstanceError&) {
        FAIL() << "a disk fault is no reason to fetch the series again";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("disk space"), std::string::npos);
    }
}

} // namespace
} // namespace zorbel
