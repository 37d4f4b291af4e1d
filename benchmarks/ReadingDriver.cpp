#include "benchmarks/ReadingDriver.h"

#include "demo/DemoAccounts.h"
#include "viewer/window/MainWindow.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLineEdit>
#include <QListWidget>

#include <exception>
#include <utility>

namespace zorbel::bench {

namespace {

constexpr int pollMs = 20;
constexpr int patiencePolls = 60'000 / pollMs;

template <class Widget>
Widget* visible(const char* objectName) {
    for (QWidget* window : QApplication::topLevelWidgets())
        for (auto* widget : window->findChildren<Widget*>(QString::fromLatin1(objectName)))
            if (widget->isVisible())
                return widget;
    return nullptr;
}

MainWindow* visibleMainWindow() {
    for (QWidget* window : QApplication::topLevelWidgets())
        if (auto* main = qobject_cast<MainWindow*>(window); main && main->isVisible())
            return main;
    return nullptr;
}

} // namespace

ReadingDriver::ReadingDriver(Measurement measurement) : measurement_(std::move(measurement)) {
    connect(&timer_, &QTimer::timeout, this, &ReadingDriver::poll);
    timer_.start(pollMs);
}

void ReadingDriver::poll() {
    if (++polls_ > patiencePolls) {
        giveUp("The study list did not fill within a minute");
        return;
    }
    if (!submitted_) {
        signIn();
        return;
    }
    MainWindow* window = visibleMainWindow();
    const auto* list = visible<QListWidget>("studyList");
    if (!window || !list || list->count() == 0)
        return;
    timer_.stop();
    measure(*window);
}

void ReadingDriver::signIn() {
    auto* submit = visible<QAbstractButton>("loginSubmit");
    auto* email = visible<QLineEdit>("loginEmail");
    auto* password = visible<QLineEdit>("loginPassword");
    if (!submit || !email || !password)
        return;
    submitted_ = true;
    email->setText(QString::fromLatin1(demo::readerAccount.email));
    password->setText(QString::fromLatin1(demo::readerAccount.password));
    submit->click();
}

void ReadingDriver::measure(MainWindow& window) {
    try {
        result_ = measurement_(window);
        failure_.clear();
    } catch (const std::exception& error) {
        failure_ = error.what();
    }
    window.close();
}

void ReadingDriver::giveUp(const std::string& reason) {
    timer_.stop();
    failure_ = reason;
    QApplication::closeAllWindows();
}

} // namespace zorbel::bench
