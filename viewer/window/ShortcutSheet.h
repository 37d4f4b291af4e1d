#pragma once

#include <QDialog>

namespace zorbel {

/// The dialog "Keyboard shortcuts", made from the table that the keys are bound by.
class ShortcutSheet : public QDialog {
    Q_OBJECT

public:
    explicit ShortcutSheet(QWidget* parent = nullptr);
};

} // namespace zorbel
