#include "settings/store/SettingsStore.h"

#include "app/log/Logger.h"

#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

#include <algorithm>
#include <mutex>
#include <optional>
#include <set>
#include <string>

namespace zorbel {

namespace {

constexpr char component[] = "Settings";

QString keyOf(const char* key, const QString& organizationId) {
    const QString text = QString::fromLatin1(key);
    if (!text.contains(QLatin1String("%1")))
        return text;
    // A slash would begin a group of its own.
    QString organization = organizationId;
    return text.arg(organization.replace(QLatin1Char('/'), QLatin1Char('_')));
}

/// Once for each setting of a program's run: settings are read often.
void tellDamaged(const char* key) {
    static std::mutex mutex;
    static std::set<std::string> told;
    const std::lock_guard lock(mutex);
    if (told.insert(key).second)
        Logger::instance().warn(component, "A setting is not valid; its default is used", {{"key", key}});
}

void tellUnreadable(const QSettings& settings) {
    if (settings.status() != QSettings::NoError)
        Logger::instance().warn(
            component, "The settings are damaged or cannot be read; what is missing has its default");
}

/// Where they are a file: its owner's alone. It says who works with which organization.
void keepPrivate(const QSettings& settings) {
    const QString file = settings.fileName();
    constexpr auto owners = QFile::ReadOwner | QFile::WriteOwner;
    if (QFileInfo(file).isFile() && (QFile::permissions(file) & (QFile::ReadGroup | QFile::ReadOther)))
        QFile::setPermissions(file, owners);
}

/// A stored text; nothing where it is none, as a list, bytes, or what could not be decoded.
std::optional<QString> textIn(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::QString:
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return value.toString();
    default:
        return std::nullopt;
    }
}

std::optional<int> numberIn(const QVariant& value) {
    bool isNumber = false;
    const int number = textIn(value).value_or(QString()).toInt(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

} // namespace

SettingsStore::SettingsStore() : settings_(std::make_unique<QSettings>()) {
    tellUnreadable(*settings_);
    keepPrivate(*settings_);
}

SettingsStore::SettingsStore(const QString& file)
    : settings_(std::make_unique<QSettings>(file, QSettings::IniFormat)) {
    tellUnreadable(*settings_);
    keepPrivate(*settings_);
}

SettingsStore::~SettingsStore() {
    save();
}

QVariant SettingsStore::stored(const char* key, const QString& organizationId) const {
    return settings_->value(keyOf(key, organizationId));
}

int SettingsStore::number(const NumberSetting& setting, const QString& organizationId) const {
    if (!settings_->contains(keyOf(setting.key, organizationId)))
        return setting.defaultValue;
    const auto number = numberIn(stored(setting.key, organizationId));
    if (number && *number >= setting.least && *number <= setting.greatest)
        return *number;
    tellDamaged(setting.key);
    return setting.defaultValue;
}

bool SettingsStore::isOn(const SwitchSetting& setting) const {
    const QString key = keyOf(setting.key, {});
    if (!settings_->contains(key))
        return setting.defaultValue;
    const QString value = textIn(stored(setting.key, {})).value_or(QString()).toLower();
    for (const bool on : {true, false})
        if (value == QLatin1String(on ? "true" : "false") || value == QLatin1String(on ? "1" : "0"))
            return on;
    tellDamaged(setting.key);
    return setting.defaultValue;
}

QString SettingsStore::text(const TextSetting& setting, const QString& organizationId) const {
    if (!settings_->contains(keyOf(setting.key, organizationId)))
        return {};
    const auto text = textIn(stored(setting.key, organizationId));
    if (!text)
        tellDamaged(setting.key);
    return text.value_or(QString());
}

QString SettingsStore::folder(const FolderSetting& setting) const {
    const QString defaultFolder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    if (!settings_->contains(keyOf(setting.key, {})))
        return defaultFolder;
    const auto text = textIn(stored(setting.key, {}));
    // The place of a relative one would depend on where the program was started.
    if (text && (text->isEmpty() || QFileInfo(*text).isAbsolute()))
        return *text;
    tellDamaged(setting.key);
    return defaultFolder;
}

void SettingsStore::set(const NumberSetting& setting, int value, const QString& organizationId) {
    settings_->setValue(
        keyOf(setting.key, organizationId), std::clamp(value, setting.least, setting.greatest));
}

void SettingsStore::set(const SwitchSetting& setting, bool on) {
    settings_->setValue(keyOf(setting.key, {}), on);
}

void SettingsStore::set(const TextSetting& setting, const QString& value, const QString& organizationId) {
    settings_->setValue(keyOf(setting.key, organizationId), value);
}

void SettingsStore::set(const FolderSetting& setting, const QString& value) {
    settings_->setValue(keyOf(setting.key, {}), value);
}

void SettingsStore::migrate() {
    const QString cacheDir = keyOf(settings_table::cacheDir.key, {});
    const QString legacy = keyOf(settings_table::legacyCacheDirKey, {});
    if (!settings_->contains(cacheDir) && settings_->contains(legacy))
        settings_->setValue(cacheDir, settings_->value(legacy));
    removeLegacy();
}

void SettingsStore::removeLegacy() {
    for (const char* key : settings_table::legacyKeys)
        settings_->remove(keyOf(key, {}));
}

bool SettingsStore::save() {
    settings_->sync();
    keepPrivate(*settings_);
    return settings_->status() != QSettings::AccessError;
}

} // namespace zorbel
