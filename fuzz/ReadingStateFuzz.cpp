// A file of the reading state; the first byte says which. What can be read is the same after it was written
// again.
#include "fuzz/FuzzSupport.h"
#include "viewer/reading/records/MeasurementRecords.h"
#include "viewer/reading/state/HangingProtocol.h"
#include "viewer/reading/state/ReadingPosition.h"
#include "viewer/reading/state/RecentStudies.h"
#include "viewer/reading/state/RecordLists.h"
#include "viewer/reading/state/SessionFile.h"
#include "viewer/reading/state/StateFiles.h"

#include <string_view>

namespace {

using namespace zorbel;

void position(std::string_view text) {
    const auto read = readingPositionFrom(text);
    if (!read)
        return;
    for (const auto& [key, planes] : read->series)
        fuzz::require(areOrthogonal(planes.axes), "the planes of a position that is applied are orthogonal");
    fuzz::require(readingPositionFrom(readingPositionText(*read)) == read, "a position reads back");
}

void hanging(std::string_view text) {
    const auto read = hangingProtocolFrom(text);
    if (!read)
        return;
    for (const auto& [key, protocol] : read->series)
        fuzz::require(
            protocol.slabHalfSlices >= 1 && protocol.slabHalfSlices <= HangingProtocol::mostSlabHalfSlices &&
                (!protocol.window || protocol.window->width > 0.0),
            "a hanging protocol is within its limits");
    fuzz::require(hangingProtocolFrom(hangingProtocolText(*read)) == read, "a hanging protocol reads back");
}

void findings(std::string_view text) {
    const auto read = findingsFrom(text);
    if (!read)
        return;
    for (const Finding& finding : read->findings())
        fuzz::require(!finding.siteLabel().empty(), "a finding has a site");
    fuzz::require(findingsFrom(findingsText(*read)) == read, "findings read back");
}

void keyImages(std::string_view text) {
    const auto read = keyImagesFrom(text);
    if (!read)
        return;
    for (const KeyImage& image : read->images())
        fuzz::require(
            image.fileName.find('/') == std::string::npos && image.width > 0 && image.height > 0,
            "a key image is a picture in the study's folder");
    fuzz::require(!read->holds(keyImageFileName(read->nextNumber())), "the next number is free");
    fuzz::require(keyImagesFrom(keyImagesText(*read)) == read, "key images read back");
}

void measurements(std::string_view text) {
    if (const auto array = measurementsFrom(text)) {
        const auto file = measurementsText(*array);
        fuzz::require(file && measurementsFrom(*file) == array, "measurements read back");
        const auto read = MeasurementRecords::fromJson(*array).measurements;
        const auto again = MeasurementRecords::fromJson(MeasurementRecords::toJson(read));
        fuzz::require(again.unreadable == 0 && again.measurements == read, "their records read back");
    }
}

void recentStudies(std::string_view text) {
    const auto read = recentStudiesFrom(text);
    if (!read)
        return;
    fuzz::require(read->studies().size() <= RecentStudies::most, "the recent studies are not too many");
    for (const RecentStudy& opened : read->studies())
        fuzz::require(
            studyFileName(opened.study.studyInstanceUid) == opened.study.studyInstanceUid,
            "a recent study has a UID");
    fuzz::require(recentStudiesFrom(recentStudiesText(*read)) == read, "recent studies read back");
}

void session(std::string_view text) {
    const auto read = sessionFrom(text);
    if (!read)
        return;
    fuzz::require(read->size() <= SessionFile::mostStudies, "the open studies are not too many");
    for (const OpenStudy& open : *read) {
        fuzz::require(
            studyFileName(open.study.studyInstanceUid) == open.study.studyInstanceUid,
            "an open study has a UID");
        fuzz::require(
            open.program.find_first_not_of("0123456789abcdef") == std::string::npos,
            "a program's digits are a safe file name");
    }
    fuzz::require(sessionFrom(sessionText(*read, "now")) == read, "a session reads back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using Reader = void (*)(std::string_view);
    static constexpr Reader readers[] = {position,     hanging,       findings, keyImages,
                                         measurements, recentStudies, session};
    if (size > 0)
        readers[data[0] % std::size(readers)]({reinterpret_cast<const char*>(data) + 1, size - 1});
    return 0;
}
