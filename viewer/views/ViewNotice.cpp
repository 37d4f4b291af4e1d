#include "viewer/views/ViewNotice.h"

#include <QEvent>

#include <algorithm>

namespace zorbel {

ViewNotice::ViewNotice(QWidget* view) : QLabel(view) {
    setObjectName(QStringLiteral("viewNotice"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setWordWrap(true);
    view->installEventFilter(this);
    hide();
}

void ViewNotice::setText(const QString& text) {
    QLabel::setText(text);
    setVisible(!text.isEmpty());
    place();
}

bool ViewNotice::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize)
        place();
    return QLabel::eventFilter(watched, event);
}

void ViewNotice::place() {
    constexpr int margin = 8;
    constexpr int letterHeight = 24; // the orientation letter at the lower edge stays readable
    const QSize room = parentWidget()->size();
    const int width = std::min(sizeHint().width(), room.width() - 2 * margin);
    const int height = heightForWidth(width);
    setGeometry(margin, room.height() - height - margin - letterHeight, width, height);
    raise();
}

} // namespace zorbel
