#pragma once

#include "viewer/reading/study/StudyReading.h"

#include <QDialog>
#include <QImage>
#include <QPixmap>

#include <functional>
#include <map>
#include <memory>
#include <string>

class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QStackedWidget;

namespace zorbel {

class PictureView;
class ReadingSession;

/// The key images of the open study in the report's order: to be looked at, captioned, ordered, chosen for
/// the report, and removed. It changes the reading; pictures come in the background.
class KeyImageGallery : public QDialog {
    Q_OBJECT

public:
    /// A study is open in the session, which must outlive this.
    explicit KeyImageGallery(ReadingSession& session, QWidget* parent = nullptr);

    void done(int result) override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* buildList();
    QWidget* buildView();
    void connectKeys();
    /// Shows the reading's list; the rows that are there stay where nothing else is to be shown.
    void refresh();
    void rebuildRows();
    void updateRow(QListWidgetItem& item, const KeyImage& image);
    void showCurrent();
    void loadNextThumbnail();
    void showThumbnail(const std::string& fileName, const QImage& picture);
    void showPicture(const std::string& fileName, const QImage& picture);
    void edit(const std::function<bool(KeyImageList&)>& change);
    void takeCaption();
    void takeOrder();
    void moveCurrent(int by);
    void askToRemove();
    const KeyImage* find(const std::string& fileName) const;
    std::string currentName() const;

    ReadingSession& session_;
    std::shared_ptr<StudyReading> reading_;
    StudyReading::Subscription subscription_;
    std::map<std::string, QPixmap> thumbnails_; ///< by file name
    std::string loading_;                       ///< whose thumbnail is under way
    std::string viewed_;                        ///< whose picture is in the view, or on its way there
    bool refreshing_ = false;

    QStackedWidget* pages_ = nullptr;
    QListWidget* list_ = nullptr;
    QLabel* count_ = nullptr;
    PictureView* view_ = nullptr;
    QLineEdit* caption_ = nullptr;
    QPushButton* up_ = nullptr;
    QPushButton* down_ = nullptr;
    QPushButton* remove_ = nullptr;
};

} // namespace zorbel
