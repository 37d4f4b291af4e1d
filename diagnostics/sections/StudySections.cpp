#include "diagnostics/sections/StudySections.h"

#include "imaging/VoxelType.h"

namespace zorbel {

namespace {

DiagnosticsJson geometryJson(const imaging::Image& image) {
    const auto& geometry = image.geometry();
    return {
        {"dimensions", geometry.dimensions()},
        {"spacing", geometry.spacing()},
        {"origin", geometry.origin()},
        {"row", geometry.row()},
        {"column", geometry.column()},
        {"sliceStep", geometry.sliceStep()},
        {"tiltDegrees", geometry.tiltDegrees()},
        {"bytes", image.voxels().size()},
        {"bytesPerVoxel", imaging::bytesPerComponent(image.voxelType())},
        {"components", image.components()}};
}

DiagnosticsJson stagesJson(const LoadRecord& record, std::optional<qint64> displayedMs) {
    auto stages = DiagnosticsJson::object();
    for (const LoadRecord::Stage& stage : record.stages)
        stages[stage.name] = stage.took.count();
    if (displayedMs)
        stages["request to picture"] = *displayedMs;
    return stages;
}

} // namespace

DiagnosticsJson studySection(
    const std::optional<OrthancImageLoadResult>& load, const imaging::Image* image,
    std::optional<qint64> displayedMs) {
    if (!load || !image)
        return {{"open", false}};
    const imaging::ImageMetadata& metadata = image->metadata();
    const std::string& seriesUid = metadata.seriesInstanceUID;
    return {
        {"open", true},
        {"source", load->sourceLabel.toStdString()},
        {"studyInstanceUID", load->study.studyInstanceUid},
        {"seriesInstanceUID", seriesUid.empty() ? load->series.seriesInstanceUID.toStdString() : seriesUid},
        {"modality", load->modality.toStdString()},
        {"volumetric", load->volumetric},
        {"instances", load->series.instanceIds.size()},
        {"geometry", geometryJson(*image)},
        {"transferSyntax", metadata.transferSyntax},
        {"photometricInterpretation", metadata.photometricInterpretation},
        {"values", {metadata.minimum, metadata.maximum}},
        {"lossy", metadata.lossy},
        {"files", load->record.files},
        {"rejectedFiles", load->record.rejectedFiles},
        {"blocks", load->record.blocks},
        {"splitReasons", load->record.splitReasons},
        {"milliseconds", stagesJson(load->record, displayedMs)}};
}

DiagnosticsJson displaySection(const std::vector<DisplayProperties>& views) {
    auto section = DiagnosticsJson::object();
    for (const DisplayProperties& view : views) {
        auto& properties = section[view.view] = DiagnosticsJson::object();
        for (const auto& [name, value] : view.values)
            std::visit([&properties, &key = name](const auto& held) { properties[key] = held; }, value);
    }
    return section;
}

} // namespace zorbel
