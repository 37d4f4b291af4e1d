#include "benchmarks/CompressedSeries.h"

#include <gdcmImageChangeTransferSyntax.h>
#include <gdcmImageReader.h>
#include <gdcmImageWriter.h>

#include <stdexcept>

namespace zorbel::bench {

void writeJpegLossless(const std::vector<std::filesystem::path>& files, const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    for (const auto& file : files) {
        gdcm::ImageReader reader;
        reader.SetFileName(file.c_str());
        gdcm::ImageChangeTransferSyntax change;
        change.SetTransferSyntax(gdcm::TransferSyntax::JPEGLosslessProcess14_1);
        const bool changed = reader.Read() && [&] {
            change.SetInput(reader.GetImage());
            return change.Change();
        }();
        const auto target = folder / file.filename();
        gdcm::ImageWriter writer;
        writer.SetFileName(target.c_str());
        writer.SetFile(reader.GetFile());
        if (changed)
            writer.SetImage(change.GetOutput());
        if (!changed || !writer.Write())
            throw std::runtime_error("Could not compress " + file.filename().string());
    }
}

} // namespace zorbel::bench
