#include "report/WordWorkingFolder.h"

#include "app/log/Logger.h"
#include "base/PathText.h"
#include "platform/PrivateFile.h"
#include "report/WordDocumentFile.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

constexpr char component[] = "WordReport";
constexpr char recordName[] = "report.json";
constexpr char lockName[] = "report.lock";
constexpr char createFailed[] = "Unable to create the private Word working folder";
constexpr char writeFailed[] = "Unable to write the local Word report";
constexpr int mostFolders = 1000; // of one report

/// Ids come from outside and become file names.
std::string nameFrom(const QString& id, qsizetype length) {
    std::string name = id.left(length).toStdString();
    for (char& c : name) {
        const bool plain = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        if (!plain && c != '-' && c != '_')
            c = '_';
    }
    return name;
}

/// Its own, or, where the service gave it none, its session's.
QString idOf(const WordSession& session) {
    return session.reportId.isEmpty() ? session.sessionId : session.reportId;
}

std::string_view view(const QByteArray& bytes) {
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

[[noreturn]] void fail(const char* text, const std::exception& reason) {
    Logger::instance().warn(component, text, {{"reason", reason.what()}});
    throw std::runtime_error(text);
}

template <class Predicate>
bool anyEntry(const fs::path& folder, Predicate predicate) {
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (const fs::directory_iterator end; !error && entry != end; entry.increment(error)) {
        if (predicate(pathText(entry->path().filename())))
            return true;
    }
    return false;
}

/// Beside a document that is open: LibreOffice's and Word's.
bool isWordProcessorsLock(const std::string& name) {
    return name.starts_with(".~lock.") || name.starts_with("~$");
}

std::string documentName(const WordSession& session) {
    return "Zorbel-Report-" + nameFrom(idOf(session), 8) + ".docx";
}

/// A copy that somebody put beside it is not the report.
fs::path documentIn(const fs::path& folder) {
    if (const auto text = WordDocumentFile::readBytes(folder / recordName)) {
        if (const auto record = WordReportRecord::fromText(*text))
            return folder / documentName(record->session);
    }
    std::string found = "Zorbel-Report.docx";
    anyEntry(folder, [&found](const std::string& name) {
        const bool matches = name.starts_with("Zorbel-Report") && name.ends_with(".docx");
        if (matches)
            found = name;
        return matches;
    });
    return folder / found;
}

/// Nobody needs what lies there: a document that the service holds, or none.
bool mayMakeWay(const WordWorkingFolder& folder) {
    std::error_code error;
    if (fs::symlink_status(folder.document(), error).type() == fs::file_type::not_found)
        return true;
    const auto record = folder.record();
    const auto document = WordDocumentFile::read(folder.document());
    return record && document && document->sha256 == record->syncedSha256;
}

} // namespace

WordWorkingFolder::WordWorkingFolder(fs::path folder, FileLock lock)
    : folder_(std::move(folder)), document_(documentIn(folder_)),
      lock_(std::make_shared<FileLock>(std::move(lock))) {}

WordWorkingFolder WordWorkingFolder::create(const fs::path& root, const WordSession& session) {
    const std::string name = "word-" + nameFrom(idOf(session), 16);
    try {
        createPrivateFolder(root);
        for (int number = 1; number <= mostFolders; ++number) {
            const fs::path path = root / (number == 1 ? name : name + "-" + std::to_string(number));
            std::error_code error;
            if (fs::exists(fs::symlink_status(path, error))) {
                auto earlier = open(path);
                if (!earlier || earlier->isOpenElsewhere() || !mayMakeWay(*earlier) || !earlier->remove())
                    continue;
            }
            createPrivateFolder(path);
            if (auto lock = FileLock::tryAcquire(path / lockName)) {
                WordWorkingFolder folder(path, std::move(*lock));
                folder.document_ = path / documentName(session);
                return folder;
            }
        }
    } catch (const std::exception& error) {
        fail(createFailed, error);
    }
    throw std::runtime_error(createFailed);
}

std::optional<WordWorkingFolder> WordWorkingFolder::open(const fs::path& folder) {
    try {
        if (!isOwnFolder(folder))
            return std::nullopt;
        if (auto lock = FileLock::tryAcquire(folder / lockName))
            return WordWorkingFolder(folder, std::move(*lock));
    } catch (const std::system_error& error) {
        Logger::instance().warn(
            component, "A Word working folder could not be opened", {{"reason", error.code().message()}});
    }
    return std::nullopt;
}

void WordWorkingFolder::writeDocument(const QByteArray& bytes) const {
    try {
        writePrivateFile(document_, view(bytes));
    } catch (const std::exception& error) {
        fail(writeFailed, error);
    }
}

void WordWorkingFolder::writeRecord(const WordReportRecord& record) const {
    try {
        createPrivateFolder(folder_);
        writePrivateFile(folder_ / recordName, view(record.toText()));
    } catch (const std::exception& error) {
        fail(writeFailed, error);
    }
}

std::optional<WordReportRecord> WordWorkingFolder::record() const {
    const auto text = WordDocumentFile::readBytes(folder_ / recordName);
    return text ? WordReportRecord::fromText(*text) : std::nullopt;
}

bool WordWorkingFolder::isOpenElsewhere() const {
    return anyEntry(folder_, [](const std::string& name) { return isWordProcessorsLock(name); });
}

bool WordWorkingFolder::holdsOtherFiles() const {
    return anyEntry(folder_, [this](const std::string& name) {
        return name != pathText(document_.filename()) && name != recordName && name != lockName &&
               !isWordProcessorsLock(name) && !isUnfinishedWrite(name);
    });
}

bool WordWorkingFolder::remove() {
    if (holdsOtherFiles())
        return false;
    std::error_code error;
    fs::directory_iterator entry(folder_, error);
    for (const fs::directory_iterator end; !error && entry != end; entry.increment(error)) {
        std::error_code ignored;
        if (entry->path().filename() != lockName)
            fs::remove(entry->path(), ignored);
    }
    if (lock_)
        lock_->removeFile();
    fs::remove(folder_, error);
    return !error;
}

} // namespace zorbel
