// Runs the program over a folder of pictures by other hands and compares what it says of them with the
// folder's `manifest.tsv` (path, kind, width, height, mean red, green and blue as stored, ...). Prints what
// differs; fails if a picture that could be read has the wrong size or colours, or if a file of the folder is
// not in the list.
//
//   CorpusCheck FOLDER

#include "shared/image/ImageReading.h"
#include "support/Program.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QMap>
#include <QSqlQuery>
#include <QTextStream>

#include <algorithm>
#include <cmath>

namespace {

QTextStream out(stdout);

struct Entry
{
    QString path;
    bool valid = false;
    QString size;      ///< "4032x3024"; empty where the manifest leaves it open
    QList<int> colour; ///< mean of red, green and blue; empty where the manifest leaves it open
};

// Decoders round differently.
constexpr double colourTolerance = 3;

/// Mean red, green and blue of the picture as it is stored, 0 to 255.
QList<double> meanColour(const QString &path)
{
    const QImage image =
        ImageReading::read(path, ImageReading::Colours::AsStored).convertToFormat(QImage::Format_RGB888);
    qint64 sums[3] = {};
    for (int y = 0; y < image.height(); ++y) {
        const uchar *const line = image.constScanLine(y);
        for (int i = 0; i < 3 * image.width(); ++i)
            sums[i % 3] += line[i];
    }
    const double pixels = std::max<double>(1, static_cast<double>(image.width()) * image.height());
    return {sums[0] / pixels, sums[1] / pixels, sums[2] / pixels};
}

/// Says how the colours differ from the manifest's; empty if they do not.
QString colourDifference(const Entry &entry)
{
    if (entry.colour.isEmpty())
        return {};
    QStringList wanted, got;
    bool differs = false;
    const QList<double> mean = meanColour(entry.path);
    for (int i = 0; i < 3; ++i) {
        differs |= std::abs(mean[i] - entry.colour[i]) > colourTolerance;
        wanted.append(QString::number(entry.colour[i]));
        got.append(QString::number(mean[i], 'f', 1));
    }
    return differs ? "manifest " + wanted.join(' ') + ", read " + got.join(' ') : QString();
}

/// The entries of the manifest by their folder.
QMap<QString, QList<Entry>> readManifest(const QString &root)
{
    QMap<QString, QList<Entry>> folders;
    QFile file(root + "/manifest.tsv");
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no manifest in %s", qPrintable(root));
    file.readLine();
    while (!file.atEnd()) {
        const QStringList fields = QString::fromUtf8(file.readLine()).split('\t');
        const QString size = fields[2].isEmpty() ? QString() : fields[2] + 'x' + fields[3];
        QList<int> colour;
        for (int i = 4; i < 7 && !fields[i].isEmpty(); ++i)
            colour.append(fields[i].toInt());
        folders[QFileInfo(root + '/' + fields[0]).path()].append(
            {root + '/' + fields[0], fields[1] == "valid", size, colour});
    }
    return folders;
}

QString storedResolution(const QString &path)
{
    QSqlQuery query;
    query.prepare("SELECT resolution FROM FileData WHERE fullPath = ?");
    query.addBindValue(path);
    return query.exec() && query.next() ? query.value(0).toString() : QString();
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

} // namespace

int main(int argc, char *argv[])
{
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtFatalMsg)
            fprintf(stderr, "%s\n", qPrintable(text));
    });
    QApplication application(argc, argv);
    QApplication::setStyle("Fusion");
    ImageReading::setAllocationLimit();
    const QString root = QDir(QCoreApplication::arguments().value(1)).absolutePath();

    int wrong = 0;
    int read = 0;
    int unread = 0;
    const auto folders = readManifest(root);
    for (auto folder = folders.cbegin(); folder != folders.cend(); ++folder) {
        Program::setFolders({folder.key()});
        const Program program;
        if (!QTest::qWaitFor([&] { return program.settled() && program.rows() > 0; }, 300000))
            qFatal("%s never settles", qPrintable(folder.key()));
        for (const Entry &entry : *folder) {
            const auto row = static_cast<int>(program.fileNames().indexOf(QFileInfo(entry.path).fileName()));
            const QString resolution = storedResolution(entry.path);
            const QString viewer = row < 0 ? "not listed" : sizeInViewer(program, row);
            const bool isRead = !resolution.isEmpty() || (viewer != "0x0" && row >= 0);
            const bool differs =
                row < 0
                || (isRead && !entry.size.isEmpty() && (resolution != entry.size || viewer != entry.size));
            const QString colours = isRead && entry.valid ? colourDifference(entry) : QString();
            (isRead ? read : unread) += 1;
            wrong += differs || !colours.isEmpty();
            if (!colours.isEmpty())
                out << "COLOUR " << entry.path.mid(root.size() + 1) << ": " << colours << Qt::endl;
            if (differs || (!isRead && entry.valid))
                out << (differs ? "WRONG " : "unread ") << entry.path.mid(root.size() + 1) << ": manifest "
                    << entry.size << ", database " << resolution << ", viewer " << viewer << Qt::endl;
        }
    }
    out << read << " read, " << unread << " not read, " << wrong << " wrong" << Qt::endl;
    return wrong ? 1 : 0;
}
