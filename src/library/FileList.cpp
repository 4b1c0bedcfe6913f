#include "library/FileList.h"

#include "library/FileNames.h"
#include "shared/platform/PathIdentity.h"

#include <QFileInfo>
#include <QtDebug>

#include <algorithm>
#include <utility>

namespace {

QList<TFileRecord> &records()
{
    return VistamoGlobal::fileDataList;
}

/// True if the file is the same as at the last walk, so that its icon can stay.
bool isUnchanged(const TFileRecord &old, const TFileRecord &record)
{
    return old.fileName == record.fileName && old.fullPath == record.fullPath && old.size == record.size
           && old.creationTime == record.creationTime;
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

bool FileList::take(const FoundFiles &files, bool checkable)
{
    if (files.generation != currentGeneration)
        return false;
    if (files.firstRow == 0)
        restoreStrip();
    addRows(files, checkable);
    if (files.complete)
        removeRowsFrom(files.firstRow + static_cast<int>(files.records.size()));
    assertSameFile(files.firstRow);
    assertInStep();
    Q_ASSERT_X(
        !files.complete || fileHasLeft || galleryModel.columnCount() == mainModel.rowCount(), "FileList",
        qPrintable(
            QStringLiteral("%1 columns, %2 rows").arg(galleryModel.columnCount()).arg(mainModel.rowCount())));
    return true;
}

/// Fills the strip again if files have left the list since it was filled.
void FileList::restoreStrip()
{
    fileHasLeft = false;
    if (galleryModel.columnCount() == mainModel.rowCount())
        return;
    QList<QStandardItem *> cells;
    for (int row = 0; row < mainModel.rowCount(); ++row)
        cells.append(new QStandardItem(mainModel.item(row, 0)->icon(), mainModel.item(row, 0)->text()));
    surroundings.keepStripInPlace([&] {
        galleryModel.clear();
        addStripCells(galleryModel, 0, cells);
    });
}

/// Publishes a batch: rows of an earlier walk are used again, the others are added, to the strip first.
void FileList::addRows(const FoundFiles &files, bool checkable)
{
    const qsizetype reused =
        std::clamp<qsizetype>(records().size() - files.firstRow, 0, files.records.size());
    bool changed = false;
    for (qsizetype i = 0; i < reused; ++i)
        changed |= updateRow(files.firstRow + static_cast<int>(i), files.records[i], checkable);
    // Check boxes and names of other lengths.
    if (changed)
        emit sizesChanged();

    const QIcon blank = thumbnailIcons.blank();
    QList<QStandardItem *> items;
    QList<QStandardItem *> cells;
    items.reserve(files.records.size() - reused);
    cells.reserve(files.records.size() - reused);
    for (qsizetype i = reused; i < files.records.size(); ++i) {
        const QString text = wrapFileName(files.records[i].fileName);
        items.append(new QStandardItem(blank, text));
        items.last()->setCheckable(checkable);
        cells.append(new QStandardItem(blank, text));
    }
    if (items.isEmpty())
        return;
    surroundings.keepStripInPlace([&] { addStripCells(galleryModel, files.firstRow + reused, cells); });
    records() += files.records.mid(reused);
    mainModel.invisibleRootItem()->appendRows(items);
}

/// Uses a row of an earlier walk for `record`, and tells whether it may look different. The same file keeps
/// its icon and its tick. Item and cell stay in any case, since to put in new ones costs a search for each.
bool FileList::updateRow(int row, const TFileRecord &record, bool checkable)
{
    QStandardItem *const item = mainModel.item(row, 0);
    const TFileRecord old = std::exchange(records()[row], record);
    const bool boxChanged = item->isCheckable() != checkable;
    item->setCheckable(checkable);
    if (isUnchanged(old, record))
        return boxChanged;
    item->setCheckState(Qt::Unchecked);
    const QIcon blank = thumbnailIcons.blank();
    const QString text = wrapFileName(record.fileName);
    for (QStandardItem *const entry : {item, galleryModel.item(0, row)}) {
        if (entry) {
            entry->setText(text);
            entry->setIcon(blank);
        }
    }
    return true;
}

/// Takes out what is left of an earlier walk.
void FileList::removeRowsFrom(int row)
{
    if (row < mainModel.rowCount())
        mainModel.removeRows(row, mainModel.rowCount() - row);
    if (row < galleryModel.columnCount())
        galleryModel.removeColumns(row, galleryModel.columnCount() - row);
    if (row < records().size())
        records().remove(row, records().size() - row);
}

void FileList::take(const ThumbnailAnswer &answer)
{
    const int row = rowOf(answer);
    if (row < 0)
        return;
    TFileRecord &record = records()[row];
    record.imageRect = thumbnailRect(answer.size);
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
    if (QStandardItem *const cell = galleryModel.item(0, answer.row))
        cell->setIcon(icon);
}

/// The row that holds the file of an answer: that of the request, or one above it if files have left.
int FileList::rowOf(const ThumbnailAnswer &answer) const
{
    if (answer.generation != currentGeneration)
        return -1;
    for (int row = std::min(answer.row, count() - 1); row >= 0; --row) {
        if (records()[row].fileName == answer.fileName)
            return row;
    }
    return -1;
}

void FileList::clear()
{
    mainModel.clear();
    galleryModel.clear();
    records().clear();
    thumbnailIcons.clear();
    assertInStep();
}

bool FileList::remove(const QString &path)
{
    const QString fileName = QFileInfo(path).fileName();
    const NativeCaselessPath wanted(path);
    const int row = firstRow([&](const TFileRecord &file) {
        return file.fileName.compare(fileName, Qt::CaseInsensitive) == 0
               && NativeCaselessPath(file.fullPath) == wanted;
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

const TFileRecord *FileList::at(int row) const
{
    return row >= 0 && row < count() ? &records()[row] : nullptr;
}

int FileList::rowOf(const QString &path) const
{
    const QString fileName = QFileInfo(path).fileName();
    const NativeCaselessPath wanted(path);
    return firstRow([&](const TFileRecord &file) {
        return file.fileName == fileName && NativeCaselessPath(file.fullPath) == wanted;
    });
}

int FileList::lastRowNamed(const QString &fileName) const
{
    for (int row = count() - 1; row >= 0; --row) {
        if (records()[row].fileName.compare(fileName, Qt::CaseInsensitive) == 0)
            return row;
    }
    return -1;
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
