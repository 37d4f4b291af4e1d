#include "settings/SettingsDialog.h"

#include "base/widgets/Availability.h"
#include "settings/store/SettingsTable.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace zorbel {

namespace {

constexpr int contentWidth = 700;
constexpr int captionWidth = 195; // of the widest button below the captions
const QString hintStyle = QStringLiteral("color:#64748B;font-size:11px;");

QLabel* plainLabel(const QString& text) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

QLabel* hintLabel(const QString& text) {
    auto* label = plainLabel(text);
    label->setStyleSheet(hintStyle);
    return label;
}

/// What the user may want to copy.
QLabel* valueLabel(const QString& text, const QString& objectName) {
    auto* label = plainLabel(text);
    label->setObjectName(objectName);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

QPushButton* newButton(const QString& caption, const QString& objectName) {
    auto* button = new QPushButton(caption);
    button->setObjectName(objectName);
    button->setAutoDefault(false);
    return button;
}

template <typename Field>
Field* named(Field* field, const QString& objectName) {
    field->setObjectName(objectName);
    return field;
}

QGridLayout* addGrid(QVBoxLayout* section) {
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(5);
    grid->setColumnMinimumWidth(0, captionWidth);
    grid->setColumnStretch(1, 1);
    section->addLayout(grid);
    return grid;
}

/// A caption and its field in one row; beside: what stands to the right of the field.
void addRow(
    QGridLayout* grid, const QString& caption, QWidget* field, QWidget* beside = nullptr,
    Qt::Alignment alignment = {}) {
    const int row = grid->rowCount();
    auto* label = new QLabel(caption);
    label->setBuddy(field);
    if (field->accessibleName().isEmpty())
        field->setAccessibleName(caption.chopped(1));
    grid->addWidget(label, row, 0);
    grid->addWidget(field, row, 1, 1, beside ? 1 : 2, alignment);
    if (beside)
        grid->addWidget(beside, row, 2);
}

void addBelow(QGridLayout* grid, QWidget* widget, Qt::Alignment alignment = {}) {
    grid->addWidget(widget, grid->rowCount(), 1, 1, 2, alignment);
}

} // namespace

SettingsDialog::SettingsDialog(
    std::shared_ptr<ZorbelApiClient> client, SettingsStore& store, StorageInUse& storage, QWidget* parent)
    : QDialog(parent), model_(new SettingsModel(std::move(client), store, storage, this)) {
    setObjectName(QStringLiteral("settingsDialog"));
    setWindowTitle(QStringLiteral("Viewer settings"));
    auto* area = new QScrollArea;
    area->setObjectName(QStringLiteral("settingsArea"));
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setFocusPolicy(Qt::NoFocus);
    area->setWidget(buildContents());
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(area, 1);
    layout->addWidget(buildFooter());
    connectModel();
    showStored();
    fitToScreen(area);
    model_->refreshNodes();
    model_->measureUsage();
    source_->setFocus();
}

QVBoxLayout* SettingsDialog::addSection(QVBoxLayout* column, const QString& title) {
    auto* frame = named(new QFrame, QStringLiteral("settingsSection"));
    frame->setAccessibleName(title);
    auto* section = new QVBoxLayout(frame);
    section->setContentsMargins(16, 11, 16, 12);
    section->setSpacing(6);
    auto* heading = named(new QLabel(title), QStringLiteral("panelTitle"));
    section->addWidget(heading);
    column->addWidget(frame);
    return section;
}

QWidget* SettingsDialog::buildContents() {
    auto* contents = new QWidget;
    auto* column = new QVBoxLayout(contents);
    column->setContentsMargins(18, 14, 18, 8);
    column->setSpacing(10);
    buildSession(addSection(column, QStringLiteral("Secure Zorbel session")));
    buildConnection(addSection(column, QStringLiteral("Study connection")));
    buildCache(addSection(column, QStringLiteral("Local image cache")));
    column->addStretch(1);
    return contents;
}

void SettingsDialog::buildSession(QVBoxLayout* section) {
    const UserProfile profile = model_->profile();
    auto* grid = addGrid(section);
    const QString who =
        profile.name.isEmpty() ? profile.email : QStringLiteral("%1 (%2)").arg(profile.name, profile.email);
    addRow(grid, QStringLiteral("Signed in as:"), valueLabel(who, QStringLiteral("settingsUser")));
    addRow(
        grid, QStringLiteral("Organization:"),
        valueLabel(
            profile.organizationName.isEmpty() ? profile.organizationId : profile.organizationName,
            QStringLiteral("settingsOrganization")));
    addRow(
        grid, QStringLiteral("API endpoint:"),
        valueLabel(model_->endpoint(), QStringLiteral("settingsEndpoint")));
    verify_ = newButton(QStringLiteral("Verify secure connection"), QStringLiteral("settingsVerify"));
    const int row = grid->rowCount();
    grid->addWidget(verify_, row, 0);
    sessionStatus_ =
        addStatus(grid, row, QStringLiteral("settingsSessionStatus"), QStringLiteral("Session status"));
    connect(verify_, &QPushButton::clicked, model_, &SettingsModel::verify);
}

void SettingsDialog::buildConnection(QVBoxLayout* section) {
    auto* grid = addGrid(section);
    source_ = named(new QComboBox, QStringLiteral("settingsSource"));
    source_->addItem(QStringLiteral("Automatic (Local Node first)"), static_cast<int>(SourceKind::Automatic));
    source_->addItem(QStringLiteral("Zorbel Local Node"), static_cast<int>(SourceKind::LocalNodeRequired));
    source_->addItem(QStringLiteral("Zorbel Cloud"), static_cast<int>(SourceKind::CloudOnly));
    addRow(grid, QStringLiteral("Preferred source:"), source_);
    addBelow(
        grid,
        hintLabel(QStringLiteral("Automatic uses the organization network when available and falls back "
                                 "to Zorbel Cloud.")));
    node_ = named(new QComboBox, QStringLiteral("settingsNode"));
    refresh_ = newButton(QStringLiteral("Refresh"), QStringLiteral("settingsRefresh"));
    addRow(grid, QStringLiteral("Organization node:"), node_, refresh_);
    listStatus_ = addStatus(
        grid, grid->rowCount(), QStringLiteral("settingsListStatus"),
        QStringLiteral("List of organization nodes"));
    auto kept = listStatus_.text->sizePolicy();
    kept.setRetainSizeWhenHidden(true); // what is below it stays in its place
    listStatus_.text->setSizePolicy(kept);
    address_ = named(new QLineEdit, QStringLiteral("settingsAddress"));
    address_->setPlaceholderText(QStringLiteral("http://192.168.1.20"));
    addRow(grid, QStringLiteral("Local address:"), address_);
    addBelow(
        grid, hintLabel(QStringLiteral("Private LAN or Tailscale address for the Zorbel Local Node. Orthanc "
                                       "credentials stay on the node.")));
    if (!model_->mayEditAddress()) {
        const QString reason = QStringLiteral("Only an organization administrator can change this address.");
        address_->setReadOnly(true);
        address_->setToolTip(reason);
        addBelow(grid, named(hintLabel(reason), QStringLiteral("settingsAddressReason")));
    }
    connect_ = newButton(QStringLiteral("Connect to Local Node"), QStringLiteral("settingsConnect"));
    const int row = grid->rowCount();
    grid->addWidget(connect_, row, 0);
    nodeStatus_ =
        addStatus(grid, row, QStringLiteral("settingsNodeStatus"), QStringLiteral("Local Node status"));
    section->addWidget(hintLabel(QStringLiteral(
        "Login is always required. Local Node accelerates image transfer inside the organization; patient "
        "access remains limited to your Zorbel account and organization.")));
    connect(source_, &QComboBox::currentIndexChanged, this, &SettingsDialog::showSourceStatus);
    connect(node_, &QComboBox::currentIndexChanged, this, &SettingsDialog::nodeChosen);
    connect(refresh_, &QPushButton::clicked, model_, &SettingsModel::refreshNodes);
    connect(connect_, &QPushButton::clicked, this, [this] { model_->connectNode(choice()); });
}

void SettingsDialog::buildCache(QVBoxLayout* section) {
    auto* grid = addGrid(section);
    folder_ = named(new QLineEdit, QStringLiteral("settingsFolder"));
    auto* browse = newButton(QStringLiteral("Browse…"), QStringLiteral("settingsBrowse"));
    addRow(grid, QStringLiteral("Cache directory:"), folder_, browse);
    folderNotice_ = named(hintLabel({}), QStringLiteral("settingsFolderNotice"));
    addBelow(grid, folderNotice_);
    removeOld_ = named(
        new QCheckBox(QStringLiteral("Remove my studies from the old folder when the viewer closes")),
        QStringLiteral("settingsRemoveOld"));
    addBelow(grid, removeOld_);
    retention_ = named(new QSpinBox, QStringLiteral("settingsRetention"));
    retention_->setRange(
        settings_table::cacheRetentionDays.least, settings_table::cacheRetentionDays.greatest);
    retention_->setSuffix(QStringLiteral(" days"));
    retention_->setSpecialValueText(QStringLiteral("Session only"));
    addRow(grid, QStringLiteral("Retain opened studies:"), retention_, nullptr, Qt::AlignLeft);
    addBelow(
        grid, hintLabel(QStringLiteral("One day is recommended on managed workstations. Choose session only "
                                       "when the device does not use full-disk encryption.")));
    sessionOnlyNotice_ = named(
        hintLabel(
            QStringLiteral("Session only: when the viewer closes, everything kept here for your account "
                           "is removed, also findings, measurements and key images.")),
        QStringLiteral("settingsSessionOnlyNotice"));
    addBelow(grid, sessionOnlyNotice_);
    size_ = named(new QSpinBox, QStringLiteral("settingsSize"));
    size_->setRange(settings_table::cacheMaxGiB.least, settings_table::cacheMaxGiB.greatest);
    size_->setSuffix(QStringLiteral(" GiB"));
    addRow(grid, QStringLiteral("Maximum cache size:"), size_, nullptr, Qt::AlignLeft);
    for (QSpinBox* box : {retention_, size_})
        box->setMinimumSize(150, 32);
    usage_ = valueLabel({}, QStringLiteral("settingsUsage"));
    clear_ = newButton(QStringLiteral("Clear my viewer cache"), QStringLiteral("settingsClear"));
    addRow(grid, QStringLiteral("Current usage:"), usage_);
    addBelow(grid, clear_, Qt::AlignLeft);
    connect(browse, &QPushButton::clicked, this, &SettingsDialog::browse);
    connect(folder_, &QLineEdit::textChanged, this, &SettingsDialog::showFolderNotice);
    connect(removeOld_, &QCheckBox::toggled, this, &SettingsDialog::showFolderNotice);
    connect(retention_, &QSpinBox::valueChanged, this, &SettingsDialog::showFolderNotice);
    connect(clear_, &QPushButton::clicked, this, &SettingsDialog::askToClear);
}

QWidget* SettingsDialog::buildFooter() {
    auto* footer = named(new QFrame, QStringLiteral("settingsFooter"));
    auto* text = hintLabel(QStringLiteral(
        "Opened imaging files may contain patient data. Use a managed device with disk encryption. "
        "Authentication tokens and passwords are never stored here."));
    save_ = newButton(QStringLiteral("Save"), QStringLiteral("settingsSave"));
    save_->setDefault(true);
    cancel_ = newButton(QStringLiteral("Cancel"), QStringLiteral("settingsCancel"));
    auto* line = new QHBoxLayout(footer);
    line->setContentsMargins(18, 10, 18, 12);
    line->setSpacing(10);
    line->addWidget(text, 1);
    line->addWidget(cancel_);
    line->addWidget(save_);
    connect(save_, &QPushButton::clicked, this, &SettingsDialog::startSaving);
    connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);
    return footer;
}

SettingsDialog::StatusLabels
SettingsDialog::addStatus(QGridLayout* grid, int row, const QString& objectName, const QString& name) {
    StatusLabels labels{plainLabel({}), hintLabel({})};
    labels.text->setObjectName(objectName);
    labels.text->setAccessibleName(name);
    labels.reason->setObjectName(objectName + QStringLiteral("Reason"));
    grid->addWidget(labels.text, row, 1, 1, 2);
    grid->addWidget(labels.reason, row + 1, 1, 1, 2);
    return labels;
}

void SettingsDialog::showStatus(const StatusLabels& labels, const SettingsStatus& status) {
    labels.text->setStyleSheet(styleOf(status.tone));
    labels.text->setText(status.text);
    labels.text->setVisible(!status.text.isEmpty());
    labels.reason->setText(status.reason);
    labels.reason->setVisible(!status.reason.isEmpty());
}

void SettingsDialog::connectModel() {
    connect(model_, &SettingsModel::sessionEnded, this, &SettingsDialog::sessionEnded);
    connect(model_, &SettingsModel::sessionStatusChanged, this, [this](const auto& status) {
        showStatus(sessionStatus_, status);
    });
    connect(model_, &SettingsModel::nodeListStatusChanged, this, [this](const auto& status) {
        showStatus(listStatus_, status);
    });
    connect(model_, &SettingsModel::nodeStatusChanged, this, [this](const auto& status) {
        showStatus(nodeStatus_, status);
    });
    connect(
        model_, &SettingsModel::nodesChanged, this, [this] { listNodes(node_->currentData().toString()); });
    connect(model_, &SettingsModel::usageChanged, usage_, &QLabel::setText);
    connect(model_, &SettingsModel::cacheCleared, this, [this](const QString& failure) {
        if (!failure.isEmpty())
            warn({QStringLiteral("Clear viewer cache"), failure}, [] {});
    });
    connect(model_, &SettingsModel::saved, this, &SettingsDialog::showWarnings);
}

void SettingsDialog::fitToScreen(QScrollArea* area) {
    const QWidget* contents = area->widget();
    const QSize room = (parentWidget() ? parentWidget()->size() : screen()->availableSize()) - QSize(40, 40);
    const int width = std::min(contentWidth, room.width());
    ensurePolished();
    const int height = std::max(contents->heightForWidth(width), contents->sizeHint().height()) +
                       layout()->itemAt(1)->widget()->sizeHint().height() + 40;
    resize(width, std::min(height, room.height()));
    setMinimumSize(std::min(560, width), std::min(360, room.height()));
}

SettingsChoice SettingsDialog::choice() const {
    SettingsChoice chosen;
    chosen.source = {
        static_cast<SourceKind>(source_->currentData().toInt()), node_->currentData().toString()};
    chosen.nodeAddress = address_->text().trimmed();
    chosen.cache = {
        ViewerCacheSettings::folderOf(folder_->text().trimmed()), retention_->value(), size_->value()};
    chosen.removeOld = removeOld_->isChecked();
    return chosen;
}

void SettingsDialog::showStored() {
    const SettingsChoice stored = model_->stored();
    source_->setCurrentIndex(std::max(0, source_->findData(static_cast<int>(stored.source.kind))));
    listNodes(stored.source.nodeId);
    folder_->setText(stored.cache.folderText());
    folder_->setCursorPosition(0);
    removeOld_->setChecked(stored.removeOld);
    retention_->setValue(stored.cache.retentionDays);
    size_->setValue(stored.cache.maxGiB);
    showStatus(sessionStatus_, model_->sessionStatus());
    showStatus(listStatus_, {});
    showSourceStatus();
    showFolderNotice();
}

void SettingsDialog::listNodes(const QString& chosen) {
    const bool wasEdited = address_->text() != listedAddress_;
    const QSignalBlocker quiet(node_); // the user chose nothing
    node_->clear();
    node_->addItem(QStringLiteral("Select a node"), QString());
    for (const LocalNodeEntry& entry : model_->nodes())
        node_->addItem(
            entry.status.isEmpty() ? entry.name : QStringLiteral("%1 (%2)").arg(entry.name, entry.status),
            entry.clinicId);
    if (!chosen.isEmpty() && node_->findData(chosen) < 0)
        node_->addItem(chosen, chosen); // the choice stands, whether or not the list could be had
    node_->setCurrentIndex(std::max(0, node_->findData(chosen)));
    listedAddress_ = model_->addressOf(chosen);
    if (!wasEdited)
        address_->setText(listedAddress_);
}

void SettingsDialog::nodeChosen() {
    listedAddress_ = model_->addressOf(node_->currentData().toString());
    address_->setText(listedAddress_);
    showSourceStatus();
}

void SettingsDialog::showSourceStatus() {
    showStatus(nodeStatus_, SettingsModel::sourceStatus(choice().source));
    const bool nodeChosen = !node_->currentData().toString().isEmpty();
    setAvailable(*connect_, nodeChosen, QStringLiteral("Select an organization node first."));
}

void SettingsDialog::showFolderNotice() {
    const ViewerCacheSettings cache = choice().cache;
    folder_->setToolTip(folder_->text());
    folderNotice_->setText(model_->folderNotice(cache, removeOld_->isChecked()));
    folderNotice_->setVisible(!folderNotice_->text().isEmpty());
    removeOld_->setVisible(model_->leavesFolder(cache) && !cache.isSessionOnly());
    sessionOnlyNotice_->setVisible(cache.isSessionOnly());
}

void SettingsDialog::browse() {
    auto* chooser = new QFileDialog(this, QStringLiteral("Select viewer cache directory"), folder_->text());
    chooser->setFileMode(QFileDialog::Directory);
    chooser->setOption(QFileDialog::ShowDirsOnly);
    chooser->setAttribute(Qt::WA_DeleteOnClose);
    connect(chooser, &QFileDialog::fileSelected, this, [this](const QString& folder) {
        folder_->setText(QDir::toNativeSeparators(folder));
    });
    chooser->open();
}

void SettingsDialog::askToClear() {
    auto* box = new QMessageBox(
        QMessageBox::NoIcon, QStringLiteral("Clear viewer cache"),
        QStringLiteral("Remove all locally cached studies for your current Zorbel account?\n\nThis does not "
                       "delete studies from Zorbel Cloud or PACS."),
        QMessageBox::Yes | QMessageBox::No, this);
    box->setObjectName(QStringLiteral("clearCacheBox"));
    box->setTextFormat(Qt::PlainText);
    box->setInformativeText(QStringLiteral(
        "Findings, measurements and key images that were recorded on this computer are removed "
        "with them, but for those of the open study."));
    box->setDefaultButton(QMessageBox::No);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::finished, this, [this](int answer) {
        if (answer == QMessageBox::Yes)
            model_->clearCache();
    });
    box->open();
}

void SettingsDialog::startSaving() {
    setAvailable(*save_, false, QStringLiteral("The settings are being saved."));
    save_->setText(QStringLiteral("Saving…"));
    model_->save(choice());
}

void SettingsDialog::showWarnings(std::vector<SettingsWarning> warnings) {
    if (warnings.empty()) {
        accept();
        return;
    }
    const SettingsWarning first = warnings.front();
    warnings.erase(warnings.begin());
    warn(first, [this, rest = std::move(warnings)] { showWarnings(rest); });
}

void SettingsDialog::warn(const SettingsWarning& warning, const std::function<void()>& then) {
    auto* box = new QMessageBox(QMessageBox::Warning, warning.title, warning.text, QMessageBox::Ok, this);
    box->setObjectName(QStringLiteral("settingsWarning"));
    box->setTextFormat(Qt::PlainText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::finished, this, then);
    box->open();
}

void SettingsDialog::sessionRenewed() {
    model_->verify();
    model_->refreshNodes();
}

} // namespace zorbel
