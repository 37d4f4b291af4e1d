#include "ReadingWindowTest.h"
#include "cache/StudyLoadController.h"
#include "tests/faults/DiskFaults.h"
#include "viewer/findings/DentalChart.h"
#include "viewer/measuring/MeasurementController.h"
#include "viewer/reading/state/KeyImageStore.h"
#include "viewer/report/WordTemplateDialog.h"
#include "viewer/tools/ToolLayer.h"

#include <cerrno>

#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTreeWidget>

namespace zorbel {
namespace {

/// A window whose reading state is kept in a folder, closed and opened again as the program is.
class ReadingSessionTest : public test::ReadingWindowTest {
protected:
    ReadingSessionTest() { restart(); }

    /// `crashed`: a window that is not closed before leaves what a kill leaves.
    void restart(bool crashed = false, const QString& linkedStudy = {}) {
        if (window_ && !crashed) {
            window_->close(); // when all is written
            EXPECT_TRUE(test::waitFor([this] { return !window_->isVisible(); }));
        }
        MainWindowOptions options;
        options.stateFolder = folder();
        options.previousRunCrashed = crashed;
        options.linkedStudy = linkedStudy;
        openWindow(options);
    }
    std::filesystem::path folder() const { return folder_.filePath(QStringLiteral("state")).toStdString(); }

    /// As if the load of a study had brought it.
    void open(const char* uid) { open({{}, uid, "Doe", "CT", {}}, QStringLiteral("CT")); }
    void open(const StudyIdentity& study, const QString& modality) {
        OrthancImageLoadResult result;
        result.outcome = OrthancImageLoadResult::Outcome::Loaded;
        result.image = test::smallVolume();
        result.study = study;
        result.modality = modality;
        result.volumetric = true;
        QSignalSpy drawn(workspace_, &ViewerWorkspace::imageDrawn);
        Q_EMIT window_->findChild<StudyLoadController*>()->imageReady(result);
        EXPECT_TRUE(test::waitFor(drawn));
    }
    void measure(double millimetres) {
        press(Qt::Key_L);
        // Each on a line of its own: a press on one that is there would take hold of it.
        const QPointF from =
            crosshairIn(0) + QPointF(-20.0, 30.0 + 25.0 * static_cast<double>(measurements().size()));
        drag(tools(0), {from, from + QPointF(millimetres / view(0).millimetresPerPixel(), 0.0)});
    }
    const std::vector<Measurement>& measurements() {
        return workspace_->measurements().list().measurements();
    }
    QMessageBox* box(const char* name) {
        auto* found = window_->findChild<QMessageBox*>(QString::fromLatin1(name));
        return found && found->isVisible() ? found : nullptr;
    }
    void answer(const char* name, QMessageBox::StandardButton button) {
        ASSERT_TRUE(QTest::qWaitFor([&] { return box(name) != nullptr; }, 60000)) << name;
        QTest::mouseClick(box(name)->button(button), Qt::LeftButton);
    }
    QDialog* openGallery() {
        child<QToolButton>(QStringLiteral("rail-key-images"))->click();
        auto* gallery = window_->findChild<QDialog*>(QStringLiteral("keyImageGallery"));
        EXPECT_TRUE(!gallery || test::waitFor([gallery] { return gallery->isActiveWindow(); }));
        return gallery;
    }
    void capture(int count) {
        for (int number = 1; number <= count; ++number) {
            press(Qt::Key_K, Qt::ControlModifier);
            const std::string start = "Key image " + std::to_string(number);
            EXPECT_TRUE(test::waitFor([&] { return status().starts_with(start); })) << status();
        }
    }
    QString picture(int number) const {
        return QString::fromStdString(
            (folder() / "keyimages/1.2.3" / ("key-" + std::to_string(number) + ".png")).string());
    }
    static QAbstractButton* button(const QMessageBox& box, const char* text) {
        for (QAbstractButton* each : box.buttons())
            if (each->text() == QLatin1String(text))
                return each;
        return nullptr;
    }
    QDialog& findings() {
        press(Qt::Key_F, Qt::ControlModifier);
        return *child<QDialog>(QStringLiteral("findingsDialog"));
    }

    QTemporaryDir folder_;
};

TEST_F(ReadingSessionTest, keepsWhatIsRecordedOfTheOpenStudyWhenTheCacheIsCleared) {
    open("1.2.3");
    measure(10.0);
    capture(1);
    bool cleared = false;
    window_->clearKept(
        [this] {
            std::filesystem::remove_all(folder());
            return QString();
        },
        [&cleared](const QString& failure) { cleared = failure.isEmpty(); });
    ASSERT_TRUE(test::waitFor([&cleared] { return cleared; }));
    restart();
    open("1.2.3");
    EXPECT_EQ(measurements().size(), 1U);
    EXPECT_FALSE(QImage(picture(1)).isNull());
}

TEST_F(ReadingSessionTest, findsEverythingAgain) {
    open("1.2.3");
    measure(10.0);
    press(Qt::Key_R);
    const auto handles = guideOf(0).handles(0);
    const QPointF from(handles.rotation[0].x, handles.rotation[0].y);
    drag(tools(0), {from, from + QPointF(-30.0, 60.0)});
    press(Qt::Key_3);
    press(Qt::Key_M);
    press(Qt::Key_4, Qt::ControlModifier);
    test::settle();
    mpr().goTo({1.0, 20.0, 50.0});
    press(Qt::Key_P);
    const auto planes = mpr().liveBases();
    ASSERT_GT(std::abs(planes[1].axis0[1]), 0.1) << "the coronal plane was turned";

    restart();
    open("1.2.3");
    ASSERT_EQ(measurements().size(), 1u);
    EXPECT_EQ(workspace_->measurements().valuesOf(measurements()[0]).label.substr(0, 8), "10.00 mm");
    for (std::size_t plane = 0; plane < 3; ++plane) {
        test::expectNear(mpr().liveBases()[plane].axis0, planes[plane].axis0);
        test::expectNear(mpr().liveBases()[plane].axis1, planes[plane].axis1);
    }
    test::expectNear(crosshair(), {1.0, 20.0, 50.0});
    EXPECT_EQ(layout().layout(), Layout::PrimaryPlusThree);
    EXPECT_EQ(mpr().window().width, 400.0);
    EXPECT_TRUE(mpr().slab().isEnabled());
    EXPECT_EQ(workspace_->tool(), Tool::Pan);
    EXPECT_EQ(status(), "Volumetric DICOM fallback loaded in MPR mode (CT).")
        << "not what the restored tool says";
}

TEST_F(ReadingSessionTest, keepsEachStudysRecordsApart) {
    open("1.2.3");
    measure(10.0);
    open("1.2.4");
    EXPECT_TRUE(measurements().empty());
    EXPECT_EQ(layout().layout(), Layout::Quad);
    measure(5.0);
    measure(7.0);
    open("1.2.3");
    EXPECT_EQ(measurements().size(), 1u);
    open("1.2.4");
    EXPECT_EQ(measurements().size(), 2u);
    QTest::mouseClick(child<QToolButton>(QStringLiteral("recentScope")), Qt::LeftButton);
    EXPECT_TRUE(test::waitFor([&] { return child<QListWidget>(QStringLiteral("studyList"))->count() == 2; }));
}

TEST_F(ReadingSessionTest, remembersStudiesUnderTheTypeOfTheListTheyWereOpenedFrom) {
    const StudyIdentity study{
        .studyInstanceUid = "1.2.3",
        .modality = "CT",
        .studyDescription = "CBCT lower jaw",
        .bodyPart = "JAW"};
    open(study, QStringLiteral("OT")); // one of its series is of another modality
    for (const bool again : {false, true}) {
        if (again)
            restart();
        QTest::mouseClick(child<QToolButton>(QStringLiteral("recentScope")), Qt::LeftButton);
        child<QComboBox>(QStringLiteral("studyTypeFilter"))->setCurrentText(QStringLiteral("CBCT"));
        const auto* list = child<QListWidget>(QStringLiteral("studyList"));
        ASSERT_TRUE(test::waitFor([&] { return list->count() == 1; }));
        EXPECT_TRUE(list->item(0)->toolTip().contains(QStringLiteral("JAW")));
    }
}

TEST_F(ReadingSessionTest, recordsFindingsByToothAndRegion) {
    press(Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(status(), "Open a study before recording findings.");
    open("1.2.3");
    auto& dialog = findings();
    auto* chart = dialog.findChild<DentalChart*>();
    auto* record = dialog.findChild<QPushButton*>(QStringLiteral("findingRecord"));
    EXPECT_FALSE(record->isEnabled()) << "no site is chosen";
    QTest::mouseClick(chart, Qt::LeftButton, Qt::NoModifier, chart->cellOf(48).center().toPoint());
    EXPECT_TRUE(dialog.findChild<QComboBox*>(QStringLiteral("findingSite"))
                    ->currentText()
                    .contains(QStringLiteral("lower right third molar")));
    dialog.findChild<QComboBox*>(QStringLiteral("findingCategory"))
        ->setCurrentText(QStringLiteral("Impaction"));
    QTest::keyClicks(
        dialog.findChild<QLineEdit*>(QStringLiteral("findingNote")), QStringLiteral("close to the canal"));
    QTest::mouseClick(record, Qt::LeftButton);
    dialog.findChild<QComboBox*>(QStringLiteral("findingSite"))->setCurrentText(QStringLiteral("Airway"));
    QTest::mouseClick(record, Qt::LeftButton);
    auto* table = dialog.findChild<QTableWidget*>();
    ASSERT_EQ(table->rowCount(), 2);
    EXPECT_EQ(table->item(0, 1)->text(), QStringLiteral("Impaction"));
    EXPECT_EQ(table->item(0, 2)->text(), QStringLiteral("close to the canal"));
    EXPECT_EQ(table->item(1, 0)->text(), QStringLiteral("Airway"));
    table->selectRow(1);
    QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("findingsRemove")), Qt::LeftButton);
    EXPECT_EQ(
        dialog.findChild<QLabel*>(QStringLiteral("findingsCount"))->text(),
        QStringLiteral("1 finding(s) recorded for this study"));
    const imaging::Vector3 recordedAt = crosshair();
    dialog.reject();

    restart();
    open("1.2.3");
    mpr().goTo({1.0, 20.0, 50.0});
    auto& again = findings();
    auto* rows = again.findChild<QTableWidget*>();
    ASSERT_EQ(rows->rowCount(), 1);
    rows->selectRow(0);
    QTest::mouseClick(again.findChild<QPushButton*>(QStringLiteral("findingsJump")), Qt::LeftButton);
    test::expectNear(crosshair(), recordedAt);
}

TEST_F(ReadingSessionTest, tellsWhatIsNotOnTheDiskAndAsksBeforeItIsLost) {
    open("1.2.3");
    EXPECT_TRUE(test::waitFor([this] { return std::filesystem::exists(folder() / "recent-studies.json"); }));
    test::settle();
    auto* unsaved = child<QLabel>(QStringLiteral("statusUnsaved"));
    EXPECT_FALSE(unsaved->isVisible());
    tests::armDiskFault({.at = 1, .error = ENOSPC, .lasting = true, .under = folder().string()});
    measure(10.0);
    EXPECT_TRUE(
        test::waitFor([&] { return unsaved->text().contains(QStringLiteral("measurements of Doe")); }));
    EXPECT_TRUE(unsaved->isVisible());
    open("1.2.4"); // another study takes nothing of it away
    EXPECT_TRUE(unsaved->isVisible());
    window_->close();
    answer("unsavedBox", QMessageBox::Cancel);
    EXPECT_TRUE(window_->isVisible());
    open("1.2.3");
    EXPECT_EQ(measurements().size(), 1u);
    tests::armDiskFault({});
    EXPECT_TRUE(test::waitFor([&] { return !unsaved->isVisible(); })) << "tried again by itself";
    restart();
    open("1.2.3");
    EXPECT_EQ(measurements().size(), 1u);
}

TEST_F(ReadingSessionTest, capturesTheActiveViewportWithItsOverlays) {
    press(Qt::Key_K, Qt::ControlModifier);
    EXPECT_EQ(status(), "Open a study before capturing a key image");
    open("1.2.3");
    press(Qt::Key_A);
    QImage plain;
    for (int number = 1; number <= 2; ++number) {
        press(Qt::Key_K, Qt::ControlModifier);
        const std::string done = "Key image " + std::to_string(number) + " captured (" +
                                 std::to_string(number) + " held for the report)";
        EXPECT_TRUE(test::waitFor([&] { return status() == done; })) << status();
        const QImage picture(QString::fromStdString(
            (folder() / "keyimages/1.2.3" / ("key-" + std::to_string(number) + ".png")).string()));
        EXPECT_EQ(picture.size(), (QSizeF(view(0).size()) * view(0).devicePixelRatioF()).toSize());
        if (number == 1)
            plain = picture;
        else
            EXPECT_NE(picture, plain) << "the measurement is in the picture";
        measure(10.0);
    }
    QFile index(QString::fromStdString((folder() / "keyimages/1.2.3/index.json").string()));
    ASSERT_TRUE(index.open(QIODevice::ReadOnly));
    EXPECT_TRUE(QString::fromUtf8(index.readAll()).contains(QStringLiteral("Axial · slice 21/40 · W ")));
}

TEST_F(ReadingSessionTest, theGalleryCaptionsOrdersChoosesAndDeletes) {
    open("1.2.3");
    capture(4);
    QFile damaged(picture(2));
    EXPECT_TRUE(damaged.resize(damaged.size() / 2));
    auto* gallery = openGallery();
    ASSERT_NE(gallery, nullptr);
    auto* rows = gallery->findChild<QListWidget*>();
    auto* caption = gallery->findChild<QLineEdit*>();
    ASSERT_EQ(rows->count(), 4);
    QTest::keyClick(rows, Qt::Key_F2);
    EXPECT_TRUE(caption->hasFocus());
    QTest::keyClicks(caption, QStringLiteral("Close to the canal"));
    QTest::keyClick(caption, Qt::Key_Return);
    QTest::keyClick(rows, Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(rows->item(1)->text(), QStringLiteral("Close to the canal"));
    EXPECT_EQ(rows->currentRow(), 1) << "the selection goes with the picture";
    rows->setCurrentRow(0);
    QTest::keyClick(rows, Qt::Key_Space);
    const auto* shown = gallery->findChild<QLabel*>(QStringLiteral("keyImagePicture"));
    EXPECT_TRUE(test::waitFor([&] { return shown->text().contains(QStringLiteral("cannot be read")); }));
    QTest::mouseClick(rows->viewport(), Qt::LeftButton, {}, rows->visualItemRect(rows->item(2)).center());
    EXPECT_TRUE(test::waitFor([&] { return !shown->pixmap().isNull(); }));
    QTest::keyClick(rows, Qt::Key_Delete);
    answer("deleteKeyImageBox", QMessageBox::Cancel);
    EXPECT_EQ(rows->count(), 4);
    // Meanwhile another program captures one, which stays.
    StateFiles files(folder());
    KeyImageStore other(files);
    KeyImageList others = other.load("1.2.3");
    EXPECT_TRUE(other.add("1.2.3", others, {"\x89PNG\r\n\x1a\n", 2, 2, "Other's"}).captured);
    QTest::mouseClick(gallery->findChild<QPushButton*>(QStringLiteral("keyImageDelete")), Qt::LeftButton);
    ASSERT_TRUE(test::waitFor([this] { return box("deleteKeyImageBox") != nullptr; }));
    QTest::mouseClick(button(*box("deleteKeyImageBox"), "Delete"), Qt::LeftButton);
    EXPECT_EQ(rows->count(), 3);
    EXPECT_EQ(
        gallery->findChild<QLabel*>(QStringLiteral("keyImageCount"))->text(),
        QStringLiteral("2 of 3 in the report"));
    EXPECT_TRUE(test::waitFor([this] { return !QFile::exists(picture(3)); }));
    gallery->close();

    restart();
    open("1.2.3");
    rows = openGallery()->findChild<QListWidget*>();
    ASSERT_EQ(rows->count(), 4);
    EXPECT_EQ(rows->item(0)->checkState(), Qt::Unchecked);
    EXPECT_EQ(rows->item(1)->text(), QStringLiteral("Close to the canal"));
    EXPECT_EQ(rows->item(3)->text(), QStringLiteral("Other's"));
}

TEST_F(ReadingSessionTest, aPictureDeletedOnAFullDiskGoesWhenTheDiskTakesIt) {
    open("1.2.3");
    capture(2);
    auto* gallery = openGallery();
    auto* rows = gallery->findChild<QListWidget*>();
    auto* unsaved = child<QLabel>(QStringLiteral("statusUnsaved"));
    tests::armDiskFault({.at = 1, .error = ENOSPC, .lasting = true, .under = folder().string()});
    QTest::keyClick(rows, Qt::Key_Delete);
    ASSERT_TRUE(test::waitFor([this] { return box("deleteKeyImageBox") != nullptr; }));
    QTest::mouseClick(button(*box("deleteKeyImageBox"), "Delete"), Qt::LeftButton);
    EXPECT_EQ(rows->count(), 1);
    gallery->close();
    EXPECT_TRUE(
        test::waitFor([&] { return unsaved->text() == QStringLiteral("Not saved: key images of Doe"); }));
    EXPECT_TRUE(QFile::exists(picture(1))) << "the list on the disk still names it";
    window_->close();
    answer("unsavedBox", QMessageBox::Cancel);
    tests::armDiskFault({});
    EXPECT_TRUE(test::waitFor([&] { return !unsaved->isVisible(); })) << "tried again by itself";
    EXPECT_FALSE(QFile::exists(picture(1)));
    EXPECT_TRUE(QFile::exists(picture(2)));
}

TEST_F(ReadingSessionTest, theTemplateChooserCountsWhatIsAddedAndTakesKeys) {
    const auto reading = std::make_shared<StudyReading>(StudyIdentity{});
    WordTemplateDialog dialog({QStringLiteral("One"), QStringLiteral("Two")}, reading, window_.get());
    const auto* counts = dialog.findChild<QLabel*>(QStringLiteral("reportCounts"));
    EXPECT_EQ(counts->text(), QStringLiteral("Nothing to add yet"));
    reading->setKeyImages(KeyImageList({{"key-1.png", "", 1, 1}}));
    EXPECT_EQ(counts->text(), QStringLiteral("1 key image"));
    EXPECT_EQ(dialog.selectedRow(), 0);
    dialog.open();
    auto* list = dialog.findChild<QListWidget*>();
    QTest::keyClick(list, Qt::Key_Down);
    QTest::keyClick(list, Qt::Key_Return);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.selectedRow(), 1);
    dialog.open();
    doubleClick(*list->viewport(), list->visualItemRect(list->item(0)).center());
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(dialog.selectedRow(), 0);
}

TEST_F(ReadingSessionTest, aMeasurementKeepsItsNameAndValue) {
    open("1.2.3");
    measure(10.0);
    auto* tree = child<QTreeWidget>(QStringLiteral("measurementList"));
    for (const char* name : {"Canal to apex", "Length"}) { // the second is what it is called anyway
        tree->setCurrentItem(tree->topLevelItem(0));
        tree->setFocus();
        QTest::keyClick(tree, Qt::Key_F2);
        auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
        ASSERT_NE(editor, nullptr);
        editor->selectAll();
        QTest::keyClicks(editor, QString::fromLatin1(name));
        QTest::keyClick(editor, Qt::Key_Return);
        const std::string expected = name == std::string("Length") ? "" : name;
        EXPECT_TRUE(test::waitFor([&] { return measurements()[0].label == expected; })) << name;
        EXPECT_EQ(tree->topLevelItem(0)->text(0), QString::fromLatin1(name));
        if (expected.empty())
            break;
        restart();
        open("1.2.3");
        EXPECT_EQ(measurements().at(0).label, expected);
        EXPECT_EQ(
            measurements()[0].value, workspace_->measurements().valuesOf(measurements()[0]).lineLabel());
        tree = child<QTreeWidget>(QStringLiteral("measurementList"));
    }
}

TEST_F(ReadingSessionTest, aLinkGoesBeforeTheRecoveryAndIsNotForgottenForIt) {
    open("1.2.3");
    restart(true, QStringLiteral("1.2.4"));
    // No service answers: the link's load fails, which the reader is told first.
    answer("loadFailureBox", QMessageBox::Ok);
    open("1.2.4");
    ASSERT_TRUE(QTest::qWaitFor([this] { return box("recoveryBox") != nullptr; }, 60000));
    EXPECT_TRUE(box("recoveryBox")->text().contains(QStringLiteral("Doe")));
    window_->openLinkedStudy(QStringLiteral("1.2.5"));
    EXPECT_EQ(box("recoveryBox"), nullptr) << "put off for another link";
    answer("loadFailureBox", QMessageBox::Ok);
    answer("recoveryBox", QMessageBox::No);
    restart(true);
    answer("recoveryBox", QMessageBox::Yes); // the link's study was open at the second crash
    answer("loadFailureBox", QMessageBox::Ok);
    restart();
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    EXPECT_EQ(box("recoveryBox"), nullptr) << "wanted, not loaded, and properly ended";
}

} // namespace
} // namespace zorbel
