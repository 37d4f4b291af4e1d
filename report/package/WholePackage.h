#pragma once

#include <QByteArray>

namespace zorbel {

/// Whether these are the bytes of a complete Word document: all of the package's directory, every entry in it
/// with the size and checksum it should have, and the parts that make a document. A file that is still being
/// written is not. For any thread.
bool isWholePackage(const QByteArray& bytes);

} // namespace zorbel
