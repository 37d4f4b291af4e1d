#include "ApiTestSupport.h"

#include "signin/LoginDialog.h"
#include "tests/support/Waiting.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

namespace zorbel {
namespace {

using namespace test;

/// The dialog on the screen, for a server that runs the script.
class LoginDialogTest : public testing::Test {
protected:
    void open(MisbehavingServer::Script script) {
        server_ = std::make_unique<MisbehavingServer>(std::move(script));
        ApiClientConfig config = configFor(*server_);
        config.requestTimeoutMs = 3'600'000; // what hangs ends by being cancelled, or not at all
        client_ = std::make_shared<ZorbelApiClient>(config);
        reopen();
    }

    void reopen() {
        dialog_ = std::make_unique<LoginDialog>(client_);
        dialog_->show();
        dialog_->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(dialog_.get(), test::patienceMs));
    }

    void TearDown() override {
        dialog_.reset();
        server_.reset();
        QThreadPool::globalInstance()->waitForDone();
        QSettings().clear();
    }

    QLineEdit* email() { return dialog_->findChild<QLineEdit*>("loginEmail"); }
    QLineEdit* password() { return dialog_->findChild<QLineEdit*>("loginPassword"); }
    QPushButton* button() { return dialog_->findChild<QPushButton*>("loginSubmit"); }
    QLabel* error() { return dialog_->findChild<QLabel*>("loginError"); }

    void enter(const QString& mail, const QString& secret) {
        email()->setText(mail);
        password()->setText(secret);
    }

    std::unique_ptr<MisbehavingServer> server_;
    std::shared_ptr<ZorbelApiClient> client_;
    std::unique_ptr<LoginDialog> dialog_;
};

TEST_F(LoginDialogTest, AsksForBothFieldsWithoutAnyRequest) {
    open([](Exchange& exchange) { serveSession(exchange); });
    EXPECT_EQ(dialog_->size(), QSize(520, 650));
    EXPECT_TRUE(dialog_->findChild<QLabel*>("loginConnection")->toolTip().startsWith("Local connection"))
        << "it is HTTP";
    EXPECT_FALSE(error()->isVisible());
    enter("   ", "secret");
    QTest::mouseClick(button(), Qt::LeftButton);
    EXPECT_EQ(error()->text(), "Enter your work email and password.");
    EXPECT_TRUE(error()->isVisible());
    enter("anna@clinic.example", "");
    QTest::keyClick(email(), Qt::Key_Return);
    EXPECT_TRUE(button()->isEnabled());
    EXPECT_TRUE(server_->requests().empty());
}

TEST_F(LoginDialogTest, KeyboardAloneSignsIn) {
    open([](Exchange& exchange) { serveSession(exchange); });
    EXPECT_TRUE(email()->hasFocus());
    QTest::keyClicks(email(), " anna@clinic.example ");
    QTest::keyClick(email(), Qt::Key_Tab);
    EXPECT_TRUE(password()->hasFocus());
    QTest::keyClicks(password(), " pass ");
    QTest::keyClick(password(), Qt::Key_Return);
    EXPECT_EQ(button()->text(), QStringLiteral("Verifying access…"));
    EXPECT_FALSE(email()->isEnabled() || password()->isEnabled() || button()->isEnabled());
    EXPECT_TRUE(test::waitFor([&] { return dialog_->result() == QDialog::Accepted; }));
    EXPECT_TRUE(client_->isSignedIn());
    EXPECT_TRUE(password()->text().isEmpty());
    EXPECT_EQ(QSettings().value("session/lastEmail").toString(), "anna@clinic.example");
    EXPECT_EQ(server_->requests().at(0).body, R"({"email":"anna@clinic.example","password":" pass "})");

    reopen();
    EXPECT_EQ(email()->text(), "anna@clinic.example");
    EXPECT_TRUE(password()->hasFocus());
}

TEST_F(LoginDialogTest, ShowsTheServersReasonWhole) {
    const std::string address(300, 'a');
    std::string reason = "<b>Locked</b>, see " + address;
    open([&](Exchange& exchange) { exchange.reply(403, R"({"error":")" + reason + "\"}"); });
    for (const bool isLong : {true, false}) {
        reason = isLong ? reason : "Wrong e-mail or password";
        enter("anna@clinic.example", "secret");
        QTest::mouseClick(button(), Qt::LeftButton);
        ASSERT_TRUE(test::waitFor([&] { return button()->isEnabled(); }));
        EXPECT_EQ(button()->text(), "Sign in securely");
        // Invisible places to break a line are all that is added.
        EXPECT_EQ(QString(error()->text()).remove(QChar(0x200B)).toStdString(), reason);
        EXPECT_TRUE(password()->text().isEmpty());
        EXPECT_TRUE(password()->hasFocus());
        EXPECT_FALSE(QSettings().contains("session/lastEmail"));
        test::settle();
        const QRect area = dialog_->findChild<QScrollArea*>("loginErrorArea")->geometry();
        EXPECT_GE(area.height(), error()->fontMetrics().height());
        EXPECT_LE(error()->width(), area.width());
        EXPECT_LT(area.bottom(), button()->geometry().top());
        EXPECT_LE(button()->geometry().bottom(), 650 - 44);
    }
}

TEST_F(LoginDialogTest, ClosingEndsARunningSignIn) {
    for (const bool byKey : {true, false}) {
        open([](Exchange& exchange) {
            if (exchange.request.isFor("/api/auth/me"))
                exchange.waitForHangUp();
            else
                serveSession(exchange);
        });
        enter("anna@clinic.example", "secret");
        QTest::mouseClick(button(), Qt::LeftButton);
        ASSERT_TRUE(test::waitFor([&] { return server_->requests().size() == 2; }));
        if (byKey)
            QTest::keyClick(dialog_.get(), Qt::Key_Escape);
        else
            dialog_.reset();
        if (byKey) {
            EXPECT_FALSE(dialog_->isVisible());
            EXPECT_EQ(dialog_->result(), QDialog::Rejected);
            EXPECT_TRUE(password()->text().isEmpty());
        }
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
        EXPECT_FALSE(client_->isSignedIn());
    }
}

} // namespace
} // namespace zorbel

int main(int argc, char** argv) {
    const QTemporaryDir settings;
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settings.path());
    QCoreApplication::setOrganizationName(QStringLiteral("ZorbelTests"));
    QCoreApplication::setApplicationName(QStringLiteral("LoginDialogTests"));
    const QApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
