#pragma once

#include "shared/platform/FolderPicker.h"

#include <QColor>
#include <QDir>
#include <QSettings>
#include <QString>
#include <QStringList>

/// A stored value: its key with the group, and what it is as long as nothing is stored.
template <typename T>
struct Setting
{
    QString key;
    T byDefault;

    /// What is stored; of a value of another type, what Qt makes of it.
    [[nodiscard]] T read(const QSettings &store) const
    {
        return store.value(key, QVariant::fromValue(byDefault)).template value<T>();
    }
    void write(QSettings &store, const T &value) const { store.setValue(key, QVariant::fromValue(value)); }
};

/// A colour is stored as its name; an empty name is none.
template <>
QColor Setting<QColor>::read(const QSettings &store) const;
template <>
void Setting<QColor>::write(QSettings &store, const QColor &value) const;

/// A stored path, with "/" between its parts whatever an older run has stored.
struct PathSetting : Setting<QString>
{
    [[nodiscard]] QString read(const QSettings &store) const
    {
        return QDir::fromNativeSeparators(Setting::read(store));
    }
};

/// The program's store, and that of the batch tools. Opened again for each use.
[[nodiscard]] QSettings programSettings();
[[nodiscard]] QSettings batchSettings();

/// Keeps both in files of this folder on every system; for tests. Empty: where the system keeps settings.
void setSettingsFolder(const QString &folder);

/// In the program's store: the window, the browser and the viewer.
namespace BrowserSettings {

inline const Setting<int> posX = {"General/posX", 0};
inline const Setting<int> posY = {"General/posY", 0};
inline const Setting<int> width = {"General/width", 0};
inline const Setting<int> height = {"General/height", 0};
inline const Setting<int> imageScale = {"General/imageScale", 0}; ///< a `ScaleMode`
inline const Setting<bool> showGallery = {"General/showGallery", true};
inline const Setting<bool> showCheckbox = {"General/showCheckbox", true};
inline const Setting<int> iconSize = {"General/iconSize", 128}; ///< pixels
inline const Setting<int> folderListCount = {"General/folderListCount", 0};

[[nodiscard]] inline PathSetting folderList(int index)
{
    return {{QStringLiteral("General/folderList%1").arg(index), {}}};
}

/// Names of the time zones in which the program has run, the latest first.
inline const Setting<QStringList> timeZones = {"Thumbnails/timeZones", {}};

[[nodiscard]] inline PathSetting exportImagePath()
{
    return {{"General/exportImagePath", FolderPicker().picturesFolder()}};
}

} // namespace BrowserSettings

/// In the program's store: the slideshow.
namespace SlideshowSettings {

inline const Setting<QColor> bkColor = {"Options/bkColor", Qt::black};
inline const Setting<int> delay = {"Options/delay", 5}; ///< seconds
inline const Setting<bool> showCountdown = {"Options/showCountdown", true};

} // namespace SlideshowSettings

/// In the store of the batch tools.
namespace BatchSettings {

inline const Setting<int> pageOrientation = {"General/pageOrientation", 1};
inline const Setting<int> pageSize = {"General/pageSize", 0};
inline const Setting<int> pageMargin = {"General/pageMargin", 1};
inline const Setting<int> pageMarginSize = {"General/pageMarginSize", 20};
inline const Setting<bool> resizeImageToPaper = {"General/resizeImageToPaper", false};
inline const Setting<bool> pdfSmoothEdges = {"General/pdfSmoothEdges", true};
inline const Setting<int> pdfQuality = {"General/pdfQuality", 2};
inline const PathSetting outputFolder = {{"General/outputFolder", {}}};
inline const Setting<QString> pdfFileName = {"General/pdfFileName", {}};
inline const Setting<int> targeFileType = {"General/targeFileType", 6};
inline const Setting<int> targeFileQuality = {"General/targeFileQuality", 95};

} // namespace BatchSettings
