#pragma once

#include "platform/FileLock.h"
#include "report/WordReportRecord.h"

#include <QByteArray>

#include <filesystem>
#include <memory>
#include <optional>

namespace zorbel {

/// A report's private folder, "word-" and the first 16 characters of its id: the document that the word
/// processor edits, "report.json" with what is known of it, and a lock that says that a program watches over
/// it. Calls wait for the disk. Values may be copied; all copies share the lock, which ends with the last.
class WordWorkingFolder {
public:
    /// A new one below the root, which is created, private, where it is missing. A folder of that name with a
    /// document that is synced and that nobody watches makes way; beside any other, the name is continued
    /// ("-2"). Throws std::runtime_error "Unable to create the private Word working folder".
    static WordWorkingFolder create(const std::filesystem::path& root, const WordSession& session);
    /// One that is there; nothing while another program watches over it, or it is none.
    static std::optional<WordWorkingFolder> open(const std::filesystem::path& folder);

    const std::filesystem::path& path() const { return folder_; }
    /// "Zorbel-Report-" and the first 8 characters of the report's id. In a folder that was opened: the
    /// document that lies there.
    const std::filesystem::path& document() const { return document_; }

    /// In place of what was there, in one step, private. Throws std::runtime_error "Unable to write the local
    /// Word report".
    void writeDocument(const QByteArray& bytes) const;
    /// The folder is made again where somebody removed it. Throws std::runtime_error with the same text.
    void writeRecord(const WordReportRecord& record) const;
    /// Nothing where there is none that can be read.
    std::optional<WordReportRecord> record() const;
    /// A word processor has its document open, or was killed with it.
    bool isOpenElsewhere() const;
    /// Somebody else put files beside the document.
    bool holdsOtherFiles() const;
    /// With the document. False where something stays; with other files in it, nothing goes.
    bool remove();

private:
    WordWorkingFolder(std::filesystem::path folder, FileLock lock);

    std::filesystem::path folder_;
    std::filesystem::path document_;
    std::shared_ptr<FileLock> lock_;
};

} // namespace zorbel
