#include "cache/SeriesSuggestion.h"

#include <gtest/gtest.h>

namespace zorbel {
namespace {

OrthancSeriesSummary series(const char* modality, const char* description, int instances) {
    OrthancSeriesSummary summary;
    summary.modality = QString::fromLatin1(modality);
    summary.seriesDescription = QString::fromLatin1(description);
    for (int index = 0; index < instances; ++index)
        summary.instanceIds.append(QString::number(index));
    return summary;
}

TEST(SeriesSuggestion, prefersTheLargestVolume) {
    EXPECT_EQ(
        suggestedSeries(
            {series("PX", "PANORAMIC", 900), series("CT", "scout", 2), series("CT", "CBCT", 300)}),
        2);
    EXPECT_EQ(suggestedSeries({series("DX", "CEPH", 1), series("PX", "PANORAMIC", 1)}), 0);
    EXPECT_EQ(suggestedSeries({series("CT", "", 0)}), 0);
}

TEST(SeriesSuggestion, leavesOutSeriesWithoutImages) {
    for (const char* modality : {"SR", "pr", " KO ", "SEG", "DOC"})
        EXPECT_FALSE(isLoadableSeries(series(modality, "", 1))) << modality;
    for (const char* modality : {"CT", "PX", "", "OT", "SC"})
        EXPECT_TRUE(isLoadableSeries(series(modality, "", 1))) << modality;
}

} // namespace
} // namespace zorbel
