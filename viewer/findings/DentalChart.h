#pragma once

#include "viewer/reading/records/FdiTooth.h"

#include <QWidget>

#include <optional>
#include <set>

namespace zorbel {

/// The teeth to click on, permanent and primary, as the reader faces the patient: his right on the left of
/// the screen. Arrow keys move from tooth to tooth.
class DentalChart : public QWidget {
    Q_OBJECT

public:
    explicit DentalChart(QWidget* parent = nullptr);

    /// Nothing: no tooth is chosen.
    void setTooth(std::optional<FdiTooth> tooth);
    const std::optional<FdiTooth>& tooth() const { return tooth_; }
    /// Teeth that have findings already, by code.
    void setMarked(const std::set<int>& codes);

    QSize sizeHint() const override;
    /// Of a tooth; empty for a code that the chart does not show.
    QRectF cellOf(int code) const;

Q_SIGNALS:
    void toothChosen(const zorbel::FdiTooth& tooth);

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    int codeAt(const QPointF& position) const;
    void choose(int code);

    std::optional<FdiTooth> tooth_;
    std::set<int> marked_;
    int hovered_ = 0;
};

} // namespace zorbel
