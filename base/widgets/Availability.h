#pragma once

class QString;
class QWidget;

namespace zorbel {

/// Enables or disables a control. While it is disabled its tool tip also says why, and a screen reader tells
/// it as the control's description. reason: a sentence; not shown while the control is available. The tool
/// tip must have been set before the first call.
void setAvailable(QWidget& control, bool available, const QString& reason);

} // namespace zorbel
