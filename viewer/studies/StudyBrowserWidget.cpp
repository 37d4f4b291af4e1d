#include "viewer/studies/StudyBrowserWidget.h"

#include "api/ConnectionAdvice.h"
#include "api/LogReason.h"
#include "app/log/Logger.h"
#include "base/qt/BackgroundTask.h"
#include "cache/StudyClassification.h"
#include "viewer/studies/StudyRows.h"
#include "viewer/widgets/PlainToolTip.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QStyle>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace zorbel {

namespace {

constexpr int pageSize = 200; // the most that the service hands out at once
constexpr int searchDelayMs = 400;

StudyIdentity studyIn(const QListWidgetItem& item) {
    return item.data(StudyBrowserWidget::studyRole).value<StudyIdentity>();
}

QListWidgetItem* newRow(const ViewerStudySummary& study) {
    auto* item = new QListWidgetItem(StudyRows::text(study));
    item->setToolTip(plainToolTip(StudyRows::toolTip(study)));
    item->setData(StudyBrowserWidget::studyRole, QVariant::fromValue(identityOf(study)));
    return item;
}

} // namespace

struct StudyBrowserWidget::ListResult {
    std::vector<ViewerStudySummary> studies;
    QString failureText; ///< empty on success
    bool sessionEnded = false;
};

StudyBrowserWidget::StudyBrowserWidget(std::shared_ptr<ZorbelApiClient> client, QWidget* parent)
    : QWidget(parent), client_(std::move(client)) {
    setObjectName(QStringLiteral("studyBrowser"));
    setAttribute(Qt::WA_StyledBackground);
    pool_.setMaxThreadCount(2);

    refresh_ = new QPushButton(QStringLiteral("Refresh studies"));
    refresh_->setObjectName(QStringLiteral("refreshStudies"));
    search_ = new QLineEdit;
    search_->setObjectName(QStringLiteral("studySearch"));
    search_->setAccessibleName(QStringLiteral("Search studies"));
    search_->setPlaceholderText(QStringLiteral("Search patient, modality or date…"));
    search_->setClearButtonEnabled(true);
    searchDelay_ = new QTimer(this);
    searchDelay_->setSingleShot(true);
    searchDelay_->setInterval(searchDelayMs);

    typeFilter_ = new QComboBox;
    typeFilter_->setObjectName(QStringLiteral("studyTypeFilter"));
    typeFilter_->setAccessibleName(QStringLiteral("Filter studies by type"));
    typeFilter_->setToolTip(QStringLiteral("Show only studies of the selected imaging type"));
    typeFilter_->addItem(QStringLiteral("All study types"), QString());
    for (const QString& label : StudyClassification::labels())
        typeFilter_->addItem(label, label);

    list_ = new QListWidget;
    list_->setObjectName(QStringLiteral("studyList"));
    list_->setAccessibleName(QStringLiteral("Studies"));
    list_->setUniformItemSizes(true);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setTextElideMode(Qt::ElideRight);
    status_ = new QLabel;
    status_->setWordWrap(true);
    status_->setTextFormat(Qt::PlainText); // a failure is told in the service's own words

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(14, 14, 14, 10);
    layout->setSpacing(9);
    layout->addWidget(buildHeader());
    layout->addWidget(refresh_);
    layout->addWidget(search_);
    layout->addWidget(typeFilter_);
    layout->addWidget(buildScopes());
    layout->addWidget(list_, 1);
    layout->addWidget(status_);

    list_->installEventFilter(this);
    typeFilter_->installEventFilter(this);

    connect(refresh_, &QPushButton::clicked, this, &StudyBrowserWidget::loadStudiesAsync);
    connect(search_, &QLineEdit::textEdited, this, &StudyBrowserWidget::onSearchEdited);
    connect(search_, &QLineEdit::textChanged, this, &StudyBrowserWidget::rebuildRows);
    connect(searchDelay_, &QTimer::timeout, this, &StudyBrowserWidget::loadStudiesAsync);
    connect(typeFilter_, &QComboBox::currentIndexChanged, this, &StudyBrowserWidget::rebuildRows);
    connect(list_, &QListWidget::itemDoubleClicked, this, &StudyBrowserWidget::openCurrentRow);
}

StudyBrowserWidget::~StudyBrowserWidget() {
    if (cancelFlag_)
        cancelFlag_->store(true);
    pool_.waitForDone();
}

bool StudyBrowserWidget::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        // The window's one-key shortcuts would otherwise take away the keys that walk through list and
        // filter.
        const int key = static_cast<QKeyEvent*>(event)->key();
        for (const int own :
             {Qt::Key_Up, Qt::Key_Down, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Home, Qt::Key_End})
            if (key == own)
                event->accept();
    }
    if (watched == list_ && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            openCurrentRow();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

QWidget* StudyBrowserWidget::buildHeader() {
    auto* header = new QFrame;
    header->setStyleSheet(QStringLiteral("QFrame { background:transparent;border:0; }"));
    auto* title = new QLabel(QStringLiteral("Studies"));
    title->setObjectName(QStringLiteral("zorbelBrandTitle"));
    auto* subtitle = new QLabel(QStringLiteral("Secure Zorbel Cloud workspace"));
    subtitle->setObjectName(QStringLiteral("zorbelBrandSubtitle"));
    auto* layout = new QVBoxLayout(header);
    layout->setContentsMargins(0, 0, 0, 2);
    layout->setSpacing(2);
    layout->addWidget(title);
    layout->addWidget(subtitle);
    return header;
}

QWidget* StudyBrowserWidget::buildScopes() {
    auto* scopes = new QWidget;
    auto* layout = new QHBoxLayout(scopes);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    auto* group = new QButtonGroup(this);
    const auto addScope = [&](const QString& text, const QString& name) {
        auto* button = new QToolButton;
        button->setText(text);
        button->setObjectName(name);
        button->setCheckable(true);
        button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        button->setProperty("scope", true);
        group->addButton(button);
        layout->addWidget(button);
        return button;
    };
    organizationScope_ = addScope(QStringLiteral("Organization"), QStringLiteral("organizationScope"));
    recentScope_ = addScope(QStringLiteral("Recent"), QStringLiteral("recentScope"));
    organizationScope_->setChecked(true);
    connect(group, &QButtonGroup::buttonClicked, this, &StudyBrowserWidget::onScopeChosen);
    return scopes;
}

bool StudyBrowserWidget::showsRecent() const {
    return recentScope_->isChecked();
}

void StudyBrowserWidget::onSearchEdited() {
    if (!showsRecent())
        searchDelay_->start();
}

void StudyBrowserWidget::onScopeChosen() {
    rebuildRows();
    if (!showsRecent() && search_->text().trimmed() != listedSearch_)
        loadStudiesAsync(); // typed while the recent studies were shown: the service has not been asked yet
}

void StudyBrowserWidget::loadStudiesAsync() {
    searchDelay_->stop();
    if (cancelFlag_)
        cancelFlag_->store(true);
    cancelFlag_ = std::make_shared<std::atomic<bool>>(false);
    const auto request = ++newestRequest_;
    listing_ = true;
    failureText_.clear();
    updateStatus();
    runInBackground(
        pool_, this,
        [client = client_, search = search_->text().trimmed(), cancel = cancelFlag_] {
            ListResult result;
            try {
                result.studies = client->listStudies(search, pageSize, cancel);
            } catch (const std::exception& error) {
                if (!cancel->load())
                    Logger::instance().warn(
                        "StudyBrowser", "Could not load the study list", {{"reason", logReason(error)}});
                result.sessionEnded = isSessionEnd(error);
                result.failureText =
                    result.sessionEnded
                        ? QStringLiteral("Your session has ended. Sign in again to list the studies.")
                        : messageWithAdvice(error);
            } catch (...) {
                result.failureText = QStringLiteral("The study list could not be loaded.");
            }
            return result;
        },
        [this, request, search = search_->text().trimmed()](const ListResult& result) {
            onListed(request, search, result);
        });
}

void StudyBrowserWidget::onListed(std::uint64_t request, const QString& search, const ListResult& result) {
    if (request != newestRequest_)
        return;
    listing_ = false;
    failureText_ = result.failureText;
    if (!failureText_.isEmpty()) {
        updateStatus();
        if (result.sessionEnded && renewSession_)
            renewSession_([](bool) {});
        return;
    }
    studies_ = result.studies;
    listedSearch_ = search;
    StudyRows::sortNewestFirst(studies_);
    rebuildRows();
}

void StudyBrowserWidget::setRecentStudies(std::vector<ViewerStudySummary> studies) {
    recent_ = std::move(studies);
    if (showsRecent())
        rebuildRows();
}

StudyIdentity StudyBrowserWidget::studyOf(const QString& studyUID) const {
    for (const auto* list : {&studies_, &recent_})
        for (const auto& study : *list)
            if (study.studyInstanceUID == studyUID)
                return identityOf(study);
    return {};
}

void StudyBrowserWidget::rebuildRows() {
    const auto& source = showsRecent() ? recent_ : studies_;
    const auto* current = list_->currentItem();
    const std::string currentUid = current ? studyIn(*current).studyInstanceUid : std::string();
    list_->clear();
    // What the service found for this very text may match by fields that the rows do not carry, such as a
    // patient id.
    const bool searchedByService = !showsRecent() && search_->text().trimmed() == listedSearch_;
    const QString search = searchedByService ? QString() : search_->text();
    for (const auto& study : source) {
        if (!StudyRows::matches(study, search, typeFilter_->currentData().toString()))
            continue;
        auto* item = newRow(study);
        list_->addItem(item);
        if (study.studyInstanceUID.toStdString() == currentUid)
            list_->setCurrentItem(item);
    }
    updateStatus();
}

void StudyBrowserWidget::openCurrentRow() {
    const auto* item = list_->currentItem();
    if (!item)
        return;
    const ViewerStudySummary row = summaryOf(studyIn(*item));
    Q_EMIT studyDoubleClicked(
        row.orthancId, row.studyInstanceUID, row.patientName, row.modality, row.studyDate);
}

void StudyBrowserWidget::updateStatus() {
    const bool service = !showsRecent();
    const bool error = service && !listing_ && !failureText_.isEmpty();
    if (error)
        status_->setText(failureText_);
    else if (service && listing_)
        status_->setText(QStringLiteral("Loading authorized studies…"));
    else
        status_->setText(QStringLiteral("Showing %1 of %2 studies")
                             .arg(list_->count())
                             .arg(service ? studies_.size() : recent_.size()));
    status_->setObjectName(error ? QStringLiteral("zorbelStatusError") : QStringLiteral("zorbelStatus"));
    // The style sheet selects by object name and does not notice its change by itself.
    status_->style()->unpolish(status_);
    status_->style()->polish(status_);
}

} // namespace zorbel
