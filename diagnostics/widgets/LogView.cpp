#include "diagnostics/widgets/LogView.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSyntaxHighlighter>
#include <QTextCharFormat>
#include <QVBoxLayout>

#include <utility>

namespace zorbel {

namespace {

constexpr int lookMs = 300;

struct LevelChoice {
    const char* text;
    LogLevel least;
};
constexpr LevelChoice levelChoices[] = {
    {"All levels", LogLevel::Debug},
    {"Info and above", LogLevel::Info},
    {"Warnings and errors", LogLevel::Warn},
    {"Errors", LogLevel::Error},
};

/// Warnings and errors stand out.
class LevelColours : public QSyntaxHighlighter {
public:
    using QSyntaxHighlighter::QSyntaxHighlighter;

protected:
    void highlightBlock(const QString& text) override {
        constexpr qsizetype levelAt = 14; // after the time of day
        const QStringView level = QStringView(text).mid(levelAt, 5);
        QTextCharFormat format;
        if (level.startsWith(QLatin1String("WARN")))
            format.setForeground(QColor(0x92, 0x40, 0x0E));
        else if (level == QLatin1String("ERROR") || level == QLatin1String("FATAL"))
            format.setForeground(QColor(0xB4, 0x23, 0x18));
        else
            return;
        setFormat(0, static_cast<int>(text.size()), format);
    }
};

} // namespace

LogView::LogView(
    std::shared_ptr<LiveLog> tail, const std::function<bool()>& isTracing, std::function<void(bool)> trace,
    QWidget* parent)
    : QWidget(parent), tail_(std::move(tail)) {
    text_ = new QPlainTextEdit;
    text_->setObjectName(QStringLiteral("diagnosticsLog"));
    text_->setAccessibleName(QStringLiteral("Log"));
    text_->setReadOnly(true);
    text_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    new LevelColours(text_->document());
    text_->setMaximumBlockCount(static_cast<int>(LiveLog::mostLines));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->setSpacing(6);
    layout->addWidget(buildFilter());
    layout->addWidget(text_, 1);
    if (isTracing && trace) {
        auto* traces = new QCheckBox(QStringLiteral("Log each step of a rotation"));
        traces->setObjectName(QStringLiteral("diagnosticsTrace"));
        traces->setToolTip(QStringLiteral("Rotation trace, at first as ZORBEL_MPR_TRACE says"));
        traces->setChecked(isTracing());
        connect(traces, &QCheckBox::toggled, this, [trace = std::move(trace)](bool on) { trace(on); });
        layout->addWidget(traces);
    }
    timer_.setInterval(lookMs);
    connect(&timer_, &QTimer::timeout, this, &LogView::takeLines);
    setFocusProxy(part_);
}

QWidget* LogView::buildFilter() {
    level_ = new QComboBox;
    level_->setObjectName(QStringLiteral("diagnosticsLevel"));
    level_->setAccessibleName(QStringLiteral("Least level of the lines shown"));
    for (const LevelChoice& choice : levelChoices)
        level_->addItem(QString::fromLatin1(choice.text), static_cast<int>(choice.least));
    component_ = new QComboBox;
    component_->setObjectName(QStringLiteral("diagnosticsComponent"));
    component_->setAccessibleName(QStringLiteral("Component whose lines are shown"));
    component_->addItem(QStringLiteral("All components"));
    component_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    part_ = new QLineEdit;
    part_->setObjectName(QStringLiteral("diagnosticsFilter"));
    part_->setAccessibleName(QStringLiteral("Text that the lines shown hold"));
    part_->setPlaceholderText(QStringLiteral("Lines with this text"));
    part_->setClearButtonEnabled(true);
    connect(level_, &QComboBox::currentIndexChanged, this, &LogView::filterChanged);
    connect(component_, &QComboBox::currentIndexChanged, this, &LogView::filterChanged);
    connect(part_, &QLineEdit::textChanged, this, &LogView::filterChanged);
    auto* filter = new QWidget;
    auto* grid = new QGridLayout(filter);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(6);
    grid->addWidget(part_, 0, 0, 1, 2);
    grid->addWidget(level_, 1, 0);
    grid->addWidget(component_, 1, 1);
    grid->setColumnStretch(1, 1);
    return filter;
}

void LogView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    takeLines();
    timer_.start();
}

void LogView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    timer_.stop();
}

void LogView::takeLines() {
    if (!tail_)
        return;
    LiveLog::Lines taken = tail_->since(next_);
    next_ = taken.next;
    if (taken.lines.empty())
        return;
    const QScrollBar* bar = text_->verticalScrollBar();
    const bool follows = bar->value() >= bar->maximum();
    for (const std::string& line : taken.lines) {
        lines_.push_back(LogLine::parse(line));
        noteComponent(QString::fromStdString(lines_.back().component));
        append(lines_.back());
    }
    while (lines_.size() > LiveLog::mostLines)
        lines_.pop_front();
    if (follows)
        text_->verticalScrollBar()->setValue(text_->verticalScrollBar()->maximum());
}

void LogView::noteComponent(const QString& component) {
    if (component.isEmpty() || component_->findText(component) >= 0)
        return;
    int row = 1;
    while (row < component_->count() && component_->itemText(row) < component)
        ++row;
    component_->insertItem(row, component);
}

void LogView::append(const LogLine& line) {
    if (filter_.matches(line))
        text_->appendPlainText(QString::fromStdString(line.text));
}

void LogView::filterChanged() {
    filter_.least = static_cast<LogLevel>(level_->currentData().toInt());
    filter_.component =
        component_->currentIndex() > 0 ? component_->currentText().toStdString() : std::string();
    filter_.part = part_->text().toStdString();
    QStringList matching;
    for (const LogLine& line : lines_)
        if (filter_.matches(line))
            matching += QString::fromStdString(line.text);
    text_->setPlainText(matching.join(QLatin1Char('\n')));
    text_->verticalScrollBar()->setValue(text_->verticalScrollBar()->maximum());
}

} // namespace zorbel
