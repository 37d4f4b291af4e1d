#pragma once

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace zorbel {

/// A document on the disk, at a time when a word processor may be writing it. Calls wait for the disk; any
/// thread.
class WordDocumentFile {
public:
    struct Contents {
        QByteArray bytes;
        std::string sha256; ///< hexadecimal
    };
    /// By which a later look knows that nothing has changed.
    struct Mark {
        std::uintmax_t size = 0;
        std::filesystem::file_time_type time{};
        /// The file was older than its time stamp is coarse: a later change will show.
        bool settled = false;
        /// Whether they are of the same state of the file.
        friend bool operator==(const Mark& left, const Mark& right) {
            return left.size == right.size && left.time == right.time;
        }
    };
    enum class Finding {
        Unchanged,  ///< since the mark was made
        Missing,    ///< there is no such file just now
        Unreadable, ///< held by another program, or the disk refuses
        Unfinished, ///< no whole Word package: somebody is writing it, or saved something else
        Whole,
    };
    struct Look {
        Finding finding = Finding::Missing;
        Contents contents{}; ///< of a whole one
        Mark mark{};
    };

    /// known: of an earlier look; nothing reads the file in any case.
    static Look look(const std::filesystem::path& file, const std::optional<Mark>& known);
    /// Nothing where it cannot be read, or is larger than any report.
    static std::optional<Contents> read(const std::filesystem::path& file);
    /// Hexadecimal.
    static std::string digest(const QByteArray& bytes);
    static std::optional<QByteArray> readBytes(const std::filesystem::path& file);
};

} // namespace zorbel
