#include "signin/LoginDialog.h"

#include "platform/threads/StackGuard.h"
#include "resources/Resources.h"
#include "settings/store/SettingsStore.h"

#include "api/ZorbelApiClient.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSvgRenderer>
#include <QSvgWidget>
#include <QVBoxLayout>
#include <QtConcurrent>

#include <algorithm>
#include <utility>

namespace zorbel {

namespace {

const QString submitText = QStringLiteral("Sign in securely");

constexpr QSize fullSize(520, 650);
constexpr QSize sizeAgain(520, 460); ///< without an error
constexpr QSize logoBounds(320, 64);
constexpr int contentWidth = 520 - 2 * 56;
constexpr int tallestError = 114;
constexpr int longestUnbrokenWord = 36;

// The fixed parts; the error's own look stands at its label.
const QString dialogStyle = QStringLiteral(R"(
#zorbelLoginDialog { background:#F7F9FB; }
#zorbelLoginDialog QLineEdit { background:#FFFFFF; color:#0F172A; border:1px solid #CBD5E1; border-radius:8px;
    padding:0 13px; font-size:14px; selection-background-color:#002B5B; selection-color:#FFFFFF; }
#zorbelLoginDialog QLineEdit:hover { border-color:#94A3B8; }
#zorbelLoginDialog QLineEdit:focus { border:2px solid #1D6FB8; padding:0 12px; }
#zorbelLoginDialog QLineEdit:disabled { background:#F1F5F9; color:#64748B; border-color:#E2E8F0; }
#loginSubmit { background:#002B5B; color:#FFFFFF; border:2px solid #002B5B; border-radius:8px; font-size:15px;
    font-weight:600; }
#loginSubmit:hover { background:#0A3F7D; border-color:#0A3F7D; }
#loginSubmit:pressed { background:#001F42; border-color:#001F42; }
#loginSubmit:focus { border-color:#7DB4E6; }
#loginSubmit:disabled { background:#64748B; border-color:#64748B; color:#F8FAFC; }
#loginNotNow { background:transparent; color:#334155; border:1px solid transparent; border-radius:8px; font-size:14px; }
#loginNotNow:hover { background:#E2E8F0; }
#loginNotNow:focus { border-color:#7DB4E6; }
#loginErrorArea { background:transparent; border:0; }
#loginErrorArea QScrollBar:vertical { background:transparent; border:0; width:10px; margin:2px 0 2px 4px; }
#loginErrorArea QScrollBar::handle:vertical { background:#FDA29B; border-radius:3px; min-height:24px; }
#loginErrorArea QScrollBar::add-line, #loginErrorArea QScrollBar::sub-line { height:0; }
#loginErrorArea QScrollBar::add-page, #loginErrorArea QScrollBar::sub-page { background:transparent; }
)");

QLabel* styledLabel(const QString& text, const QString& style) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setStyleSheet(style);
    return label;
}

QWidget* createLogo() {
    const QString path = resourcePath(QStringLiteral("logo-zorbel-main.svg"));
    if (QFileInfo::exists(path)) {
        auto logo = std::make_unique<QSvgWidget>(path);
        if (logo->renderer()->isValid()) {
            logo->renderer()->setAspectRatioMode(Qt::KeepAspectRatio);
            logo->setFixedSize(logo->renderer()->defaultSize().scaled(logoBounds, Qt::KeepAspectRatio));
            logo->setStyleSheet(QStringLiteral("background:transparent;"));
            return logo.release();
        }
    }
    return styledLabel(
        QStringLiteral("Zorbel"),
        QStringLiteral("color:#002B5B;font-size:40px;font-weight:700;background:transparent;"));
}

/// A label breaks lines at blanks only; a long address in a message gets places to break.
QString breakable(const QString& message) {
    QString text;
    int unbroken = 0;
    for (const QChar character : message) {
        unbroken = character.isSpace() ? 0 : unbroken + 1;
        if (unbroken > longestUnbrokenWord && !character.isLowSurrogate() && !character.isMark()) {
            text += QChar(0x200B);
            unbroken = 1;
        }
        text += character;
    }
    return text;
}

} // namespace

/// Shared by dialog and worker: whoever comes second knows what the first did, so that a session nobody took
/// is never left behind.
struct LoginDialog::Verification {
    enum class State { Running, Finished, Abandoned };

    CancelFlag cancel = std::make_shared<std::atomic<bool>>(false);
    std::atomic<State> state = State::Running;

    bool moveTo(State next) {
        State running = State::Running;
        return state.compare_exchange_strong(running, next);
    }
};

LoginDialog::LoginDialog(std::shared_ptr<ZorbelApiClient> client, QWidget* parent)
    : LoginDialog(std::move(client), static_cast<const EndedSession*>(nullptr), parent) {}

LoginDialog::LoginDialog(std::shared_ptr<ZorbelApiClient> client, const EndedSession& ended, QWidget* parent)
    : LoginDialog(std::move(client), &ended, parent) {}

LoginDialog::LoginDialog(std::shared_ptr<ZorbelApiClient> client, const EndedSession* ended, QWidget* parent)
    : QDialog(parent), client_(std::move(client)), again_(ended) {
    setObjectName(QStringLiteral("zorbelLoginDialog"));
    setWindowTitle(QStringLiteral("Sign in to Zorbel Diagnostic Viewer"));
    setModal(true);
    setFixedSize(again_ ? sizeAgain : fullSize);
    setStyleSheet(dialogStyle);

    auto* column = new QVBoxLayout(this);
    const int margin = again_ ? 30 : 44;
    column->setContentsMargins(56, margin, 56, margin);
    column->setSpacing(0);
    addHeading(column);
    addFields(column);
    addSubmit(column);
    if (again_)
        addNotNow(column);
    column->addStretch();
    addConnection(column);
    if (ended)
        email_->setText(ended->email);

    connect(button_, &QPushButton::clicked, this, &LoginDialog::submit);
    connect(&watcher_, &QFutureWatcherBase::finished, this, &LoginDialog::showOutcome);
    (email_->text().isEmpty() ? email_ : password_)->setFocus();
}

LoginDialog::~LoginDialog() {
    abandonVerification();
}

void LoginDialog::addHeading(QVBoxLayout* column) {
    if (!again_) {
        column->addWidget(createLogo(), 0, Qt::AlignHCenter);
        column->addSpacing(30);
    }
    auto* title = styledLabel(
        again_ ? QStringLiteral("Sign in again") : QStringLiteral("Diagnostic Viewer"),
        QStringLiteral("color:#002B5B;font-size:28px;font-weight:700;background:transparent;"));
    title->setAlignment(Qt::AlignCenter);
    column->addWidget(title);
    auto* subtitle = styledLabel(
        again_ ? QStringLiteral("Your session has ended. Sign in again to go on where you were.")
               : QStringLiteral("Secure access to your organization's imaging studies"),
        QStringLiteral("color:#64748B;font-size:13px;background:transparent;margin-top:4px;"));
    subtitle->setAlignment(Qt::AlignCenter);
    subtitle->setWordWrap(true);
    column->addWidget(subtitle);
    column->addSpacing(again_ ? 22 : 34);
}

QLineEdit* LoginDialog::addField(QVBoxLayout* column, const QString& caption, const QString& objectName) {
    auto* label = styledLabel(
        caption,
        QStringLiteral(
            "color:#334155;font-size:11px;font-weight:700;letter-spacing:1px;background:transparent;"));
    auto* field = new QLineEdit;
    field->setObjectName(objectName);
    field->setMinimumHeight(48);
    label->setBuddy(field);
    column->addWidget(label);
    column->addSpacing(7);
    column->addWidget(field);
    return field;
}

void LoginDialog::addFields(QVBoxLayout* column) {
    email_ = addField(column, QStringLiteral("WORK EMAIL"), QStringLiteral("loginEmail"));
    email_->setPlaceholderText(QStringLiteral("name@clinic.example"));
    email_->setClearButtonEnabled(true);
    email_->setInputMethodHints(Qt::ImhEmailCharactersOnly);
    email_->setText(SettingsStore().text(settings_table::lastEmail));
    column->addSpacing(18);

    password_ = addField(column, QStringLiteral("PASSWORD"), QStringLiteral("loginPassword"));
    password_->setPlaceholderText(QStringLiteral("Enter your password"));
    password_->setEchoMode(QLineEdit::Password);
    column->addSpacing(14);

    error_ = styledLabel(
        {}, QStringLiteral(
                "color:#B42318;background:#FEF3F2;border:1px solid #FECDCA;border-radius:8px;padding:9px;"));
    error_->setObjectName(QStringLiteral("loginError"));
    error_->setWordWrap(true);
    error_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    // A long message from the server scrolls instead of pushing the button out of the fixed window.
    errorArea_ = new QScrollArea;
    errorArea_->setObjectName(QStringLiteral("loginErrorArea"));
    errorArea_->setFrameShape(QFrame::NoFrame);
    errorArea_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    errorArea_->setFocusPolicy(Qt::NoFocus);
    errorArea_->setWidgetResizable(true);
    errorArea_->setWidget(error_);
    errorArea_->hide();
    column->addWidget(errorArea_);
    column->addSpacing(12);
}

void LoginDialog::addSubmit(QVBoxLayout* column) {
    button_ = new QPushButton(submitText);
    button_->setObjectName(QStringLiteral("loginSubmit"));
    button_->setMinimumHeight(50);
    button_->setCursor(Qt::PointingHandCursor);
    button_->setDefault(true);
    column->addWidget(button_);
}

void LoginDialog::addNotNow(QVBoxLayout* column) {
    auto* notNow = new QPushButton(QStringLiteral("Not now"));
    notNow->setObjectName(QStringLiteral("loginNotNow"));
    notNow->setMinimumHeight(38);
    notNow->setAutoDefault(false);
    notNow->setToolTip(QStringLiteral("Go on without the imaging service. What you record stays safe."));
    connect(notNow, &QPushButton::clicked, this, &QDialog::reject);
    column->addSpacing(8);
    column->addWidget(notNow);
}

void LoginDialog::addConnection(QVBoxLayout* column) {
    const bool encrypted = QUrl(client_->config().baseUrl).scheme() == QLatin1String("https");
    auto* dot = styledLabel(
        QStringLiteral("●"), encrypted ? QStringLiteral("color:#059669;background:transparent;")
                                       : QStringLiteral("color:#B45309;background:transparent;"));
    auto* connection =
        styledLabel({}, QStringLiteral("color:#64748B;font-size:11px;background:transparent;"));
    connection->setObjectName(QStringLiteral("loginConnection"));
    connection->ensurePolished();
    const QString text = (encrypted ? QStringLiteral("Encrypted connection • %1")
                                    : QStringLiteral("Local connection, not encrypted • %1"))
                             .arg(client_->config().baseUrl);
    connection->setText(connection->fontMetrics().elidedText(text, Qt::ElideMiddle, contentWidth - 30));
    connection->setToolTip(text);
    auto* row = new QHBoxLayout;
    row->setSpacing(6);
    row->addStretch();
    row->addWidget(dot);
    row->addWidget(connection);
    row->addStretch();
    column->addLayout(row);
}

void LoginDialog::showError(const QString& message) {
    error_->setText(breakable(message));
    const bool shown = !message.isEmpty();
    int height = 0;
    if (shown) {
        error_->ensurePolished();
        height = std::min(error_->heightForWidth(contentWidth), tallestError);
        errorArea_->setFixedHeight(height);
        errorArea_->verticalScrollBar()->setValue(0);
    }
    errorArea_->setVisible(shown);
    if (again_)
        setFixedHeight(sizeAgain.height() + height);
}

void LoginDialog::setVerifying(bool verifying) {
    email_->setEnabled(!verifying);
    password_->setEnabled(!verifying);
    button_->setEnabled(!verifying);
    button_->setText(verifying ? QStringLiteral("Verifying access…") : submitText);
}

void LoginDialog::submit() {
    const QString email = email_->text().trimmed();
    const QString password = password_->text();
    if (email.isEmpty() || password.isEmpty()) {
        showError(QStringLiteral("Enter your work email and password."));
        return;
    }
    if (verification_)
        return;
    showError({});
    setVerifying(true);
    verification_ = std::make_shared<Verification>();
    watcher_.setFuture(QtConcurrent::run([client = client_, verification = verification_, email, password] {
        guardThreadStack();
        LoginOutcome outcome = client->signIn(email, password, verification->cancel);
        if (!verification->moveTo(Verification::State::Finished))
            client->signOut();
        return outcome;
    }));
}

void LoginDialog::showOutcome() {
    if (!verification_)
        return;
    verification_.reset();
    setVerifying(false);
    const LoginOutcome outcome = watcher_.result();
    // setText, unlike clear, leaves nothing to undo.
    password_->setText({});
    if (outcome.success) {
        SettingsStore().set(settings_table::lastEmail, email_->text().trimmed());
        accept();
        return;
    }
    password_->setFocus();
    showError(
        outcome.errorMessage.isEmpty()
            ? QStringLiteral("Sign-in failed. Check your credentials and try again.")
        : outcome.advice.isEmpty() ? outcome.errorMessage
                                   : outcome.errorMessage + QLatin1Char('\n') + outcome.advice);
}

void LoginDialog::abandonVerification() {
    if (!verification_)
        return;
    verification_->cancel->store(true);
    if (!verification_->moveTo(Verification::State::Abandoned))
        client_->signOut();
    verification_.reset();
}

void LoginDialog::done(int result) {
    if (result != Accepted)
        abandonVerification();
    password_->setText({});
    QDialog::done(result);
}

} // namespace zorbel
