#include "report/package/WholePackage.h"

#include "report/package/EditFailure.h"
#include "report/package/WordPackage.h"

#include <algorithm>

namespace zorbel {

bool isWholePackage(const QByteArray& bytes) {
    try {
        auto records = ZipRecords::read(bytes);
        if (!records)
            return false;
        const WordPackage package(std::move(*records));
        const auto& entries = package.records().entries();
        return package.mainPart() != nullptr && package.contentTypes() != nullptr &&
               std::all_of(entries.begin(), entries.end(), [&](const ZipEntry& entry) {
                   return package.records().isIntact(entry);
               });
    } catch (const EditFailure&) {
        return false;
    }
}

} // namespace zorbel
