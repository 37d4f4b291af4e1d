#pragma once

#include <QLabel>

namespace zorbel {

/// A line at the foot of a view that tells the reader what to know about its picture; hidden while it has no
/// text.
class ViewNotice : public QLabel {
    Q_OBJECT

public:
    explicit ViewNotice(QWidget* view);

    void setText(const QString& text);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void place();
};

} // namespace zorbel
