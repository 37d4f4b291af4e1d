#pragma once

#include "viewer/widgets/ElidedLabel.h"

#include <QTimer>

namespace zorbel {

/// What the status bar says: the last message for a while, then "Ready" unless something is under way.
class StatusLine : public ElidedLabel {
    Q_OBJECT

public:
    explicit StatusLine(QWidget* parent = nullptr);

    void say(const QString& text);
    /// Behind what stands there, which nobody could have read yet.
    void sayBeside(const QString& text);
    /// While a study loads, the last message stays.
    void setBusy(bool busy);
    /// How long a message stays; 0 for as long as there is no other.
    void setPatience(int milliseconds);

    static QString readyText() { return QStringLiteral("Ready"); }

private:
    void restart();

    QTimer idle_;
    bool busy_ = false;
};

} // namespace zorbel
