#include "report/package/MarkupReader.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace zorbel {

namespace {

/// What may hold "<" without being a tag: its beginning and its end.
constexpr std::array<std::pair<std::string_view, std::string_view>, 3> passedOver{
    {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}}};

/// The next tag, or one of no length behind all of them; empty where there is neither.
std::optional<MarkupTag> tagFrom(std::string_view text, qsizetype position) {
    auto at = text.find('<', static_cast<std::size_t>(position));
    const auto startsWith = [&](const auto& passed) {
        return text.substr(at, passed.first.size()) == passed.first;
    };
    while (at != std::string_view::npos) {
        const auto passed = std::find_if(passedOver.begin(), passedOver.end(), startsWith);
        if (passed == passedOver.end())
            break;
        const auto closing = text.find(passed->second, at + passed->first.size());
        if (closing == std::string_view::npos)
            return std::nullopt;
        at = text.find('<', closing + passed->second.size());
    }
    if (at == std::string_view::npos)
        return MarkupTag{static_cast<qsizetype>(text.size()), static_cast<qsizetype>(text.size()), false, 0};
    if (text.substr(at, 2) == "<!")
        return std::nullopt;

    MarkupTag tag{static_cast<qsizetype>(at), 0, false, 0};
    auto end = text.find_first_of("\"'>", at);
    while (end != std::string_view::npos && text[end] != '>') {
        ++tag.values;
        end = text.find(text[end], end + 1);
        if (end != std::string_view::npos)
            end = text.find_first_of("\"'>", end + 1);
    }
    if (end == std::string_view::npos)
        return std::nullopt;
    tag.end = static_cast<qsizetype>(end + 1);
    tag.isEmpty = text[at + 1] != '/' && text[end - 1] == '/';
    return tag;
}

std::string_view viewOf(const QByteArray& text) {
    return {text.constData(), static_cast<std::size_t>(text.size())};
}

/// Of what Qt's reader will see, up to where it finds it wrong: no tag keeps it for long, and there is no
/// document type.
bool isReadable(const QByteArray& text, qsizetype position) {
    auto tag = tagFrom(viewOf(text), position);
    while (tag && tag->begin < tag->end) {
        if (tag->values > MarkupReader::mostAttributes || tag->end - tag->begin > MarkupReader::longestTag)
            return false;
        tag = tagFrom(viewOf(text), tag->end);
    }
    return tag.has_value();
}

} // namespace

MarkupReader::MarkupReader(const QByteArray& utf8) : text_(utf8) {
    // The reader would follow a declared encoding.
    if (text_.startsWith("<?xml") && text_.size() > 5 && static_cast<unsigned char>(text_[5]) <= ' ')
        position_ = std::max<qsizetype>(0, text_.indexOf("?>") + 2);
    readable_ = isReadable(text_, position_);
    content_ = QByteArray::fromRawData(text_.constData() + position_, text_.size() - position_);
    buffer_.setBuffer(&content_);
    buffer_.open(QIODevice::ReadOnly);
    xml_.setDevice(&buffer_);
}

bool MarkupReader::next() {
    if (leaving_) {
        --depth_;
        namespaces_.pop_back();
        leaving_ = false;
    }
    while (readable_ && !xml_.atEnd()) {
        switch (xml_.readNext()) {
        case QXmlStreamReader::StartElement:
            return enter();
        case QXmlStreamReader::EndElement:
            leaving_ = true;
            if (!std::exchange(endPending_, false))
                return findTag();
            return true;
        case QXmlStreamReader::EndDocument:
            ended_ = !xml_.hasError();
            return false;
        case QXmlStreamReader::DTD:
        case QXmlStreamReader::EntityReference:
            return false;
        default:
            break;
        }
    }
    return false;
}

bool MarkupReader::enter() {
    if (++depth_ > mostDepth || !findTag())
        return false;
    endPending_ = tag_.isEmpty;
    const qsizetype around = namespaces_.empty() ? 0 : namespaces_.back();
    namespaces_.push_back(around + xml_.namespaceDeclarations().size());
    return namespaces_.back() <= mostNamespaces;
}

bool MarkupReader::findTag() {
    const auto tag = tagFrom(viewOf(text_), position_);
    if (!tag || tag->begin == tag->end)
        return false;
    tag_ = *tag;
    position_ = tag->end;
    return true;
}

} // namespace zorbel
