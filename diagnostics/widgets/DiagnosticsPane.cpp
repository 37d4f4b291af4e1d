#include "diagnostics/widgets/DiagnosticsPane.h"

#include "base/qt/BackgroundTask.h"
#include "diagnostics/widgets/CrashDumpsView.h"
#include "diagnostics/widgets/LogView.h"
#include "diagnostics/widgets/SupportBundleDialog.h"
#include "diagnostics/widgets/TelemetryView.h"

#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMainWindow>
#include <QPushButton>
#include <QScrollBar>
#include <QTabWidget>
#include <QTextEdit>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace zorbel {

namespace {

constexpr int refreshMs = 3000;
constexpr int narrowest = 340;    // pixels
constexpr qsizetype longRow = 38; // letters of a name and its value; more take two lines

/// Values within values stand below their name.
void appendRows(QString& html, const DiagnosticsJson& values, int depth) {
    const QString cell = QStringLiteral("<td %1 style=\"padding-left:%2px;padding-right:10px;%3\">%4</td>");
    const QString grey = QStringLiteral("color:#475569");
    for (const auto& [key, value] : values.items()) {
        const bool nested = value.is_object() && !value.empty();
        const bool list = value.is_array() && !value.empty() && value.front().is_object();
        const QString name = QString::fromStdString(values.is_array() ? "•" : labelText(key));
        const QString text = nested || list ? QString() : QString::fromStdString(valueText(value, key));
        const QString wide = QStringLiteral("colspan=\"2\"");
        const bool two = !nested && !list && name.size() + text.size() > longRow;
        html += QStringLiteral("<tr>") + cell.arg(two || text.isEmpty() ? wide : QString())
                                             .arg(depth * 12)
                                             .arg(grey, name.toHtmlEscaped());
        if (two)
            html += QStringLiteral("</tr><tr>") +
                    cell.arg(wide).arg(depth * 12 + 12).arg(QString(), text.toHtmlEscaped());
        else if (!text.isEmpty())
            html += cell.arg(QString()).arg(0).arg(QString(), text.toHtmlEscaped());
        html += QStringLiteral("</tr>");
        if (nested || list)
            appendRows(html, value, depth + 1);
    }
}

QString reportHtml(const DiagnosticsReport& report) {
    QString html;
    for (const DiagnosticsSection& section : report) {
        html += QStringLiteral("<h4 style=\"color:#002B5B;margin-top:8px;margin-bottom:2px\">%1</h4><table>")
                    .arg(QString::fromStdString(section.title).toHtmlEscaped());
        appendRows(html, section.values, 0);
        html += QStringLiteral("</table>");
    }
    return html;
}

} // namespace

DiagnosticsPane::DiagnosticsPane(DiagnosticsMeans means, QWidget* parent)
    : QDockWidget(QStringLiteral("Diagnostics"), parent), means_(std::move(means)) {
    setObjectName(QStringLiteral("diagnosticsPane"));
    setAccessibleName(QStringLiteral("Diagnostics"));
    report_ = new QTextEdit;
    report_->setObjectName(QStringLiteral("diagnosticsReport"));
    report_->setAccessibleName(QStringLiteral("Facts about the program, this computer and the open study"));
    report_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    log_ = new LogView(means_.log, means_.rotationTrace.isOn, means_.rotationTrace.set);
    telemetry_ = new TelemetryView(means_.telemetry);
    crashes_ = new CrashDumpsView(means_.crashDumps);
    pages_ = new QTabWidget;
    pages_->setObjectName(QStringLiteral("diagnosticsPages"));
    pages_->setAccessibleName(QStringLiteral("Diagnostics pages"));
    pages_->addTab(report_, QStringLiteral("Facts"));
    pages_->addTab(log_, QStringLiteral("Log"));
    pages_->addTab(telemetry_, QStringLiteral("Telemetry"));
    pages_->addTab(crashes_, QStringLiteral("Faults"));
    said_ = new QLabel;
    said_->setObjectName(QStringLiteral("diagnosticsSaid"));
    said_->setTextFormat(Qt::PlainText);
    said_->setWordWrap(true);
    said_->hide();
    auto* contents = new QWidget;
    auto* layout = new QVBoxLayout(contents);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->setSpacing(6);
    layout->addWidget(pages_, 1);
    layout->addWidget(said_);
    layout->addWidget(buildButtons());
    setWidget(contents);
    timer_.setInterval(refreshMs);
    connect(&timer_, &QTimer::timeout, this, &DiagnosticsPane::refresh);
    connect(this, &QDockWidget::visibilityChanged, this, [this] { Q_EMIT visibleChanged(!isHidden()); });
    if (parent)
        parent->installEventFilter(this);
}

QWidget* DiagnosticsPane::buildButtons() {
    auto* copyAll = new QPushButton(QStringLiteral("&Copy"));
    copyAll->setObjectName(QStringLiteral("diagnosticsCopy"));
    copyAll->setToolTip(QStringLiteral("Copy all facts, without what names a patient or a user"));
    auto* bundle = new QPushButton(QStringLiteral("&Export support bundle…"));
    bundle->setObjectName(QStringLiteral("diagnosticsExport"));
    bundle->setToolTip(QStringLiteral("One file for support with facts, log, faults and settings"));
    for (QPushButton* button : {copyAll, bundle})
        button->setAutoDefault(false);
    connect(copyAll, &QPushButton::clicked, this, &DiagnosticsPane::copy);
    connect(bundle, &QPushButton::clicked, this, &DiagnosticsPane::exportBundle);
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(copyAll);
    layout->addWidget(bundle, 1);
    return row;
}

void DiagnosticsPane::toggle() {
    setVisible(isHidden());
    if (isHidden())
        return;
    findRoom();
    raise();
    pages_->currentWidget()->setFocus(Qt::ShortcutFocusReason);
}

/// The views do not become smaller than they may be.
void DiagnosticsPane::findRoom() {
    const auto* window = qobject_cast<QMainWindow*>(parentWidget());
    if (isHidden() || !window || !window->centralWidget())
        return;
    const int needed = window->centralWidget()->minimumSizeHint().width() + minimumSizeHint().width();
    const bool fits = needed <= window->width();
    if (!fits && !isFloating()) {
        const QRect over = window->geometry();
        const QSize size(std::max(narrowest, minimumSizeHint().width()), over.height() * 4 / 5);
        setFloating(true);
        setGeometry(QRect(over.bottomRight() - QPoint(size.width(), size.height()), size));
        floatsForRoom_ = true;
    } else if (fits && isFloating() && floatsForRoom_) {
        setFloating(false);
        floatsForRoom_ = false;
    }
}

bool DiagnosticsPane::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() &&
        (event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest))
        QMetaObject::invokeMethod(this, &DiagnosticsPane::findRoom, Qt::QueuedConnection);
    return QDockWidget::eventFilter(watched, event);
}

void DiagnosticsPane::showEvent(QShowEvent* event) {
    QDockWidget::showEvent(event);
    timer_.start();
    refresh();
}

void DiagnosticsPane::hideEvent(QHideEvent* event) {
    QDockWidget::hideEvent(event);
    timer_.stop();
    said_->hide();
}

void DiagnosticsPane::refresh() {
    if (!isVisible())
        return;
    telemetry_->refresh();
    crashes_->refresh();
    if (std::exchange(collecting_, true))
        return;
    runInBackground(
        *QThreadPool::globalInstance(), this, means_.sources.prepare(),
        [this](const DiagnosticsReport& report) {
            collecting_ = false;
            showReport(report);
        });
}

void DiagnosticsPane::showReport(const DiagnosticsReport& report) {
    const QString html = reportHtml(report);
    // Who selects something wants it to stay.
    if (html == shown_ || report_->textCursor().hasSelection())
        return;
    shown_ = html;
    const int position = report_->textCursor().position();
    const int scrolled = report_->verticalScrollBar()->value();
    report_->setHtml(html);
    QTextCursor cursor = report_->textCursor();
    cursor.setPosition(std::min(position, report_->document()->characterCount() - 1));
    report_->setTextCursor(cursor);
    report_->verticalScrollBar()->setValue(scrolled);
}

SupportBundleSources DiagnosticsPane::bundleSources() const {
    SupportBundleSources sources = means_.bundle();
    sources.report = means_.sources.prepare();
    return sources;
}

void DiagnosticsPane::copy() {
    runInBackground(
        *QThreadPool::globalInstance(), this,
        [sources = bundleSources()] {
            const Redactor redactor = redactorFor(sources);
            auto report = sources.report();
            for (DiagnosticsSection& section : report)
                section.values = redactor.json(section.values);
            return QString::fromStdString(reportText(report));
        },
        [this](const QString& text) {
            QApplication::clipboard()->setText(text);
            said_->setText(QStringLiteral("Copied, without names and UIDs of patients."));
            said_->show();
        });
}

void DiagnosticsPane::exportBundle() {
    auto* dialog = new SupportBundleDialog(bundleSources(), parentWidget());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}

void DiagnosticsPane::showCrashDump(const QString& path) {
    if (isHidden())
        toggle();
    pages_->setCurrentWidget(crashes_);
    crashes_->select(path);
}

bool DiagnosticsPane::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        // The window's one-key shortcuts would otherwise take the keys that walk through the pane.
        const auto* key = static_cast<QKeyEvent*>(event);
        if (!(key->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) &&
            key->key() != Qt::Key_F1)
            event->accept();
    }
    return QDockWidget::event(event);
}

void DiagnosticsPane::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape)
        Q_EMIT left();
    else
        QDockWidget::keyPressEvent(event);
}

} // namespace zorbel
