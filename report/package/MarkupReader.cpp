#include "report/package/MarkupReader.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace zorbel {

namespace {

/// What may hold "<" without being a tag: its beginning and its end.
constexpr std::array<std::pair<std::string_view, std::string_view>, 3> passedOver{
    {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}}};

} // namespace

MarkupReader::MarkupReader(const QByteArray& utf8) : text_(utf8) {
    // The reader would follow a declared encoding.
    if (text_.startsWith("<?xml") && text_.size() > 5 && static_cast<unsigned char>(text_[5]) <= ' ')
        position_ = std::max<qsizetype>(0, text_.indexOf("?>") + 2);
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
    while (!xml_.atEnd()) {
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
    return namespaces_.back() <= mostNamespaces && xml_.attributes().size() <= mostAttributes;
}

/// The reader has been here and found it right; a document type it has reported.
bool MarkupReader::findTag() {
    const std::string_view text(text_.constData(), static_cast<std::size_t>(text_.size()));
    const auto startsWith = [&](std::size_t at, std::string_view what) {
        return text.substr(at, what.size()) == what;
    };
    auto at = static_cast<std::size_t>(position_);
    for (;;) {
        at = text.find('<', at);
        if (at == std::string_view::npos)
            return false;
        const auto passed = std::find_if(passedOver.begin(), passedOver.end(), [&](const auto& pair) {
            return startsWith(at, pair.first);
        });
        if (passed == passedOver.end())
            break;
        at = text.find(passed->second, at + passed->first.size());
        if (at == std::string_view::npos)
            return false;
        at += passed->second.size();
    }
    auto end = at;
    while (end < text.size() && text[end] != '>') {
        if (text[end] == '"' || text[end] == '\'')
            end = text.find(text[end], end + 1);
        if (end != std::string_view::npos)
            ++end;
    }
    if (end >= text.size())
        return false;
    position_ = static_cast<qsizetype>(end + 1);
    tag_ = {static_cast<qsizetype>(at), position_, text[at + 1] != '/' && text[end - 1] == '/'};
    return true;
}

} // namespace zorbel
