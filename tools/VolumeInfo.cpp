#include "tools/VolumeInfo.h"

#include "imaging/DicomSeriesReader.h"
#include "platform/SilentStandardError.h"

#include <nlohmann/json.hpp>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <vector>

namespace zorbel::tools {

namespace {

using imaging::DicomSeriesReader;
using imaging::Image;
using imaging::ImageBlock;
using Json = nlohmann::ordered_json;

static_assert(std::endian::native == std::endian::little, "digests are of little-endian voxels");

std::vector<std::filesystem::path> filesBelow(const std::filesystem::path& folder) {
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error))
        throw std::runtime_error("no such folder: " + folder.string());
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(
             folder, std::filesystem::directory_options::skip_permission_denied))
        if (entry.is_regular_file(error))
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

std::string sha256(std::span<const std::byte> bytes) {
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1 ||
        EVP_DigestUpdate(context.get(), bytes.data(), bytes.size()) != 1 ||
        EVP_DigestFinal_ex(context.get(), digest.data(), &length) != 1)
        throw std::runtime_error("SHA-256 failed");
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (unsigned i = 0; i < length; ++i) {
        text += digits[digest[i] >> 4];
        text += digits[digest[i] & 15];
    }
    return text;
}

template <class T>
double sum(std::span<const std::byte> bytes) {
    const auto* values = reinterpret_cast<const T*>(bytes.data());
    const std::size_t count = bytes.size() / sizeof(T);
    double total = 0.0;
    // In pieces, so that small terms do not vanish beside a large total.
    for (std::size_t first = 0; first < count; first += 65536) {
        double part = 0.0;
        for (std::size_t i = first; i < std::min(first + 65536, count); ++i)
            part += static_cast<double>(values[i]);
        total += part;
    }
    return total / static_cast<double>(count);
}

double mean(const Image& image) {
    using imaging::VoxelType;
    switch (image.voxelType()) {
    case VoxelType::UInt8:
        return sum<std::uint8_t>(image.voxels());
    case VoxelType::Int8:
        return sum<std::int8_t>(image.voxels());
    case VoxelType::UInt16:
        return sum<std::uint16_t>(image.voxels());
    case VoxelType::Int16:
        return sum<std::int16_t>(image.voxels());
    case VoxelType::UInt32:
        return sum<std::uint32_t>(image.voxels());
    case VoxelType::Int32:
        return sum<std::int32_t>(image.voxels());
    case VoxelType::Float32:
        break;
    }
    return sum<float>(image.voxels());
}

std::vector<std::string> reasonTexts(const ImageBlock& block) {
    std::vector<std::string> texts;
    for (const imaging::SplitReason& reason : block.splitReasons) {
        std::string text(imaging::splitReasonName(reason.type));
        if (!reason.details.empty())
            text += ':' + reason.details;
        texts.push_back(std::move(text));
    }
    return texts;
}

Json windowJson(const imaging::ImageMetadata& metadata) {
    if (metadata.windows.empty())
        return nullptr;
    const imaging::LevelWindow& window = metadata.windows.front();
    const char* const function = window.function == imaging::VoiFunction::Sigmoid       ? "SIGMOID"
                                 : window.function == imaging::VoiFunction::LinearExact ? "LINEAR_EXACT"
                                                                                        : "LINEAR";
    return {{"center", window.center}, {"width", window.width}, {"function", function}};
}

Json describe(const ImageBlock& block) {
    const auto begin = std::chrono::steady_clock::now();
    const std::shared_ptr<const Image> image = DicomSeriesReader::load(block);
    const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - begin;
    const imaging::ImageGeometry& geometry = image->geometry();
    const imaging::ImageMetadata& metadata = image->metadata();
    return {
        {"seriesInstanceUID", metadata.seriesInstanceUID},
        {"frames", block.frameCount()},
        {"splitReasons", reasonTexts(block)},
        {"dimensions", geometry.dimensions()},
        {"spacing", geometry.spacing()},
        {"origin", geometry.origin()},
        {"direction", geometry.direction()},
        {"sliceStep", geometry.sliceStep()},
        {"voxelType", imaging::voxelTypeName(image->voxelType())},
        {"components", image->components()},
        {"minimum", metadata.minimum},
        {"maximum", metadata.maximum},
        {"mean", mean(*image)},
        {"sha256", sha256(image->voxels())},
        {"window", windowJson(metadata)},
        {"photometricInterpretation", metadata.photometricInterpretation},
        {"decodeMs", elapsed.count()},
    };
}

/// One line holds one reason; the first file's stands for all.
std::string firstReason(const std::vector<imaging::RejectedFile>& rejected) {
    if (rejected.empty())
        return {};
    const std::size_t others = rejected.size() - 1;
    return " (" + rejected.front().reason +
           (others > 0 ? ", and " + std::to_string(others) + " more left out" : std::string()) + ")";
}

void printText(const Json& block, std::ostream& out) {
    for (const auto& [name, value] : block.items())
        out << "  " << name << std::string(27 - std::min<std::size_t>(name.size(), 26), ' ')
            << (value.is_string() ? value.get<std::string>() : value.dump()) << '\n';
}

} // namespace

int runVolumeInfo(std::span<const std::string> arguments, const Streams& streams) {
    std::string folder;
    bool json = false;
    for (const std::string& argument : arguments) {
        if (argument == "--json")
            json = true;
        else if (argument.starts_with('-') || !folder.empty())
            return 2;
        else
            folder = argument;
    }
    if (folder.empty())
        return 2;

    const imaging::DicomAnalysis analysis = DicomSeriesReader::analyze(filesBelow(folder));
    if (analysis.blocks.empty())
        throw std::runtime_error("no DICOM image in " + folder + firstReason(analysis.rejected));
    // Printed only once all blocks are decoded: half a list would look like a whole one.
    Json blocks = Json::array();
    {
        const SilentStandardError silence;
        for (const ImageBlock& block : analysis.blocks)
            blocks.push_back(describe(block));
    }
    if (json) {
        streams.out << blocks.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
    } else {
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            streams.out << "block " << i + 1 << " of " << blocks.size() << '\n';
            printText(blocks[i], streams.out);
        }
    }
    std::ostream& notes = json ? streams.error : streams.out;
    for (const imaging::RejectedFile& rejected : analysis.rejected)
        notes << "left out: " << rejected.reason << '\n';
    return 0;
}

} // namespace zorbel::tools
