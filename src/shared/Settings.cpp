#include "shared/Settings.h"

namespace {

QString settingsFolder;

QSettings settingsOf(const QString &application)
{
    if (settingsFolder.isEmpty())
        return QSettings(QStringLiteral("Orrelan"), application);
    return QSettings(settingsFolder + QLatin1Char('/') + application + QStringLiteral(".ini"),
                     QSettings::IniFormat);
}

} // namespace

QSettings programSettings()
{
    return settingsOf(QStringLiteral("Vistamo"));
}

QSettings batchSettings()
{
    return settingsOf(QStringLiteral("ImageToPDF"));
}

void setSettingsFolder(const QString &folder)
{
    settingsFolder = folder;
}

template <>
QColor Setting<QColor>::read(const QSettings &store) const
{
    const QString name = store.value(key).toString();
    return name.isEmpty() ? byDefault : QColor::fromString(name);
}

template <>
void Setting<QColor>::write(QSettings &store, const QColor &value) const
{
    store.setValue(key, value.name());
}
