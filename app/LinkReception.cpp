#include "app/LinkReception.h"

#include "app/LinkInbox.h"

#include <QMessageBox>
#include <QPushButton>

namespace zorbel {

namespace {

void bringToFront(QWidget& window) {
    window.setWindowState((window.windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    window.raise();
    window.activateWindow();
}

void refuse(const LinkRequest& link, QWidget& window, const QString& serviceBaseUrl) {
    const QString name = QStringLiteral("linkRefusedBox");
    delete window.findChild<QMessageBox*>(name); // of an earlier link
    auto* box = new QMessageBox(
        QMessageBox::NoIcon, QStringLiteral("Zorbel Viewer link"),
        QStringLiteral(
            "This link opens a study of another imaging service, %1.\n\nThe viewer works with %2. Close it, "
            "then follow the link again.")
            .arg(link.apiBase, serviceBaseUrl),
        QMessageBox::Ok, &window);
    box->setObjectName(name);
    box->setTextFormat(Qt::PlainText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

} // namespace

void receiveLinks(
    LinkInbox& inbox, QWidget& window, const QString& serviceBaseUrl,
    const std::function<void(const LinkRequest&)>& open) {
    QObject::connect(
        &inbox, &LinkInbox::linkArrived, &window, [&window, serviceBaseUrl, open](const LinkRequest& link) {
            bringToFront(window);
            if (link.isFor(serviceBaseUrl))
                open(link);
            else
                refuse(link, window, serviceBaseUrl);
        });
}

bool mayLeadElsewhere(
    const LinkRequest& link, const QString& usualService, const std::function<void(QMessageBox&)>& prepare) {
    QMessageBox box(
        QMessageBox::NoIcon, QStringLiteral("Zorbel Viewer link"),
        QStringLiteral(
            "This link opens a study of another imaging service than yours.\n\nThe link's service: %1\nYour "
            "service: %2\n\nSign in there only if you know that service: your password goes to it.")
            .arg(link.apiBase, usualService));
    box.setObjectName(QStringLiteral("linkServiceBox"));
    box.setTextFormat(Qt::PlainText);
    const auto* there = box.addButton(QStringLiteral("Sign in there"), QMessageBox::AcceptRole);
    auto* here = box.addButton(QStringLiteral("Use my service"), QMessageBox::RejectRole);
    box.setDefaultButton(here);
    box.setEscapeButton(here);
    prepare(box);
    box.exec();
    return box.clickedButton() == there;
}

} // namespace zorbel
