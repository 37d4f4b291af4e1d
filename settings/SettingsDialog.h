#pragma once

#include "settings/model/SettingsModel.h"

#include <QDialog>

#include <functional>
#include <memory>
#include <vector>

class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QScrollArea;
class QSpinBox;
class QVBoxLayout;

namespace zorbel {

/// The window "Viewer settings": the session, where studies come from, and what is kept of them on this
/// computer. What it starts ends when it is closed. It shows and forwards; SettingsModel decides.
class SettingsDialog : public QDialog {
    Q_OBJECT

public:
    /// All must outlive the dialog; client: signed in.
    SettingsDialog(
        std::shared_ptr<ZorbelApiClient> client, SettingsStore& store, StorageInUse& storage,
        QWidget* parent = nullptr);

    /// The user is signed in again: asks the service anew what it refused.
    void sessionRenewed();

Q_SIGNALS:
    void sessionEnded();

private:
    /// A status with the reason below it.
    struct StatusLabels {
        QLabel* text = nullptr;
        QLabel* reason = nullptr;
    };

    QVBoxLayout* addSection(QVBoxLayout* column, const QString& title);
    QWidget* buildContents();
    void buildSession(QVBoxLayout* section);
    void buildConnection(QVBoxLayout* section);
    void buildCache(QVBoxLayout* section);
    QWidget* buildFooter();
    void connectModel();
    StatusLabels addStatus(QGridLayout* grid, int row, const QString& objectName, const QString& name);
    static void showStatus(const StatusLabels& labels, const SettingsStatus& status);
    void fitToScreen(QScrollArea* area);

    SettingsChoice choice() const;
    void showStored();
    void listNodes(const QString& chosen);
    void nodeChosen();
    void showSourceStatus();
    void showFolderNotice();
    void browse();
    void askToClear();
    void startSaving();
    void showWarnings(std::vector<SettingsWarning> warnings);
    void warn(const SettingsWarning& warning, const std::function<void()>& then);

    SettingsModel* model_ = nullptr;
    QString listedAddress_; ///< of the chosen node, before it was edited
    StatusLabels sessionStatus_;
    StatusLabels listStatus_;
    StatusLabels nodeStatus_;
    QPushButton* verify_ = nullptr;
    QComboBox* source_ = nullptr;
    QComboBox* node_ = nullptr;
    QPushButton* refresh_ = nullptr;
    QLineEdit* address_ = nullptr;
    QPushButton* connect_ = nullptr;
    QLineEdit* folder_ = nullptr;
    QLabel* folderNotice_ = nullptr;
    QCheckBox* removeOld_ = nullptr;
    QSpinBox* retention_ = nullptr;
    QLabel* sessionOnlyNotice_ = nullptr;
    QSpinBox* size_ = nullptr;
    QLabel* usage_ = nullptr;
    QPushButton* clear_ = nullptr;
    QPushButton* save_ = nullptr;
    QPushButton* cancel_ = nullptr;
};

} // namespace zorbel
