#include "viewer/window/StatusLine.h"

namespace zorbel {

StatusLine::StatusLine(QWidget* parent) : ElidedLabel(readyText(), Qt::AlignLeft | Qt::AlignVCenter, parent) {
    constexpr int untilReady = 10'000;
    idle_.setSingleShot(true);
    setPatience(untilReady);
    connect(&idle_, &QTimer::timeout, this, [this] { setText(readyText()); });
}

void StatusLine::setPatience(int milliseconds) {
    idle_.setInterval(milliseconds);
}

void StatusLine::say(const QString& text) {
    setText(text);
    restart();
}

void StatusLine::sayBeside(const QString& text) {
    say(this->text().isEmpty() ? text : QStringLiteral("%1  |  %2").arg(this->text(), text));
}

void StatusLine::setBusy(bool busy) {
    busy_ = busy;
    restart();
}

void StatusLine::restart() {
    idle_.stop();
    if (!busy_ && idle_.interval() > 0 && text() != readyText())
        idle_.start();
}

} // namespace zorbel
