#include "SettingsFixture.h"
#include "settings/SettingsDialog.h"
#include "tests/support/Accessibility.h"
#include "tests/support/Waiting.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

namespace zorbel {
namespace {

class SettingsDialogTest : public test::SettingsFixture {
protected:
    using test::SettingsFixture::SettingsFixture;
    void open() {
        dialog_ = std::make_unique<SettingsDialog>(client_, store_, storage_);
        dialog_->show();
        EXPECT_TRUE(
            hanging_ || test::waitFor([this] { return find<QComboBox>("settingsNode")->count() == 2; }));
    }
    template <typename Widget>
    Widget* find(const char* name) const {
        return dialog_->findChild<Widget*>(QString::fromLatin1(name));
    }
    void click(const char* name) const { QTest::mouseClick(find<QPushButton>(name), Qt::LeftButton); }

    std::unique_ptr<SettingsDialog> dialog_;
};

class SettingsOfAReader : public SettingsDialogTest {
protected:
    SettingsOfAReader() : SettingsDialogTest("DOCTOR") {}
};

TEST_F(SettingsDialogTest, isUsedByKeyboardAndSavesWhatItShows) {
    open();
    const std::vector<const char*> order{"settingsSource",    "settingsNode",   "settingsRefresh",
                                         "settingsAddress",   "settingsFolder", "settingsBrowse",
                                         "settingsRetention", "settingsSize",   "settingsClear",
                                         "settingsCancel",    "settingsSave",   "settingsVerify"};
    for (const char* name : order) {
        ASSERT_TRUE(dialog_->focusWidget());
        EXPECT_EQ(dialog_->focusWidget()->objectName().toStdString(), name);
        QTest::keyClick(dialog_->focusWidget(), Qt::Key_Tab);
    }
    EXPECT_FALSE(find<QPushButton>("settingsConnect")->toolTip().isEmpty()) << "why it cannot be used";
    EXPECT_EQ(test::barriersIn(*dialog_), QStringList());
    find<QComboBox>("settingsSource")->setCurrentIndex(1);
    find<QComboBox>("settingsNode")->setCurrentIndex(1);
    EXPECT_EQ(find<QLineEdit>("settingsAddress")->text(), QStringLiteral("http://10.0.0.5"));
    EXPECT_FALSE(find<QLineEdit>("settingsAddress")->isReadOnly());
    auto* retention = find<QSpinBox>("settingsRetention");
    EXPECT_FALSE(find<QLabel>("settingsSessionOnlyNotice")->isVisible());
    retention->setValue(0);
    EXPECT_EQ(retention->text(), QStringLiteral("Session only"));
    EXPECT_TRUE(find<QLabel>("settingsSessionOnlyNotice")->isVisible());
    find<QSpinBox>("settingsSize")->setValue(100);
    click("settingsSave");
    EXPECT_TRUE(test::waitFor([this] { return dialog_->result() == QDialog::Accepted; }));
    EXPECT_EQ(ViewerCacheSettings::read(store_), (ViewerCacheSettings{used_.cacheDir, 0, 100}));
    EXPECT_EQ(client_->sourceKind(), SourceKind::LocalNodeRequired);
    EXPECT_EQ(client_->selectedLocalNode(), QStringLiteral("n1"));
}

TEST_F(SettingsDialogTest, tellsWhatCouldNotBeDone) {
    storage_.failure = QStringLiteral("disk full");
    open();
    click("settingsSave");
    QMessageBox* box = nullptr;
    ASSERT_TRUE(test::waitFor([&] { return (box = find<QMessageBox>("settingsWarning")) != nullptr; }));
    EXPECT_EQ(box->windowTitle(), QStringLiteral("Viewer cache"));
    box->button(QMessageBox::Ok)->click();
    EXPECT_TRUE(test::waitFor([this] { return dialog_->result() == QDialog::Accepted; }));
}

TEST_F(SettingsOfAReader, cannotChangeTheAddressAndKeepAChoiceThatIsNotListed) {
    SourceSettings{SourceKind::Automatic, QStringLiteral("n1")}.write(store_, QStringLiteral("o1"));
    hanging_ = true;
    open();
    EXPECT_TRUE(find<QLineEdit>("settingsAddress")->isReadOnly());
    EXPECT_EQ(
        find<QLabel>("settingsAddressReason")->text(),
        QStringLiteral("Only an organization administrator can change this address."));
    ASSERT_TRUE(server_.waitForConcurrency(1));
    click("settingsSave");
    EXPECT_TRUE(test::waitFor([this] { return dialog_->result() == QDialog::Accepted; }));
    EXPECT_EQ(SourceSettings::read(store_, QStringLiteral("o1")).nodeId, QStringLiteral("n1"));
}

} // namespace
} // namespace zorbel
