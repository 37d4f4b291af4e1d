#include "app/update/widgets/UpdateController.h"
#include "tests/app/UpdateFixture.h"

#include <QApplication>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QWidget>

namespace zorbel {
namespace {

using test::Exchange;
using test::waitFor;

struct UpdateOverAWindow : test::Update {
    QWidget window;
    bool quiet = true;
    std::unique_ptr<UpdateController> updates;

    UpdateOverAWindow() { window.show(); }

    void check() {
        updates = std::make_unique<UpdateController>(
            QStringLiteral("1.0.0"), origin, folder.path() / "updates", window, [this] { return quiet; });
        updates->check();
    }
    QMessageBox* shown() const {
        auto* box = window.findChild<QMessageBox*>(QStringLiteral("updateMessage"));
        return box && box->isVisible() ? box : nullptr;
    }
    /// The next message, which is then answered by its first or second button.
    QString answer(bool yes) {
        EXPECT_TRUE(waitFor([this] { return shown() != nullptr; }));
        QMessageBox* box = shown();
        const QString text = box->text();
        for (QAbstractButton* button : box->buttons())
            if ((box->buttonRole(button) == QMessageBox::AcceptRole) == yes)
                button->click();
        EXPECT_TRUE(waitFor([this] { return shown() == nullptr; }));
        return text;
    }
    QProgressDialog& progress() const {
        return *window.findChild<QProgressDialog*>(QStringLiteral("updateProgress"));
    }
};

TEST_F(UpdateOverAWindow, IsOfferedDownloadedAndTellsWhereItLies) {
    check();
    EXPECT_FALSE(progress().isVisible());
    const QString offer = answer(true);
    EXPECT_TRUE(offer.startsWith("Version 1.0.1 is available.")) << offer.toStdString();
    EXPECT_TRUE(offer.contains(manifest["url"].toString()));
    const QString ready = answer(true);
    EXPECT_TRUE(ready.contains(QString::fromStdString(folder.path().string()))) << ready.toStdString();
    EXPECT_FALSE(progress().isVisible());
    updates->installAtEnd(); // nothing, here
    EXPECT_EQ(left(), ".exe");
}

TEST_F(UpdateOverAWindow, WaitsForTheReaderAndLeavesHimAloneWhenHeDeclines) {
    quiet = false;
    check();
    EXPECT_TRUE(waitFor([this] { return server.requests().size() == 1; }));
    test::settle();
    EXPECT_EQ(shown(), nullptr);
    quiet = true;
    answer(false);
    test::settle();
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(UpdateOverAWindow, SaysWhyItIsRefusedAndNothingWhenTheReaderCancels) {
    installer = test::readFile(test::installers() / "other root");
    publish();
    check();
    answer(true);
    EXPECT_EQ(answer(true), "The downloaded update was rejected: its signer is not trusted.");

    answerInstaller = [this](Exchange& e) {
        e.send("HTTP/1.1 200 Told\r\n\r\n" + installer.substr(0, installer.size() / 2));
        e.waitForHangUp();
    };
    check();
    answer(true);
    EXPECT_TRUE(waitFor([this] { return progress().isVisible() && progress().value() > 40; }));
    progress().findChild<QPushButton*>()->click();
    test::settle();
    EXPECT_FALSE(progress().isVisible());
    EXPECT_EQ(shown(), nullptr);
    EXPECT_EQ(left(), "");
}

} // namespace
} // namespace zorbel

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
