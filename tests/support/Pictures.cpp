#include "support/Pictures.h"

#include <QTest>

#include <exiv2/exiv2.hpp>

#include <cmath>

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

QImage Pictures::noise(QSize size, QImage::Format format)
{
    QImage image(size, QImage::Format_ARGB32);
    QRandomGenerator(7).fillRange(reinterpret_cast<quint32 *>(image.bits()), image.sizeInBytes() / 4);
    return image.convertToFormat(format);
}

QString Pictures::quartersOf(const QImage &image)
{
    const QStringList names = {"red", "green", "blue", "yellow"};
    const QImage middles = image.scaled(2, 2);
    QStringList found(4, QStringLiteral("?"));
    for (int quarter = 0; quarter < 4; ++quarter)
        for (int i = 0; i < 4; ++i)
            if (isNear(middles.pixel(quarter % 2, quarter / 2), quarterColours()[i], 40))
                found[quarter] = names[i];
    return found.join(QLatin1Char(' '));
}

QImage Pictures::asStored(const QImage &upright, int orientation)
{
    const QTransform stored[] = {{1, 0, 0, 1, 0, 0},   {-1, 0, 0, 1, 0, 0}, {-1, 0, 0, -1, 0, 0},
                                 {1, 0, 0, -1, 0, 0},  {0, 1, 1, 0, 0, 0},  {0, -1, 1, 0, 0, 0},
                                 {0, -1, -1, 0, 0, 0}, {0, 1, -1, 0, 0, 0}};
    return upright.transformed(stored[orientation - 1]);
}

bool Pictures::isNear(const QColor &one, const QColor &other, double tolerance)
{
    constexpr double rounding = 0.01; // of QColor's floats
    const auto near = [=](float a, float b) { return std::abs(a - b) * 255 <= tolerance + rounding; };
    return near(one.redF(), other.redF()) && near(one.greenF(), other.greenF())
           && near(one.blueF(), other.blueF()) && near(one.alphaF(), other.alphaF());
}

double Pictures::difference(const QImage &one, const QImage &other)
{
    if (one.isNull() || one.size() != other.size())
        return 255;
    const QImage a = one.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    const QImage b = other.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
    double sum = 0;
    for (qsizetype i = 0; i < a.sizeInBytes(); ++i)
        sum += std::abs(a.constBits()[i] - b.constBits()[i]);
    return sum / static_cast<double>(a.sizeInBytes());
}

QByteArray Pictures::encoded(const QImage &image, const QByteArray &format, int quality)
{
    QBuffer buffer;
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    return writer.write(image) ? buffer.data() : QByteArray();
}

QByteArray Pictures::progressiveJpeg(const QImage &image)
{
    QBuffer buffer;
    QImageWriter writer(&buffer, "jpg");
    writer.setProgressiveScanWrite(true);
    return buffer.open(QIODevice::WriteOnly) && writer.write(image) ? buffer.data() : QByteArray();
}

QImage Pictures::decoded(QByteArray bytes, QSize scaled)
{
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    reader.setScaledSize(scaled);
    const QSize told = reader.size();
    const QImage::Format toldFormat = reader.imageFormat();
    const QImage image = reader.read();
    if (!scaled.isValid() && !image.isNull()) {
        QTest::qCompare(told, image.size(), "told", "image.size()", __FILE__, __LINE__);
        if (toldFormat != QImage::Format_Invalid)
            QTest::qVerify(QImage(1, 1, toldFormat).depth() >= image.depth(), "toldFormat", "too narrow",
                           __FILE__, __LINE__);
    }
    return image;
}

void Pictures::age(const QString &path, int seconds)
{
    QFile file(path);
    QVERIFY2(file.open(QIODevice::ReadWrite), qPrintable(path));
    QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(-seconds), QFile::FileModificationTime));
}

void Pictures::save(const QString &path, QSize size, int orientation, const QColorSpace &colours)
{
    QImage image = asStored(quarters(size), orientation);
    image.setColorSpace(colours);
    QVERIFY2(image.save(path, nullptr, 95), qPrintable(path));
    if (orientation != 1) {
        const auto file = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
        file->readMetadata();
        file->exifData()["Exif.Image.Orientation"] = static_cast<uint16_t>(orientation);
        file->writeMetadata();
    }
    age(path);
}

void Pictures::saveMany(const QString &folder, int count, QSize size)
{
    save(folder + QStringLiteral("/0000.jpg"), size);
    for (int i = 1; i < count; ++i) {
        const QString path = folder + QStringLiteral("/%1.jpg").arg(i, 4, 10, QLatin1Char('0'));
        QVERIFY(QFile::copy(folder + QStringLiteral("/0000.jpg"), path));
        age(path);
    }
}
