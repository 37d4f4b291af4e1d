#include "cache/ReceivedSeries.h"

#include "cache/InstanceIdentity.h"
#include "imaging/DicomIdentity.h"
#include "imaging/DicomSeriesReader.h"

#include <algorithm>
#include <fstream>
#include <system_error>

namespace zorbel {

namespace {

imaging::DicomIdentity identify(std::span<const std::byte> file, const QString& expectedSeries) {
    imaging::DicomIdentity identity;
    try {
        identity = imaging::readDicomIdentity(file);
    } catch (const imaging::DicomReadError& error) {
        throw UnexpectedInstanceError(error.what());
    }
    if (!expectedSeries.isEmpty() && expectedSeries.toStdString() != identity.seriesInstanceUID)
        throw UnexpectedInstanceError("The image archive sent an instance of another series");
    return identity;
}

} // namespace

ReceivedSeries::ReceivedSeries(
    std::filesystem::path folder, QStringList expectedIds, QString seriesInstanceUID)
    : folder_(std::move(folder)), expectedIds_(std::move(expectedIds)),
      seriesInstanceUID_(std::move(seriesInstanceUID)) {
    for (const QString& id : std::as_const(expectedIds_))
        arrived_.insert(id, false);
}

void ReceivedSeries::addStreamed(const QString& positionalId, std::span<const std::byte> file) {
    const auto identity = identify(file, seriesInstanceUID_);
    if (!isOrthancInstanceId(positionalId)) {
        store(positionalId, identity.sopInstanceUID, false, file);
        return;
    }
    const QString id = orthancInstanceId(identity);
    if (!arrived_.contains(id))
        throw UnexpectedInstanceError("The image archive sent an instance that the series does not list");
    store(id, identity.sopInstanceUID, true, file);
}

void ReceivedSeries::addDownloaded(const QString& requestedId, std::span<const std::byte> file) {
    const auto identity = identify(file, seriesInstanceUID_);
    const QString id = orthancInstanceId(identity);
    // An id of another form, or of a patient id that the archive spelt differently, proves nothing; the id of
    // another instance of this series does.
    if (id != requestedId && arrived_.contains(id))
        throw UnexpectedInstanceError("The image archive sent another instance than the one requested");
    store(requestedId, identity.sopInstanceUID, true, file);
}

void ReceivedSeries::store(
    const QString& id, const std::string& sopInstanceUID, bool verified, std::span<const std::byte> file) {
    const bool repeated =
        arrived_.value(id) || std::any_of(instances_.begin(), instances_.end(), [&](const auto& other) {
            return other.sopInstanceUID == sopInstanceUID;
        });
    if (repeated)
        throw UnexpectedInstanceError("The image archive sent an instance twice");
    // Numbered, because an id from outside is no safe file name.
    const auto path = folder_ / (std::to_string(++nextFile_) + ".dcm");
    std::ofstream stream(path, std::ios::binary);
    stream.write(reinterpret_cast<const char*>(file.data()), static_cast<std::streamsize>(file.size()));
    stream.close();
    if (!stream)
        throw std::runtime_error("Cannot write a downloaded instance to the session-only DICOM workspace. "
                                 "Check the free disk space.");
    arrived_[id] = true;
    instances_.push_back({id, sopInstanceUID, path, verified});
}

bool ReceivedSeries::dropUnverified() {
    return std::erase_if(instances_, [this](const ReceivedInstance& instance) {
               if (instance.idVerified)
                   return false;
               arrived_[instance.id] = false;
               std::error_code ignored; // the folder is removed after the load anyway
               std::filesystem::remove(instance.file, ignored);
               return true;
           }) > 0;
}

QStringList ReceivedSeries::missingIds() const {
    QStringList missing;
    for (const QString& id : expectedIds_)
        if (!arrived_.value(id))
            missing.append(id);
    return missing;
}

std::vector<std::filesystem::path> ReceivedSeries::files() const {
    std::vector<std::filesystem::path> files;
    files.reserve(instances_.size());
    for (const auto& instance : instances_)
        files.push_back(instance.file);
    return files;
}

} // namespace zorbel
