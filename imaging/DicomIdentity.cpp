#include "imaging/DicomIdentity.h"

#include "imaging/DicomSeriesReader.h"
#include "imaging/dicom/CharacterSet.h"
#include "imaging/dicom/DicomAttributes.h"

#include <stdexcept>

namespace zorbel::imaging {

DicomIdentity readDicomIdentity(std::span<const std::byte> file) {
    DicomIdentity identity;
    try {
        MemorySource source(file);
        const ParsedFile parsed = parseDicom(source, Tag{0x0020, 0x000f});
        const DicomAttributes attributes(parsed.dataSet);
        identity.patientId = toUtf8(attributes.text({0x0010, 0x0020}), attributes.texts({0x0008, 0x0005}));
        identity.studyInstanceUID = attributes.text({0x0020, 0x000d});
        identity.seriesInstanceUID = attributes.text({0x0020, 0x000e});
        identity.sopInstanceUID = attributes.text({0x0008, 0x0018});
    } catch (const std::runtime_error&) {
        identity.sopInstanceUID.clear();
    }
    if (identity.sopInstanceUID.empty())
        throw DicomReadError("The received instance is not a readable DICOM file");
    return identity;
}

} // namespace zorbel::imaging
