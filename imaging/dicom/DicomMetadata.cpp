#include "imaging/dicom/CharacterSet.h"
#include "imaging/dicom/DicomHeaderParts.h"

#include <algorithm>
#include <cctype>

namespace zorbel::imaging {

namespace {

bool namesConeBeam(const DicomAttributes& root) {
    std::string words;
    for (const Tag& tag :
         {Tag(0x0008, 0x1090), Tag(0x0008, 0x103e), Tag(0x0008, 0x1030), Tag(0x0008, 0x0070),
          Tag(0x0018, 0x1030)})
        words += root.text(tag) + '\n';
    std::transform(words.begin(), words.end(), words.begin(), [](unsigned char c) {
        return c == '-' ? ' ' : static_cast<char>(std::toupper(c));
    });
    return words.find("CBCT") != std::string::npos || words.find("CONE BEAM") != std::string::npos;
}

bool impliesHounsfield(const DicomAttributes& root, const std::string& modality) {
    if (modality != "CT" || namesConeBeam(root))
        return false;
    const std::vector<std::string> type = root.texts({0x0008, 0x0008});
    return type.size() >= 3 && type[0] == "ORIGINAL" && type[1] == "PRIMARY" && type[2] == "AXIAL";
}

void readSpacingSource(const DicomAttributes& root, DicomFileHeader& header) {
    ImageMetadata& metadata = header.metadata;
    if (header.frames.front().pixelSpacing) {
        metadata.spacingSource = SpacingSource::PixelSpacing;
    } else {
        const std::vector<double> imager = root.numbers({0x0018, 0x1164});
        if (imager.size() >= 2 && imager[0] > 0.0 && imager[1] > 0.0) {
            metadata.spacingSource = SpacingSource::ImagerPixelSpacing;
            for (FrameHeader& frame : header.frames)
                frame.pixelSpacing = std::pair{imager[1], imager[0]};
        }
    }
    if (const auto factor = root.number({0x0018, 0x1114}); factor && *factor > 0.0)
        metadata.magnification = factor;
    if (const auto& spacing = header.frames.front().pixelSpacing) {
        metadata.pixelAspectRatio = spacing->second / spacing->first;
    } else if (const auto ratio = root.numbers({0x0028, 0x0034});
               ratio.size() >= 2 && ratio[0] > 0.0 && ratio[1] > 0.0) {
        metadata.pixelAspectRatio = ratio[0] / ratio[1];
    }
}

void readPadding(const DicomAttributes& root, DicomFileHeader& header) {
    const auto value = [&](std::uint16_t element) -> std::optional<double> {
        const auto all = root.shorts({0x0028, element}, header.format.isSigned);
        return all.empty() ? std::nullopt : std::optional<double>(all.front());
    };
    if (const auto first = value(0x0120); first && header.photometric == Photometric::Monochrome) {
        const double last = value(0x0121).value_or(*first);
        header.storedPadding = std::minmax(*first, last);
    }
}

} // namespace

void readMetadata(const DicomAttributes& root, DicomFileHeader& header) {
    ImageMetadata& metadata = header.metadata;
    const std::vector<std::string> characterSets = root.texts({0x0008, 0x0005});
    metadata.studyInstanceUID = root.text({0x0020, 0x000d});
    metadata.seriesInstanceUID = root.text({0x0020, 0x000e});
    metadata.modality = root.text({0x0008, 0x0060});
    metadata.seriesDescription = toUtf8(root.text({0x0008, 0x103e}), characterSets);
    metadata.patientName = displayName(toUtf8(root.text({0x0010, 0x0010}), characterSets));
    metadata.studyDate = root.text({0x0008, 0x0020});

    metadata.inverted =
        metadata.photometricInterpretation == "MONOCHROME1" || root.text({0x2050, 0x0020}) == "INVERSE";
    const std::string& rescaleType = header.frames.front().rescaleType;
    metadata.hounsfieldUnits =
        rescaleType == "HU" || (rescaleType.empty() && impliesHounsfield(root, metadata.modality));

    bool signedInput = header.format.isSigned;
    for (const FrameHeader& frame : header.frames)
        signedInput = signedInput || frame.rescale.intercept < 0.0;
    for (const DicomAttributes& item : root.items({0x0028, 0x3010}))
        if (auto table = readLookupTable(item, signedInput))
            metadata.voiTables.push_back(
                {static_cast<double>(table->firstMapped), table->bits, std::move(table->entries),
                 toUtf8(item.text({0x0028, 0x3003}), characterSets)});

    readSpacingSource(root, header);
    readPadding(root, header);
    metadata.lossy = root.text({0x0028, 0x2110}) == "01";
    const std::vector<std::string> orientation = root.texts({0x0020, 0x0020});
    if (orientation.size() >= 2)
        metadata.patientOrientation = {orientation[0], orientation[1]};
    for (FrameHeader& frame : header.frames)
        for (LevelWindow& window : frame.windows)
            window.explanation = toUtf8(window.explanation, characterSets);
}

} // namespace zorbel::imaging
