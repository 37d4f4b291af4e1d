#pragma once

class QString;
class QUrl;

namespace zorbel {

/// "localhost", "127.0.0.1" and "::1", in whatever case, and nothing else.
bool isLoopbackHost(const QString& host);

/// Where secrets and patient data may be sent to: a valid HTTPS address, or HTTP to a loopback host.
bool isSecureEndpoint(const QUrl& url);

} // namespace zorbel
