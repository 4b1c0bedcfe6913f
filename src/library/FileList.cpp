#include "library/FileList.h"

#include "library/FileNames.h"
#include "shared/platform/FolderEntries.h"
#include "shared/platform/PathIdentity.h"
#include "shared/platform/Platform.h"
#include "shared/threads/Background.h"

#include <QFileInfo>
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
    return old.size == record.size && old.creationTime == record.creationTime;
}

QSet<QString> namesOf(const QList<TFileRecord> &files)
{
    QSet<QString> names;
    for (const TFileRecord &file : files)
        names.insert(file.fileName);
    return names;
}

FolderEntry entryOf(const QString &fileName)
{
    return {fileName, fileName.toCaseFolded()};
}

/// The row of the first file of which `is` is true, or -1.
template <typename Predicate>
int firstRow(Predicate is)
{
    const auto found = std::find_if(records().cbegin(), records().cend(), is);
    return found == records().cend() ? -1 : static_cast<int>(found - records().cbegin());
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
}

std::optional<QList<TThumbnailRequest>> FileList::take(const FoundFiles &files, bool checkable)
{
    if (files.generation != currentGeneration)
        return std::nullopt;
    QList<TThumbnailRequest> requests;
    if (readAgain) {
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
    const int before = count();
    removeOthers(files);
    bool stripFits = !fileHasLeft && count() == before;
    bool boxesChanged = false;
    QList<TThumbnailRequest> requests;
    for (int row = 0; row < files.size(); ++row) {
        const auto isHere = [&](qsizetype i) {
            return row < count() && records()[row].fileName == files[i].fileName;
        };
        if (isHere(row)) {
            boxesChanged |= updateRow(row, files[row], checkable);
        } else {
            qsizetype end = row + 1;
            while (end < files.size() && !isHere(end))
                ++end;
            insertRows(row, files.mid(row, end - row), checkable);
            stripFits = false;
        }
        // Not asked for yet, or changed, or without an answer when the load before was given up.
        if (records()[row].imageRect.isNull())
            requests.append({QFileInfo(files[row].fullPath), row});
    }
    removeRows(static_cast<int>(files.size()), count() - static_cast<int>(files.size()));
    if (boxesChanged)
        emit sizesChanged();
    if (!stripFits)
        fillStrip();
    return requests;
}

/// Adds the files that stand in the list and not among these, both in the order of their names: of a folder
/// whose drive has failed they are not known to be gone.
void FileList::addKnown(QList<TFileRecord> &files) const
{
    const QSet<QString> names = namesOf(files);
    const qsizetype known = files.size();
    std::copy_if(records().cbegin(), records().cend(), std::back_inserter(files),
                 [&](const TFileRecord &file) { return !names.contains(file.fileName); });
    std::inplace_merge(files.begin(), files.begin() + known, files.end(),
                       [](const TFileRecord &a, const TFileRecord &b) {
                           return comesBefore(entryOf(a.fileName), entryOf(b.fileName));
                       });
}

/// Takes out the rows of all other files.
void FileList::removeOthers(const QList<TFileRecord> &files)
{
    const QSet<QString> names = namesOf(files);
    for (int end = count(); end > 0;) {
        int first = end;
        while (first > 0 && !names.contains(records()[first - 1].fileName))
            --first;
        removeRows(first, end - first);
        end = first - 1; // that one stays
    }
}

/// Makes the strip's cells those of the rows.
void FileList::fillStrip()
{
    fileHasLeft = false;
    QList<QStandardItem *> cells;
    for (int row = 0; row < mainModel.rowCount(); ++row)
        cells.append(new QStandardItem(mainModel.item(row, 0)->icon(), mainModel.item(row, 0)->text()));
    surroundings.keepStripInPlace([&] {
        galleryModel.clear();
        addStripCells(galleryModel, 0, cells);
    });
}

/// Adds files at the end, to the strip first.
void FileList::appendRows(const QList<TFileRecord> &files, bool checkable)
{
    if (files.isEmpty())
        return;
    const QIcon blank = thumbnailIcons.blank();
    QList<QStandardItem *> cells;
    cells.reserve(files.size());
    for (const TFileRecord &file : files)
        cells.append(new QStandardItem(blank, wrapFileName(file.fileName)));
    surroundings.keepStripInPlace([&] { addStripCells(galleryModel, count(), cells); });
    insertRows(count(), files, checkable);
}

void FileList::insertRows(int row, const QList<TFileRecord> &files, bool checkable)
{
    const QIcon blank = thumbnailIcons.blank();
    QList<QStandardItem *> items;
    items.reserve(files.size());
    for (const TFileRecord &file : files) {
        items.append(new QStandardItem(blank, wrapFileName(file.fileName)));
        items.last()->setCheckable(checkable);
    }
    records().insert(row, files.size(), {});
    std::copy(files.begin(), files.end(), records().begin() + row);
    mainModel.invisibleRootItem()->insertRows(row, items);
    assertSameFile(row);
}

/// Keeps a row's file up to date, and tells whether its size may be another. A file that has changed waits
/// for its new icon; one that could be listed but not looked at stays as it was.
bool FileList::updateRow(int row, const TFileRecord &record, bool checkable)
{
    QStandardItem *const item = mainModel.item(row, 0);
    if (TFileRecord &old = records()[row]; record.modifiedTime.isValid() && !isUnchanged(old, record)) {
        item->setIcon(thumbnailIcons.blank());
        old = record;
    }
    const bool boxChanged = item->isCheckable() != checkable;
    if (boxChanged)
        item->setCheckable(checkable);
    return boxChanged;
}

void FileList::removeRows(int row, int count)
{
    if (count < 1)
        return;
    mainModel.removeRows(row, count);
    records().remove(row, count);
}

void FileList::take(const ThumbnailAnswer &answer)
{
    const int row = rowOf(answer);
    if (row < 0)
        return;
    TFileRecord &record = records()[row];
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
    if (QStandardItem *const cell = galleryModel.item(0, fileHasLeft ? answer.row : row))
        cell->setIcon(icon);
}

/// The row that holds the file of an answer: that of the request, one above it if files have left, or one
/// below if others have come since.
int FileList::rowOf(const ThumbnailAnswer &answer) const
{
    if (answer.generation != currentGeneration)
        return -1;
    for (int row = std::min(answer.row, count() - 1); row >= 0; --row) {
        if (records()[row].fileName == answer.fileName)
            return row;
    }
    return firstRow([&](const TFileRecord &file) { return file.fileName == answer.fileName; });
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

bool FileList::remove(const QString &path)
{
    const QString fileName = QFileInfo(path).fileName();
    const int row = firstRow([&](const TFileRecord &file) {
        return file.fileName.compare(fileName, Qt::CaseInsensitive) == 0
               && isOneDespiteCase(file.fullPath, path);
    });
    if (row < 0)
        return false;
    fileHasLeft = true;
    mainModel.removeRow(row);
    galleryModel.removeRow(row);
    records().removeAt(row);
    assertSameFile(row);
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
    const FolderEntry wanted = entryOf(QFileInfo(path).fileName());
    const auto place =
        std::partition_point(records().cbegin(), records().cend(), [&](const TFileRecord &file) {
            return comesBefore(entryOf(file.fileName), wanted);
        });
    return static_cast<int>(place - records().cbegin());
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
