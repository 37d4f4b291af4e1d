#pragma once

#include <QByteArray>
#include <QXmlStreamAttributes>

#include <functional>
#include <optional>

namespace zorbel {

/// A part whose root element is a plain list, as relationships and content types are.
struct RootList {
    const char* name; ///< of the root element
    const char* namespaceUri;
};

inline constexpr RootList relationshipList{
    "Relationships", "http://schemas.openxmlformats.org/package/2006/relationships"};
inline constexpr RootList contentTypeList{
    "Types", "http://schemas.openxmlformats.org/package/2006/content-types"};

/// Where in the list's text new elements go.
struct RootPlace {
    QByteArray prefix; ///< of the root, with its colon: the elements' own, too
    qsizetype endTag = 0;
    bool isEmptyTag = false; ///< the root is one tag that has to be opened; endTag is where it begins
};

/// Walks over a list, telling the name and the attributes of each element that is of the list's namespace.
/// Empty when the text is not such a list from its beginning to its end.
std::optional<RootPlace> readRootList(
    const QByteArray& utf8, const RootList& list,
    const std::function<void(QStringView name, const QXmlStreamAttributes& attributes)>& element);

/// The text with the elements put before the root's end.
QByteArray appendToRoot(const QByteArray& utf8, const RootPlace& place, const QByteArray& elements);

} // namespace zorbel
