#pragma once

#include <QByteArray>
#include <QString>

namespace zorbel {

struct EditResult {
    QByteArray bytes; ///< of the new package; empty after a failure
    QString error;    ///< a sentence for the reader; empty after a success
    bool success = false;
    int keyImages = 0; ///< how many were embedded
};

} // namespace zorbel
