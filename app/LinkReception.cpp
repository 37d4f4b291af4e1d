#include "app/LinkReception.h"

#include "app/LinkInbox.h"

#include <QMessageBox>

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

} // namespace zorbel
