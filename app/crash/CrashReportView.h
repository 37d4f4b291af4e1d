#pragma once

#include "platform/CrashDumps.h"

#include <QDialog>

namespace zorbel {

/// A dump to look at and to copy, and where it lies. One that is no text is only named.
class CrashReportView : public QDialog {
    Q_OBJECT

public:
    explicit CrashReportView(const CrashDumps::Dump& dump, QWidget* parent = nullptr);
};

} // namespace zorbel
