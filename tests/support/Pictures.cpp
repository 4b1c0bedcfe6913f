#include "support/Pictures.h"

#include <QFile>
#include <QTest>
#include <QTransform>

#include <exiv2/exiv2.hpp>

#include <algorithm>

namespace {

/// What a camera held that way writes, for the EXIF orientations 1 to 8: the inverse of showing it upright.
QImage asStored(const QImage &upright, int orientation)
{
    const QTransform stored[] = {{1, 0, 0, 1, 0, 0},   {-1, 0, 0, 1, 0, 0}, {-1, 0, 0, -1, 0, 0},
                                 {1, 0, 0, -1, 0, 0},  {0, 1, 1, 0, 0, 0},  {0, -1, 1, 0, 0, 0},
                                 {0, -1, -1, 0, 0, 0}, {0, 1, -1, 0, 0, 0}};
    return upright.transformed(stored[orientation - 1]);
}

} // namespace

QList<QColor> Pictures::quarterColours()
{
    return {QColor(220, 30, 30), QColor(30, 180, 30), QColor(30, 60, 220), QColor(235, 215, 40)};
}

QImage Pictures::quarters(QSize size)
{
    QImage image(2, 2, QImage::Format_RGB32);
    for (int i = 0; i < 4; ++i)
        image.setPixelColor(i % 2, i / 2, quarterColours()[i]);
    return image.scaled(size);
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
