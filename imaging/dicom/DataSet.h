#pragma once

#include "imaging/dicom/ByteSource.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zorbel::imaging {

/// Group and element of an attribute.
struct Tag {
    std::uint16_t group = 0;
    std::uint16_t element = 0;
    friend auto operator<=>(const Tag&, const Tag&) = default;
};

struct DataElement;

/// Attributes by tag.
using DataSet = std::map<Tag, DataElement>;

/// One attribute: a value or, in a sequence, items.
struct DataElement {
    std::string vr;    ///< two letters; empty where the file does not write it down
    std::string value; ///< words in native order
    std::vector<DataSet> items;
};

/// Position, within the source, of the element at which reading stopped.
struct StopElement {
    std::uint64_t value = 0; ///< first byte behind the length field
    std::uint32_t length = 0;
    bool words = false; ///< value representation OW
};

struct ParsedFile {
    DataSet meta;
    DataSet dataSet;
    std::string transferSyntax; ///< UID; empty when the file has no meta information
    bool bigEndian = false;
    /// The deflated data set's bytes; `stop` counts within them.
    std::shared_ptr<const std::string> inflated;
    std::optional<StopElement> stop; ///< the element `until`, when there is one
};

/// Reads a DICOM file's attributes up to the first top-level one at or behind `until`. Values of private
/// attributes are left out. Every length is checked against the file before it is used: a damaged file ends
/// in an exception, which the parser of GDCM, built with its assertions, cannot promise. Throws
/// std::runtime_error.
ParsedFile parseDicom(ByteSource& source, Tag until);

} // namespace zorbel::imaging
