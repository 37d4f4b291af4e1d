#include "viewer/report/KeyImageGallery.h"

#include "base/widgets/Availability.h"
#include "viewer/report/PictureView.h"
#include "viewer/session/ReadingSession.h"
#include "viewer/widgets/PlainToolTip.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QShortcut>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace zorbel {

namespace {

constexpr int nameRole = Qt::UserRole;
constexpr QSize thumbnailSize(128, 84);
constexpr int longestCaption = 300;

std::string nameOf(const QListWidgetItem& item) {
    return item.data(nameRole).toString().toStdString();
}

/// In the middle of a frame of its own, so that all rows are alike; the text where there is no picture.
QPixmap thumbnail(const QImage& picture, const QString& text, qreal ratio) {
    QPixmap pixmap(thumbnailSize * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(QColor(picture.isNull() ? 0xE2E8F0 : 0x000000));
    QPainter painter(&pixmap);
    if (picture.isNull()) {
        painter.setPen(QColor(0x475569));
        QFont font = painter.font();
        font.setPixelSize(11);
        painter.setFont(font);
        painter.drawText(
            QRect(QPoint(), thumbnailSize).adjusted(8, 4, -8, -4), Qt::AlignCenter | Qt::TextWordWrap, text);
        return pixmap;
    }
    QImage small = picture.scaled(thumbnailSize * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    small.setDevicePixelRatio(ratio);
    const QSizeF size = QSizeF(small.size()) / ratio;
    painter.drawImage(
        QPointF((thumbnailSize.width() - size.width()) / 2.0, (thumbnailSize.height() - size.height()) / 2.0),
        small);
    return pixmap;
}

/// Not tinted where the row is selected: it is the picture that is looked at.
QIcon plainIcon(const QPixmap& pixmap) {
    QIcon icon(pixmap);
    icon.addPixmap(pixmap, QIcon::Selected);
    return icon;
}

QPushButton* newButton(const char* name, const QString& text, const QString& toolTip) {
    auto* button = new QPushButton(text);
    button->setObjectName(QString::fromLatin1(name));
    button->setToolTip(toolTip);
    button->setAutoDefault(false); // Enter ends a caption, and does nothing else
    return button;
}

} // namespace

KeyImageGallery::KeyImageGallery(ReadingSession& session, QWidget* parent)
    : QDialog(parent), session_(session), reading_(session.current()) {
    setObjectName(QStringLiteral("keyImageGallery"));
    setWindowTitle(QStringLiteral("Key images"));
    resize(1040, 640);
    auto* full = new QWidget;
    auto* columns = new QHBoxLayout(full);
    columns->setContentsMargins(0, 0, 0, 0);
    columns->setSpacing(14);
    columns->addWidget(buildList());
    columns->addWidget(buildView(), 1);
    auto* empty = new QLabel(
        QStringLiteral("No key images yet.\n\nCapture in the tool rail, or Ctrl+K, keeps the active view for "
                       "the report."));
    empty->setObjectName(QStringLiteral("emptyHint"));
    empty->setAlignment(Qt::AlignCenter);
    pages_ = new QStackedWidget;
    pages_->addWidget(empty);
    pages_->addWidget(full);
    count_ = new QLabel;
    count_->setObjectName(QStringLiteral("keyImageCount"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    buttons->button(QDialogButtonBox::Close)->setAutoDefault(false);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* foot = new QHBoxLayout;
    foot->addWidget(count_, 1);
    foot->addWidget(buttons);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(18, 16, 18, 14);
    layout->setSpacing(10);
    layout->addWidget(pages_, 1);
    layout->addLayout(foot);
    connectKeys();
    subscription_ = reading_->observe([this](StudyReading::Change change) {
        if (change == StudyReading::Change::KeyImages)
            refresh();
    });
    refresh();
    list_->setFocus();
    session_.refreshKeyImages(); // another program may have captured some
}

QWidget* KeyImageGallery::buildList() {
    auto* hint = new QLabel(QStringLiteral("Those that are ticked go into the report, in this order."));
    hint->setObjectName(QStringLiteral("dialogHint"));
    hint->setWordWrap(true);
    list_ = new QListWidget;
    list_->setObjectName(QStringLiteral("keyImageList"));
    list_->setAccessibleName(QStringLiteral("Key images"));
    list_->setIconSize(thumbnailSize);
    list_->setWordWrap(true);
    list_->setTextElideMode(Qt::ElideRight);
    list_->setDragDropMode(QAbstractItemView::InternalMove);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    up_ =
        newButton("keyImageUp", QStringLiteral("Move up"), QStringLiteral("Earlier in the report (Alt+Up)"));
    down_ = newButton(
        "keyImageDown", QStringLiteral("Move down"), QStringLiteral("Later in the report (Alt+Down)"));
    remove_ = newButton(
        "keyImageDelete", QStringLiteral("Delete"), QStringLiteral("Delete the picture for good (Del)"));
    auto* line = new QHBoxLayout;
    line->setSpacing(6);
    for (auto* button : {up_, down_, remove_})
        line->addWidget(button);
    auto* box = new QWidget;
    box->setFixedWidth(350);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(hint);
    layout->addWidget(list_, 1);
    layout->addLayout(line);
    connect(list_, &QListWidget::currentRowChanged, this, [this] {
        if (!refreshing_)
            showCurrent();
    });
    connect(list_, &QListWidget::itemChanged, this, [this](const QListWidgetItem* item) {
        if (!refreshing_)
            edit([name = nameOf(*item), chosen = item->checkState() == Qt::Checked](KeyImageList& images) {
                return images.setInReport(name, chosen);
            });
    });
    // Only when the list is done with its rows.
    connect(
        list_->model(), &QAbstractItemModel::rowsMoved, this, &KeyImageGallery::takeOrder,
        Qt::QueuedConnection);
    connect(up_, &QPushButton::clicked, this, [this] { moveCurrent(-1); });
    connect(down_, &QPushButton::clicked, this, [this] { moveCurrent(1); });
    connect(remove_, &QPushButton::clicked, this, &KeyImageGallery::askToRemove);
    return box;
}

QWidget* KeyImageGallery::buildView() {
    view_ = new PictureView;
    caption_ = new QLineEdit;
    caption_->setObjectName(QStringLiteral("keyImageCaption"));
    caption_->setPlaceholderText(QStringLiteral("Caption (optional)"));
    caption_->setToolTip(QStringLiteral("The caption under the picture in the report (F2)"));
    caption_->setMaxLength(longestCaption);
    caption_->installEventFilter(this);
    auto* size = newButton(
        "keyImageSize", QStringLiteral("100 %"),
        QStringLiteral("Pixel by pixel, or fitted into the window (Ctrl+1, Ctrl+0, or a double-click)"));
    connect(size, &QPushButton::clicked, this, [this] { view_->setFitted(!view_->isFitted()); });
    connect(view_, &PictureView::fittedChanged, size, [size](bool fitted) {
        size->setText(fitted ? QStringLiteral("100 %") : QStringLiteral("Fit"));
    });
    connect(caption_, &QLineEdit::editingFinished, this, &KeyImageGallery::takeCaption);
    auto* line = new QHBoxLayout;
    line->setSpacing(8);
    line->addWidget(caption_, 1);
    line->addWidget(size);
    auto* box = new QWidget;
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(view_, 1);
    layout->addLayout(line);
    return box;
}

void KeyImageGallery::connectKeys() {
    const auto bind = [this](const QKeySequence& key, const std::function<void()>& act) {
        connect(new QShortcut(key, this), &QShortcut::activated, this, act);
    };
    bind(Qt::Key_F2, [this] {
        caption_->setFocus();
        caption_->selectAll();
    });
    bind(Qt::Key_Delete, [this] { askToRemove(); });
    bind(Qt::ALT | Qt::Key_Up, [this] { moveCurrent(-1); });
    bind(Qt::ALT | Qt::Key_Down, [this] { moveCurrent(1); });
    bind(Qt::CTRL | Qt::Key_1, [this] { view_->setFitted(false); });
    bind(Qt::CTRL | Qt::Key_0, [this] { view_->setFitted(true); });
}

bool KeyImageGallery::eventFilter(QObject* watched, QEvent* event) {
    if (watched == caption_ && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        const KeyImage* image = find(currentName());
        if (key == Qt::Key_Escape && image) {
            // As it was; the second Escape closes.
            caption_->setText(QString::fromStdString(image->caption));
            list_->setFocus();
            return true;
        }
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            takeCaption();
            caption_->setCursorPosition(0); // a long one is read from its beginning
            list_->setFocus();
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void KeyImageGallery::done(int result) {
    takeCaption();
    QDialog::done(result);
}

void KeyImageGallery::edit(const std::function<bool(KeyImageList&)>& change) {
    KeyImageList images = reading_->keyImages();
    if (change(images))
        reading_->setKeyImages(std::move(images));
}

void KeyImageGallery::takeCaption() {
    if (!caption_->isModified())
        return;
    caption_->setModified(false);
    edit([this](KeyImageList& images) {
        return images.setCaption(viewed_, caption_->text().simplified().toStdString());
    });
}

void KeyImageGallery::takeOrder() {
    edit([this](KeyImageList& images) {
        bool moved = false;
        for (int row = 0; row < list_->count(); ++row)
            moved |= images.move(nameOf(*list_->item(row)), static_cast<std::size_t>(row));
        return moved;
    });
}

void KeyImageGallery::moveCurrent(int by) {
    const int row = list_->currentRow() + by;
    if (list_->currentRow() < 0 || row < 0 || row >= list_->count())
        return;
    edit([this, row](KeyImageList& images) {
        return images.move(currentName(), static_cast<std::size_t>(row));
    });
}

void KeyImageGallery::askToRemove() {
    const KeyImage* image = find(currentName());
    if (!image)
        return;
    const QString caption = QString::fromStdString(image->caption);
    auto* box = new QMessageBox(
        QMessageBox::NoIcon, QStringLiteral("Delete key image"),
        QStringLiteral(
            "Delete this picture%1?\n\nIt is gone from this study for good. A report that holds it keeps it.")
            .arg(caption.isEmpty() ? QString() : QStringLiteral(" “%1”").arg(caption)),
        QMessageBox::Cancel, this);
    box->setObjectName(QStringLiteral("deleteKeyImageBox"));
    box->setTextFormat(Qt::PlainText);
    if (const auto known = thumbnails_.find(image->fileName); known != thumbnails_.end())
        box->setIconPixmap(known->second);
    const auto* confirm = box->addButton(QStringLiteral("Delete"), QMessageBox::AcceptRole);
    box->setDefaultButton(QMessageBox::Cancel);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::finished, this, [this, box, confirm, name = image->fileName] {
        if (box->clickedButton() == confirm)
            edit([&name](KeyImageList& images) { return images.remove(name); });
    });
    box->open();
}

void KeyImageGallery::refresh() {
    const auto& images = reading_->keyImages().images();
    {
        const QScopedValueRollback<bool> guard(refreshing_, true);
        bool same = static_cast<std::size_t>(list_->count()) == images.size();
        for (std::size_t row = 0; same && row < images.size(); ++row)
            same = nameOf(*list_->item(static_cast<int>(row))) == images[row].fileName;
        if (!same)
            rebuildRows();
        for (std::size_t row = 0; row < images.size(); ++row)
            updateRow(*list_->item(static_cast<int>(row)), images[row]);
    }
    pages_->setCurrentIndex(images.empty() ? 0 : 1);
    const auto chosen =
        std::count_if(images.begin(), images.end(), [](const KeyImage& image) { return image.inReport; });
    count_->setText(
        images.empty() ? QString() : QStringLiteral("%1 of %2 in the report").arg(chosen).arg(images.size()));
    showCurrent();
    loadNextThumbnail();
}

void KeyImageGallery::rebuildRows() {
    const std::string current = currentName();
    const int row = list_->currentRow();
    list_->clear();
    int next = std::max(row, 0);
    for (const KeyImage& image : reading_->keyImages().images()) {
        auto* item = new QListWidgetItem(list_);
        item->setData(nameRole, QString::fromStdString(image.fileName));
        item->setFlags(
            Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsUserCheckable | Qt::ItemIsDragEnabled);
        if (image.fileName == current)
            next = list_->count() - 1;
    }
    list_->setCurrentRow(std::min(next, list_->count() - 1));
}

void KeyImageGallery::updateRow(QListWidgetItem& item, const KeyImage& image) {
    const QString caption = QString::fromStdString(image.caption);
    item.setText(caption.isEmpty() ? QStringLiteral("No caption") : caption);
    item.setForeground(QColor(image.inReport ? 0x0F172A : 0x475569));
    item.setToolTip(plainToolTip(caption));
    item.setCheckState(image.inReport ? Qt::Checked : Qt::Unchecked);
    const auto known = thumbnails_.find(image.fileName);
    item.setIcon(plainIcon(
        known != thumbnails_.end() ? known->second
                                   : thumbnail({}, QStringLiteral("Loading…"), devicePixelRatioF())));
}

void KeyImageGallery::showCurrent() {
    const std::string name = currentName();
    const KeyImage* image = find(name);
    const int row = list_->currentRow();
    const QString none = QStringLiteral("Select a key image first.");
    setAvailable(*up_, row > 0, image ? QStringLiteral("It is the first.") : none);
    setAvailable(*down_, image && row + 1 < list_->count(), image ? QStringLiteral("It is the last.") : none);
    setAvailable(*remove_, image != nullptr, none);
    setAvailable(*caption_, image != nullptr, none);
    if (name == viewed_) {
        if (image && !caption_->hasFocus())
            caption_->setText(QString::fromStdString(image->caption));
        return;
    }
    takeCaption(); // of the one before
    if (name == viewed_)
        return; // shown on the way
    viewed_ = name;
    caption_->setText(image ? QString::fromStdString(image->caption) : QString());
    view_->showNotice(image ? QStringLiteral("Loading the picture…") : QString());
    if (image)
        session_.keyImagePicture(
            reading_->identity(), *image, [gallery = QPointer(this), name](const QImage& picture) {
                if (gallery) {
                    gallery->showThumbnail(name, picture);
                    gallery->showPicture(name, picture);
                }
            });
}

void KeyImageGallery::loadNextThumbnail() {
    if (!loading_.empty())
        return;
    for (const KeyImage& image : reading_->keyImages().images()) {
        if (thumbnails_.count(image.fileName) > 0)
            continue;
        loading_ = image.fileName;
        session_.keyImagePicture(
            reading_->identity(), image,
            [gallery = QPointer(this), name = image.fileName](const QImage& picture) {
                if (!gallery)
                    return;
                gallery->loading_.clear();
                gallery->showThumbnail(name, picture);
                gallery->loadNextThumbnail();
            });
        return;
    }
}

void KeyImageGallery::showThumbnail(const std::string& fileName, const QImage& picture) {
    const QPixmap& shown = thumbnails_[fileName] =
        thumbnail(picture, QStringLiteral("This picture cannot be read"), devicePixelRatioF());
    const QScopedValueRollback<bool> guard(refreshing_, true);
    for (int row = 0; row < list_->count(); ++row)
        if (nameOf(*list_->item(row)) == fileName)
            list_->item(row)->setIcon(plainIcon(shown));
}

void KeyImageGallery::showPicture(const std::string& fileName, const QImage& picture) {
    if (fileName != viewed_)
        return;
    if (picture.isNull())
        view_->showNotice(QStringLiteral("This picture cannot be read. Its file is missing or damaged."));
    else
        view_->showPicture(picture);
}

const KeyImage* KeyImageGallery::find(const std::string& fileName) const {
    const auto& images = reading_->keyImages().images();
    const auto found = std::find_if(
        images.begin(), images.end(), [&](const KeyImage& image) { return image.fileName == fileName; });
    return found != images.end() ? &*found : nullptr;
}

std::string KeyImageGallery::currentName() const {
    const auto* item = list_->currentItem();
    return item ? nameOf(*item) : std::string();
}

} // namespace zorbel
