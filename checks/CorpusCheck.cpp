// Runs the program over a folder of pictures by other hands and compares what it shows, stores and says of
// them with the folder's `manifest.tsv` (path, kind, width, height, mean red, green and blue as stored, ...,
// notes). Prints what is wrong and fails on it, unless `known-misses.tsv` names the file with a reason:
//
// - a valid picture, or a damaged one of which the notes say that another program decodes it, is not shown;
// - size or colours are not the manifest's, in the viewer, the database or the stored thumbnail;
// - a file of the manifest is not listed.
//
//   CorpusCheck FOLDER

#include "shared/image/ImageReading.h"
#include "support/Program.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QLabel>
#include <QMap>
#include <QPainter>
#include <QRegularExpression>
#include <QSqlQuery>
#include <QTextStream>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

QTextStream out(stdout);

struct Entry
{
    QString path;
    bool isValid = false;
    bool isDecodedByOthers = false;
    QString size;           ///< "4032x3024"; empty where the manifest leaves it open
    QList<int> colour;      ///< mean of red, green and blue; empty where the manifest leaves it open
    bool isOnWhite = false; ///< the mean is that of the picture over white
};

/// What the database holds of a file.
struct Row
{
    QString resolution;
    QImage thumbnail;
};

// Decoders round differently. Thumbnails of large pictures are made of some of their pixels alone.
constexpr double colourTolerance = 3;
constexpr double thumbnailTolerance = 6;
constexpr int thumbnailSide = 256;

using Colour = std::array<double, 3>; ///< red, green and blue, 0 to 255

Colour meanColour(const QImage &picture)
{
    const QImage image = picture.convertToFormat(QImage::Format_RGB888);
    std::array<qint64, 3> sums{};
    for (int y = 0; y < image.height(); ++y) {
        const uchar *const line = image.constScanLine(y);
        for (int i = 0; i < 3 * image.width(); ++i)
            sums[i % 3] += line[i];
    }
    const double pixels = std::max<double>(1, static_cast<double>(image.width()) * image.height());
    return {sums[0] / pixels, sums[1] / pixels, sums[2] / pixels};
}

QImage overWhite(const QImage &picture)
{
    QImage image(picture.size(), QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter(&image).drawImage(0, 0, picture);
    return image;
}

QString text(const Colour &colour)
{
    return QStringLiteral("%1 %2 %3")
        .arg(colour[0], 0, 'f', 0)
        .arg(colour[1], 0, 'f', 0)
        .arg(colour[2], 0, 'f', 0);
}

bool areNear(const Colour &one, const Colour &other, double tolerance)
{
    return std::equal(one.begin(), one.end(), other.begin(),
                      [=](double a, double b) { return std::abs(a - b) <= tolerance; });
}

QStringList linesOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    return QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts).mid(1);
}

Entry entryOf(const QString &root, const QStringList &fields)
{
    static const QRegularExpression onWhite("over white (\\d+),(\\d+),(\\d+)");
    static const QRegularExpression decodes(": decodes [1-9]");
    const QString &notes = fields.last();
    Entry entry;
    entry.path = root + '/' + fields[0];
    entry.isValid = fields[1] == "valid";
    entry.isDecodedByOthers = notes.contains(decodes);
    if (!fields[2].isEmpty())
        entry.size = fields[2] + 'x' + fields[3];
    QStringList colour = fields.mid(4, 3);
    if (colour[0].isEmpty()) {
        colour = onWhite.match(notes).capturedTexts().mid(1);
        entry.isOnWhite = true;
    }
    for (const QString &value : colour)
        entry.colour.append(value.toInt());
    return entry;
}

/// The entries of the manifest by their folder.
QMap<QString, QList<Entry>> readManifest(const QString &root)
{
    QMap<QString, QList<Entry>> folders;
    for (const QString &line : linesOf(root + "/manifest.tsv")) {
        const Entry entry = entryOf(root, line.split('\t'));
        folders[QFileInfo(entry.path).path()].append(entry);
    }
    return folders;
}

Row storedRow(const QString &path)
{
    QSqlQuery query;
    query.prepare("SELECT resolution, image FROM FileData WHERE fullPath = ?");
    query.addBindValue(path);
    if (!query.exec() || !query.next())
        return {};
    return {query.value(0).toString(), QImage::fromData(query.value(1).toByteArray())};
}

/// What the viewer says of the file in `row`.
QString sizeInViewer(const Program &program, int row)
{
    auto *const label = program.find<QLabel>("sizeInfoLabel");
    label->clear();
    emit program.list()->doubleClicked(program.list()->model()->index(row, 0));
    if (!QTest::qWaitFor([&] { return !label->text().isEmpty(); }, 60000))
        return "nothing";
    return label->text();
}

/// What is wrong with the colours of a picture that is shown, or with its thumbnail.
QStringList faultsOfPixels(const Entry &entry, const QImage &thumbnail)
{
    QStringList faults;
    const QImage stored = ImageReading::read(entry.path, ImageReading::Colours::AsStored);
    const Colour mean = meanColour(entry.isOnWhite ? overWhite(stored) : stored);
    if (!entry.colour.isEmpty()) {
        const Colour wanted{double(entry.colour[0]), double(entry.colour[1]), double(entry.colour[2])};
        if (!areNear(mean, wanted, colourTolerance))
            faults += "colours " + text(mean) + ", manifest " + text(wanted);
    }
    const QSize size = ImageReading::thumbnailSize(stored.size(), thumbnailSide);
    if (thumbnail.size() != size)
        faults += QStringLiteral("thumbnail of %1x%2").arg(thumbnail.width()).arg(thumbnail.height());
    const QImage shown = ImageReading::read(entry.path);
    if (const Colour colour = meanColour(shown);
        !shown.hasAlphaChannel() // which thumbnails do not keep
        && !areNear(meanColour(thumbnail), colour, thumbnailTolerance))
        faults += "thumbnail's colours " + text(meanColour(thumbnail)) + ", picture's " + text(colour);
    return faults;
}

/// What is wrong with a file that the list has in `row`.
QStringList faultsOf(const Entry &entry, const Program &program, int row)
{
    if (row < 0)
        return {"not listed"};
    const Row stored = storedRow(entry.path);
    const QString viewer = sizeInViewer(program, row);
    const bool isShown = viewer != "0x0";
    if (!isShown && stored.resolution.isEmpty())
        return entry.isValid || entry.isDecodedByOthers ? QStringList{"not shown"} : QStringList();
    const QString size = entry.size.isEmpty() ? viewer : entry.size;
    QStringList faults;
    if (stored.resolution != size || viewer != size)
        faults += "manifest " + entry.size + ", database " + stored.resolution + ", viewer " + viewer;
    return faults + (isShown ? faultsOfPixels(entry, stored.thumbnail) : QStringList());
}

/// Files of which it is known that they come out wrong, and why.
QMap<QString, QString> knownMisses()
{
    QMap<QString, QString> misses;
    for (const QString &line : linesOf(KNOWN_MISSES))
        misses[line.section('\t', 0, 0)] = line.section('\t', 1);
    return misses;
}

/// The program's plug-ins of the build that this belongs to.
void findPlugins()
{
    QCoreApplication::addLibraryPath(PLUGINS);
    const QList<QByteArray> formats = QImageReader::supportedImageFormats();
    for (const char *const format : {"heic", "jxl", "orrelan-tiff", "psd", "pspimage"})
        if (!formats.contains(format))
            qFatal("no plug-in for %s", format);
}

} // namespace

int main(int argc, char *argv[])
{
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtFatalMsg)
            fprintf(stderr, "%s\n", qPrintable(text));
    });
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setStyle("Fusion");
    findPlugins();
    ImageReading::setAllocationLimit();
    const QString root = QDir(QCoreApplication::arguments().value(1)).absolutePath();

    const auto known = knownMisses();
    int right = 0;
    int expected = 0;
    int wrong = 0;
    const auto folders = readManifest(root);
    for (auto folder = folders.cbegin(); folder != folders.cend(); ++folder) {
        Program::setFolders({folder.key()});
        const Program program;
        if (!QTest::qWaitFor([&] { return program.settled() && program.rows() > 0; }, 300000))
            qFatal("%s never settles", qPrintable(folder.key()));
        for (const Entry &entry : *folder) {
            const auto row = static_cast<int>(program.fileNames().indexOf(QFileInfo(entry.path).fileName()));
            const QString name = entry.path.mid(root.size() + 1);
            const QStringList faults = faultsOf(entry, program, row);
            const bool isKnown = known.contains(name);
            (isKnown != faults.isEmpty() ? (isKnown ? expected : right) : wrong) += 1;
            if (isKnown && faults.isEmpty())
                out << "WRONG " << name << ": right, though it is a known miss" << Qt::endl;
            for (const QString &fault : faults)
                out << (isKnown ? "known " : "WRONG ") << name << ": " << fault << Qt::endl;
        }
    }
    out << right << " right, " << expected << " known to be wrong, " << wrong << " wrong" << Qt::endl;
    return wrong ? 1 : 0;
}
