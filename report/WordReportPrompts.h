#pragma once

#include <QString>
#include <QStringList>

#include <filesystem>
#include <functional>
#include <optional>

namespace zorbel {

/// What a report asks of its reader and their desktop. Answers come on the user-interface thread, once,
/// during the call or later; a question that is never answered holds nothing up but what it asks for.
class WordReportPrompts {
public:
    using Answer = std::function<void(bool)>;

    virtual ~WordReportPrompts() = default;

    /// The row of the entry that was chosen; nothing where the reader cancels.
    virtual void
    chooseTemplate(const QStringList& entries, std::function<void(std::optional<int>)> chosen) = 0;
    virtual void confirm(const QString& title, const QString& text, Answer answer) = 0;
    /// Whether to make this computer's document the newest version although another was made meanwhile.
    virtual void askAboutConflict(const QString& text, Answer answer) = 0;
    /// Whether the same user is signed in again.
    virtual void signInAgain(Answer answer) = 0;
    virtual void warn(const QString& title, const QString& text) = 0;
    /// In the program that the system has for such documents; whether there is one.
    virtual void openDocument(const std::filesystem::path& document, Answer opened) = 0;
};

} // namespace zorbel
