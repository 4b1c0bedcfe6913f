#pragma once

#include <QColor>
#include <QImage>
#include <QString>

/// Pictures for the tests, made by code.
namespace Pictures {

/// Four quarters of different colours, so that every turn and every mirroring shows.
QImage quarters(QSize size);

/// The colours of the quarters: upper left, upper right, lower left, lower right.
QList<QColor> quarterColours();

/// The colours in the middle of the quarters of `image`, each named after the nearest of `quarterColours`.
QString quartersOf(const QImage &image);

/// `quarters` in a file, stored so that the given EXIF orientation (1 to 8) shows it upright. The format is
/// that of the suffix.
void save(const QString &path, QSize size = QSize(60, 40), int orientation = 1);

/// Files "0000.jpg" and so on in `folder`.
void saveMany(const QString &folder, int count, QSize size = QSize(60, 40));

} // namespace Pictures
