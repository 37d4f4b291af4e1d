#pragma once

#include "api/SessionRequest.h"
#include "api/ZorbelApiClient.h"
#include "base/StudyIdentity.h"

#include <QThreadPool>
#include <QWidget>

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QTimer;
class QToolButton;

namespace zorbel {

/// The list of the studies that the user may open, with search, type filter and the scopes "Organization"
/// (the service's list) and "Recent" (the studies opened so far). User-interface thread.
class StudyBrowserWidget : public QWidget {
    Q_OBJECT

public:
    /// Where a row of the list holds its StudyIdentity.
    static constexpr int studyRole = Qt::UserRole;

    explicit StudyBrowserWidget(std::shared_ptr<ZorbelApiClient> client, QWidget* parent = nullptr);
    /// Ends a running list request.
    ~StudyBrowserWidget() override;

    /// Asks the service for the list in the background; a failure leaves the rows as they are.
    void loadStudiesAsync();
    /// Asked when the service refused the list; whoever answers it has the list loaded again.
    void setSessionRequest(SessionRequest request) { renewSession_ = std::move(request); }
    /// Newest first.
    void setRecentStudies(std::vector<ViewerStudySummary> studies);
    /// What the service's list says of a study, or else the recent ones; all empty where neither names it.
    StudyIdentity studyOf(const QString& studyUID) const;

Q_SIGNALS:
    void studyDoubleClicked(
        const QString& orthancId, const QString& studyUID, const QString& patientName,
        const QString& modality, const QString& studyDate);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct ListResult;

    QWidget* buildHeader();
    QWidget* buildScopes();
    bool showsRecent() const;
    void onSearchEdited();
    void onScopeChosen();
    void onListed(std::uint64_t request, const QString& search, const ListResult& result);
    void rebuildRows();
    void openCurrentRow();
    void updateStatus();

    std::shared_ptr<ZorbelApiClient> client_;
    SessionRequest renewSession_;
    QThreadPool pool_;
    CancelFlag cancelFlag_;
    std::uint64_t newestRequest_ = 0; ///< an answer to an older request is dropped
    std::vector<ViewerStudySummary> studies_;
    bool listing_ = false; ///< a request is under way
    QString failureText_;  ///< of the last request; empty when it succeeded
    QString listedSearch_; ///< the search text that studies_ answers
    std::vector<ViewerStudySummary> recent_;
    QPushButton* refresh_ = nullptr;
    QLineEdit* search_ = nullptr;
    QTimer* searchDelay_ = nullptr;
    QComboBox* typeFilter_ = nullptr;
    QToolButton* organizationScope_ = nullptr;
    QToolButton* recentScope_ = nullptr;
    QListWidget* list_ = nullptr;
    QLabel* status_ = nullptr;
};

} // namespace zorbel
