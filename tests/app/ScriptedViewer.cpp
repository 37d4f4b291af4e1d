#include "app/Application.h"
#include "viewer/window/MainWindow.h"

#include <QApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

// The whole program, used by a script instead of a person:
//   scripted-viewer SCRIPT [ARGUMENT OF THE PROGRAM]…
// Says on standard output what it saw. Exit code: the program's, or 99 when a step was not reached in time.

namespace zorbel {
namespace {

constexpr int patienceMs = 600'000;
constexpr int notReached = 99;

void say(const char* what, const QString& value = {}) {
    std::printf("%s %s\n", what, qPrintable(value));
    std::fflush(stdout);
}

template <class Widget = QWidget>
Widget* visible(const char* name) {
    for (QWidget* window : QApplication::topLevelWidgets())
        for (auto* child : window->findChildren<Widget*>(QString::fromLatin1(name)))
            if (child->isVisible())
                return child;
    return nullptr;
}

MainWindow* mainWindow() {
    for (QWidget* window : QApplication::topLevelWidgets())
        if (auto* main = qobject_cast<MainWindow*>(window); main && main->isVisible())
            return main;
    return nullptr;
}

QMessageBox* messageBox() {
    return qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
}

/// DICOM files of one load ("load-1") or of all in the temporary folder.
int filesOf(const QString& load) {
    int count = 0;
    QDirIterator files(QDir::tempPath(), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext())
        count += files.next().contains(QStringLiteral("/") + load) ? 1 : 0;
    return count;
}

class Script : public QObject {
public:
    explicit Script(const QString& name) {
        if (name == QLatin1String("dismiss-message"))
            planMessage();
        else if (name == QLatin1String("cancel-sign-in"))
            add([] { return visible("loginSubmit"); }, [] { close("loginSubmit"); });
        else if (name == QLatin1String("stay-at-sign-in"))
            planStay([] { return visible("loginSubmit") != nullptr; });
        else {
            if (name == QLatin1String("receive-link-at-sign-in"))
                planPause([] { return visible("loginSubmit") != nullptr; });
            planSignIn();
            if (name == QLatin1String("receive-links")) {
                add([] { return true; }, [] { say("STAYING"); });
                planMessage();
            }
            if (name.startsWith(QLatin1String("receive-link")))
                planShownStudy();
            if (name == QLatin1String("linked-study"))
                planShownStudy();
            if (name == QLatin1String("cancel-download"))
                planCancel();
            if (name == QLatin1String("close-in-download"))
                planDownload();
            if (name == QLatin1String("stay-in-download")) {
                planDownload();
                planStay([] { return true; });
            }
            if (name == QLatin1String("stay-with-study")) {
                add([] { return true; }, [] { openFirstStudy(); });
                planShownStudy();
                planStay([] { return true; });
            }
            if (name == QLatin1String("renew-session"))
                planRenewal();
            if (name == QLatin1String("sign-in-as-another"))
                planOtherUser();
            if (name == QLatin1String("stay-with-question"))
                planStay([] { return isAsked("recoveryBox"); });
            if (name == QLatin1String("see-crash-note"))
                planCrashNote();
            if (name == QLatin1String("recover-after-link"))
                planAnswer("loadFailureBox", QMessageBox::Ok);
            if (name.startsWith(QLatin1String("recover"))) {
                planAnswer("recoveryBox", QMessageBox::Yes);
                planShownStudy();
            }
            add([] { return true; }, [] { mainWindow()->close(); });
        }
        connect(&timer_, &QTimer::timeout, this, &Script::poll);
        timer_.start(10);
    }

private:
    void add(std::function<bool()> ready, std::function<void()> act) {
        steps_.emplace_back(std::move(ready), std::move(act));
    }
    static void close(const char* child) { visible(child)->window()->close(); }
    static void openFirstStudy() {
        auto* list = visible<QListWidget>("studyList");
        const QPoint position = list->visualItemRect(list->item(0)).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, position);
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, position);
    }

    void planMessage() {
        add([] { return messageBox() != nullptr; },
            [] {
                say("TITLE", messageBox()->windowTitle());
                say("TEXT", messageBox()->text().replace(QLatin1Char('\n'), QLatin1Char('|')));
                QTest::mouseClick(messageBox()->button(QMessageBox::Ok), Qt::LeftButton);
            });
    }
    static bool isAsked(const char* box) {
        return messageBox() && messageBox()->objectName() == QLatin1String(box);
    }
    /// From then on the test decides.
    void planStay(std::function<bool()> ready) {
        add(std::move(ready), [] { say("STAYING"); });
        add([] { return false; }, [] {});
    }
    void planAnswer(const char* box, QMessageBox::StandardButton answer) {
        add([box] { return isAsked(box); },
            [answer] { QTest::mouseClick(messageBox()->button(answer), Qt::LeftButton); });
    }
    /// Until the test says so.
    void planPause(std::function<bool()> ready) {
        add(std::move(ready), [] { say("STAYING"); });
        add([] { return QFile::exists(QDir::temp().filePath(QStringLiteral("go-on"))); }, [] {});
    }
    static void enter(const char* emailVariable, const char* passwordVariable) {
        auto* email = visible("loginEmail");
        QTest::keyClick(email, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(email, qEnvironmentVariable(emailVariable));
        auto* password = visible("loginPassword");
        QTest::keyClicks(password, qEnvironmentVariable(passwordVariable));
        QTest::keyClick(password, Qt::Key_Return);
    }
    void planSignIn() {
        add([] { return visible("loginSubmit"); },
            [] { enter("ZORBEL_DEMO_ACCOUNT", "ZORBEL_DEMO_PASSWORD"); });
        add(
            [] {
                const auto* list = visible<QListWidget>("studyList");
                return mainWindow() && list && list->count() > 0;
            },
            [] { say("SIGNED-IN"); });
    }
    void planCrashNote() {
        planAnswer("recoveryBox", QMessageBox::No);
        add([] { return visible("crashNoticeBar") && !messageBox(); },
            [] {
                say("NOTE", visible<QLabel>("crashNoticeText")->text());
                visible("crashNoticeShow")->setFocus();
                QTest::keyClick(visible("crashNoticeShow"), Qt::Key_Return);
            });
        add(
            [] {
                const auto* text = visible<QPlainTextEdit>("diagnosticsCrashText");
                return text && !text->toPlainText().isEmpty() && !visible("crashNoticeBar");
            },
            [] { say("REPORT", visible<QPlainTextEdit>("diagnosticsCrashText")->toPlainText()); });
    }
    void planShownStudy() {
        add(
            [] {
                const auto* source = visible<QLabel>("statusSource");
                return source && !source->text().isEmpty();
            },
            [] { say("SOURCE", visible<QLabel>("statusSource")->text()); });
    }
    static void refresh() { QTest::mouseClick(visible("refreshStudies"), Qt::LeftButton); }
    /// The session ends over an open study; the reader records something meanwhile.
    void planEndedSession() {
        add([] { return true; }, [] { openFirstStudy(); });
        planShownStudy();
        planPause([] { return true; });
        add([] { return true; }, [] { refresh(); });
        add(
            [] {
                return visible("loginNotNow") &&
                       QApplication::activeWindow() == visible("loginNotNow")->window();
            },
            [] {
                say("EMAIL", visible<QLineEdit>("loginEmail")->text());
                say("FOCUS", QApplication::focusWidget()->objectName());
                QTest::mouseClick(visible("loginNotNow"), Qt::LeftButton);
            });
        add([] { return visible("statusSignIn") && !visible("loginNotNow"); },
            [] {
                say("SOURCE", visible<QLabel>("statusSource")->text());
                QTest::mouseClick(visible("rail-report"), Qt::LeftButton);
            });
        add([] { return visible<QLabel>("statusText")->text().startsWith(QStringLiteral("Key image")); },
            [] { say("RECORDED", visible<QLabel>("statusText")->text()); });
    }
    void planRenewal() {
        planEndedSession();
        add([] { return true; }, [] { QTest::mouseClick(visible("toolbar-retry"), Qt::LeftButton); });
        add([] { return visible("loginNotNow"); },
            [] {
                auto* password = visible("loginPassword");
                QTest::keyClicks(password, qEnvironmentVariable("ZORBEL_DEMO_PASSWORD"));
                QTest::keyClick(password, Qt::Key_Return);
            });
        add([] { return !visible("loginNotNow") && !visible("statusSession") && !visible("loadingOverlay"); },
            [] { say("RENEWED", visible<QLabel>("statusSource")->text()); });
    }
    void planOtherUser() {
        planEndedSession();
        add([] { return true; }, [] { QTest::mouseClick(visible("statusSignIn"), Qt::LeftButton); });
        add([] { return visible("loginNotNow"); },
            [] { enter("ZORBEL_OTHER_ACCOUNT", "ZORBEL_OTHER_PASSWORD"); });
        add([] { return isAsked("otherUserBox"); },
            [] {
                say("TEXT", messageBox()->text().replace(QLatin1Char('\n'), QLatin1Char('|')));
                QTest::mouseClick(messageBox()->defaultButton(), Qt::LeftButton);
            });
        add(
            [] {
                const auto* name = mainWindow() ? visible<QLabel>("identityText") : nullptr;
                return name && name->text().startsWith(QStringLiteral("Ada")) &&
                       visible<QListWidget>("studyList")->count() > 0;
            },
            [] { say("NEXT", visible<QLabel>("viewerTitle")->text()); });
    }
    void planDownload() {
        add([] { return true; }, [] { openFirstStudy(); });
        add([] { return visible("loadingOverlay") && filesOf(QStringLiteral("load-")) > 0; }, [] {});
    }
    void planCancel() {
        planDownload();
        add([] { return true; }, [] { QTest::mouseClick(visible("loadingCancel"), Qt::LeftButton); });
        add([] { return !visible("loadingOverlay"); }, [] { openFirstStudy(); });
        add([] { return filesOf(QStringLiteral("load-1/")) == 0 && filesOf(QStringLiteral("load-2/")) > 0; },
            [] { QTest::mouseClick(visible("loadingCancel"), Qt::LeftButton); });
        add([] { return filesOf(QStringLiteral("load-")) == 0; }, [] { say("ALL-LOADS-GONE"); });
    }

    void poll() {
        if (next_ == steps_.size())
            return;
        if (!steps_[next_].first()) {
            if (!sinceStep_.isValid())
                sinceStep_.start();
            if (sinceStep_.elapsed() > patienceMs) {
                say("NOT-REACHED", QString::number(next_));
                std::_Exit(notReached);
            }
            return;
        }
        sinceStep_.invalidate();
        const auto act = steps_[next_++].second;
        act();
    }

    std::vector<std::pair<std::function<bool()>, std::function<void()>>> steps_;
    std::size_t next_ = 0;
    QElapsedTimer sinceStep_;
    QTimer timer_;
};

} // namespace
} // namespace zorbel

int main(int argc, char** argv) {
    if (argc < 2)
        return 2;
    const QString name = QString::fromLocal8Bit(argv[1]);
    // The program sees its own arguments alone.
    for (int i = 1; i < argc; ++i)
        argv[i] = argv[i + 1];
    --argc;
    std::unique_ptr<zorbel::Script> script;
    return zorbel::runApplication(
        argc, argv, std::nullopt, [&](QApplication&) { script = std::make_unique<zorbel::Script>(name); });
}
