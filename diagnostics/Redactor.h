#pragma once

#include "diagnostics/DiagnosticsReport.h"
#include "diagnostics/KeyedNames.h"

#include <QRegularExpression>
#include <QString>

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zorbel {

/// What is known not to leave this computer. Nothing of it is kept anywhere.
struct KnownSecrets {
    std::vector<std::string> patients{};  ///< names and ids, in DICOM's form or any other
    std::vector<std::string> users{};     ///< names
    std::vector<std::string> tokens{};    ///< of sessions
    std::vector<std::string> studyUids{}; ///< short ones are found in a text only if they are here
    std::vector<std::string> seriesUids{};
    std::vector<std::string> identifiers{}; ///< of the service, of folders
    std::vector<std::string> homeFolders{}; ///< become "~"
};

/// Takes out of texts what may name a patient, a user or a study, or let somebody in. What is known goes
/// whatever its case and its place; what merely looks like it goes by its form: UIDs but those of the
/// standard itself, the archive's identifiers, e-mail addresses, tokens, passwords, folders of users.
/// Identifiers get the same short name everywhere. A text may lose more than it must, never less. Any thread.
class Redactor {
public:
    Redactor(const KnownSecrets& known, KeyedNames names);
    Redactor(const Redactor&) = delete; // the rules know it
    Redactor& operator=(const Redactor&) = delete;

    std::string text(std::string_view utf8) const;
    /// All texts in it, keys as well; values of keys that say what they hold, by that.
    DiagnosticsJson json(const DiagnosticsJson& value) const;
    /// Lines, each of which is taken as JSON where it is.
    std::string lines(std::string_view utf8) const;

private:
    using Replacement = std::function<QString(const QRegularExpressionMatch&)>;
    struct Rule {
        QRegularExpression pattern;
        Replacement replacement;
    };

    void add(const QString& pattern, Replacement replacement);
    /// Any of the literal texts, at the boundaries of such texts.
    void addLiterals(
        const std::vector<std::string>& texts, const char* before, const char* after,
        const Replacement& with);
    void addTokens(const KnownSecrets& known);
    void addPlaces(const KnownSecrets& known);
    void addIdentifiers(const KnownSecrets& known);
    /// within: a long part of a name is found within words, too.
    void addPeople(const std::vector<std::string>& people, bool within);
    DiagnosticsJson valueOf(const std::string& key, const DiagnosticsJson& value) const;
    Replacement named(const char* kind) const;

    KeyedNames names_;
    std::map<std::string, std::string> kinds_; ///< of UIDs that are known
    std::vector<Rule> rules_;
};

} // namespace zorbel
