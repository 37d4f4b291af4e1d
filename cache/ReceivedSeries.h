#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace zorbel {

/// Received data that is not what was asked for: another series, an instance that the series does not list,
/// the same instance twice, or no DICOM at all.
class UnexpectedInstanceError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One instance on disk under its archive id. idVerified: the id was computed from the instance's own
/// identifiers, or is the address it was fetched from; false only for streamed parts of an archive with
/// opaque ids.
struct ReceivedInstance {
    QString id;
    std::string sopInstanceUID;
    std::filesystem::path file;
    bool idVerified = false;
};

/// Collects the instances of one series in a folder and makes sure that each is kept under the id of the
/// instance that it holds, whatever the order in which an archive sends them. One thread.
class ReceivedSeries {
public:
    /// expectedIds: the archive's ids of the series' instances. seriesInstanceUID: may be empty when unknown.
    ReceivedSeries(std::filesystem::path folder, QStringList expectedIds, QString seriesInstanceUID);

    /// A part of a series stream, whose id is known by its position alone. Throws UnexpectedInstanceError, or
    /// std::runtime_error when the file cannot be written.
    void addStreamed(const QString& positionalId, std::span<const std::byte> file);
    /// An instance fetched by its id; throws as addStreamed().
    void addDownloaded(const QString& requestedId, std::span<const std::byte> file);

    /// Forgets what came in without a verified id, so that it is fetched again one by one; whether there was
    /// such.
    bool dropUnverified();
    /// Expected ids that have not arrived, in their order.
    QStringList missingIds() const;
    const std::vector<ReceivedInstance>& instances() const { return instances_; }
    std::vector<std::filesystem::path> files() const;

private:
    void store(
        const QString& id, const std::string& sopInstanceUID, bool verified, std::span<const std::byte> file);

    std::filesystem::path folder_;
    QStringList expectedIds_;
    QString seriesInstanceUID_;
    std::vector<ReceivedInstance> instances_;
    QHash<QString, bool> arrived_; ///< by id; false while only expected
    int nextFile_ = 0;
};

} // namespace zorbel
