#pragma once

#include <QLabel>

namespace zorbel {

/// A line of plain text that ends in "…" where there is no room for all of it; the tool tip then shows the
/// whole. Wants the width of its text and is content with a few letters; setSizePolicy() makes it give way
/// altogether.
class ElidedLabel : public QLabel {
    Q_OBJECT

public:
    explicit ElidedLabel(
        const QString& text = {}, Qt::Alignment alignment = Qt::AlignLeft | Qt::AlignVCenter,
        QWidget* parent = nullptr);

    QSize minimumSizeHint() const override;
    /// What stands on the screen.
    QString shownText() const;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
};

} // namespace zorbel
