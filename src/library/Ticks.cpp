#include "library/Ticks.h"

#include <QtDebug>

namespace {

NativeCaselessPath keyOf(const QString &path, const QString &fileName)
{
    return NativeCaselessPath(path + QLatin1Char('/') + fileName);
}

} // namespace

bool Ticks::contains(const QString &path, const QString &fileName) const
{
    return !tickedFiles.isEmpty() && tickedFiles.contains(keyOf(path, fileName));
}

void Ticks::set(const QString &path, const QString &fileName, bool ticked)
{
    QList<TCheckedItem> &items = VistamoGlobal::checkedItemList;
    const NativeCaselessPath key = keyOf(path, fileName);
    if (!ticked) {
        qDebug() << "removeItemFromCheckedItemList: ";
        qDebug() << "path: " << path;
        qDebug() << "fileName: " << fileName;
    }
    if (ticked && !tickedFiles.contains(key)) {
        tickedFiles.insert(key);
        items.append({path, fileName, true});
    } else if (!ticked && tickedFiles.remove(key)) {
        items.removeIf([&](const TCheckedItem &item) {
            // The name alone first: a key for each of many is costly.
            return item.fileName.compare(fileName, Qt::CaseInsensitive) == 0
                   && keyOf(item.path, item.fileName) == key;
        });
    }
    assertInStep();
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
