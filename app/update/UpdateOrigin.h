#pragma once

#include <QString>
#include <QUrl>

#include <string>

namespace zorbel {

/// Where updates come from and who signs them. The program's own is vendor(), fixed when it is built; every
/// other is handed over by the code of tests and of the guided tour.
struct UpdateOrigin {
    QUrl manifestUrl;
    QString domain;             ///< it and its subdomains, by HTTPS, are trusted
    QString signerThumbprint;   ///< SHA-1 of the signer's certificate, 40 upper-case hex digits
    std::string trustedRoots{}; ///< PEM; empty means the system's
    bool plainLoopback = false; ///< also trusts http://127.0.0.1

    static UpdateOrigin vendor();

    bool trusts(const QUrl& url) const;
};

} // namespace zorbel
