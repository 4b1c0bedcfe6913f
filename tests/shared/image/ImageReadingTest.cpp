#include "shared/image/ImageReading.h"
#include "shared/image/ColourCodePoints.h"
#include "shared/image/ColourConversion.h"
#include "shared/image/DecodingNeed.h"
#include "shared/image/Flipping.h"
#include "shared/image/JpegDecoder.h"
#include "shared/image/JpegMarkers.h"
#include "shared/image/MemoryBudget.h"
#include "shared/image/ShrunkWebp.h"
#include "support/Files.h"
#include "support/Memory.h"
#include "support/Pictures.h"
#include "support/Shrunk.h"

#include <future>
#include <thread>

#ifndef Q_OS_WIN
#    include <sys/stat.h>
#endif

class ImageReadingTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init() { newFolder(); }
    void everyOrientationIsShownUprightInItsColours()
    {
        for (const QColorSpace &colours : {QColorSpace(), QColorSpace(QColorSpace::DisplayP3)}) {
            QImage expected = Pictures::quarters(QSize(600, 400));
            if (colours.isValid()) {
                expected.setColorSpace(colours);
                expected.convertToColorSpace(QColorSpace::SRgb);
            }
            for (const QString suffix : {"jpg", "tif", "png", "webp"}) {
                for (int orientation = 1; orientation <= 8; ++orientation) {
                    const QString file = path(QString::number(orientation) + "@2x." + suffix);
                    Pictures::save(file, QSize(600, 400), orientation, colours);
                    const ImageReading::Thumbnail thumbnail = ImageReading::readThumbnail(file, 256);
                    QCOMPARE(thumbnail.fullSize, QSize(600, 400));
                    QCOMPARE(thumbnail.image.size(), QSize(256, 171));
                    QCOMPARE(ImageReading::read(file).size(), QSize(600, 400));
                    const QImage fromEighth = ImageReading::readThumbnail(file, 60).image; // of a JPEG file
                    QCOMPARE(fromEighth.size(), QSize(60, 40));
                    for (const QImage &image : {ImageReading::read(file), thumbnail.image, fromEighth}) {
                        QVERIFY2(Pictures::difference(image, expected.scaled(image.size())) < 5,
                                 qPrintable(file));
                        QCOMPARE(image.devicePixelRatio(), 1.0); // whatever the name says
                    }
                    if (colours.isValid()) // as a conversion reads it
                        QCOMPARE(ImageReading::read(file, ImageReading::Colours::AsStored).colorSpace(),
                                 colours);
                }
            }
        }
    }

    /// A long text before it and a file cut off at its end don't matter, in whichever format.
    void orientationIsFoundInDamagedFiles()
    {
        constexpr qsizetype afterHeader = 8 + 25;
        constexpr quint32 textBytes = 17 << 20;
        Pictures::save(path("a.png"), QSize(60, 40), 6);
        QByteArray text(4 + 4 + textBytes + 4, 'x');
        qToBigEndian(textBytes, text.data());
        const QByteArray whole = read("a.png");
        write("a.png", whole.left(afterHeader) + text.replace(4, 4, "tEXt") + whole.mid(afterHeader));
        write("cut.png", whole.chopped(20));
        for (const char *const name : {"a.png", "cut.png"})
            QCOMPARE(ImageReading::read(path(name)).size(), QSize(60, 40)); // turned
    }

    void webpIsShrunkToItsMeans()
    {
        const auto shrunk = [](QByteArray file, QSize size) {
            QBuffer buffer(&file);
            return buffer.open(QIODevice::ReadOnly) ? shrunkWebp(buffer, size)
                                                    : QImage(1, 1, QImage::Format_Mono);
        };
        for (const QSize full : {QSize(97, 65), QSize(96, 64), QSize(400, 8)})
            for (const bool isLossy : {false, true}) {
                QImage image = Pictures::painted(
                    full, [&](int x, int y) { return qRgb(20 + x / 2, 85 * y / full.height(), 70); });
                image.setColorSpace(QColorSpace::DisplayP3);
                const auto encoded = [&] { return Pictures::encoded(image, "webp", isLossy ? 90 : 100); };
                const QByteArray file = encoded();
                const bool isForIt = !isLossy || full.width() % 2 == 0;
                for (const QSize size : {full / 4, full / 8, QSize(1, 1)})
                    QCOMPARE(Shrunk::isOf(Pictures::decoded(file), shrunk(file, size), isLossy ? 2 : 1),
                             isForIt);
                write("a.webp", file);
                if (isForIt)
                    QCOMPARE(ImageReading::readThumbnail(path("a.webp"), full.width() / 4).image,
                             Colour::inSrgb(shrunk(file, full / 4)));
                QVERIFY(shrunk(file, full / 4 + QSize(1, 1)).isNull());
                QVERIFY(shrunk(file.chopped(9), QSize(1, 1)).isNull());
                image = image.convertToFormat(QImage::Format_ARGB32);
                image.setPixelColor(0, 0, Qt::transparent);
                QVERIFY(shrunk(encoded(), QSize(1, 1)).isNull());
            }
        // Colours under alpha that the file says it does not have show.
        QImage hidden(96, 64, QImage::Format_ARGB32);
        hidden.fill(qRgba(200, 100, 50, 1));
        hidden.setPixel(0, 0, qRgba(200, 100, 50, 255)); // or the writer finds it all of one colour
        QByteArray file = Pictures::encoded(hidden, "webp", 100);
        constexpr qsizetype alphaIsUsed = 24; // a bit of this byte, behind the sides
        QVERIFY(file.mid(12, 4) == "VP8L" && (file[alphaIsUsed] & 0x10));
        file[alphaIsUsed] = char(file[alphaIsUsed] & ~0x10);
        write("a.webp", file);
        const QImage whole = Pictures::decoded(file),
                     thumbnail = ImageReading::readThumbnail(path("a.webp"), 24).image;
        QVERIFY(whole.pixel(50, 50) == qRgb(200, 100, 50));
        QCOMPARE(thumbnail.pixel(12, 8), whole.pixel(50, 50));
    }

    void thumbnailsHaveTheirSizeInEveryFormat()
    {
        QCOMPARE(ImageReading::thumbnailSize(QSize(4000, 3000), 256), QSize(256, 192));
        QCOMPARE(ImageReading::thumbnailSize(QSize(100, 200), 256), QSize(128, 256)); // enlarged
        QCOMPARE(ImageReading::thumbnailSize(QSize(5000, 2), 256), QSize(256, 1));    // thinner than a pixel
        for (const char *const suffix : {"jpg", "png", "bmp", "tif", "webp"}) {
            for (const QSize size :
                 {QSize(3000, 4), QSize(7, 4), QSize(300, 1000), QSize(1, 1), QSize(256, 256)}) {
                Pictures::save(path(QStringLiteral("size.") + suffix), size);
                QFile::remove(path("other name.webp")); // the content decides
                QVERIFY(QFile::rename(path(QStringLiteral("size.") + suffix), path("other name.webp")));
                const auto made = ImageReading::readThumbnail(path("other name.webp"), 256);
                QCOMPARE(made.image.size(), ImageReading::thumbnailSize(size, 256));
                QCOMPARE(made.fullSize, size);
            }
        }
    }

    void whatIsNoPictureReadsAsNull()
    {
#ifndef Q_OS_WIN // where pipes have names, but no place among files
        QCOMPARE(mkfifo(QFile::encodeName(path("pipe.jpg")).constData(), 0600), 0);
#endif
        for (const QByteArray &content : {QByteArray(), QByteArray("GIF? no, a text"),
                                          QByteArray("\x89PNG\r\n\x1a\n", 8), QByteArray(5000, '\xa5')}) {
            write("broken.jpg", content);
            for (const char *const name : {"broken.jpg", "pipe.jpg", "gone.jpg", "."}) {
                QVERIFY(ImageReading::read(path(name)).isNull());
                QVERIFY(ImageReading::readThumbnail(path(name), 256).image.isNull());
            }
        }
    }

    void picturesWaitForTheirShareOfMemory()
    {
        MemoryBudget::setBytes(100);
        std::atomic_int inFlight = 0;
        std::atomic_int most = 0;
        std::vector<std::jthread> threads;
        for (const qint64 bytes : {60, 60, 40, 500, 1, 99})
            threads.emplace_back([&, bytes] {
                const MemoryBudget::Share share(bytes);
                inFlight += static_cast<int>(bytes);
                most = std::max(most.load(), inFlight.load());
                std::this_thread::sleep_for(std::chrono::milliseconds(30));
                inFlight -= static_cast<int>(bytes);
            });
        threads.clear();     // waits for them
        QCOMPARE(most, 500); // decoded alone
        MemoryBudget::setBytes(std::numeric_limits<qint64>::max());
        const auto all = std::async(std::launch::async, [] {
            for (int i = 0; i < 2; ++i) // the first leaves nothing behind
                const MemoryBudget::Share share(MemoryBudget::bytes());
        });
        QTRY_COMPARE(all.wait_for(std::chrono::seconds(0)), std::future_status::ready);
    }

    void whatTheDecoderKeepsIsCounted()
    {
        const QImage picture = Pictures::quarters(QSize(400, 300));
        const qint64 blocks = 50 * 38 + 2 * 25 * 19; // colours are halved both ways
        const std::tuple<QByteArray, bool, qint64> files[] = {
            {Pictures::encoded(picture, "jpg"), false, 0},
            {Pictures::progressiveJpeg(picture), false, blocks * 128},
            {Pictures::encoded(picture, "webp", 50), true, 2 * 400 * 300 * 4},
            {Pictures::encoded(picture, "webp", 100), true, 2 * 400 * 300 * 4}};
        for (const auto &[bytes, scaled, kept] : files) {
            write("a", bytes);
            QFile file(path("a"));
            QVERIFY(file.open(QIODevice::ReadOnly));
            QImageReader reader(path("a"));
            if (scaled)
                reader.setScaledSize(QSize(40, 30));
            QCOMPARE(decodingNeed(reader, file).decoder, kept);
        }
    }

    void whatFollowsDecodingWaitsForItsMemory()
    {
        QImage picture = Pictures::quarters(QSize(200, 200));
        write("cut.png", Pictures::encoded(picture, "png").chopped(100)); // to be mended
        picture.setColorSpace(Colour::colourSpace({9, 16}));
        write("pq.jpg", Pictures::encoded(picture, "jpg")); // to be mapped in 16 bits
        for (const char *const name : {"cut.png", "pq.jpg"}) {
            MemoryBudget::setBytes(500'000);
            auto other = std::make_unique<const MemoryBudget::Share>(100'000);
            auto reading =
                std::async(std::launch::async, [=, this] { return ImageReading::read(path(name)); });
            QTRY_COMPARE(MemoryBudget::waiting(), 1);
            other.reset();
            QCOMPARE(reading.get().size(), QSize(200, 200));
            MemoryBudget::setBytes(std::numeric_limits<qint64>::max());
        }
    }

    void claimsOfSmallFilesAreTakenWithCare()
    {
        const QImage small = Pictures::quarters(QSize(64, 64));
        MemoryBudget::setBytes(150'000'000);
        for (const QByteArray &before : {QByteArray(), bare, lengthless}) {
            const QByteArray claim =
                claiming(Pictures::progressiveJpeg(small), 8000); // 192 MB of coefficients
            write("claim.jpg", claim.left(2) + before + claim.mid(2));
            const qint64 peak = peakKilobytes();
            QVERIFY(ImageReading::readThumbnail(path("claim.jpg"), 256).image.isNull());
            QVERIFY(peakKilobytes() - peak < 50'000);
        }

        MemoryBudget::setBytes(1'000'000'000); // has room for it, but for nothing else beside it
        auto other = std::make_unique<const MemoryBudget::Share>(1);
        write("claim.jpg", claiming(Pictures::encoded(small, "jpg"), 5000));
        auto size =
            std::async(std::launch::async, [this] { return ImageReading::read(path("claim.jpg")).size(); });
        QTRY_COMPARE(MemoryBudget::waiting(), 1);
        other.reset();
        QCOMPARE(size.get(), QSize(5000, 5000));
        MemoryBudget::setBytes(std::numeric_limits<qint64>::max());
    }

    void scansWithoutEndAreCutOff()
    {
        QImage picture = Pictures::quarters(QSize(400, 400));
        for (int x = 0; x < 400; ++x) // detail for the last scan
            picture.setPixelColor(x, x * x % 400, Qt::white);
        const QByteArray bytes = Pictures::progressiveJpeg(picture);
        const qsizetype last = bytes.lastIndexOf("\xff\xda");
        const QByteArray emptyScan = bytes.mid(last, bytes[last + 3] + 2);
        const QByteArray scans = bare + emptyScan + lengthless + emptyScan.repeated(2999);
        write("a.jpg", bytes.left(last) + scans + bytes.mid(last));
        QFile file(path("a.jpg"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(JpegMarkers::scanEnds(file, 5000).size(), 3000 + bytes.count("\xff\xda"));
        write("b.jpg", JpegMarkers::cutAt(file, JpegMarkers::scanEnds(file, 100).last()));
        QCOMPARE(ImageReading::read(path("a.jpg")), ImageReading::read(path("b.jpg")));
    }

    void pictureEndsWithItsFileButNotWithItsDrive()
    {
        struct Drive : QBuffer
        {
            qint64 answers = 1 << 30; ///< bytes, before it is gone
            qint64 readData(char *data, qint64 length) override
            {
                return pos() < answers ? QBuffer::readData(data, std::min(length, answers - pos())) : -1;
            }
        };
        const QByteArray whole = Pictures::encoded(Pictures::noise({400, 400}), "jpg", 95);
        const qsizetype half = whole.size() / 2;
        for (const auto &[bytes, answers] :
             {std::pair(whole, whole.size()), {whole.first(half), whole.size()}, {whole, half}}) {
            Drive drive;
            drive.answers = answers;
            drive.setData(bytes);
            QVERIFY(drive.open(QIODevice::ReadOnly));
            JpegDecoder decoder(drive);
            QVERIFY(decoder.start(JpegDecoder::Model::Light));
            std::vector<uchar> row(3 * 400);
            int rows = 0;
            while (decoder.read(row.data()))
                ++rows;
            QCOMPARE(rows == 400, answers > half);
        }
    }

    void pictureIsDecodedOnceItHasItsShare()
    {
        const QImage picture = Pictures::quarters(QSize(400, 400));
        for (const char *const format : {"bmp", "jpg"}) {
            MemoryBudget::setBytes(1);
            auto all = std::make_unique<const MemoryBudget::Share>(1);
            write("a", Pictures::encoded(picture, format));
            auto image = std::async(std::launch::async, [=, file = path("a")] {
                return format[0] == 'b' ? ImageReading::read(file)
                                        : ImageReading::readThumbnail(file, 30).image;
            });
            QTRY_COMPARE(MemoryBudget::waiting(), 1);
            // Of the other only the header was looked at.
            write("a", Pictures::encoded(flipped(picture, Qt::Horizontal | Qt::Vertical), format));
            all.reset();
            QCOMPARE(Pictures::quartersOf(image.get()), "yellow blue green red");
        }
        MemoryBudget::setBytes(std::numeric_limits<qint64>::max());
    }

private:
    // A marker that stands alone, and one whose length is too small: decoders pass over both.
    const QByteArray bare{"\xff\x01"};
    const QByteArray lengthless{"\xff\xe5\0\0", 4};

    /// A JPEG file whose header says that its sides are this long.
    static QByteArray claiming(QByteArray jpeg, quint16 side)
    {
        const qsizetype frame = std::max(jpeg.indexOf("\xff\xc0"), jpeg.indexOf("\xff\xc2"));
        qToBigEndian(side, jpeg.data() + frame + 5);
        qToBigEndian(side, jpeg.data() + frame + 7);
        return jpeg;
    }
};

QTEST_GUILESS_MAIN(ImageReadingTest)
#include "ImageReadingTest.moc"
