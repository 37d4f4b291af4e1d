#pragma once

#include <QByteArray>
#include <QMap>
#include <QSet>
#include <QString>

#include <optional>

namespace zorbel {

/// The two dialects that a Word document may be written in.
struct WordDialect {
    const char* w;   ///< namespace of the text
    const char* wp;  ///< of drawings in it
    const char* r;   ///< of references to relationships
    const char* a;   ///< of graphics
    const char* pic; ///< of pictures
    const char* imageRelationship;

    static const WordDialect transitional;
    static const WordDialect strict;
};

/// Where in a document's main part new paragraphs go, and what holds there.
struct BodyPlace {
    const WordDialect* dialect = nullptr;
    qsizetype insertion = 0; ///< before the body's own section properties, else before its end
    qsizetype bodyBegin = 0; ///< behind the body's start tag
    QByteArray rootName;
    qsizetype rootTagEnd = 0;          ///< where further namespaces can be declared
    QMap<QString, QString> namespaces; ///< in scope at the insertion, by prefix
    QSet<quint32> drawingIds;
};

/// Empty when the text is not a document whose elements have the prefix "w".
std::optional<BodyPlace> findBodyPlace(const QByteArray& utf8);

/// Ids that drawings have in a part; of one that cannot be read, those up to there.
QSet<quint32> drawingIds(const QByteArray& utf8);

} // namespace zorbel
