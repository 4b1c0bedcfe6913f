#include "library/FileList.h"

#include "library/FileNames.h"
#include "shared/platform/FolderEntries.h"
#include "shared/platform/PathIdentity.h"
#include "shared/platform/Platform.h"
#include "shared/threads/Background.h"

#include <QFileInfo>
#include <QMultiHash>
#include <QSet>
#include <QtDebug>

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

QList<TFileRecord> &records()
{
    return VistamoGlobal::fileDataList;
}

/// True if the file is the same as at the last walk, so that its icon can stay.
bool isUnchanged(const TFileRecord &old, const TFileRecord &record)
{
    return old.size == record.size && old.creationTime == record.creationTime
           && (old.creationTime.isValid() || old.modifiedTime == record.modifiedTime);
}

QSet<QString> namesOf(const QList<TFileRecord> &files)
{
    QSet<QString> names;
    for (const TFileRecord &file : files)
        names.insert(file.fileName);
    return names;
}

/// The row of the first file of which `is` is true, or -1.
template <typename Predicate>
int firstRow(Predicate is)
{
    const auto found = std::find_if(records().cbegin(), records().cend(), is);
    return found == records().cend() ? -1 : static_cast<int>(found - records().cbegin());
}

/// A copy of an item with another text. What was set one by one has room for as much again, in a hundred
/// thousand items tens of megabytes; what is copied has none.
QStandardItem *copyOf(const QStandardItem &item, const QString &text)
{
    QStandardItem *const copy = item.clone();
    copy->setText(text);
    return copy;
}

/// Cells of the strip for items of the list, of which they share the texts.
QList<QStandardItem *> newCells(const QList<QStandardItem *> &items)
{
    QList<QStandardItem *> cells;
    cells.reserve(items.size());
    for (const QStandardItem *item : items) {
        if (cells.isEmpty())
            cells.append(new QStandardItem(item->icon(), item->text()));
        else
            cells.append(copyOf(*cells.first(), item->text()));
        cells.last()->setIcon(item->icon());
    }
    return cells;
}

/// Adds cells to the strip's one row, from column `first` on. The row is taken out and put back: columns
/// inserted one by one cost the square of their number.
void addStripCells(QStandardItemModel &strip, qsizetype first, const QList<QStandardItem *> &cells)
{
    QList<QStandardItem *> row = strip.takeRow(0);
    // The strip was emptied during the walk: it is filled by the next.
    if (first == row.size())
        row += cells;
    else
        qDeleteAll(cells);
    strip.insertRow(0, row);
}

} // namespace

FileList::FileList(Surroundings surroundings, QObject *parent)
    : QObject(parent)
    , surroundings(std::move(surroundings))
    , thumbnailIcons(this)
{
}

FileList::~FileList()
{
    // The next list starts empty.
    records().clear();
}

void FileList::begin(Generation generation, const QString &path)
{
    currentGeneration = generation;
    if (ExactPath(path) != ExactPath(currentFolder))
        clear();
    currentFolder = path;
    readAgain = count() > 0;
    found.clear();
    changed.clear();
}

std::optional<QList<TThumbnailRequest>> FileList::take(const FoundFiles &files, bool checkable)
{
    if (files.generation != currentGeneration)
        return std::nullopt;
    QList<TThumbnailRequest> requests;
    if (files.gone) {
        requests = change(files, checkable);
    } else if (readAgain) {
        found += files.records;
        if (files.cutOff)
            addKnown(found);
        if (files.complete) {
            requests = merge(std::exchange(found, {}), checkable);
            Background::run(Platform::returnFreedMemory); // a second list of all files was read
        }
        readAgain = !files.complete;
    } else {
        for (qsizetype i = 0; i < files.records.size(); ++i)
            requests.append({files.infos.value(i), count() + static_cast<int>(i)});
        appendRows(files.records, checkable);
    }
    assertInStep();
    Q_ASSERT_X(
        !files.complete || fileHasLeft || galleryModel.columnCount() == mainModel.rowCount(), "FileList",
        qPrintable(
            QStringLiteral("%1 columns, %2 rows").arg(galleryModel.columnCount()).arg(mainModel.rowCount())));
    return requests;
}

/// Makes the rows those of these files. A file that was there before keeps its row's item, and with it icon,
/// tick and selection.
QList<TThumbnailRequest> FileList::merge(const QList<TFileRecord> &files, bool checkable)
{
    const QSet<QString> before = names();
    const QSet<QString> now = namesOf(files);
    QList<int> gone;
    for (int row = 0; row < count(); ++row) {
        if (!now.contains(records()[row].fileName))
            gone.append(row);
    }
    QList<TFileRecord> come;
    std::copy_if(files.cbegin(), files.cend(), std::back_inserter(come),
                 [&](const TFileRecord &file) { return !before.contains(file.fileName); });
    replace(gone, come, checkable);

    bool boxesChanged = false;
    QList<TThumbnailRequest> requests;
    int row = 0;
    for (const TFileRecord &file : files) {
        if (row >= count() || records()[row].fileName != file.fileName)
            continue; // a folder that names a file twice
        boxesChanged |= setCheckable(row, checkable);
        updateRow(row, file);
        // Not asked for yet, or changed, or without an answer when the load before was given up.
        if (records()[row].imageRect.isNull())
            requests.append({QFileInfo(file.fullPath), row});
        ++row;
    }
    if (boxesChanged)
        emit sizesChanged();
    return requests;
}

/// Takes in what differs from the list: other rows are not looked at.
QList<TThumbnailRequest> FileList::change(const FoundFiles &files, bool checkable)
{
    QList<int> gone;
    for (const QString &name : *files.gone)
        gone.append(rowNamed(name));
    gone.removeAll(-1); // the user was quicker
    std::sort(gone.begin(), gone.end());
    QList<TFileRecord> come;
    std::copy_if(files.records.cbegin(), files.records.cend(), std::back_inserter(come),
                 [this](const TFileRecord &file) { return rowNamed(file.fileName) < 0; });
    replace(gone, come, checkable);

    QList<TThumbnailRequest> requests;
    auto next = come.cbegin();
    for (qsizetype i = 0; i < files.records.size(); ++i) {
        const TFileRecord &file = files.records[i];
        const int row = rowNamed(file.fileName);
        const bool hasCome = next != come.cend() && next->fileName == file.fileName;
        next += hasCome;
        if (!hasCome && !updateRow(row, file))
            continue; // has been asked for
        if (!hasCome)
            changed.insert(file.fileName);
        requests.append({files.infos.value(i), row});
    }
    return requests;
}

/// Takes out the rows `gone`, in ascending order, and puts in the files `come`, in the order of their names.
void FileList::replace(const QList<int> &gone, const QList<TFileRecord> &come, bool checkable)
{
    removeFiles(gone);
    const QList<int> rows = insertFiles(come, checkable);
    if (fileHasLeft)
        fillStrip();
    else if (!gone.isEmpty() || !come.isEmpty())
        changeStrip(gone, rows);
}

/// Adds the files that stand in the list and not among these, both in the order of their names: of a folder
/// whose drive has failed they are not known to be gone.
void FileList::addKnown(QList<TFileRecord> &files) const
{
    const QSet<QString> names = namesOf(files);
    const qsizetype known = files.size();
    std::copy_if(records().cbegin(), records().cend(), std::back_inserter(files),
                 [&](const TFileRecord &file) { return !names.contains(file.fileName); });
    std::inplace_merge(
        files.begin(), files.begin() + known, files.end(),
        [](const TFileRecord &a, const TFileRecord &b) { return nameComesBefore(a.fileName, b.fileName); });
}

/// Makes the strip's cells those of the rows.
void FileList::fillStrip()
{
    fileHasLeft = false;
    QList<QStandardItem *> items;
    for (int row = 0; row < mainModel.rowCount(); ++row)
        items.append(mainModel.item(row, 0));
    surroundings.keepStripInPlace([&] {
        galleryModel.clear();
        addStripCells(galleryModel, 0, newCells(items));
    });
}

/// Takes the cells of the rows `gone` out of the strip, and puts in those of `come`, rows as they are now.
void FileList::changeStrip(const QList<int> &gone, const QList<int> &come)
{
    surroundings.keepStripInPlace([&] {
        QList<QStandardItem *> before = galleryModel.takeRow(0);
        for (const int column : gone)
            delete std::exchange(before[column], nullptr);
        before.removeAll(nullptr);
        QList<QStandardItem *> cells;
        cells.reserve(count());
        for (qsizetype i = 0; i < come.size(); ++i) {
            cells += before.mid(cells.size() - i, come[i] - cells.size());
            cells += newCells({mainModel.item(come[i])});
        }
        cells += before.mid(cells.size() - come.size());
        galleryModel.insertRow(0, cells);
        galleryModel.setColumnCount(count());
    });
}

/// Adds files at the end, to the strip first.
void FileList::appendRows(const QList<TFileRecord> &files, bool checkable)
{
    if (files.isEmpty())
        return;
    const QList<QStandardItem *> items = newItems(files, checkable);
    const int row = count();
    surroundings.keepStripInPlace([&] { addStripCells(galleryModel, row, newCells(items)); });
    records() += files;
    mainModel.invisibleRootItem()->insertRows(row, items);
    assertSameFile(row);
}

/// The items of these files in the list, for it to own.
QList<QStandardItem *> FileList::newItems(const QList<TFileRecord> &files, bool checkable)
{
    QStandardItem blank(thumbnailIcons.blank(), {});
    blank.setCheckable(checkable);
    QList<QStandardItem *> items;
    items.reserve(files.size());
    for (const TFileRecord &file : files)
        items.append(copyOf(blank, wrapFileName(file.fileName)));
    return items;
}

/// Puts files, in the order of their names, between the rows where they belong. Gives their rows.
QList<int> FileList::insertFiles(const QList<TFileRecord> &files, bool checkable)
{
    QList<int> rows;
    for (const TFileRecord &file : files)
        rows.append(placeOfName(file.fileName) + static_cast<int>(rows.size()));
    QList<TFileRecord> &all = records();
    qsizetype end = all.size(); // of those that are not in their places yet
    all.resize(end + files.size());
    for (qsizetype i = files.size() - 1; i >= 0; --i) {
        const qsizetype place = rows[i] - i;
        std::move_backward(all.begin() + place, all.begin() + end, all.begin() + end + i + 1);
        all[rows[i]] = files[i];
        end = place;
    }
    for (qsizetype first = 0, next = 0; first < rows.size(); first = next) {
        while (next < rows.size() && rows[next] - rows[first] == next - first)
            ++next;
        mainModel.invisibleRootItem()->insertRows(static_cast<int>(rows[first]),
                                                  newItems(files.mid(first, next - first), checkable));
    }
    return rows;
}

/// Takes out these rows, in ascending order.
void FileList::removeFiles(const QList<int> &rows)
{
    for (qsizetype first = rows.size(), end = first; end > 0; end = first) {
        while (first > 0 && rows[end - 1] - rows[first - 1] == end - first)
            --first;
        mainModel.removeRows(rows[first], static_cast<int>(end - first));
    }
    int row = 0;
    auto next = rows.cbegin();
    records().removeIf([&](const TFileRecord &) {
        const bool goes = next != rows.cend() && *next == row;
        next += goes;
        ++row;
        return goes;
    });
}

/// Keeps a row's file up to date. One that has changed, which is given, waits for its new icon; one that
/// could be listed but not looked at stays as it was.
bool FileList::updateRow(int row, const TFileRecord &record)
{
    TFileRecord &old = records()[row];
    if (!record.modifiedTime.isValid())
        return false;
    if (isUnchanged(old, record)) {
        old.modifiedTime = record.modifiedTime;
        return false;
    }
    mainModel.item(row)->setIcon(thumbnailIcons.blank());
    old = record;
    return true;
}

/// Gives a row a check box or takes it away. True if it had another.
bool FileList::setCheckable(int row, bool checkable)
{
    QStandardItem *const item = mainModel.item(row);
    if (item->isCheckable() == checkable)
        return false;
    item->setCheckable(checkable);
    return true;
}

void FileList::take(const ThumbnailAnswer &answer)
{
    const int row = rowOf(answer);
    if (row < 0)
        return;
    TFileRecord &record = records()[row];
    const bool isOfEarlier =
        !answer.again
        && (answer.key.size != record.size
            || (record.creationTime.isValid() && answer.key.creationTime != record.creationTime));
    if (isOfEarlier && changed.contains(record.fileName))
        return; // that of the file as it is now has been asked for, too
    record.imageRect = thumbnailRect(answer.size);
    record.size = answer.key.size; // one that was being written has grown
    const QIcon icon = thumbnailIcons.icon(answer, record);

    QStandardItem *const item = mainModel.item(row, 0);
    if (!item) {
        qDebug() << "ERROR: mainModelItem==NULL";
        emit itemMissing();
        return;
    }
    assertSameFile(row);
    item->setIcon(icon);
    if (surroundings.isTicked(record))
        item->setCheckState(Qt::Checked);
    // The strip keeps its columns when rows leave the list.
    int column = row;
    while (column < galleryModel.columnCount() && galleryModel.item(0, column)
           && galleryModel.item(0, column)->text() != item->text())
        ++column;
    if (QStandardItem *const cell = galleryModel.item(0, column))
        cell->setIcon(icon);
}

/// The row that holds the file of an answer: that of the request, or another if files have come or left
/// since.
int FileList::rowOf(const ThumbnailAnswer &answer) const
{
    if (answer.generation != currentGeneration)
        return -1;
    const TFileRecord *const asked = at(answer.row);
    return asked && asked->fileName == answer.fileName ? answer.row : rowNamed(answer.fileName);
}

QList<TFileRecord> FileList::setTicked(int first, int last, bool ticked)
{
    {
        const QSignalBlocker once(mainModel);
        for (int row = first; row <= last; ++row)
            mainModel.item(row)->setCheckState(ticked ? Qt::Checked : Qt::Unchecked);
    }
    emit mainModel.dataChanged(mainModel.index(first, 0), mainModel.index(last, 0), {Qt::CheckStateRole});
    return records().mid(first, last - first + 1);
}

void FileList::clear()
{
    currentFolder.clear();
    mainModel.clear();
    galleryModel.clear();
    records().clear();
    thumbnailIcons.clear();
    assertInStep();
}

bool FileList::remove(const QStringList &paths)
{
    QMultiHash<QString, QString> wanted; // by their names, without their case
    for (const QString &path : paths)
        wanted.insert(QFileInfo(path).fileName().toCaseFolded(), path);
    QList<int> rows;
    for (int row = 0; row < count(); ++row) {
        const TFileRecord &file = records()[row];
        const auto [begin, end] = wanted.equal_range(file.fileName.toCaseFolded());
        const auto found = std::find_if(
            begin, end, [&](const QString &path) { return isOneDespiteCase(file.fullPath, path); });
        if (found == end)
            continue;
        wanted.erase(found);
        rows.append(row);
    }
    if (rows.isEmpty())
        return false;
    fileHasLeft = true;
    removeFiles(rows);
    if (rows.first() == 0)
        galleryModel.removeRow(0);
    assertSameFile(rows.first());
    assertInStep();
    return true;
}

QSet<QString> FileList::names() const
{
    return namesOf(records());
}

const TFileRecord *FileList::at(int row) const
{
    return row >= 0 && row < count() ? &records()[row] : nullptr;
}

int FileList::rowOf(const QString &path) const
{
    const QString fileName = QFileInfo(path).fileName();
    const NativeCaselessPath wanted(path);
    const int row = firstRow([&](const TFileRecord &file) {
        return file.fileName == fileName && NativeCaselessPath(file.fullPath) == wanted;
    });
    if (row >= 0)
        return row;
    const int other = lastRowNamed(fileName);
    return other >= 0 && isOneFile(records()[other].fullPath, path) ? other : -1;
}

int FileList::placeOf(const QString &path) const
{
    return placeOfName(QFileInfo(path).fileName());
}

/// The row of the first file that does not stand before this one.
int FileList::placeOfName(const QString &fileName) const
{
    const auto place =
        std::partition_point(records().cbegin(), records().cend(), [&](const TFileRecord &file) {
            return nameComesBefore(file.fileName, fileName);
        });
    return static_cast<int>(place - records().cbegin());
}

/// The row of the file of exactly this name; -1 for none.
int FileList::rowNamed(const QString &fileName) const
{
    const int row = placeOfName(fileName);
    return row < count() && records()[row].fileName == fileName ? row : -1;
}

int FileList::lastRowNamed(const QString &fileName) const
{
    int caseless = -1;
    for (int row = count() - 1; row >= 0; --row) {
        const QString &name = records()[row].fileName;
        if (name == fileName)
            return row;
        if (caseless < 0 && name.compare(fileName, Qt::CaseInsensitive) == 0)
            caseless = row;
    }
    return caseless;
}

QPixmap FileList::thumbnail(int row) const
{
    const TFileRecord *const file = at(row);
    if (!file)
        return {};
    const QSize square(thumbnailSide, thumbnailSide);
    return mainModel.item(row, 0)->icon().pixmap(square, 1.0).copy(file->imageRect);
}

void FileList::reflow()
{
    mainModel.appendRow(new QStandardItem);
    qDeleteAll(mainModel.takeRow(mainModel.rowCount() - 1));
    assertInStep();
}

/// Entry and row are the same file; nothing for a row beyond the end.
void FileList::assertSameFile(int row) const
{
    Q_ASSERT_X(row >= count() || mainModel.item(row)->text() == wrapFileName(records()[row].fileName),
               "FileList",
               qPrintable(QStringLiteral("row %1 is not %2").arg(row).arg(records()[row].fullPath)));
}

void FileList::assertInStep() const
{
    Q_ASSERT_X(mainModel.rowCount() == records().size(), "FileList",
               qPrintable(QStringLiteral("%1 rows, %2 entries").arg(mainModel.rowCount()).arg(count())));
    assertSameFile(std::max(count() - 1, 0));
}
