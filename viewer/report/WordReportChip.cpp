#include "viewer/report/WordReportChip.h"

#include "viewer/widgets/PlainToolTip.h"

#include <QStyle>

namespace zorbel {

namespace {

/// As the style sheet names it.
QString styleName(WordReportChip::State state) {
    switch (state) {
    case WordReportChip::State::None:
        break;
    case WordReportChip::State::Preparing:
        return QStringLiteral("preparing");
    case WordReportChip::State::Synced:
        return QStringLiteral("synced");
    case WordReportChip::State::Unsynced:
        return QStringLiteral("unsynced");
    case WordReportChip::State::Syncing:
        return QStringLiteral("syncing");
    case WordReportChip::State::Failed:
        return QStringLiteral("failed");
    }
    return {};
}

} // namespace

WordReportChip::WordReportChip(QWidget* parent) : QToolButton(parent) {
    setObjectName(QStringLiteral("reportChip"));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFocusPolicy(Qt::TabFocus); // a click must not take the arrow keys away from the viewports
    setCursor(Qt::PointingHandCursor);
    hide();
}

void WordReportChip::setReport(const QString& text, State state, const QString& toolTip) {
    state_ = state;
    setText(text);
    setToolTip(plainToolTip(toolTip));
    setEnabled(state != State::Preparing);
    setProperty("reportState", styleName(state));
    style()->unpolish(this);
    style()->polish(this);
    setVisible(state != State::None);
}

QString WordReportChip::textOf(State state, int version, const QTime& savedAt) {
    const QString last = version > 0 ? QStringLiteral("version %1").arg(version) : QString();
    switch (state) {
    case State::None:
        break;
    case State::Preparing:
        return QStringLiteral("Report: preparing…");
    case State::Synced:
        if (last.isEmpty())
            return QStringLiteral("Report: open, synced");
        return savedAt.isValid() ? QStringLiteral("Report: %1 saved %2")
                                       .arg(last, savedAt.toString(QStringLiteral("HH:mm")))
                                 : QStringLiteral("Report: %1 saved").arg(last);
    case State::Unsynced:
        return QStringLiteral("Report: unsynced changes");
    case State::Syncing:
        return QStringLiteral("Report: syncing…");
    case State::Failed:
        return QStringLiteral("Report: sync failed");
    }
    return {};
}

} // namespace zorbel
