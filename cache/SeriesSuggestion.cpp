#include "cache/SeriesSuggestion.h"

#include "cache/StudyClassification.h"

#include <QSet>

#include <utility>

namespace zorbel {

int suggestedSeries(const std::vector<OrthancSeriesSummary>& series) {
    const auto rank = [](const OrthancSeriesSummary& candidate) {
        const auto kind = StudyClassification::classify(candidate.modality, candidate.seriesDescription);
        return std::pair(kind.isVolumetric(), candidate.instanceIds.size());
    };
    std::size_t best = 0;
    for (std::size_t index = 1; index < series.size(); ++index)
        if (rank(series[index]) > rank(series[best]))
            best = index;
    return static_cast<int>(best);
}

bool isLoadableSeries(const OrthancSeriesSummary& series) {
    static const QSet<QString> withoutImages{
        QStringLiteral("SR"),     QStringLiteral("PR"),       QStringLiteral("KO"),
        QStringLiteral("SEG"),    QStringLiteral("DOC"),      QStringLiteral("REG"),
        QStringLiteral("FID"),    QStringLiteral("RTSTRUCT"), QStringLiteral("PLAN"),
        QStringLiteral("RTPLAN"), QStringLiteral("RTRECORD"), QStringLiteral("AU"),
        QStringLiteral("ECG"),    QStringLiteral("RWV"),      QStringLiteral("STAIN"),
        QStringLiteral("M3D"),    QStringLiteral("ANN")};
    return !withoutImages.contains(series.modality.trimmed().toUpper());
}

} // namespace zorbel
