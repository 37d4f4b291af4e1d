#include "viewer/workspace/ViewerHeader.h"

#include "viewer/widgets/ElidedLabel.h"
#include "viewer/widgets/PlainToolTip.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace zorbel {

namespace {

QLabel* newChip(const QString& name) {
    auto* chip = new QLabel;
    chip->setObjectName(name);
    chip->setProperty("chip", true);
    chip->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    return chip;
}

void setChipText(QLabel* chip, const QString& text) {
    chip->setText(text);
    chip->setVisible(!text.isEmpty());
}

} // namespace

ViewerHeader::ViewerHeader(QWidget* parent) : QFrame(parent) {
    setObjectName(QStringLiteral("viewerHeader"));
    title_ = new ElidedLabel(QStringLiteral("No study selected"));
    title_->setObjectName(QStringLiteral("viewerTitle"));
    subtitle_ = new QLabel;
    subtitle_->setObjectName(QStringLiteral("viewerSubtitle"));
    subtitle_->setTextFormat(Qt::PlainText); // what is in it comes from outside
    // A long name or UID must not force the window wider than the screen.
    for (auto* label : {title_, subtitle_})
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    studyChip_ = newChip(QStringLiteral("studyChip"));
    modeChip_ = newChip(QStringLiteral("modeChip"));
    layoutChip_ = newChip(QStringLiteral("layoutChip"));
    reportChip_ = new WordReportChip;
    connect(reportChip_, &QToolButton::clicked, this, &ViewerHeader::reportChipClicked);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(1);
    texts->addWidget(title_);
    texts->addWidget(subtitle_);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(16, 8, 14, 8);
    layout->setSpacing(8);
    layout->addLayout(texts, 1);
    layout->addWidget(reportChip_);
    layout->addWidget(studyChip_);
    layout->addWidget(modeChip_);
    layout->addWidget(layoutChip_);
    setStudyChip(QStringLiteral("No study loaded"));
    setModeChip({}, {});
    setLayoutChip({});
}

void ViewerHeader::setTitle(const QString& title) {
    title_->setText(title);
    title_->setToolTip(plainToolTip(title));
}

void ViewerHeader::setSubtitle(const QString& subtitle, const QString& toolTip) {
    subtitle_->setText(subtitle);
    subtitle_->setToolTip(plainToolTip(toolTip));
}

void ViewerHeader::setStudyChip(const QString& text) {
    setChipText(studyChip_, text);
}

void ViewerHeader::setModeChip(const QString& text, const QString& toolTip) {
    setChipText(modeChip_, text);
    modeChip_->setToolTip(toolTip);
}

void ViewerHeader::setLayoutChip(const QString& text) {
    layoutChip_->setText(text);
    showLayoutChip();
}

void ViewerHeader::showLayoutChip() {
    // Where there is room for one of them only, whose study it is comes before how it is laid out.
    constexpr int enoughForAll = 720;
    const bool fits = width() >= enoughForAll || reportChip_->state() == WordReportChip::State::None;
    layoutChip_->setVisible(fits && !layoutChip_->text().isEmpty());
}

void ViewerHeader::resizeEvent(QResizeEvent* event) {
    QFrame::resizeEvent(event);
    showLayoutChip();
}

void ViewerHeader::setReportChip(const QString& text, WordReportChip::State state, const QString& toolTip) {
    reportChip_->setReport(text, state, toolTip);
    showLayoutChip();
}

} // namespace zorbel
