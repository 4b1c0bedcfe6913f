// Runs the program over a folder of pictures by other hands and compares what it says of them with the
// folder's `manifest.tsv` (path, kind, width, height, ...). Prints what differs; fails if a picture that
// could be read has the wrong size, or if a file of the folder is not in the list.
//
//   CorpusCheck FOLDER

#include "shared/ImageReading.h"
#include "support/Program.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QMap>
#include <QSqlQuery>
#include <QTextStream>

namespace {

QTextStream out(stdout);

struct Entry
{
    QString path;
    bool valid = false;
    QString size; ///< "4032x3024"; empty where the manifest leaves it open
};

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
        folders[QFileInfo(root + '/' + fields[0]).path()].append(
            {root + '/' + fields[0], fields[1] == "valid", size});
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
            (isRead ? read : unread) += 1;
            wrong += differs;
            if (differs || (!isRead && entry.valid))
                out << (differs ? "WRONG " : "unread ") << entry.path.mid(root.size() + 1) << ": manifest "
                    << entry.size << ", database " << resolution << ", viewer " << viewer << Qt::endl;
        }
    }
    out << read << " read, " << unread << " not read, " << wrong << " wrong" << Qt::endl;
    return wrong ? 1 : 0;
}
