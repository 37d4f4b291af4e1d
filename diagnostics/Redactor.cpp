#include "diagnostics/Redactor.h"

#include <QStringList>

#include <algorithm>
#include <set>

namespace zorbel {

namespace {

constexpr int shortestPart = 3; ///< of a name, in letters
constexpr int tellingPart = 5;  ///< is found within words, too
const QString removed = QStringLiteral("[removed]");
const QString person = QStringLiteral("[person]");
const QString email = QStringLiteral("[e-mail]");

QString qt(std::string_view utf8) {
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()))
        .normalized(QString::NormalizationForm_C);
}

auto constantly(const QString& text) {
    return [text](const QRegularExpressionMatch&) { return text; };
}

/// UIDs of the standard, such as transfer syntaxes, name nobody.
bool isStandardUid(const QString& uid) {
    return uid.startsWith(QLatin1String("1.2.840.10008."));
}

bool looksLikeUid(const QString& text) {
    return !isStandardUid(text) && (text.size() >= 16 || text.count(QLatin1Char('.')) >= 4);
}

QStringList nameParts(const QString& name) {
    static const QRegularExpression separators(
        QStringLiteral("[^\\p{L}\\p{N}'’-]+"), QRegularExpression::UseUnicodePropertiesOption);
    return name.split(separators, Qt::SkipEmptyParts);
}

bool contains(const QString& key, std::initializer_list<const char*> words) {
    return std::any_of(words.begin(), words.end(), [&key](const char* word) {
        return key.contains(QLatin1String(word), Qt::CaseInsensitive);
    });
}

} // namespace

Redactor::Redactor(const KnownSecrets& known, KeyedNames names) : names_(std::move(names)) {
    for (const std::string& uid : known.seriesUids)
        kinds_[uid] = "series";
    for (const std::string& uid : known.studyUids)
        kinds_[uid] = "study";
    addTokens(known);
    addPlaces(known);
    addIdentifiers(known);
    addPeople(known.patients, true);
    addPeople(known.users, false);
}

void Redactor::add(const QString& pattern, Replacement replacement) {
    rules_.push_back(
        {QRegularExpression(
             pattern,
             QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption),
         std::move(replacement)});
}

void Redactor::addLiterals(
    const std::vector<std::string>& texts, const char* before, const char* after, const Replacement& with) {
    QStringList escaped;
    for (const std::string& text : texts)
        if (const QString literal = qt(text).trimmed(); !literal.isEmpty())
            escaped += QRegularExpression::escape(literal);
    if (escaped.isEmpty())
        return;
    // The longest first: one may begin another.
    std::sort(escaped.begin(), escaped.end(), [](const QString& left, const QString& right) {
        return left.size() > right.size();
    });
    add(QLatin1String(before) + QStringLiteral("(?:%1)").arg(escaped.join(QLatin1Char('|'))) +
            QLatin1String(after),
        with);
}

void Redactor::addTokens(const KnownSecrets& known) {
    addLiterals(known.tokens, "", "", constantly(removed));
    add(QStringLiteral("\\b(Bearer|Basic)\\s+[A-Za-z0-9._~+/=-]{6,}"),
        [](const QRegularExpressionMatch& match) { return match.captured(1) + QLatin1Char(' ') + removed; });
    add(QStringLiteral("\\beyJ[A-Za-z0-9_-]{4,}(?:\\.[A-Za-z0-9_-]*)+"), constantly(removed));
    add(QStringLiteral("\\b([\\w-]*(?:token|password|passwd|secret|api[_-]?key|authorization|cookie))(\"?\\s*"
                       "[:=]\\s*\"?)(?!Bearer|Basic)[^\\s\"',;&}]+"),
        [](const QRegularExpressionMatch& match) { return match.captured(1) + match.captured(2) + removed; });
}

void Redactor::addPlaces(const KnownSecrets& known) {
    std::vector<std::string> homes;
    for (const std::string& home : known.homeFolders) {
        if (home.size() < 3) // "/" is everywhere
            continue;
        homes.push_back(home);
        homes.push_back(qt(home).replace(QLatin1Char('/'), QLatin1Char('\\')).toStdString());
    }
    addLiterals(homes, "", "(?![\\w.-])", constantly(QStringLiteral("~")));
    add(QStringLiteral("(?:[a-z]:)?(?:/home/|[\\\\/]+Users[\\\\/]+)[^\\\\/\\s\"':;,|<>]+"),
        constantly(QStringLiteral("~")));
    add(QStringLiteral("[\\p{L}\\p{N}._%+-]+@[\\p{L}\\p{N}-]+(?:\\.[\\p{L}\\p{N}-]+)*"), constantly(email));
}

void Redactor::addIdentifiers(const KnownSecrets& known) {
    const auto uid = [this](const QRegularExpressionMatch& match) {
        const std::string text = match.captured(0).toStdString();
        const auto kind = kinds_.find(text);
        return QString::fromStdString(names_.of(kind == kinds_.end() ? "uid" : kind->second, text));
    };
    std::vector<std::string> uids;
    for (const auto& [text, kind] : kinds_)
        uids.push_back(text);
    addLiterals(uids, "(?<![\\d.])", "(?!\\.?\\d)", uid);
    add(QStringLiteral("(?<![\\d.])[0-2](?:\\.\\d+){2,}(?!\\.?\\d)"),
        [uid](const QRegularExpressionMatch& match) {
            return looksLikeUid(match.captured(0)) ? uid(match) : match.captured(0);
        });
    addLiterals(known.identifiers, "(?<![\\p{L}\\p{N}])", "(?![\\p{L}\\p{N}])", named("id"));
    add(QStringLiteral("\\b[0-9a-f]{8}(?:-[0-9a-f]{8}){4}\\b"), named("id"));              // of the archive
    add(QStringLiteral("\\b[0-9a-f]{8}(?:-[0-9a-f]{4}){3}-[0-9a-f]{12}\\b"), named("id")); // of the service
    add(QStringLiteral("\\b[0-9a-f]{24}\\b"), named("id")); // of a user's folder
}

void Redactor::addPeople(const std::vector<std::string>& people, bool within) {
    std::set<QString> whole;
    std::set<QString> words;
    std::set<QString> telling;
    for (const std::string& name : people) {
        QStringList parts = nameParts(qt(name));
        for (const QString& part : parts)
            if (part.size() >= shortestPart)
                (within && part.size() >= tellingPart ? telling : words)
                    .insert(QRegularExpression::escape(part));
        if (parts.size() < 2)
            continue;
        // Also of short parts, which alone say nothing.
        for (int order = 0; order < 2; ++order) {
            QStringList escaped;
            for (const QString& part : parts)
                escaped += QRegularExpression::escape(part);
            whole.insert(escaped.join(QStringLiteral("[\\s^=,;_.+-]{0,3}")));
            std::reverse(parts.begin(), parts.end());
        }
    }
    const auto addAll = [this](const std::set<QString>& patterns, const char* before, const char* after) {
        if (!patterns.empty())
            add(QLatin1String(before) +
                    QStringLiteral("(?:%1)").arg(
                        QStringList(patterns.begin(), patterns.end()).join(QLatin1Char('|'))) +
                    QLatin1String(after),
                constantly(person));
    };
    addAll(whole, "(?<![\\p{L}])", "(?![\\p{L}])");
    addAll(telling, "", "");
    addAll(words, "(?<![\\p{L}])", "(?![\\p{L}])");
}

Redactor::Replacement Redactor::named(const char* kind) const {
    return [this, kind](const QRegularExpressionMatch& match) {
        return QString::fromStdString(names_.of(kind, match.captured(0).toLower().toStdString()));
    };
}

std::string Redactor::text(std::string_view utf8) const {
    QString text = qt(utf8);
    for (const Rule& rule : rules_) {
        QString result;
        qsizetype done = 0;
        for (auto matches = rule.pattern.globalMatch(text); matches.hasNext();) {
            const QRegularExpressionMatch match = matches.next();
            result += QStringView(text).mid(done, match.capturedStart() - done);
            result += rule.replacement(match);
            done = match.capturedEnd();
        }
        if (done > 0) {
            result += QStringView(text).mid(done);
            text = std::move(result);
        }
    }
    return text.toStdString();
}

DiagnosticsJson Redactor::valueOf(const std::string& key, const DiagnosticsJson& value) const {
    if (value.is_structured() || value.is_null() || value.is_boolean() || value == "")
        return json(value);
    const QString name = QString::fromStdString(key);
    if (contains(name, {"token", "password", "secret", "authorization", "cookie"}))
        return removed.toStdString();
    if (contains(name, {"patient"}))
        return person.toStdString();
    if (contains(name, {"email"}))
        return email.toStdString();
    const bool series = contains(name, {"seriesInstanceUID"});
    if (value.is_string() && (series || contains(name, {"studyInstanceUID", "studyIdentifier"})))
        return names_.of(series ? "series" : "study", value.get<std::string>());
    return json(value);
}

DiagnosticsJson Redactor::json(const DiagnosticsJson& value) const {
    if (value.is_string())
        return text(value.get_ref<const std::string&>());
    if (value.is_array()) {
        auto result = DiagnosticsJson::array();
        for (const auto& item : value)
            result.push_back(json(item));
        return result;
    }
    if (!value.is_object())
        return value;
    auto result = DiagnosticsJson::object();
    for (const auto& [key, item] : value.items())
        result[text(key)] = valueOf(key, item);
    return result;
}

std::string Redactor::lines(std::string_view utf8) const {
    std::string result;
    while (!utf8.empty()) {
        const std::size_t end = std::min(utf8.find('\n'), utf8.size());
        std::string_view line = utf8.substr(0, end);
        utf8.remove_prefix(std::min(end + 1, utf8.size()));
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        const auto parsed = DiagnosticsJson::parse(line, nullptr, false);
        result += parsed.is_structured()
                      ? json(parsed).dump(-1, ' ', false, DiagnosticsJson::error_handler_t::replace)
                      : text(line);
        result += '\n';
    }
    return result;
}

} // namespace zorbel
