#include "tools/PacketFile.h"

#include "base/PathText.h"
#include "base/qt/QtText.h"
#include "tools/PngSize.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>

namespace zorbel::tools {

namespace fs = std::filesystem;

namespace {

using nlohmann::json;

const json& member(const json& object, const char* name, const json& otherwise) {
    const auto found = object.find(name);
    return found == object.end() ? otherwise : *found;
}

QString text(const json& object, const char* name) {
    static const json none = "";
    const json& value = member(object, name, none);
    if (!value.is_string())
        throw std::runtime_error(std::string("\"") + name + "\" is not a text");
    return qtText(value.get_ref<const std::string&>());
}

/// Calls `take` with each object of a list.
template <class Take>
void forEach(const json& object, const char* name, Take take) {
    static const json none = json::array();
    const json& list = member(object, name, none);
    if (!list.is_array())
        throw std::runtime_error(std::string("\"") + name + "\" is not a list");
    for (const json& entry : list) {
        if (!entry.is_object())
            throw std::runtime_error(std::string("\"") + name + "\" holds something that is no object");
        take(entry);
    }
}

ReportPacket::KeyImage keyImage(const json& entry, const fs::path& folder) {
    const QString name = text(entry, "file");
    if (name.isEmpty())
        throw std::runtime_error("a key image has no \"file\"");
    const fs::path file = folder / fs::path(name.toStdU16String());
    ReportPacket::KeyImage image;
    image.fileName = name;
    image.caption = text(entry, "caption");
    image.png = readWholeFile(file);
    const auto size = pngSize(image.png);
    if (!size)
        throw std::runtime_error(pathText(file) + ": is not a whole PNG picture");
    image.width = size->width;
    image.height = size->height;
    return image;
}

ReportPacket packetFrom(const json& object, const fs::path& folder) {
    if (!object.is_object())
        throw std::runtime_error("is not a JSON object");
    ReportPacket packet;
    packet.title = text(object, "title");
    packet.subtitle = text(object, "subtitle");
    forEach(object, "findings", [&](const json& entry) {
        packet.findings.push_back({text(entry, "site"), text(entry, "finding"), text(entry, "note")});
    });
    forEach(object, "measurements", [&](const json& entry) {
        packet.measurements.push_back(
            {text(entry, "measurement"), text(entry, "value"), text(entry, "view")});
    });
    forEach(
        object, "keyImages", [&](const json& entry) { packet.keyImages.push_back(keyImage(entry, folder)); });
    return packet;
}

} // namespace

ReportPacket readPacketFile(const fs::path& file) {
    const QByteArray bytes = readWholeFile(file);
    try {
        return packetFrom(json::parse(bytes.begin(), bytes.end()), file.parent_path());
    } catch (const json::exception& error) {
        throw std::runtime_error(pathText(file) + ": is not JSON: " + error.what());
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(pathText(file) + ": " + error.what());
    }
}

QByteArray readWholeFile(const fs::path& file) {
    std::error_code error;
    if (!fs::is_regular_file(file, error))
        throw std::runtime_error(pathText(file) + ": there is no such file");
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!stream)
        throw std::runtime_error(pathText(file) + ": cannot be read");
    return QByteArray::fromStdString(bytes);
}

} // namespace zorbel::tools
