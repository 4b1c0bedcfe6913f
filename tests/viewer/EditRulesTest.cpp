#include "shared/image/Flipping.h"
#include "shared/VistamoGlobal.h"
#include "support/Pictures.h"
#include "viewer/ColourFilters.h"
#include "viewer/CropTool.h"
#include "viewer/PictureTurning.h"

#include <QtTest>

#include <cmath>
#include <tuple>

namespace {

/// One channel by the definition of a filter; the gamma as an exponent.
float channel(int type, float value, float v)
{
    if (type == 0)
        return v + value;
    if (type == 2)
        return powf(v / 255, 1 / value) * 255;
    if (type == 4)
        return value > v ? 255 - v : v;
    const float divisor = (259 - value) * 255;
    return (v - 128) * ((value + 255) * 259 / (divisor == 0 ? (259 - (value + 1)) * 255 : divisor)) + 128;
}

int lowByte(float value)
{
    return std::abs(value) < 2e9f ? int(value) & 0xff : 0;
}

/// Filters one after another, each with its argument, and limits that reach not every channel.
QImage changedBy(const QImage &image, const QList<std::pair<int, float>> &steps, bool limitsEachStep)
{
    float changed[256];
    for (int v = 0; v < 256; ++v) {
        changed[v] = float(v);
        for (const auto &[type, argument] : steps) {
            const float value = channel(type, argument, changed[v]);
            changed[v] = limitsEachStep ? std::clamp(value, 0.0f, 255.0f) : value;
        }
    }
    QImage result = image.convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < result.height(); ++y) {
        auto *const line = reinterpret_cast<QRgb *>(result.scanLine(y));
        for (int x = 0; x < result.width(); ++x) {
            float r = qRed(line[x]), g = qGreen(line[x]), b = qBlue(line[x]);
            if (steps.first().first == 3) { // each channel from those before it
                r = float(0.393 * r + 0.769 * g + 0.189 * b);
                g = float(0.686 * g + 0.349 * r + 0.168 * b);
                b = float(0.534 * g + 0.272 * r + 0.131 * b);
            } else {
                for (float *const v : {&r, &g, &b})
                    *v = changed[int(*v)];
            }
            if (r > 255 || r < 0)
                r = r > 255 ? 255 : 0;
            else
                g = std::min(g, 255.0f);
            if (g < 0)
                g = 0;
            else
                b = std::clamp(b, 0.0f, 255.0f);
            line[x] = (line[x] & 0xff000000) | uint(lowByte(r) << 16 | lowByte(g) << 8 | lowByte(b));
        }
    }
    return result;
}

QImage literally(const QImage &image, int type, float value)
{
    return changedBy(image, {{type, type == 2 ? (value + 100) / 100 : value}}, false);
}

bool sameBytes(const QImage &a, const QImage &b)
{
    return a.format() == b.format() && a.size() == b.size()
           && std::equal(a.constBits(), a.constBits() + a.sizeInBytes(), b.constBits());
}

const QSize everyValue(256, 256); // of noise: in every channel, with many combinations of them

} // namespace

/// The rules of editing: colour filters byte for byte, and the crop rectangle.
class EditRulesTest : public QObject
{
    Q_OBJECT

private slots:
    void singleFiltersGiveTheirArithmetic()
    {
        const VistamoGlobal global;
        const QImage image = Pictures::noise(everyValue);
        for (int type = 0; type <= 4; ++type)
            for (const int value : {-255, -180, -128, -101, -100, -99, -50, -10, -1,  0,   1,  50,
                                    77,   99,   100,  128,  250,  254, 255, 258, 259, 260, 699})
                QVERIFY2(sameBytes(global.applyFilter(image, type, value), literally(image, type, value)),
                         qPrintable(QStringLiteral("filter %1, value %2").arg(type).arg(value)));
        QVERIFY(global.applyFilter(QImage(), 3, 0).isNull());
    }

    void severalFiltersGiveTheirArithmetic()
    {
        const VistamoGlobal global;
        const QImage image = Pictures::noise(everyValue);
        for (const int contrast : {-255, -128, 0, 1, 77, 259})
            for (const int brightness : {-255, -10, 0, 100})
                for (const int gamma : {-100, -50, 0, 50, 100, 250, 699})
                    for (const int invert : {0, 100, 255}) {
                        const QList<std::pair<int, float>> live = {
                            {1, contrast}, {0, brightness}, {2, (gamma + 100) / 100}, {4, invert}};
                        QVERIFY(sameBytes(global.applyFilters(image, contrast, brightness, gamma, invert),
                                          changedBy(image, live, true)));
                        QImage inTurn = image;
                        for (const auto &[type, value] :
                             {std::pair(1, contrast), {0, brightness}, {2, gamma}, {4, invert}})
                            inTurn = global.applyFilter(inTurn, type, value);
                        QVERIFY(sameBytes(
                            ColourFilters::applyAdjustments(image, contrast, brightness, gamma, invert),
                            inTurn));
                    }
        QVERIFY(global.applyFilters(QImage(), 1, 1, 1, 1).isNull());
    }

    void everyPixelFormat()
    {
        // Large enough for several threads, and a width that leaves bytes at the end of rows.
        const QImage random = Pictures::noise(QSize(1001, 511), QImage::Format_ARGB32);
        for (int format = QImage::Format_Mono; format < QImage::NImageFormats; ++format) {
            const QImage image = random.convertToFormat(QImage::Format(format));
            const QImage grey = image.convertToFormat(QImage::Format_Grayscale8);
            QVERIFY2(
                sameBytes(VistamoGlobal().applyFilter(image, 3, 0), literally(image, 3, 0))
                    && sameBytes(ColourFilters::applyAdjustments(image, 40, 20, 130, 90),
                                 ColourFilters::applyAdjustments(image.convertToFormat(QImage::Format_RGB32),
                                                                 40, 20, 130, 90))
                    && sameBytes(ColourFilters::grayscale(image), grey.convertToFormat(QImage::Format_RGB32)),
                QByteArray::number(format));
        }
    }

    void turnsAndMirrors()
    {
        for (const QSize size : {QSize(1, 1), QSize(1, 70), QSize(901, 603)}) {
            const QImage image = Pictures::noise(size);
            QCOMPARE(PictureTurning::rotated(image, true), image.transformed(QTransform().rotate(90)));
            QCOMPARE(PictureTurning::rotated(image, false), image.transformed(QTransform().rotate(-90)));
            QCOMPARE(PictureTurning::mirrored(image, Qt::Horizontal), flipped(image, Qt::Horizontal));
            QCOMPARE(PictureTurning::mirrored(image, Qt::Vertical), flipped(image, Qt::Vertical));
        }
        QImage scan(9, 9, QImage::Format_RGB32);
        scan.setDotsPerMeterX(11811);
        scan.setText("Author", "somebody");
        scan = VistamoGlobal().applyFilter(PictureTurning::rotated(scan, true), 3, 0);
        QCOMPARE(scan.dotsPerMeterX(), 11811);
        QCOMPARE(scan.text("Author"), "somebody");
    }

    void cropHits()
    {
        const QRect display(100, 50, 60, 40); // right 159, bottom 89
        const std::tuple<QPoint, CropHit, CropResizeMode> rows[] = {
            {{100, 50}, {Qt::SizeFDiagCursor, false}, CRTopLeft},
            {{159, 50}, {Qt::SizeBDiagCursor, false}, CRTopRight},
            {{100, 89}, {Qt::SizeBDiagCursor, true}, CRBottomLeft},
            {{159, 89}, {Qt::SizeFDiagCursor, true}, CRBottomRight},
            {{103, 53}, {Qt::SizeFDiagCursor, false}, CRTopLeft}, // corners go before edges
            {{96, 70}, {Qt::SizeHorCursor, false}, CRLeft},
            {{95, 70}, {Qt::ArrowCursor, {}}, CRNone}, // the outermost pixel is not part of a zone
            {{104, 70}, {Qt::SizeAllCursor, {}}, CRMove},
            {{162, 70}, {Qt::SizeHorCursor, true}, CRRight},
            {{163, 70}, {Qt::ArrowCursor, {}}, CRNone},
            {{130, 46}, {Qt::SizeVerCursor, false}, CRTop},
            {{130, 92}, {Qt::SizeVerCursor, true}, CRBottom},
        };
        for (const auto &[point, expected, mode] : rows) {
            const CropHit hit = cropHit(display, point);
            QVERIFY2(hit == expected, qPrintable(QStringLiteral("%1, %2").arg(point.x()).arg(point.y())));
            QCOMPARE(cropResizeModeFor(hit.cursor, hit.farSide.value_or(false)), mode);
        }
        QVERIFY(cropHit(QRect(100, 50, -60, -40), QPoint(80, 30)) == CropHit()); // turned over
    }

    void cropDrags()
    {
        const QRect crop(100, 50, 60, 40);
        const std::tuple<CropResizeMode, double, QPoint, QPoint, QRect> rows[] = {
            {CRMove, 1, {10, -5}, {}, {110, 45, 60, 40}},
            {CRMove, 0.5, {10, -5}, {}, {120, 40, 60, 40}},
            {CRMove, 3, {2, -2}, {}, {100, 50, 60, 40}}, // fractions are lost
            {CRMove, 1, {-500, -500}, {}, {0, 0, 60, 40}},
            {CRMove, 1, {500, 500}, {}, {340, 260, 60, 40}},
            {CRLeft, 0.5, {}, {25, 0}, {50, 50, 110, 40}},
            {CRLeft, 1, {}, {200, 0}, {200, 50, -40, 40}}, // turns over
            {CRRight, 2, {}, {251, 0}, {100, 50, 25, 40}},
            {CRRight, 1, {}, {999, 0}, {100, 50, 300, 40}},
            {CRTop, 1, {}, {0, 70}, {100, 70, 60, 20}},
            {CRTop, 1, {}, {0, -3}, {100, 0, 60, 90}},
            {CRBottom, 1, {}, {0, 999}, {100, 50, 60, 250}},
            {CRTopLeft, 1, {}, {90, 40}, {90, 40, 70, 50}},
            {CRTopRight, 1, {}, {170, 40}, {100, 40, 70, 50}},
            {CRBottomLeft, 1, {}, {90, 100}, {90, 50, 70, 50}},
            {CRBottomRight, 1, {}, {170, 100}, {100, 50, 70, 50}},
            {CRMove, qQNaN(), {9, 9}, {9, 9}, crop},
            {CRBottomRight, 0, {9, 9}, {9, 9}, crop},
        };
        for (const auto &[mode, scale, moved, at, expected] : rows)
            QCOMPARE(draggedCropRect(mode, crop, QSize(400, 300), scale, moved, at), expected);
        QCOMPARE(draggedCropRect(CRMove, QRect(0, 0, 500, 9), QSize(400, 300), 1, {5, 0}, {}).left(), -100);

        QCOMPARE(defaultCropRect(QSize(401, 7)), QRect(100, 2, 200, 3));
        QCOMPARE(cropRectOnView(QRect(10, 10, 11, 11), 0.75), QRect(QPoint(7, 7), QPoint(15, 15)));
        QVERIFY(cropRectOnView(crop, qQNaN()).isNull());
    }

    void cropRectangleOutlivesAPictureOfTheSameSize()
    {
        const QSize full(400, 300);
        CropTool tool;
        tool.init(full);
        tool.startDrag(Qt::SizeAllCursor, {500, 500});
        QVERIFY(!tool.cursorAt({150, 100}) && tool.drag({520, 500}, {}, full, 0.5));
        for (const QSize before : {full, QSize()}) // none does not count
            tool.setPreviousImageSize(before);
        const auto following = tool.updateSpinBoxes();
        QVERIFY(!tool.set(&QRect::setWidth, 9));
        tool.init(full);
        QCOMPARE(tool.rect(), QRect(140, 75, 200, 150));
    }
};

QTEST_GUILESS_MAIN(EditRulesTest)
#include "EditRulesTest.moc"
