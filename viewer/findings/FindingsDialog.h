#pragma once

#include "viewer/reading/records/FindingList.h"

#include <QDialog>

#include <optional>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTableWidget;

namespace zorbel {

class DentalChart;

/// Records the study's findings by tooth or region. It owns a copy of the list and tells of every change; the
/// caller saves.
class FindingsDialog : public QDialog {
    Q_OBJECT

public:
    /// location: of the crosshair when a finding is recorded; nothing on an image without one.
    FindingsDialog(FindingList findings, std::optional<imaging::Vector3> location, QWidget* parent = nullptr);

    const FindingList& findings() const { return findings_; }

Q_SIGNALS:
    void findingsChanged(const zorbel::FindingList& findings);
    /// The reader wants to see where a finding was recorded.
    void jumpRequested(const zorbel::imaging::Vector3& location);

private:
    QWidget* buildTable();
    QWidget* buildChooser();
    void fillSites();
    void chooseSite(int index);
    void enableButtons();
    void record();
    void removeSelected();
    void refresh();
    int selectedRow() const;

    FindingList findings_;
    std::optional<imaging::Vector3> location_;
    QTableWidget* table_ = nullptr;
    QLabel* count_ = nullptr;
    DentalChart* chart_ = nullptr;
    QComboBox* site_ = nullptr;
    QComboBox* category_ = nullptr;
    QLineEdit* note_ = nullptr;
    QPushButton* record_ = nullptr;
    QPushButton* remove_ = nullptr;
    QPushButton* jump_ = nullptr;
};

} // namespace zorbel
