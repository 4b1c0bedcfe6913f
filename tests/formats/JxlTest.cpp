#include "formats/jxl/JxlShrunk.h"
#include "shared/image/ColourCodePoints.h"
#include "shared/image/MetadataBlocks.h"
#include "support/Files.h"
#include "support/JxlFiles.h"
#include "support/Pictures.h"

#include <QBuffer>

#include <atomic>
#include <cstdlib>
#include <new>
#include <thread>

#ifdef Q_OS_WIN
#    include "support/Imports.h"
#endif

/// Whether other threads than the first have no memory left.
static std::atomic_bool memoryIsOut = false;
static const auto firstThread = std::this_thread::get_id();

void *operator new(size_t bytes, const std::nothrow_t &) noexcept
{
    const bool isOut = memoryIsOut && std::this_thread::get_id() != firstThread;
    return isOut ? nullptr : std::malloc(std::max<size_t>(bytes, 1));
}
void *operator new(size_t bytes)
{
    void *const memory = operator new(bytes, std::nothrow);
    return memory ? memory : throw std::bad_alloc();
}
// GCC 14 takes one that is part of its callers for a mistake.
[[gnu::noinline]] void operator delete(void *memory) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void *memory, size_t) noexcept
{
    std::free(memory);
}

#ifdef Q_OS_WIN
// A library there has what it was linked with.
[[maybe_unused]] static const bool isForCodec = [] {
    void *(*const mine)(size_t) = operator new;
    Imports::replaceIn(GetModuleHandleW(L"libjxl"), "_Znwy", reinterpret_cast<void *>(mine));
    return true;
}();
#endif

/// JPEG XL files of kinds that the program does not write.
class JxlTest : public FolderTest
{
    Q_OBJECT

private slots:
    void blackDarkensTheColours()
    {
        const JxlExtraChannelType black = JXL_CHANNEL_BLACK, alpha = JXL_CHANNEL_ALPHA;
        for (const int bits : {8, 16}) {
            for (const auto &more : {QList{black}, {black, alpha}, {JXL_CHANNEL_DEPTH, alpha, black}}) {
                const QImage image = Pictures::decoded(JxlFiles::make({{301, 40}, bits, more}));
                const int opacity = more.contains(alpha) ? JxlFiles::inOthers : 255;
                QCOMPARE(image.size(), QSize(301, 40));
                QCOMPARE(image.depth() == 64, bits == 16);
                for (const QPoint at : {QPoint(0, 0), QPoint(300, 39)})
                    QCOMPARE(QColor::fromRgba(image.pixel(at)), QColor(100, 50, 25, opacity));
            }
        }
    }

    void encoderWithoutMemoryFails()
    {
        newFolder();
        const QImage large = Pictures::quarters({2000, 1500});
        for (const bool out : {true, false}) {
            memoryIsOut = out;
            const bool written = QImageWriter(path("a.jxl")).write(large);
            memoryIsOut = false;
            QCOMPARE(written, !out);
        }
    }

    void coloursThatAreMixedAlreadyStay()
    {
        JxlFiles::Kind kind{{64, 64}, 8, {JXL_CHANNEL_BLACK}};
        kind.lossy = true; // no inks then
        const QImage image = Pictures::decoded(JxlFiles::make(kind));
        QVERIFY(std::abs(qRed(image.pixel(30, 30)) - JxlFiles::colours[0]) < 4);
    }

    void framesShowTheFirstAndWorkOutOfProportionIsRefused()
    {
        const QImage image = Pictures::decoded(JxlFiles::make({{9, 7}, 8, {}, 40, 1}));
        QCOMPARE(QColor(image.pixel(8, 6)), QColor(200, 100, 50));
        const QList<JxlExtraChannelType> channels(40, JXL_CHANNEL_DEPTH);
        for (const auto &[kind, refused] : {std::pair(JxlFiles::Kind{{9, 7}, 8, {}, 4, 0}, false),
                                            {{{9, 7}, 8, {}, 40, 0}, true},
                                            {{{9, 7}, 8, channels}, false},
                                            {{{800, 800}, 8, channels}, true}})
            QCOMPARE(Pictures::decoded(JxlFiles::make(kind)).isNull(), refused);
    }

    void smallPicturesComeFromMeansWhereTheFileHasThem()
    {
        const QSize full(563, 397), small(70, 49); // of several parts; not a multiple of eight
        const QImage picture = Pictures::quarters(full);
        JxlFiles::Kind photo{full};
        photo.lossy = true;
        photo.picture = picture;
        const auto with = [&](const auto &change) {
            JxlFiles::Kind kind = photo;
            change(kind);
            return JxlFiles::make(kind);
        };
        const auto set = [&](JxlEncoderFrameSettingId setting, int value) {
            return with([=](JxlFiles::Kind &kind) { kind.settings = {{setting, value}}; });
        };
        QList<std::pair<QByteArray, bool>> files{
            {JxlFiles::make(photo), true},
            {with([](auto &kind) { kind.bits = 16; }), true},
            {set(JXL_ENC_FRAME_SETTING_GROUP_ORDER, 1), true},
            {set(JXL_ENC_FRAME_SETTING_MODULAR, 1), false},
            {set(JXL_ENC_FRAME_SETTING_PROGRESSIVE_DC, 1), false},
            {set(JXL_ENC_FRAME_SETTING_RESAMPLING, 2), false},
            {with([](auto &kind) { kind.lossy = false; }), false},
            {with([](auto &kind) { kind.more = {JXL_CHANNEL_ALPHA}; }), false},
            {with([](auto &kind) { kind.frames = 2; }), false},
            {with([](auto &kind) { kind.frames = 2, kind.duration = 1; }), true}};
        QImage wide = picture;
        for (const QColorSpace &space : {QColorSpace(QColorSpace::DisplayP3), Colour::colourSpace({9, 16})}) {
            wide.setColorSpace(space);
            files.append({Pictures::encoded(wide, "jxl", 90), true});
        }
        files.append(
            {Pictures::encoded(picture.convertToFormat(QImage::Format_Grayscale8), "jxl", 90), true});
        for (int orientation = 2; orientation <= 8; ++orientation)
            files.append({with([&](auto &kind) { kind.orientation = orientation; }), true});
        for (qsizetype i = 0; i < files.size(); ++i) {
            const auto &[file, hasMeans] = files[i];
            const QImage whole = Pictures::decoded(file);
            const QSize size = whole.width() > whole.height() ? small : small.transposed();
            QBuffer buffer;
            buffer.setData(file);
            QVERIFY(buffer.open(QIODevice::ReadOnly));
            QVERIFY2(Jxl::readShrunk(buffer, size).isNull() != hasMeans, qPrintable(QString::number(i)));
            for (const QSize more : {QSize(1, 0), QSize(0, 1)})
                QVERIFY(Jxl::readShrunk(buffer, size + more).isNull()); // above an eighth
            const QImage shown = Pictures::decoded(file, size);
            QCOMPARE(shown.format(), whole.format());
            QVERIFY(shown.colorSpace() == whole.colorSpace());
            const QImage scaled = whole.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            QVERIFY2(Pictures::difference(shown, scaled) < 2.5, qPrintable(QString::number(i)));
        }
    }

    void longMetadataKeepNoOthersBack()
    {
        newFolder();
        const QByteArray bytes = JxlFiles::make({});
        const QByteArray longXmp = QByteArray("\0\x18\0\x08xml ", 8) + QByteArray(0x180000, ' ');
        const QByteArray exif = QByteArray("\0\0\0\x10"
                                           "Exif\0\0\0\0MM\0*",
                                           16);
        write("a.jxl", bytes.left(32) + longXmp + exif + bytes.mid(32));
        QCOMPARE(MetadataBlocks::of(QImageReader(path("a.jxl"))).exif, exif.mid(12));
    }

    void boxesOutOfProportionTakeNoTime()
    {
        newFolder();
        const QByteArray head = JxlFiles::make({}).left(32);
        QCOMPARE(head.mid(16, 4), "ftyp"); // the whole box
        write("a.jxl", head + QByteArray("\xff\0\0\0free", 8));
        QVERIFY(QFile::resize(path("a.jxl"), qint64(1) << 32));
        QElapsedTimer timer;
        timer.start();
        QVERIFY(QImageReader(path("a.jxl")).read().isNull());
        QVERIFY(timer.elapsed() < 4000);
    }
};

QTEST_GUILESS_MAIN(JxlTest)
#include "JxlTest.moc"
