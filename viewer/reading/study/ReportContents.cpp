#include "viewer/reading/study/ReportContents.h"

#include "viewer/reading/study/StudyReading.h"

#include <algorithm>

namespace zorbel {

ReportContents ReportContents::of(const StudyReading& reading) {
    const auto& images = reading.keyImages().images();
    return {
        static_cast<int>(reading.findings().findings().size()),
        static_cast<int>(reading.measurements().measurements().size()),
        static_cast<int>(std::count_if(
            images.begin(), images.end(), [](const KeyImage& image) { return image.inReport; }))};
}

std::string ReportContents::text() const {
    std::string text;
    const auto add = [&text](int count, const char* what) {
        if (count == 0)
            return;
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + what + (count == 1 ? "" : "s");
    };
    add(findings, "finding");
    add(measurements, "measurement");
    add(keyImages, "key image");
    return text.empty() ? "Nothing to add yet" : text;
}

} // namespace zorbel
