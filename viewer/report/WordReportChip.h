#pragma once

#include "report/WordReportState.h"

#include <QTime>
#include <QToolButton>

namespace zorbel {

/// How the active Word report stands, in the header; a click opens the document again. Hidden while there is
/// none.
class WordReportChip : public QToolButton {
    Q_OBJECT

public:
    using State = WordReportState;

    explicit WordReportChip(QWidget* parent = nullptr);

    void setReport(const QString& text, State state, const QString& toolTip);
    State state() const { return state_; }

    /// "Report: version 3 saved 14:32"; version: 0 where none was saved yet, savedAt: of the version, invalid
    /// where it is not known.
    static QString textOf(State state, int version = 0, const QTime& savedAt = {});

private:
    State state_ = State::None;
};

} // namespace zorbel
