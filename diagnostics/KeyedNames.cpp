#include "diagnostics/KeyedNames.h"

#include "app/log/Logger.h"
#include "platform/PrivateFile.h"

#include <QFile>
#include <QMessageAuthenticationCode>
#include <QRandomGenerator>

#include <exception>

namespace zorbel {

namespace {

constexpr qsizetype keyBytes = 32;

QByteArray storedKey(const std::filesystem::path& file) {
    QFile stored(file);
    return stored.open(QIODevice::ReadOnly) && stored.size() == keyBytes ? stored.readAll() : QByteArray();
}

QByteArray newKey() {
    QByteArray key(keyBytes, '\0');
    QRandomGenerator::system()->generate(key.begin(), key.end());
    return key;
}

} // namespace

KeyedNames KeyedNames::ofThisComputer(const std::filesystem::path& keyFile) {
    QByteArray key = storedKey(keyFile);
    if (key.isEmpty()) {
        key = newKey();
        try {
            createPrivateFolder(keyFile.parent_path());
            writePrivateFile(keyFile, {key.constData(), static_cast<std::size_t>(key.size())});
        } catch (const std::exception& error) {
            Logger::instance().warn(
                "Diagnostics", "The key of the bundle's names could not be kept", {{"reason", error.what()}});
        }
    }
    return KeyedNames(key);
}

std::string KeyedNames::of(std::string_view kind, std::string_view identifier) const {
    constexpr qsizetype digits = 10;
    const QByteArray hash = QMessageAuthenticationCode::hash(
        QByteArray(identifier.data(), static_cast<qsizetype>(identifier.size())), key_,
        QCryptographicHash::Sha256);
    return std::string(kind) + "-" + hash.toHex().first(digits).toStdString();
}

} // namespace zorbel
