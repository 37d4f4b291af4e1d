#pragma once

#include <QNetworkReply>
#include <QString>

#include <exception>

namespace zorbel {

/// A sentence on why nobody answered, and what the user can do; empty where an answer came.
QString connectionAdvice(QNetworkReply::NetworkError error);

/// A failure's own message, and below it, on a line of its own, what the user can do, where that is known.
QString messageWithAdvice(const std::exception& error);

} // namespace zorbel
