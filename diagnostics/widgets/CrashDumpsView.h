#pragma once

#include "platform/CrashDumps.h"

#include <QString>
#include <QWidget>

#include <vector>

class QListWidget;
class QPlainTextEdit;

namespace zorbel {

/// What faults left behind: the files, and the text of the one that is chosen.
class CrashDumpsView : public QWidget {
    Q_OBJECT

public:
    explicit CrashDumpsView(CrashDumps dumps, QWidget* parent = nullptr);

    void refresh();
    /// Shows this file, as soon as it is listed.
    void select(const QString& path);

private:
    void showDumps(const std::vector<CrashDumps::Dump>& dumps);
    void showText();

    const CrashDumps dumps_;
    QString wanted_;
    QString shownFile_;
    QListWidget* list_ = nullptr;
    QPlainTextEdit* text_ = nullptr;
    bool looking_ = false;
};

} // namespace zorbel
