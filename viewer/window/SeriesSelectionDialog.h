#pragma once

#include "api/StudyRecords.h"

#include <QDialog>

#include <vector>

class QTableWidget;

namespace zorbel {

/// Asks which of a study's series is the diagnostic one.
class SeriesSelectionDialog : public QDialog {
    Q_OBJECT

public:
    /// suggestedRow: the preselected row.
    SeriesSelectionDialog(
        const std::vector<OrthancSeriesSummary>& series, int suggestedRow, QWidget* parent = nullptr);

    int selectedRow() const;

private:
    QTableWidget* table_ = nullptr;
};

} // namespace zorbel
