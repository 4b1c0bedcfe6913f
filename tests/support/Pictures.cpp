#include "support/Pictures.h"

#include <QFile>
#include <QPainter>
#include <QTest>
#include <QTransform>

#include <exiv2/exiv2.hpp>

#include <algorithm>

namespace {

/// What a camera held that way writes: the inverse of showing it upright.
QImage asStored(const QImage &upright, int orientation)
{
    const QTransform clockwise = QTransform().rotate(90);
    const QTransform counterclockwise = QTransform().rotate(-90);
    switch (orientation) {
    case 2:
        return upright.mirrored(true, false);
    case 3:
        return upright.mirrored(true, true);
    case 4:
        return upright.mirrored(false, true);
    case 5:
        return upright.transformed(counterclockwise).mirrored(false, true);
    case 6:
        return upright.transformed(counterclockwise);
    case 7:
        return upright.transformed(clockwise).mirrored(false, true);
    case 8:
        return upright.transformed(clockwise);
    default:
        return upright;
    }
}

} // namespace

QList<QColor> Pictures::quarterColours()
{
    return {QColor(220, 30, 30), QColor(30, 180, 30), QColor(30, 60, 220), QColor(235, 215, 40)};
}

QImage Pictures::quarters(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    const int across = size.width() / 2;
    const int down = size.height() / 2;
    const QList<QColor> colours = quarterColours();
    painter.fillRect(0, 0, across, down, colours[0]);
    painter.fillRect(across, 0, size.width() - across, down, colours[1]);
    painter.fillRect(0, down, across, size.height() - down, colours[2]);
    painter.fillRect(across, down, size.width() - across, size.height() - down, colours[3]);
    return image;
}

QString Pictures::quartersOf(const QImage &image)
{
    const QStringList names = {"red", "green", "blue", "yellow"};
    const QList<QColor> colours = quarterColours();
    QStringList found;
    for (const QPointF place : {QPointF(.25, .25), QPointF(.75, .25), QPointF(.25, .75), QPointF(.75, .75)}) {
        const QColor colour =
            image.pixelColor(int(place.x() * image.width()), int(place.y() * image.height()));
        const auto distance = [&](const QColor &other) {
            return std::abs(colour.red() - other.red()) + std::abs(colour.green() - other.green())
                   + std::abs(colour.blue() - other.blue());
        };
        const auto nearest =
            std::min_element(colours.cbegin(), colours.cend(),
                             [&](const auto &a, const auto &b) { return distance(a) < distance(b); });
        found.append(distance(*nearest) < 60 ? names[nearest - colours.cbegin()] : QStringLiteral("?"));
    }
    return found.join(QLatin1Char(' '));
}

void Pictures::save(const QString &path, QSize size, int orientation)
{
    QVERIFY2(asStored(quarters(size), orientation).save(path, nullptr, 95), qPrintable(path));
    if (orientation == 1)
        return;
    const auto file = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
    file->readMetadata();
    file->exifData()["Exif.Image.Orientation"] = static_cast<uint16_t>(orientation);
    file->writeMetadata();
}

void Pictures::saveMany(const QString &folder, int count, QSize size)
{
    save(folder + QStringLiteral("/0000.jpg"), size);
    for (int i = 1; i < count; ++i)
        QVERIFY(QFile::copy(folder + QStringLiteral("/0000.jpg"),
                            folder + QStringLiteral("/%1.jpg").arg(i, 4, 10, QLatin1Char('0'))));
}
