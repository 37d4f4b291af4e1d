#include "api/ConnectionAdvice.h"

#include "api/ZorbelApiError.h"

namespace zorbel {

QString connectionAdvice(QNetworkReply::NetworkError error) {
    switch (error) {
    case QNetworkReply::HostNotFoundError:
        return QStringLiteral(
            "The server could not be found. Check the network connection and the server's address.");
    case QNetworkReply::ConnectionRefusedError:
        return QStringLiteral(
            "The server is there, but takes no connection. It may be switched off; try again later.");
    case QNetworkReply::RemoteHostClosedError:
        return QStringLiteral("The server ended the connection. Try again.");
    case QNetworkReply::TimeoutError:
    case QNetworkReply::OperationCanceledError:
        return QStringLiteral("The server did not answer in time. Check the network connection.");
    case QNetworkReply::SslHandshakeFailedError:
        return QStringLiteral(
            "The server's certificate is not trusted, so nothing was sent. Ask your administrator.");
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::UnknownNetworkError:
        return QStringLiteral("This computer does not reach the server. Check the network connection.");
    case QNetworkReply::ProxyConnectionRefusedError:
    case QNetworkReply::ProxyConnectionClosedError:
    case QNetworkReply::ProxyNotFoundError:
    case QNetworkReply::ProxyTimeoutError:
    case QNetworkReply::ProxyAuthenticationRequiredError:
    case QNetworkReply::UnknownProxyError:
        return QStringLiteral("The network's proxy lets nothing through. Ask your administrator.");
    default:
        return {};
    }
}

QString messageWithAdvice(const std::exception& error) {
    const QString message = QString::fromUtf8(error.what());
    const auto* failure = dynamic_cast<const ZorbelApiError*>(&error);
    return failure && !failure->advice.empty()
               ? message + QLatin1Char('\n') + QString::fromStdString(failure->advice)
               : message;
}

} // namespace zorbel
