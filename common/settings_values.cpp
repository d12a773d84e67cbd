#include "common/settings_values.h"

#include "base/group_settings.h"
#include "base/paths.h"

#include <QStringList>
#include <QVariant>

namespace ravo::common {

QString userSettingsPath() {
    const auto config = paths::configHome().value_or("/tmp");
    return QString::fromStdString((config / "ravo" / "ravo.conf").string());
}

std::unique_ptr<QSettings> openUserSettings() {
    return std::make_unique<QSettings>(userSettingsPath(), QSettings::IniFormat);
}

std::optional<std::vector<std::string>> readStringList(const QSettings& settings,
                                                       const QString& key) {
    if (!settings.contains(key))
        return std::nullopt;
    const QVariant value = settings.value(key);
    std::vector<std::string> result;
    if (!value.isValid())
        return result; // how the file spells an empty list
    if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString().trimmed();
        if (!text.isEmpty())
            result.push_back(text.toStdString());
        return result;
    }
    if (value.canConvert<QStringList>()) {
        for (const QString& entry : value.toStringList())
            result.push_back(entry.trimmed().toStdString());
    }
    return result;
}

void writeStringList(QSettings& settings, const QString& key,
                     const std::vector<std::string>& values) {
    QStringList list;
    for (const auto& value : values)
        list << QString::fromStdString(value);
    settings.setValue(key, list);
}

bool readBool(const QSettings& settings, const QString& key, bool fallback) {
    const QVariant value = settings.value(key);
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    const QString text = value.toString().trimmed().toLower();
    if (text == QLatin1String("true"))
        return true;
    if (text == QLatin1String("false"))
        return false;
    return fallback;
}

QString keyOf(const Setting& setting) {
    return QString::fromUtf8(setting.key.data(), static_cast<qsizetype>(setting.key.size()));
}

bool readFlag(const QSettings& settings, const Setting& setting) {
    if (setting.store == Setting::Store::shared)
        return GroupSettings::readBool(std::string(setting.key));
    return readBool(settings, keyOf(setting), setting.flagDefault);
}

std::string readText(const QSettings& settings, const Setting& setting) {
    const std::string stored = settings.value(keyOf(setting)).toString().toStdString();
    return stored.empty() ? std::string(setting.textDefault) : stored;
}

} // namespace ravo::common
