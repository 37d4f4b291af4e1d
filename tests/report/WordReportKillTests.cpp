#include "tests/faults/DiskFaults.h"
#include "tests/report/WordReportFixture.h"
#include "tests/support/PollUntil.h"

#include <QProcess>

#include <csignal>

namespace zorbel::test {

namespace fs = std::filesystem;

/// The word processor outlives the viewer: it saves before the kill, at it, and after it.
TEST(WordReportKillTest, nothingThatTheWordProcessorSavedIsLostWhenTheViewerIsKilled) {
    const auto string = [](const QByteArray& bytes) { return bytes.toStdString(); };
    int killed = 0;
    for (int moment = 1; moment <= 60; ++moment) {
        SCOPED_TRACE(moment);
        const TemporaryFolder folder(memoryDisk());
        const fs::path root = folder.path() / "word";
        const fs::path service = folder.path() / "service";
        writeFile(service / "version-1", string(wordDocument("template")));

        QProcess viewer;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("ZORBEL_DISK_FAULT_AT"), QString::number(moment));
        environment.insert(
            QStringLiteral("ZORBEL_DISK_FAULT_UNDER"), QString::fromStdString(folder.path().string()));
        viewer.setProcessEnvironment(environment);
        viewer.start(
            QStringLiteral(ZORBEL_WORD_REPORT_PROGRAM),
            {QString::fromStdString(root.string()), QString::fromStdString(service.string())});
        ASSERT_TRUE(viewer.waitForStarted());
        const fs::path document = root / "word-report" / "Zorbel-Report-report.docx";
        const auto ended = [&] {
            return viewer.state() == QProcess::NotRunning || viewer.waitForFinished(1);
        };
        const auto atService = [&](const QByteArray& bytes) {
            for (int version = 1; fs::exists(service / ("version-" + std::to_string(version))); ++version) {
                if (readFile(service / ("version-" + std::to_string(version))) == string(bytes))
                    return true;
            }
            return false;
        };
        ASSERT_TRUE(pollUntil([&] { return ended() || fs::exists(document); }));
        QByteArray last = wordDocument("template");
        for (int save = 0; save < 3 && fs::exists(document); ++save) {
            last = wordDocument("save " + QByteArray::number(save));
            replace(document, last);
            ASSERT_TRUE(pollUntil([&] { return ended() || atService(last); }));
        }
        if (!ended()) { // it was never as far as that
            viewer.kill();
            ASSERT_TRUE(viewer.waitForFinished());
        } else {
            ++killed;
        }

        const auto left = takeUnsyncedReports(root, std::chrono::hours(1));
        if (!fs::exists(document)) {
            EXPECT_TRUE(left.empty());
            continue;
        }
        EXPECT_EQ(readFile(document), string(last));
        if (left.empty()) {
            EXPECT_TRUE(atService(last));
            continue;
        }
        ASSERT_TRUE(left.front().record);
        EXPECT_EQ(left.front().folder.document(), document);
        EXPECT_EQ(left.front().record->session.sessionId, QStringLiteral("s"));
    }
    EXPECT_GE(killed, 30);
}

} // namespace zorbel::test
