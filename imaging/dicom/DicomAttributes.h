#pragma once

#include "imaging/dicom/DataSet.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zorbel::imaging {

/// Values of one data set, by tag. What is absent, empty or no number comes back empty. Values of numbers are
/// finite. Does not own the data set.
class DicomAttributes {
public:
    explicit DicomAttributes(const DataSet& dataSet) : dataSet_(&dataSet) {}

    bool has(Tag tag) const;
    /// The value's bytes as they are, words in native order.
    std::string_view bytes(Tag tag) const;
    /// Without the padding at both ends.
    std::string text(Tag tag) const;
    /// The values that backslashes separate, each trimmed.
    std::vector<std::string> texts(Tag tag) const;
    /// DS and IS. The list ends before the first value that is no number.
    std::vector<double> numbers(Tag tag) const;
    std::optional<double> number(Tag tag) const;
    /// US, and SS where asSigned.
    std::vector<std::int32_t> shorts(Tag tag, bool asSigned = false) const;
    std::optional<unsigned> unsignedShort(Tag tag) const;
    /// Whether the file itself says that a US or SS value is signed; `otherwise` where it does not (implicit
    /// VR).
    bool isSignedShort(Tag tag, bool otherwise) const;

    /// The items of a sequence; valid as long as the data set.
    std::vector<DicomAttributes> items(Tag tag) const;

private:
    const DataElement* find(Tag tag) const;

    const DataSet* dataSet_;
};

std::string trimmed(std::string_view text);

/// A DS or IS value; independent of the locale.
std::optional<double> parseNumber(std::string_view text);

} // namespace zorbel::imaging
