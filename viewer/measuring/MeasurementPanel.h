#pragma once

#include <QFrame>

class QTreeWidget;
class QTreeWidgetItem;
class QToolButton;

namespace zorbel {

class MeasurementController;

/// The list of the study's measurements, hidden while there is none: a double-click, or "Go to", shows one
/// where it was drawn; "Name" gives it a name of the reader's own; "Delete" removes it.
class MeasurementPanel : public QFrame {
    Q_OBJECT

public:
    explicit MeasurementPanel(MeasurementController& measurements, QWidget* parent = nullptr);

Q_SIGNALS:
    void jumpRequested(int id);

private:
    /// The reader words the name in the list.
    void nameSelected();
    QToolButton* addButton(const char* name, const QString& text, const QString& toolTip);
    void buildList();
    void refresh();
    void takeName(const QTreeWidgetItem& item);
    void enableButtons();
    int currentId() const;

    MeasurementController& measurements_;
    QTreeWidget* list_ = nullptr;
    QToolButton* jump_ = nullptr;
    QToolButton* name_ = nullptr;
    QToolButton* remove_ = nullptr;
    bool refreshing_ = false;
};

} // namespace zorbel
