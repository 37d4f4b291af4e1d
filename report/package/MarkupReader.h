#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QXmlStreamReader>

#include <vector>

namespace zorbel {

/// Where a tag stands in the text.
struct MarkupTag {
    qsizetype begin = 0;
    qsizetype end = 0; ///< behind its ">"
    bool isEmpty = false;
    int values = 0; ///< of attributes
};

/// Qt's XML reader with the place of each tag, which it cannot tell by itself: edits are made in the text.
/// Document types are refused, and so is what no real document has and what takes the reader long: elements
/// in each other, or namespaces in scope, by the hundred.
class MarkupReader {
public:
    static constexpr int mostDepth = 2048;
    static constexpr qsizetype mostNamespaces = 256; ///< in scope
    static constexpr int mostAttributes = 256;       ///< of one element
    static constexpr qsizetype longestTag = 10'000'000;

    /// UTF-8 without byte order mark, whatever its declaration says; shared.
    explicit MarkupReader(const QByteArray& utf8);

    /// Goes on to the next start or end of an element; false at the document's end or an error.
    bool next();
    /// Whether the document ended as one does.
    bool isWellFormed() const { return ended_; }

    const QXmlStreamReader& xml() const { return xml_; }
    /// Of the start or end; an element that is one empty tag starts and ends with it.
    const MarkupTag& tag() const { return tag_; }
    /// Of the current element: 1 for the root.
    int depth() const { return depth_; }

private:
    bool findTag();
    bool enter();

    QByteArray text_;
    QByteArray content_; ///< the text without its declaration, shared
    QBuffer buffer_;
    QXmlStreamReader xml_;
    std::vector<qsizetype> namespaces_; ///< in scope in each open element
    MarkupTag tag_;
    qsizetype position_ = 0;
    int depth_ = 0;
    bool readable_ = true; ///< by Qt's reader, in good time
    bool leaving_ = false;
    bool endPending_ = false; ///< the current tag is empty and its end was not told
    bool ended_ = false;
};

} // namespace zorbel
