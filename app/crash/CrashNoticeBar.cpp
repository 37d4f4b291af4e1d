#include "app/crash/CrashNoticeBar.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLabel>
#include <QPushButton>

namespace zorbel {

CrashNoticeBar::CrashNoticeBar(QWidget* parent) : QToolBar(QStringLiteral("Last session"), parent) {
    setObjectName(QStringLiteral("crashNoticeBar"));
    setMovable(false);
    setContextMenuPolicy(Qt::PreventContextMenu);
    auto* text = new QLabel(
        QStringLiteral("The last session ended in a fault. A report of it was kept on this computer."));
    text->setObjectName(QStringLiteral("crashNoticeText"));
    text->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    addWidget(text);
    setAccessibleName(text->text());
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget* before, QWidget* now) {
        if (before && now && isAncestorOf(now) && !isAncestorOf(before))
            focusBefore_ = before;
    });
    const auto addButton = [this, text](const char* name, const QString& caption, const QString& spoken) {
        auto* button = new QPushButton(caption);
        button->setObjectName(QString::fromLatin1(name));
        button->setAutoDefault(true);         // Enter presses it, too
        button->setFocusPolicy(Qt::TabFocus); // a click leaves the keyboard with the reading
        button->setAccessibleName(spoken);
        button->setAccessibleDescription(text->text());
        addWidget(button);
        return button;
    };
    auto* show = addButton(
        "crashNoticeShow", QStringLiteral("Show"), QStringLiteral("Show the report of the last fault"));
    auto* dismiss = addButton(
        "crashNoticeDismiss", QStringLiteral("Dismiss"),
        QStringLiteral("Dismiss the note on the last fault"));
    connect(show, &QPushButton::clicked, this, &QWidget::close);
    connect(show, &QPushButton::clicked, this, &CrashNoticeBar::showRequested);
    connect(dismiss, &QPushButton::clicked, this, &QWidget::close);
}

void CrashNoticeBar::closeEvent(QCloseEvent* event) {
    if (focusBefore_ && isAncestorOf(QApplication::focusWidget()))
        focusBefore_->setFocus();
    QToolBar::closeEvent(event);
}

} // namespace zorbel
