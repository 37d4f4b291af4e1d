#pragma once

#include <QNetworkAccessManager>
#include <QObject>
#include <QString>
#include <QUrl>

#include <functional>

class QNetworkReply;

namespace zorbel {

/// Breaks and mends the demo service, as its administrator. Calls return at once and are carried out in their
/// order; what fails is told on standard error, and the control is never idle again.
class DemoControl : public QObject {
    Q_OBJECT

public:
    explicit DemoControl(const QUrl& service, QObject* parent = nullptr);

    /// Every request for images answers that the service is unavailable.
    void switchImagesOff();
    void switchImagesOn() { mendAll(); }
    /// Saved reports are not taken.
    void switchReportsOff();
    void switchReportsOn() { mendAll(); }
    /// The latest release: an installer of the demonstration, whose download takes a few seconds.
    void publishRelease(const QString& installer, const QString& version);
    void withdrawRelease();
    /// The reader's sessions end, whoever works with one.
    void endReadersSessions();
    bool isIdle() const { return underWay_ == 0; }

private:
    using Then = std::function<void(const QByteArray& body)>;

    void refuse(const QString& pathPattern);
    void mendAll();
    /// Signed in first.
    void send(const QByteArray& method, const QString& path, const QByteArray& body);
    void request(const QByteArray& method, const QString& path, const QByteArray& body, const Then& then);

    QUrl service_;
    QNetworkAccessManager network_;
    QByteArray token_;
    int underWay_ = 0;
};

} // namespace zorbel
