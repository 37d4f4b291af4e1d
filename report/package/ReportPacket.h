#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace zorbel {

/// What is appended to a report. Texts are plain: they may hold anything, also line breaks.
struct ReportPacket {
    struct Finding {
        QString site;
        QString finding;
        QString note;
    };
    struct Measurement {
        QString measurement; ///< its label
        QString value;       ///< formatted, with unit
        QString view;        ///< the view it was taken in
    };
    struct KeyImage {
        QString fileName; ///< wanted name in the package's media folder
        QString caption;
        QByteArray png;
        qint32 width = 0; ///< pixels
        qint32 height = 0;
    };

    QString title;
    QString subtitle;
    std::vector<Finding> findings;
    std::vector<Measurement> measurements;
    std::vector<KeyImage> keyImages;
    /// Tables say how many columns they have. Word finds out by itself; LibreOffice shows the first column
    /// alone of a table that does not.
    bool tableGrids = false;
};

} // namespace zorbel
