#pragma once

#include <QDateTime>
#include <QDialog>
#include <QString>

#include <vector>

class QPushButton;
class QTableWidget;

namespace zorbel {

/// A report of an earlier run whose last saves did not reach the service.
struct UnsyncedReportRow {
    QString id;          ///< for the caller
    QString study;       ///< whose it is, on one line
    QDateTime savedAt;   ///< the last save on this computer
    QString folder;      ///< where the document lies
    QString state;       ///< "Not synced"
    bool isBusy = false; ///< neither to be synced nor opened just now
    bool isDone = false; ///< nothing is left to be synced
};

/// The list of reports with unsynced changes, from which each can be synced or opened. It only says what was
/// asked for; the caller changes the rows.
class UnsyncedReportsDialog : public QDialog {
    Q_OBJECT

public:
    explicit UnsyncedReportsDialog(std::vector<UnsyncedReportRow> rows, QWidget* parent = nullptr);

    /// The row with its id takes this one's place; a new id comes last.
    void setRow(const UnsyncedReportRow& row);
    const std::vector<UnsyncedReportRow>& rows() const { return rows_; }

Q_SIGNALS:
    void syncRequested(const QString& id);
    void openRequested(const QString& id);

private:
    void showRow(int index);
    void enableButtons();
    const UnsyncedReportRow* selected() const;

    std::vector<UnsyncedReportRow> rows_;
    QTableWidget* table_ = nullptr;
    QPushButton* sync_ = nullptr;
    QPushButton* open_ = nullptr;
    QPushButton* later_ = nullptr;
};

} // namespace zorbel
