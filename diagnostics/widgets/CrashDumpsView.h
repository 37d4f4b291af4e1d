#pragma once

#include "diagnostics/CrashDumps.h"

#include <QString>
#include <QWidget>

#include <filesystem>
#include <vector>

class QListWidget;
class QPlainTextEdit;

namespace zorbel {

/// What faults left behind: the files, and the text of the one that is chosen.
class CrashDumpsView : public QWidget {
    Q_OBJECT

public:
    explicit CrashDumpsView(std::filesystem::path folder, QWidget* parent = nullptr);

    void refresh();
    /// Shows this file, as soon as it is listed.
    void select(const QString& path);

private:
    void showDumps(const std::vector<CrashDump>& dumps);
    void showText();

    const std::filesystem::path folder_;
    QString wanted_;
    QString shownFile_;
    QListWidget* list_ = nullptr;
    QPlainTextEdit* text_ = nullptr;
    bool looking_ = false;
};

} // namespace zorbel
