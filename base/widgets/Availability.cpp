#include "base/widgets/Availability.h"

#include <QVariant>
#include <QWidget>

namespace zorbel {

void setAvailable(QWidget& control, bool available, const QString& reason) {
    constexpr char ownToolTip[] = "ownToolTip";
    if (!control.property(ownToolTip).isValid())
        control.setProperty(ownToolTip, control.toolTip());
    const QString own = control.property(ownToolTip).toString();
    control.setEnabled(available);
    control.setToolTip(available ? own : own.isEmpty() ? reason : own + QStringLiteral("\n") + reason);
    control.setAccessibleDescription(available ? QString() : reason);
}

} // namespace zorbel
