#include "library/Ticks.h"

#include <QtDebug>

#include <algorithm>
#include <numeric>

/// The path under which a file is ticked; null if it is not.
QString Ticks::find(const QString &file) const
{
    if (tickedFiles.isEmpty())
        return {};
    const auto [begin, end] = tickedFiles.equal_range(NativeCaselessPath(file));
    if (std::find(begin, end, file) != end) // of two that have gone nobody can tell whether they were one
        return file;
    const auto found =
        std::find_if(begin, end, [&](const QString &other) { return isOneDespiteCase(other, file); });
    return found == end ? QString() : *found;
}

bool Ticks::contains(const QString &path, const QString &fileName) const
{
    return !find(path + QLatin1Char('/') + fileName).isNull();
}

void Ticks::set(const QString &path, const QString &fileName, bool ticked)
{
    QList<TCheckedItem> &items = VistamoGlobal::checkedItemList;
    const QString file = path + QLatin1Char('/') + fileName;
    const QString found = find(file);
    if (!ticked) {
        qDebug() << "removeItemFromCheckedItemList: ";
        qDebug() << "path: " << path;
        qDebug() << "fileName: " << fileName;
    }
    if (ticked && found.isNull()) {
        tickedFiles.insert(NativeCaselessPath(file), file);
        ++ticksOf[NativeCaselessPath(path)];
        items.append({path, fileName, true});
    } else if (!ticked && !found.isNull()) {
        tickedFiles.remove(NativeCaselessPath(found), found);
        --ticksOf[NativeCaselessPath(path)];
        missing[NativeCaselessPath(path)].remove(found);
        items.removeIf([&](const TCheckedItem &item) {
            // The end alone first: a joined path for each of many is costly.
            return found.endsWith(item.fileName) && item.path + QLatin1Char('/') + item.fileName == found;
        });
    }
    assertInStep();
}

void Ticks::set(const QList<TFileRecord> &files, bool ticked)
{
    QStringList unticked;
    for (const TFileRecord &file : files) {
        if (ticked)
            set(file.path, file.fileName, true);
        else
            unticked.append(file.path + QLatin1Char('/') + file.fileName);
    }
    remove(unticked);
}

void Ticks::untick(const QStringList &files)
{
    qDebug() << "removeItemFromCheckedItemList: " << files.size();
    remove(files);
}

void Ticks::remove(const QStringList &files)
{
    QSet<QString> gone;
    gone.reserve(files.size());
    for (const QString &file : files) {
        if (const QString found = find(file); !found.isNull())
            gone.insert(found);
    }
    if (gone.isEmpty())
        return;
    QHash<QString, int> goneOf; // by folder
    VistamoGlobal::checkedItemList.removeIf([&](const TCheckedItem &item) {
        const QString file = item.path + QLatin1Char('/') + item.fileName;
        if (!gone.contains(file))
            return false;
        tickedFiles.remove(NativeCaselessPath(file), file);
        ++goneOf[item.path];
        return true;
    });
    for (auto folder = goneOf.cbegin(); folder != goneOf.cend(); ++folder) {
        const NativeCaselessPath path(folder.key());
        ticksOf[path] -= folder.value();
        missing[path].removeIf([&gone](const QString &file) { return gone.contains(file); });
    }
    assertInStep();
}

void Ticks::setPresent(const QString &folder, const QList<TFileRecord> &files)
{
    const QStringList ticked =
        ticksOf.value(NativeCaselessPath(folder)) > 0 ? filesOf(folder) : QStringList();
    QSet<QString> without(ticked.begin(), ticked.end());
    for (auto file = files.begin(); file != files.end() && !without.isEmpty(); ++file)
        without.remove(find(file->path + QLatin1Char('/') + file->fileName));
    missing[NativeCaselessPath(folder)] = without;
}

void Ticks::changePresent(const QString &folder, const QSet<QString> &gone, const QList<TFileRecord> &come)
{
    const NativeCaselessPath path(folder);
    if (ticksOf.value(path) == 0)
        return;
    QSet<QString> &without = missing[path];
    for (const QString &fileName : gone) {
        if (const QString found = find(folder + QLatin1Char('/') + fileName); !found.isNull())
            without.insert(found);
    }
    for (auto file = come.begin(); file != come.end() && !without.isEmpty(); ++file)
        without.remove(find(file->path + QLatin1Char('/') + file->fileName));
}

int Ticks::count() const
{
    const auto without = std::accumulate(missing.begin(), missing.end(), qsizetype(0),
                                         [](qsizetype sum, const auto &files) { return sum + files.size(); });
    return static_cast<int>(tickedFiles.size() - without);
}

int Ticks::countOf(const QString &folder) const
{
    const NativeCaselessPath path(folder);
    return ticksOf.value(path) - static_cast<int>(missing.value(path).size());
}

QStringList Ticks::files() const
{
    QStringList files;
    for (const TCheckedItem &item : VistamoGlobal::checkedItemList)
        files.append(item.path + QLatin1Char('/') + item.fileName);
    return files;
}

QStringList Ticks::filesOf(const QString &folder) const
{
    const NativeCaselessPath wanted(folder);
    QStringList files;
    for (const TCheckedItem &item : VistamoGlobal::checkedItemList) {
        if (NativeCaselessPath(item.path) == wanted)
            files.append(item.path + QLatin1Char('/') + item.fileName);
    }
    return files;
}

void Ticks::assertInStep() const
{
    Q_ASSERT_X(tickedFiles.size() == VistamoGlobal::checkedItemList.size(), "Ticks",
               qPrintable(QStringLiteral("%1 in the set, %2 in the list")
                              .arg(tickedFiles.size())
                              .arg(VistamoGlobal::checkedItemList.size())));
}
