#pragma once

#include <functional>

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

} // namespace zorbel
