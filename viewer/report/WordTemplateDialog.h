#pragma once

#include "viewer/reading/study/StudyReading.h"

#include <QDialog>
#include <QStringList>

#include <memory>

class QLabel;
class QListWidget;

namespace zorbel {

/// Asks which template the report is to have, and shows what will be added to it.
class WordTemplateDialog : public QDialog {
    Q_OBJECT

public:
    /// entries: as they are shown, not empty; the first is preselected. What is added is counted while the
    /// dialog is open.
    WordTemplateDialog(
        const QStringList& entries, std::shared_ptr<StudyReading> reading, QWidget* parent = nullptr);

    /// Of the entries.
    int selectedRow() const;

Q_SIGNALS:
    /// The reader wants to see the key images, on top of this dialog.
    void keyImagesRequested();

private:
    QWidget* buildContents();
    void showContents();

    std::shared_ptr<StudyReading> reading_;
    StudyReading::Subscription subscription_;
    QListWidget* list_ = nullptr;
    QLabel* contents_ = nullptr;
};

} // namespace zorbel
