#pragma once

#include <QFrame>

class QTreeWidget;
class QToolButton;

namespace zorbel {

class MeasurementController;

/// The list of the study's measurements, hidden while there is none: a double-click, or "Go to", shows one
/// where it was drawn; "Delete" removes it.
class MeasurementPanel : public QFrame {
    Q_OBJECT

public:
    explicit MeasurementPanel(MeasurementController& measurements, QWidget* parent = nullptr);

Q_SIGNALS:
    void jumpRequested(int id);

private:
    void refresh();
    void enableButtons();
    int currentId() const;

    MeasurementController& measurements_;
    QTreeWidget* list_ = nullptr;
    QToolButton* jump_ = nullptr;
    QToolButton* remove_ = nullptr;
    bool refreshing_ = false;
};

} // namespace zorbel
