#include "DemoControl.h"
#include "GuidedTour.h"
#include "TourStops.h"

#include "cache/StudyArchives.h"
#include "cache/storage/ViewerStorage.h"
#include "demo/DemoAccounts.h"
#include "settings/model/ViewerCacheSettings.h"
#include "settings/store/SettingsStore.h"

#include <fstream>

namespace zorbel {

namespace {

const QString preparedRow = QStringLiteral("Prepared");
const QString jawRow = QStringLiteral("Jaw");

/// The signed-in reader's storage on this computer.
ViewerStorage readersStorage() {
    return {
        ViewerCacheSettings::read(SettingsStore()).cacheDir,
        StorageScope::of(demo::readerAccount.organizationId, demo::readerAccount.id)};
}

bool sourceStartsWith(const TourHands& hands, const QString& text) {
    return hands.text(QStringLiteral("statusSource")).startsWith(text);
}

/// As a disk does that fails.
void flipByte(const std::filesystem::path& path) {
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    constexpr std::streamoff somewhere = 4096;
    file.seekg(somewhere);
    const int byte = file.get();
    file.seekp(somewhere);
    file.put(static_cast<char>(byte ^ 0x40));
}

void planArchive(GuidedTour& tour, DemoControl& control) {
    auto& hands = tour.hands();
    tour.add(
        QStringLiteral("images-off"), [&control] { control.switchImagesOff(); },
        [&control, &hands] {
            // The jaw volume, shown before, is archived beside the reading.
            const QString uid = hands.studyOfRow(hands.rowContaining(jawRow));
            return control.isIdle() && !StudyArchives(readersStorage()).series(uid.toStdString()).empty();
        },
        false);
    tour.addOpening(QStringLiteral("from-archive"), jawRow, [&hands] {
        return sourceStartsWith(hands, QStringLiteral("Loaded volume from local DICOM archive: ")) &&
               !hands.text(QStringLiteral("statusNotice")).isEmpty();
    });
    tour.add(
        QStringLiteral("images-on"), [&control] { control.switchImagesOn(); },
        [&control] { return control.isIdle(); }, false);
}

void planRefusal(GuidedTour& tour) {
    auto& hands = tour.hands();
    tour.add(
        QStringLiteral("incomplete-series"),
        [&hands] { hands.openRow(hands.rowContaining(QStringLiteral("Incomplete"))); },
        [&hands] { return hands.visible(QStringLiteral("loadFailureBox")); });
    tour.add(
        QStringLiteral("after-refusal"), [&hands] { hands.closeMessage(); },
        [&hands] { return !hands.visible(QStringLiteral("loadFailureBox")); }, false);
}

void planDamagedCache(GuidedTour& tour) {
    auto& hands = tour.hands();
    tour.add(
        QStringLiteral("damaged-cache"),
        [&hands] {
            const int row = hands.rowContaining(preparedRow);
            if (row < 0)
                return;
            flipByte(readersStorage().studyDirectory(hands.studyOfRow(row).toStdString()) / "chunk-1.bin.gz");
            hands.openRow(row);
        },
        [&hands] {
            return hands.studyShown() &&
                   hands.text(QStringLiteral("statusNotice")) ==
                       QStringLiteral("Cache integrity check failed — falling back to DICOM.") &&
                   sourceStartsWith(hands, QStringLiteral("Loaded volume from "));
        });
}

} // namespace

void planSources(GuidedTour& tour, DemoControl& control) {
    auto& hands = tour.hands();
    tour.addOpening(QStringLiteral("from-volume-cache"), preparedRow, [&hands] {
        return sourceStartsWith(hands, QStringLiteral("Loaded from local cache: "));
    });
    planArchive(tour, control);
    tour.addOpening(QStringLiteral("from-local-node"), QStringLiteral("Onsite"), [&hands] {
        return hands.text(QStringLiteral("statusSource")).contains(QStringLiteral("Local Node"));
    });
    planRefusal(tour);
    planDamagedCache(tour);
}

} // namespace zorbel
