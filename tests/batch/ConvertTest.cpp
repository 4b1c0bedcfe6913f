#include "batch/ImagesToPDFConvertThread.h"
#include "shared/image/ImageReading.h"
#include "shared/image/ImageWriting.h"
#include "shared/image/MemoryBudget.h"
#include "shared/image/PictureRows.h"
#include "shared/image/PlainTiff.h"
#include "shared/platform/Platform.h"
#include "shared/VistamoGlobal.h"
#include "support/ColourProfiles.h"
#include "support/Failures.h"
#include "support/Files.h"
#include "support/Pictures.h"
#include "support/Tools.h"
#include "viewer/Exports.h"

#include <cmath>
#include <future>

#include <exiv2/exiv2.hpp>

/// Whether exiv2 reads the boxes of HEIF and JPEG XL: before 0.28 only if it was built for that, and asked
/// to.
static bool exiv2ReadsBoxes()
{
#if EXIV2_TEST_VERSION(0, 28, 0)
    return true;
#else
    return Exiv2::enableBMFF();
#endif
}

/// Runs of the worker on real files: what is converted, and what is left on the disk when it fails.
class ConvertTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder({"in", "out"});
        stops = false;
        VistamoGlobal::outputFolder = path("out");
        VistamoGlobal::pdfFileName = "all.pdf";
    }

    void cleanup() { QCOMPARE(all("in", {"*.tmp"}) + all("out", {"*.tmp"}), QStringList()); }

    /// Every target, read back by the codec's own tool.
    void othersReadWhatIsWritten()
    {
        const QImage photo = Pictures::painted({301, 203}, [](int x, int y) {
            return qRgb(128 + int(100 * std::sin(x / 30.0)), y, (x + y) / 2);
        });
        const auto faded = [](int x, int y) { return qRgba(200, 40 + y, 90, 2 * x); };
        const QImage gradient = Pictures::painted({128, 64}, faded, QImage::Format_ARGB32);
        QImage twoColours(64, 48, QImage::Format_Mono);
        twoColours.setColorTable({qRgb(200, 30, 30), qRgb(30, 60, 220)});
        QImage palette(64, 48, QImage::Format_Indexed8);
        palette.setColorTable({qRgba(20, 20, 20, 0), qRgb(30, 180, 30), qRgba(30, 60, 220, 90)});
        for (int i = 0; i < 64 * 48; ++i) {
            twoColours.setPixel(i % 64, i / 64, i % 64 / 32);
            palette.setPixel(i % 64, i / 64, i / 64 / 16);
        }
        // The tolerance is that of a channel's mean difference; 0 for the same pixels.
        const std::tuple<QString, QStringList, int> rows[] = {
            {"avif", {"heif-convert"}, 6}, {"gif", {"convert"}, 20}, {"heic", {"heif-convert"}, 6},
            {"heif", {"heif-convert"}, 6}, {"jpg", {"convert"}, 4},  {"jxl", {"djxl"}, 6},
            {"png", {"convert"}, 0},       {"tiff", {"convert"}, 0}, {"webp", {"dwebp", "-o"}, 6}};
        for (const QImage &picture :
             {photo, gradient, twoColours, palette, photo.copy(7, 7, 1, 1), Pictures::quarters({60, 40})}) {
            QVERIFY(picture.save(path("in/a.png")));
            QImage onWhite(picture.size(), QImage::Format_RGB32);
            onWhite.fill(Qt::white);
            QPainter(&onWhite).drawImage(0, 0, picture);
            if (picture.width() == 60)
                Pictures::save(path("in/a.png"), picture.size(), 6);
            for (const auto &[format, tool, tolerance] : rows) {
                QVERIFY(convert({"in/a.png"}, '.' + format, true).isEmpty());
                const QStringList files = {path("out/a." + format), path("read.png")};
                QCOMPARE(QImageReader(files[0]).format().left(2), format.left(2).toLatin1());
                QFile::remove(files[1]);
                QVERIFY(Tools::run(tool.first(), files.first(1) + tool.mid(1) + files.mid(1)));
                const QImage &expected = format == "jpg" || format == "gif" ? onWhite : picture;
                QVERIFY2(Pictures::difference(QImage(files[1]), expected) <= tolerance, qPrintable(format));
                // What the source says of its turn, in a text, would turn the upright picture once more.
                QCOMPARE(ImageReading::read(files[0]).size(), picture.size());
                QVERIFY(format == "png" || !this->read("out/a." + format).contains("Raw profile"));
            }
        }
        QCOMPARE(disk("out").size(), std::size(rows));
    }

    /// A PNG's pixels are packed in pieces of a megabyte, whose last bytes are filled otherwise each time;
    /// those of TIFF come in strips behind what is told of them, in the byte order of the camera.
    void picturesAreWrittenPieceByPiece()
    {
        photographed("in/a.jpg");
        for (const QSize size : {QSize(341, 8192), QSize(1000, 3000)}) // the first in pieces that are full
            for (const auto pixels :
                 {QImage::Format_RGB888, QImage::Format_RGB32, QImage::Format_Grayscale8}) {
                QImage image = Pictures::noise(size).convertToFormat(QImage::Format_RGB888);
                for (int y = 0; y < size.height(); ++y)
                    std::fill_n(image.scanLine(y), y / 7 % 3 * size.width(), y / 100);
                image.convertTo(pixels);
                for (const QByteArray format : {"png", "tiff"}) {
                    QBuffer file;
                    file.open(QIODevice::WriteOnly);
                    QVERIFY(ImageWriting::write(image, format, -1, path("in/a.jpg"), file));
                    QVERIFY(QImage::fromData(file.data()).convertToFormat(pixels) == image);
                    write("a." + format, file.data());
                    QVERIFY(Tools::run("convert", {path("a." + format), path("a.bmp")}));
                    QVERIFY(QImage(path("a.bmp")).convertToFormat(pixels) == image);
                    QVERIFY(toldOf("a." + format).startsWith("Camera"));
                    QVERIFY(format == "tiff" || file.data().count("IDAT") > 2);
                    QFile full(path("full"));
                    bool isDone = true;
                    Failures::onFullDisk(file.size() / 2, [&] {
                        isDone = full.open(QIODevice::WriteOnly)
                                 && ImageWriting::write(image, format, -1, path("in/a.jpg"), full)
                                 && full.flush();
                    });
                    QVERIFY(full.isOpen() && !isDone);
                }
                QVERIFY(PlainTiff::headOf({image, size, {}}, "no file of one pixel").isEmpty());
            }
    }

    /// What is converted as its rows come is the file that all of the picture would make.
    void rowsMakeTheSameFile()
    {
        const QImage colours = Pictures::noise({203, 301});
        const QImage greys = colours.convertToFormat(QImage::Format_Grayscale8);
        const QByteArray plain = Pictures::encoded(colours, "jpg", 90);
        const qsizetype half = plain.size() / 2;
        QImage described = colours;
        described.setText("Description", "as told");
        described.setDotsPerMeterX(11811);
        described.setDotsPerMeterY(5906);
        photographed("in/turned.jpg");
        QByteArray photo = read("in/turned.jpg");
        photo.replace(photo.indexOf(QByteArray("\x12\1\3\0\1\0\0\0\6", 9)) + 8, 1, "\1");
        const struct
        {
            const char *what;
            QByteArray file;
            bool isByRows;
        } rows[] = {
            {"plain", plain, true},
            {"grey", Pictures::encoded(greys, "jpg"), true},
            {"more than a piece", Pictures::encoded(Pictures::noise({1000, 400}), "jpg"), true},
            {"one pixel", Pictures::encoded(colours.copy(9, 9, 1, 1), "jpg"), true},
            {"one column", Pictures::encoded(colours.copy(9, 0, 1, 90), "jpg"), true},
            {"one row", Pictures::encoded(colours.copy(0, 9, 90, 1), "jpg"), true},
            {"texts and resolution", Pictures::encoded(described, "jpg"), true},
            {"profile and metadata", photo, true},
            {"bits that make no code", QByteArray(plain).replace(half, 9, QByteArray(9, '\x55')), true},
            {"another beginning", QByteArray(plain).insert(half, "\xff\xd8"), true},
            {"no end", plain.first(half), true},
            {"no picture", plain.first(300), false},
            {"turned", read("in/turned.jpg"), false},
            {"progressive", Pictures::progressiveJpeg(colours), false},
        };
        for (const auto &[what, file, isByRows] : rows) {
            write("in/a.jpg", file);
            const auto opened = ImageReading::openRows(path("in/a.jpg"));
            for (const QByteArray format : {"jpg", "png", "tiff"}) {
                const QImage image = ImageWriting::fitted(stored("in/a.jpg"), format);
                QBuffer whole;
                whole.open(QIODevice::WriteOnly);
                const bool isPicture = !image.isNull();
                QVERIFY(isPicture == ImageWriting::write(image, format, 80, path("in/a.jpg"), whole));
                QVERIFY2(isByRows == (opened && ImageWriting::takesRows(*opened, format)), what);
                VistamoGlobal::targeFileQuality = 80;
                QFile::remove(path("out/a." + format));
                QVERIFY(convert({"in/a.jpg"}, '.' + format).isEmpty());
                QCOMPARE(QFile::exists(path("out/a." + format)), isPicture);
                QVERIFY2(!isPicture || read("out/a." + format) == whole.data(), what);
            }
        }
    }

    void everythingVisibleIsInListOrder()
    {
        QStringList sources;
        for (int i = 0; i < 30; ++i) {
            sources.append(QStringLiteral("in/%1.%2.png").arg(i / 2).arg(i % 2));
            Pictures::save(path(sources.last()), QSize(40 + i % 2, 30 + i));
        }
        write("in/0.0.png", "broken"); // then the second of the name is the first that is there
        const QStringList existing = convert(sources, ".jpg");
        QStringList expected;
        for (int i = 3; i < 30; i += 2)
            expected.append(QStringLiteral("out/%1.jpg < in/%1.1.png").arg(i / 2));
        QCOMPARE(existing, expected);
        QCOMPARE(names, sources);
        QCOMPARE(QImage(path("out/0.jpg")).width(), 41);
        QCOMPARE(QImage(path("out/1.jpg")).width(), 40);
        // Overwriting, the last of a name stays.
        QCOMPARE(convert(sources, ".jpg", true), QStringList());
        QCOMPARE(QImage(path("out/1.jpg")).width(), 41);
    }

    void filesThatMeetAreDoneOneByOne()
    {
        // Over a link both targets are one file; the second waits for the first and replaces it.
        if (!Files::link(path("out/real.png"), path("out/b.png")))
            QSKIP("There are no links.");
        Pictures::save(path("in/real.jpg"), QSize(900, 600));
        Pictures::save(path("in/b.jpg"), QSize(90, 60));
        for (int i = 0; i < 10; ++i) {
            VistamoGlobal::outputFolder = path("out");
            QVERIFY(convert({"in/real.jpg", "in/b.jpg"}, ".png", true).isEmpty());
            QCOMPARE(QImage(path("out/real.png")).size(), QSize(90, 60));
            // A source that is the target before it is converted as that was written.
            VistamoGlobal::outputFolder = path("in");
            Pictures::save(path("in/real.png"), QSize(9, 6));
            QVERIFY(convert({"in/real.jpg", "in/real.png"}, ".png", true).isEmpty());
            QCOMPARE(QImage(path("in/real.png")).size(), QSize(900, 600));
        }
    }

    void qualityCountsForJpg()
    {
        Pictures::save(path("in/a.png"), QSize(300, 200));
        qint64 last = 0;
        for (const int quality : {0, 50, 99}) {
            VistamoGlobal::targeFileQuality = quality;
            convert({"in/a.png"}, ".jpg", true);
            const qint64 size = read("out/a.jpg").size();
            QVERIFY(size > std::exchange(last, size));
        }
    }

    void whatFailsLeavesTheDiskAsItWas_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("extension");
        for (const char *const fault : {"read-only folder", "full disk", "broken source", "source gone",
                                        "target is a folder", "no folder", "no such format"})
            for (const char *const extension : {".png", ".gif", ".tiff"})
                QTest::addRow("%s %s", fault, extension) << fault << extension;
        for (const char *const fault : {"read-only folder", "full disk", "no folder", "stopped"})
            QTest::addRow("%s .pdf", fault) << fault << QStringLiteral(".pdf");
    }
    void whatFailsLeavesTheDiskAsItWas()
    {
        QFETCH(QString, fault);
        QFETCH(QString, extension);
        const QString target = extension == ".pdf" ? "out/all.pdf" : "out/a" + extension;
        const QString name = extension == ".tiff" ? "in/a.jpg" : "in/a.bmp"; // the first by its rows
        QVERIFY(Pictures::noise({400, 300}).save(path(name)));
        const QByteArray source = read(name);
        if (fault == "target is a folder")
            QVERIFY(QDir(path("out")).mkdir("a" + extension));
        else
            write(target, "the old one");
        if (fault == "broken source")
            write(name, source.first(20));
        else if (fault == "source gone")
            QVERIFY(QFile::remove(path(name)));
        else if (fault == "no folder")
            VistamoGlobal::outputFolder = path("gone");
        else if (fault == "no such format")
            extension = ".xyz";
        stops = fault == "stopped";
        const QStringList sources(stops ? 40 : 1, name);
        Failures::giveToNobody({path("."), path("in")});
        const auto run = [&] { convert(sources, extension, true, extension != ".pdf"); };
        if (fault == "read-only folder")
            Failures::inClosedFolder(path("out"), run);
        else if (fault == "full disk")
            Failures::onFullDisk(2'000, run);
        else
            run();
        QVERIFY(names.size() == 1 || (stops && names.size() < 20));
        if (fault != "target is a folder")
            QCOMPARE(read(target), "the old one");
        QCOMPARE(QDir(path("out")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
        if (fault != "source gone")
            QVERIFY(source.startsWith(read(name)));
    }

    /// Whatever a format makes of them, the colours are seen as before, by others too.
    void profilesGoAlong()
    {
        const QImage quarters = Pictures::quarters(QSize(60, 40));
        const QImage greys = quarters.convertToFormat(QImage::Format_Grayscale8);
        write("srgb.icc", QColorSpace(QColorSpace::SRgb).iccProfile());
        for (auto [image, profile, source, isKept] :
             {std::tuple(quarters, ColourProfiles::rotated(), "in/a.heic", true),
              {greys, QColorSpace(QColorSpace::Primaries::DciP3D65, 1.5F).iccProfile(), "in/a.tiff", false},
              {quarters, ColourProfiles::rotatedInks(), "in/a.jpg", false}}) {
            image.setColorSpace(QColorSpace::fromIccProfile(profile));
            QVERIFY(image.save(path(source)));
            const QImage seen = ImageReading::read(path(source));
            QCOMPARE(Pictures::difference(seen, image) > 8, source != QByteArray("in/a.jpg"));
            for (const QString extension :
                 {".png", ".jpg", ".webp", ".tiff", ".bmp", ".heic", ".avif", ".jxl"}) {
                QVERIFY(convert({source}, extension, true).isEmpty());
                const QString target = path("out/a" + extension);
                const QImage after = ImageReading::read(target);
                QVERIFY2(Pictures::difference(after, seen) <= 4, qPrintable(source + extension));
                const QByteArray kept = stored("out/a" + extension).colorSpace().iccProfile();
                // Out of JPEG XL with loss come colours in a space of the decoder's.
                if (extension != ".jxl")
                    QCOMPARE(kept == profile, isKept && extension != ".bmp");
                QVERIFY(!this->read("out/a" + extension).contains("xmpmeta")); // the source has none
                if (QStringList{".png", ".jpg", ".webp", ".tiff"}.contains(extension)) {
                    QVERIFY(Tools::run("convert", {target, "-profile", path("srgb.icc"), path("read.png")}));
                    QVERIFY2(Pictures::difference(QImage(path("read.png")), seen) <= 6, qPrintable(target));
                }
            }
        }
    }

    /// What is told of the photo, by every target that can hold it, and again out of that into a JPEG file.
    void metadataGoAlong()
    {
        photographed("in/a.jpg");
        const QImage shown = ImageReading::read(path("in/a.jpg"));
        const QString photo = "Camera, 1, 2020:02:29 12:00:00, 50/1 27/1 0/1, %1, %2, ?, holiday, 1, Kyiv";
        for (const QString format : {"jpg", "png", "webp", "tiff", "heic", "heif", "avif", "jxl"}) {
            if (format == "jxl" && !exiv2ReadsBoxes()) {
                qWarning("Left out: JPEG XL, which exiv2 does not read as it was built.");
                continue;
            }
            QVERIFY(convert({"in/a.jpg"}, '.' + format, true).isEmpty());
            const QString converted = "out/a." + format;
            QCOMPARE(toldOf(converted), photo.arg("60, 40", "65535, ?"));
            QVERIFY(format != "png" || read(converted).indexOf("eXIf") == 37); // where others look for it
            QCOMPARE(stored(converted).colorSpace(), QColorSpace(QColorSpace::DisplayP3));
            QVERIFY(Pictures::difference(ImageReading::read(path(converted)), shown) < 6);

            Exports exports;
            const QRect crop(0, 0, 30, 20);
            exports.add(QPixmap::fromImage(ImageReading::read(path(converted)).copy(crop)),
                        path("out/exported.jpg"), path(converted));
            exports.finish();
            QCOMPARE(toldOf("out/exported.jpg"), photo.arg("30, 20", "1, R98"));
            QCOMPARE(stored("out/exported.jpg").colorSpace(), QColorSpace(QColorSpace::SRgb));
        }
    }

    /// A share that is enough to decode the picture is not enough to encode it, too.
    void encodersWaitForTheirMemory()
    {
        QVERIFY(Pictures::quarters({200, 200}).save(path("in/a.png")));
        MemoryBudget::setBytes(1'000'000);
        for (const bool exported : {false, true}) {
            auto other = std::make_unique<const MemoryBudget::Share>(100'000);
            Exports exports;
            auto conversion = std::async(std::launch::async, [&] {
                return exported ? QStringList() : convert({"in/a.png"}, ".jxl", true);
            });
            if (exported)
                exports.add(QPixmap(200, 200), path("out/b.jxl"));
            QTRY_COMPARE(MemoryBudget::waiting(), 1);
            other.reset();
            QVERIFY(conversion.get().isEmpty());
            exports.finish();
            QVERIFY(QFile::exists(path(exported ? "out/b.jxl" : "out/a.jxl")));
        }
        // What cannot be had at all is not tried.
        const qint64 usable = Platform::usableMemory();
        MemoryBudget::setBytes(usable / 2);
        const int side = qCeil(std::sqrt(double(usable) / ImageWriting::bytesPerPixel("jxl")));
        QImage huge(side, side, QImage::Format_Mono);
        huge.fill(0);
        QBuffer file;
        file.open(QIODevice::WriteOnly);
        QVERIFY(!ImageWriting::write(huge, "jxl", -1, {}, file));
        MemoryBudget::setBytes(std::numeric_limits<qint64>::max());
    }

    void hostileMetadataCostNoPicture()
    {
        const QByteArray exif = QByteArray("Exif\0\0", 6);
        const QByteArray tags(
            "II*\0\x08\0\0\0\2\0\x0f\1\2\0\xff\xff\xff\x7f\x10\0\0\0i\x87\4\0\1\0\0\0\x08\0\0\0", 34);
        const QByteArray deep = "http://ns.adobe.com/xap/1.0/" + QByteArray(1, 0)
                                + QByteArray("<x:xmpmeta xmlns:x='adobe:ns:meta/'>")
                                + QByteArray("<a>").repeated(21'000);
        for (const QByteArray &block : {exif + tags, exif + QByteArray(60'000, '\xff'), exif, deep,
                                        QByteArray("Photoshop 3.0\0008BIM\4\4", 20)}) {
            Pictures::save(path("in/a.jpg"));
            QByteArray file = read("in/a.jpg");
            QByteArray length(2, 0);
            qToBigEndian(static_cast<quint16>(block.size() + 2), length.data());
            file.insert(2, (block.startsWith("Photo") ? "\xff\xed" : "\xff\xe1") + length + block);
            write("in/a.jpg", file);
            for (const QString format : {"jpg", "heic"}) {
                QVERIFY(convert({"in/a.jpg"}, '.' + format, true).isEmpty());
                QCOMPARE(QImage(path("out/a." + format)).size(), QSize(60, 40));
            }
        }
    }

    void whatIsTooMuchForOneTargetReachesAnother()
    {
        photographed("in/a.jpg");
        QVERIFY(convert({"in/a.jpg"}, ".tiff").isEmpty());
        {
            const auto file = Exiv2::ImageFactory::open(QFile::encodeName(path("out/a.tiff")).toStdString());
            file->readMetadata();
            file->xmpData()["Xmp.dc.description"] = std::string(100'000, 'x') + "description";
            file->xmpData()["Xmp.mwg-rs.Regions"] = "faces";
            file->exifData()["Exif.Photo.UserComment"] = std::string(90'000, 'c') + "comment";
            file->writeMetadata();
        }
        for (const QString format : {"jpg", "png", "heic", "jxl", "tiff"}) {
            QVERIFY(convert({"out/a.tiff"}, '.' + format, true).isEmpty());
            const QByteArray converted = read("out/a." + format);
            const bool isJpeg = format == "jpg";
            QVERIFY(format == "jxl" || toldOf("out/a." + format).startsWith("Camera"));
            QVERIFY2(converted.contains("xxdescription") != isJpeg, qPrintable(format));
            QVERIFY2(converted.contains("cccomment") != isJpeg, qPrintable(format));
            QVERIFY2(converted.contains("faces") != isJpeg, qPrintable(format));
        }
        // In a picture that was turned, or a part of it, they are elsewhere.
        Exports exports;
        for (const bool turned : {false, true}) {
            const auto whole = [] { return Pictures::quarters({60, 40}); };
            exports.add(whole, path("out/whole.tiff"), path("out/a.tiff"), turned);
            exports.finish();
            QCOMPARE(read("out/whole.tiff").contains("faces"), !turned);
        }
        exports.add(QPixmap(30, 20), path("out/part.tiff"), path("out/a.tiff"));
        exports.finish();
        QVERIFY(read("out/part.tiff").contains("Camera") && !read("out/part.tiff").contains("faces"));

        // What costs the square of its length is left alone: the packet, padded, at the file's end.
        QByteArray file = read("out/a.tiff");
        char *const entry = file.data() + file.indexOf(QByteArray("\xbc\x02\1\0", 4));
        QByteArray packet =
            file.mid(qFromLittleEndian<quint32>(entry + 8), qFromLittleEndian<quint32>(entry + 4));
        QVERIFY(packet.contains("holiday"));
        packet.insert(packet.lastIndexOf("<?xpacket"), QByteArray(1'200'000, ' '));
        qToLittleEndian(static_cast<quint32>(packet.size()), entry + 4);
        qToLittleEndian(static_cast<quint32>(file.size()), entry + 8);
        write("out/a.tiff", file + packet);
        QVERIFY(convert({"out/a.tiff"}, ".png", true).isEmpty());
        QVERIFY(toldOf("out/a.png").startsWith("Camera"));
        QVERIFY(!toldOf("out/a.png").contains("holiday"));

        // Those of a file as large as this, without a look at the rest of it.
        QVERIFY(QFile::resize(path("out/a.tiff"), 600'000'000));
        QVERIFY(convert({"out/a.tiff"}, ".jpg", true).isEmpty());
        QVERIFY(toldOf("out/a.jpg").startsWith("Camera") && toldOf("out/a.jpg").endsWith("Kyiv"));
        const QByteArray resources(
            "8BIM\4\x22\0\0\0\0\0\x22II*\0\x08\0\0\0\1\0\x0f\1\2\0\7\0\0\0\x1a\0\0\0\0\0\0\0"
            "Camera\0\0"
            "8BIM\4\4\0\0\0\0\0\x09\x1c\2\x5a\0\4Kyiv",
            68);
        write("in/b.psd", QByteArray("8BPS\0\1\0\0\0\0\0\0\0\3\0\0\0\2\0\0\0\2\0\x08\0\3\0\0\0\0\0\0\0", 33)
                              + static_cast<char>(resources.size()) + resources
                              + QByteArray(4 + 2 + 3 * 4, 0));
        QVERIFY(convert({"in/b.psd"}, ".jpg", true).isEmpty());
        const QString told = toldOf("out/b.jpg");
        QVERIFY2(told.startsWith("Camera") && told.endsWith("Kyiv"), qPrintable(told));
    }

private:
    /// Runs the worker; the targets that existed and their sources, as "target < source".
    QStringList convert(const QStringList &sources, const QString &extension, bool overwrite = false,
                        bool converts = true)
    {
        ImagesToPDFConvertThread thread;
        for (const QString &source : sources)
            thread.sourceFiles.append(path(source));
        thread.targetPath = VistamoGlobal::outputFolder + (converts ? "" : "/all.pdf");
        thread.targetExtension = extension;
        thread.overwrite = overwrite;
        thread.isConvertMode = converts;
        names.clear();
        connect(
            &thread, &ImagesToPDFConvertThread::updateFileName, &thread,
            [&](const QString &name) {
                names.append(relative(name));
                if (stops)
                    thread.stop();
            },
            Qt::DirectConnection);
        const QSignalSpy completed(&thread, &ImagesToPDFConvertThread::threadCompleted);
        thread.start();
        thread.wait();
        QStringList existing;
        for (const QString &target : completed.value(0).value(0).toStringList())
            existing.append(relative(target) + " < "
                            + relative(completed[0][1].toStringList().value(existing.size())));
        return existing;
    }
    /// In the colours that the file has.
    QImage stored(const QString &name) const
    {
        return ImageReading::read(path(name), ImageReading::Colours::AsStored);
    }
    /// A portrait with a profile and with what a camera and its user say, a preview among it.
    void photographed(const QString &name) const
    {
        Pictures::save(path(name), QSize(60, 40), 6, QColorSpace::DisplayP3);
        const auto file = Exiv2::ImageFactory::open(QFile::encodeName(path(name)).toStdString());
        file->readMetadata();
        Exiv2::ExifData &exif = file->exifData();
        exif["Exif.Image.Make"] = "Camera";
        exif["Exif.Photo.DateTimeOriginal"] = "2020:02:29 12:00:00";
        exif["Exif.Photo.ColorSpace"] = uint16_t(65535);
        exif["Exif.Photo.PixelXDimension"] = 40U;
        exif["Exif.GPSInfo.GPSLatitude"] = "50/1 27/1 0/1";
        const QByteArray preview = Pictures::encoded(Pictures::quarters({16, 16}), "jpg");
        Exiv2::ExifThumb(exif).setJpegThumbnail(reinterpret_cast<const Exiv2::byte *>(preview.constData()),
                                                preview.size());
        file->xmpData()["Xmp.dc.subject"] = "holiday";
        file->xmpData()["Xmp.tiff.Orientation"] = "6";
        file->iptcData()["Iptc.Application2.City"] = "Kyiv";
        file->writeMetadata();
    }

    /// What a file says of its picture, the place in either form; "?" stands for what it does not say.
    QString toldOf(const QString &name) const
    {
        QString readable = path(name);
        if (name.contains(QRegularExpression("he..$|avif$"))) { // exiv2 reads but some of these
            readable = path("read.jpg");
            Tools::run("heif-convert", {path(name), readable});
        }
        exiv2ReadsBoxes();
        const auto file = Exiv2::ImageFactory::open(QFile::encodeName(readable).toStdString());
        file->readMetadata();
        QStringList told;
        const auto tell = [&told](const auto &data, const auto &key) {
            const auto datum = data.findKey(key);
            told.append(datum == data.end() ? "?" : QString::fromStdString(datum->toString()));
        };
        for (const char *const key :
             {"Image.Make", "Image.Orientation", "Photo.DateTimeOriginal", "GPSInfo.GPSLatitude",
              "Photo.PixelXDimension", "Photo.PixelYDimension", "Photo.ColorSpace",
              "Iop.InteroperabilityIndex", "Thumbnail.Compression"})
            tell(file->exifData(), Exiv2::ExifKey(std::string("Exif.") + key));
        for (const char *const key : {"dc.subject", "tiff.Orientation"})
            tell(file->xmpData(), Exiv2::XmpKey(std::string("Xmp.") + key));
        if (file->iptcData().empty())
            tell(file->xmpData(), Exiv2::XmpKey("Xmp.photoshop.City"));
        else
            tell(file->iptcData(), Exiv2::IptcKey("Iptc.Application2.City"));
        return told.join(", ");
    }

    QStringList names;  ///< as they were announced
    bool stops = false; ///< the run, at its first file
};

QTEST_MAIN(ConvertTest)
#include "ConvertTest.moc"
