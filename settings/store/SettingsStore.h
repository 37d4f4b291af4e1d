#pragma once

#include "settings/store/SettingsTable.h"

#include <QString>

#include <memory>

class QSettings;
class QVariant;

namespace zorbel {

/// The user's settings, the only way to them. What is missing has its default; so has what is damaged, of
/// another type or out of its limits, which is logged once and stays as it is until it is set again. One
/// thread.
class SettingsStore {
public:
    /// Those of the program's organization and name.
    SettingsStore();
    /// Those in a file of their own.
    explicit SettingsStore(const QString& file);
    ~SettingsStore();

    // organizationId: for settings whose key holds "%1".
    int number(const NumberSetting& setting, const QString& organizationId = {}) const;
    bool isOn(const SwitchSetting& setting) const;
    QString text(const TextSetting& setting, const QString& organizationId = {}) const;
    /// Empty only where an empty text is stored.
    QString folder(const FolderSetting& setting) const;

    /// A number outside its limits becomes the nearest one within.
    void set(const NumberSetting& setting, int value, const QString& organizationId = {});
    void set(const SwitchSetting& setting, bool on);
    void set(const TextSetting& setting, const QString& value, const QString& organizationId = {});
    void set(const FolderSetting& setting, const QString& value);

    /// Carries what an earlier version kept over to the keys of today, and removes its keys.
    void migrate();
    void removeLegacy();
    /// Writes what was set. False when it cannot be written; it then holds while this object lives.
    bool save();

private:
    QVariant stored(const char* key, const QString& organizationId) const;

    std::unique_ptr<QSettings> settings_;
};

} // namespace zorbel
