#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>

namespace zorbel::imaging {

/// Which instance a DICOM file is. Values are trimmed; patientId is UTF-8.
struct DicomIdentity {
    std::string patientId;
    std::string studyInstanceUID;
    std::string seriesInstanceUID;
    std::string sopInstanceUID;
};

/// Reads the identity from a whole DICOM file in memory; only its header is parsed. Throws DicomReadError
/// when the bytes are no DICOM file or the SOP instance UID is missing. Any thread.
DicomIdentity readDicomIdentity(std::span<const std::byte> file);

} // namespace zorbel::imaging
