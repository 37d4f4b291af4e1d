#pragma once

#include "api/ZorbelApiError.h"

#include <QByteArray>
#include <QJsonObject>

namespace zorbel {

QByteArray compactJson(const QJsonObject& object);

/// Throws ZorbelApiError with the status, the server's message or "Zorbel API returned HTTP …", and the
/// server's error code, unless the status is a success.
void throwUnlessSuccessful(int httpStatus, const QByteArray& body);

/// The client's own refusal of a request outside a session.
ZorbelApiError notAuthenticated();

} // namespace zorbel
