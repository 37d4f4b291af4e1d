#pragma once

#include <QString>

namespace zorbel {

enum class StatusTone { Progress, Success, Failure };

/// How something that the dialog started stands.
struct SettingsStatus {
    QString text;
    StatusTone tone = StatusTone::Progress;
    QString reason{}; ///< of a failure
    friend bool operator==(const SettingsStatus&, const SettingsStatus&) = default;
};

/// The tone as a style sheet.
inline QString styleOf(StatusTone tone) {
    switch (tone) {
    case StatusTone::Success:
        return QStringLiteral("color:#047857;font-weight:600;");
    case StatusTone::Failure:
        return QStringLiteral("color:#B42318;font-weight:600;");
    case StatusTone::Progress:
        break;
    }
    return QStringLiteral("color:#475569;font-weight:600;");
}

} // namespace zorbel
