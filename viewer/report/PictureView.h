#pragma once

#include <QImage>
#include <QPoint>
#include <QScrollArea>

class QLabel;

namespace zorbel {

/// A key image, fitted into the room there is or pixel by pixel, then to be moved by dragging; or a sentence
/// where there is none.
class PictureView : public QScrollArea {
    Q_OBJECT

public:
    explicit PictureView(QWidget* parent = nullptr);

    void showPicture(const QImage& picture);
    void showNotice(const QString& text);
    /// False: at 100 %, one of its pixels is one of the screen's.
    void setFitted(bool fitted);
    bool isFitted() const { return fitted_; }

Q_SIGNALS:
    void fittedChanged(bool fitted);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    void scale();

    QLabel* label_ = nullptr;
    QImage picture_;
    bool fitted_ = true;
    QPoint grabbed_;
};

} // namespace zorbel
