#pragma once

#include <functional>

class QMessageBox;
class QString;
class QWidget;

namespace zorbel {

class LinkInbox;
struct LinkRequest;

/// While the window lives, each link that arrives brings it to the front; `open` gets those of the service
/// that the program works with, of others the user is told.
void receiveLinks(
    LinkInbox& inbox, QWidget& window, const QString& serviceBaseUrl,
    const std::function<void(const LinkRequest&)>& open);

/// Asks whether a link may lead to another service than the usual one, before a password is typed for it.
/// prepare: is handed the question before it is shown.
bool mayLeadElsewhere(
    const LinkRequest& link, const QString& usualService, const std::function<void(QMessageBox&)>& prepare);

} // namespace zorbel
