#pragma once

#include "diagnostics/SupportBundle.h"

#include <QDialog>
#include <QString>

#include <atomic>
#include <memory>
#include <vector>

class QLabel;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QTreeWidget;

namespace zorbel {

/// Shows what a support bundle will hold, file by file, before it is written where the user wants it. What
/// may hold memory contents is left out unless the user ticks it.
class SupportBundleDialog : public QDialog {
    Q_OBJECT

public:
    explicit SupportBundleDialog(SupportBundleSources sources, QWidget* parent = nullptr);
    /// Cancels what is being written.
    ~SupportBundleDialog() override;

    /// Writes what is ticked to this file.
    void save(const QString& path);

private:
    void build();
    void showEntries(std::vector<SupportBundleEntry> entries);
    void showContents();
    void chooseFile();
    void setBusy(bool busy);
    void say(const QString& text);

    std::vector<SupportBundleEntry> entries_;
    std::shared_ptr<std::atomic<bool>> cancel_ = std::make_shared<std::atomic<bool>>(false);
    QTreeWidget* list_ = nullptr;
    QPlainTextEdit* contents_ = nullptr;
    QLabel* memoryWarning_ = nullptr;
    QLabel* said_ = nullptr;
    QProgressBar* busy_ = nullptr;
    QPushButton* save_ = nullptr;
    QPushButton* close_ = nullptr;
};

} // namespace zorbel
