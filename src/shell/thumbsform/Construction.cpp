#include "shell/ThumbsForm.h"

#include "batch/ImagesToPDFForm.h"
#include "library/ThumbnailDatabase.h"
#include "library/ThumbnailDelegate.h"
#include "shared/image/DecodeGuard.h"
#include "shared/Settings.h"
#include "shell/thumbsform/PageLayouts.h"
#include "slideshow/SlideShowForm.h"
#include "ui_ThumbsForm.h"

#include <QClipboard>
#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QHeaderView>
#include <QStackedLayout>
#include <QTimeZone>

#include <algorithm>

namespace {

constexpr int stripIconSize = 96;
// At the end of the program the workers get this long altogether.
constexpr int longestExitMs = 2000;
// What was stored in other zones costs a lookup each for every new file.
constexpr qsizetype mostTimeZones = 4;

/// Notes the present time zone, and lets thumbnails be found that were stored in others.
void tellTimeZones()
{
    QSettings store = programSettings();
    const QStringList known = BrowserSettings::timeZones.read(store);
    const QString present = QString::fromUtf8(QTimeZone::systemTimeZoneId());
    QStringList zones = known;
    zones.removeAll(present);
    zones.prepend(present);
    zones = zones.first(std::min(zones.size(), mostTimeZones));
    if (zones != known)
        BrowserSettings::timeZones.write(store, zones);
    ThumbnailDatabase::setFormerTimeZones(zones.mid(1));
}

/// Opens the GUI thread's connection.
void openThumbnailDatabase()
{
    const QString folder = VistamoGlobal().getThumbnailsFolder();
    DecodeGuard::start(folder);
    const QString thumbnailDatabasePath = folder + QStringLiteral("/thumbnail.db");
    ThumbnailDatabase::setFileName(thumbnailDatabasePath);
    tellTimeZones();

    VistamoGlobal::thumbnailDatabase = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
    VistamoGlobal::thumbnailDatabase.setDatabaseName(thumbnailDatabasePath);
    // The GUI thread never waits for a lock. Without a database nothing is kept, that is all.
    static_cast<void>(ThumbnailDatabase::open(VistamoGlobal::thumbnailDatabase, 0));
    const VistamoGlobal global;
    if (!global.thumbnailTableExists(VistamoGlobal::thumbnailTableName, VistamoGlobal::thumbnailDatabase))
        static_cast<void>(
            global.createThumbnailTable(VistamoGlobal::thumbnailTableName, VistamoGlobal::thumbnailDatabase));
}

void closeThumbnailDatabase()
{
    VistamoGlobal::thumbnailDatabase.close();
    const QString connection = VistamoGlobal::thumbnailDatabase.connectionName();
    VistamoGlobal::thumbnailDatabase = QSqlDatabase();
    QSqlDatabase::removeDatabase(connection);
}

} // namespace

ThumbsForm::ThumbsForm(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::ThumbsForm>())
    , fileList({[this](const TFileRecord &file) { return ticks.contains(file.path, file.fileName); },
                [this](const auto &change) { ui->galleryTableView->keepInPlace(change); }},
               this)
    , fileTransfer(transferSurroundings())
{
    Q_INIT_RESOURCE(resources);
    ui->setupUi(this);
    layoutThumbsPage(*ui);
    layoutViewerPage(*ui);
    stackedLayout = new QStackedLayout;
    stackedLayout->addWidget(ui->widget1);
    stackedLayout->addWidget(ui->widget2);
    stackedLayout->setCurrentIndex(BrowserPage);
    setLayout(stackedLayout);
    connect(stackedLayout, &QStackedLayout::currentChanged, this, &ThumbsForm::focusPage);
    VistamoGlobal::buildImageFileExtensionList();
    setUpViews();
    setUpMenus();
    connectViews();
    checkIconSizeButtons();
    ui->deleteButton->setEnabled(false);
    setCheckboxVisible(VistamoGlobal::showCheckbox);
    openThumbnailDatabase();
    setUpContextMenu();
    setUpKeys();
    applyListStyleSheet();
    colourButtons();
    loadSettings();
    ui->toolsButton->hide();
    ui->pdfButton->setVisible(VistamoGlobal::showPdfAndConvertButtons);
    ui->convertButton->setVisible(VistamoGlobal::showPdfAndConvertButtons);
    checkEmptyFolderList();
}

ThumbsForm::~ThumbsForm()
{
    saveSettings();
    // They report their end.
    delete slideShowForm;
    delete imagesToPdfForm;
    endWorkers();
    DecodeGuard::finish();
    closeThumbnailDatabase();
}

/// Tells all workers to stop and waits for them, but not for one that hangs; exports are finished.
void ThumbsForm::endWorkers()
{
    const QDeadlineTimer deadline(longestExitMs);
    const auto forAll = [this](const auto &action) {
        action(pictureLoader);
        action(adjustments);
        action(folderLoad);
    };
    forAll([](auto &worker) { worker.stop(); });
    forAll([&](auto &worker) { worker.end(deadline); });
    StoppableThread::endReleased(deadline);
    exports.finish();
}

void ThumbsForm::setUpViews()
{
    ui->mainListView->setViewMode(QListView::IconMode);
    ui->mainListView->setSpacing(10);
    ui->mainListView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    ui->mainListView->setDragEnabled(false);
    ui->mainListView->setItemDelegate(new ThumbnailDelegate(this));
    ui->mainListView->setModel(&fileList.list());

    ui->galleryTableView->setItemDelegate(new ThumbnailDelegate(this));
    ui->galleryTableView->setModel(&fileList.strip());
    ui->galleryTableView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    ui->galleryTableView->setDragEnabled(false);
    ui->galleryTableView->setIconSize(QSize(stripIconSize, stripIconSize));
    for (QHeaderView *const header :
         {ui->galleryTableView->verticalHeader(), ui->galleryTableView->horizontalHeader()}) {
        header->setSectionResizeMode(QHeaderView::Fixed);
        header->setDefaultSectionSize(stripIconSize);
        header->hide();
    }

    ui->sideTreeView->hide();
    ui->sideTreeView->setHeaderHidden(true);
    ui->sideTreeView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    ui->sideTreeView->setModel(&folders.model());

    ui->imageLabel->setGeometry(0, 0, 0, 0);
    QIcon cropExportIcon = ui->exportCropImageButton->icon();
    cropExportIcon.addFile(QStringLiteral(":/resources/images/Save24.png"));
    ui->exportCropImageButton->setIcon(cropExportIcon);
}

void ThumbsForm::setUpMenus()
{
    auto *const exportMenu = new QMenu(ui->exportButton);
    connect(exportMenu->addAction(tr("Export to Image File")), SIGNAL(triggered(bool)), this,
            SLOT(imageFileActionClicked(bool)));
    connect(exportMenu->addAction(tr("Copy to Clipboard")), SIGNAL(triggered(bool)), this,
            SLOT(pasteboardActionMenuClicked(bool)));
    ui->exportButton->setMenu(exportMenu);

    auto *const adjustMenu = new QMenu(ui->adjustButton);
    connect(adjustMenu->addAction(tr("Grayscale")), SIGNAL(triggered()), this, SLOT(onGrayscaleAction()));
    connect(adjustMenu->addAction(tr("Sepia")), SIGNAL(triggered()), this, SLOT(onSepiaAction()));
    connect(adjustMenu->addAction(tr("Contrast")), SIGNAL(triggered()), this, SLOT(onContrastAction()));
    connect(adjustMenu->addAction(tr("Brightness")), SIGNAL(triggered()), this, SLOT(onBrightnessAction()));
    connect(adjustMenu->addAction(tr("Gaamma")), SIGNAL(triggered()), this, SLOT(onGammaAction()));
    connect(adjustMenu->addAction(tr("Invert Colors")), SIGNAL(triggered()), this,
            SLOT(onInvertColorsAction()));
    adjustMenu->addSeparator();
    connect(adjustMenu->addAction(tr("Reset Image")), SIGNAL(triggered()), this, SLOT(onResetImageAction()));
    ui->adjustButton->setMenu(adjustMenu);

    auto *const toolsMenu = new QMenu(ui->toolsButton);
    connect(toolsMenu->addAction(tr("Create PDF from Images")), SIGNAL(triggered()), this,
            SLOT(onImagesToPDFAction()));
    ui->toolsButton->setMenu(toolsMenu);
}

void ThumbsForm::connectViews()
{
    // Everything that takes drops reports them alike.
    for (QWidget *const view :
         {static_cast<QWidget *>(ui->sideTreeView), static_cast<QWidget *>(ui->noItemFrame),
          static_cast<QWidget *>(ui->mainListView)}) {
        connect(view, SIGNAL(addFolder(QString)), SLOT(onAddFolder(QString)));
        connect(view, SIGNAL(addFolder(QString, QString)), SLOT(onAddFolder(QString, QString)));
    }
    connect(ui->noItemFrame, SIGNAL(clicked()), SLOT(on_openFileAddButton_clicked()));
    connect(ui->sideTreeView, SIGNAL(needToMoveitem(int, int)), SLOT(onNeedToMoveitem(int, int)));

    connect(ui->mainListView, SIGNAL(clicked(QModelIndex)), SLOT(onClickedListView(QModelIndex)));
    connect(ui->mainListView, SIGNAL(doubleClicked(QModelIndex)), SLOT(onDoubleClickListView(QModelIndex)));
    connect(ui->mainListView, SIGNAL(rightMouseButtonPressEvent(QPoint)),
            SLOT(onRightMouseButtonPressEvent(QPoint)));
    connect(ui->mainListView->selectionModel(), SIGNAL(selectionChanged(QItemSelection, QItemSelection)),
            SLOT(onMainListViewSelectionChanged(QItemSelection, QItemSelection)));
    connect(ui->mainListView, SIGNAL(contentScrolledEvent(int)), SLOT(onContentScrolledEvent(int)));
    connect(ui->mainListView, SIGNAL(zoomRequested(int)), SLOT(onZoomRequested(int)));

    connect(ui->galleryTableView, SIGNAL(clicked(QModelIndex)), SLOT(onClickListView(QModelIndex)));

    connect(ui->imageLabel, SIGNAL(needToResizeImage(int)), SLOT(onNeedToResizeImage(int)));
    connect(ui->imageLabel, SIGNAL(startDragImage(QPoint)), SLOT(onStartDragImage(QPoint)));
    connect(ui->imageLabel, SIGNAL(endDragImage()), SLOT(onEndDragImage()));
    connect(ui->imageLabel, SIGNAL(mouseMove(QPoint, QPoint)), SLOT(onMouseMove(QPoint, QPoint)));
    connect(ui->imageLabel, SIGNAL(mouseLeave()), SLOT(onMouseLeave()));
    connect(&pictureLoader, SIGNAL(imageLoaded(QPixmap)), SLOT(onImageLoaded(QPixmap)));
    connect(&pictureLoader, SIGNAL(loadImageFinished()), SLOT(onLoadImageFinished()));
    connect(&pictureView, SIGNAL(highQualityTick()), SLOT(onLoadHighQualityTimer()));
    connect(&adjustments, SIGNAL(resultAvailable(QImage)), SLOT(on_filterResultAvailable(QImage)));
    connect(&adjustments, SIGNAL(finished()), SLOT(on_filterFinished()));
    connect(&exports, SIGNAL(finished()), SLOT(onSaveImageFinished()));
    connect(&exports, SIGNAL(working(qsizetype)), SLOT(onExportsWorking(qsizetype)));
    connect(&exports, &Exports::made, this,
            [](const QImage &picture) { QGuiApplication::clipboard()->setImage(picture); });

    connect(&folderWatch, SIGNAL(directoryChanged(QString)), SLOT(showDirModified(QString)));
    connect(&folderWatch, &FolderWatch::changed, &folderLoad, &FolderLoad::showChanged);

    connect(&folderLoad, &FolderLoad::began, &fileList, &FileList::begin);
    connect(&folderLoad, SIGNAL(shown(QString)), SLOT(onFolderShown(QString)));
    connect(&folderLoad, SIGNAL(filesFound(FoundFiles)), SLOT(onFilesFound(FoundFiles)));
    connect(&folderLoad, SIGNAL(enumFilesFinish(int)), SLOT(onEnumFilesFinish(int)));
    connect(&folderLoad, SIGNAL(currentColumnChanged(int)), SLOT(onCurrentColumnChanged(int)));
    connect(&folderLoad, SIGNAL(walkEnded()), SLOT(onLoadFolderFinish()));
    connect(&folderLoad, SIGNAL(thumbnailsFound(QList<ThumbnailAnswer>)),
            SLOT(onThumbnailsFound(QList<ThumbnailAnswer>)));
    connect(&folderLoad, SIGNAL(thumbnailMade(ThumbnailAnswer)), SLOT(onThumbnailMade(ThumbnailAnswer)));
    connect(&folderLoad, SIGNAL(thumbnailsEnded()), SLOT(onLoadThumbnailFinish()));
    // A selection that goes with its rows is not told of.
    connect(&fileList.list(), &QAbstractItemModel::modelReset, this, &ThumbsForm::checkDeleteButton);
    connect(&fileList.list(), &QAbstractItemModel::rowsRemoved, this, &ThumbsForm::checkDeleteButton);
    connect(&fileList, &FileList::sizesChanged, ui->mainListView, &QListView::doItemsLayout);
    connect(&fileList, &FileList::itemMissing, &folderLoad, &FolderLoad::stopThumbnails);
    connect(&fileList.icons(), SIGNAL(lostPictures()), SLOT(onLostPictures()));
    connect(&fileList.icons(), SIGNAL(repaintNeeded()), SLOT(onThumbnailRepaintNeeded()));
}

void ThumbsForm::setUpContextMenu()
{
    connect(contextMenu.copyToAction, SIGNAL(triggered()), SLOT(onCopytoAction()));
    connect(contextMenu.moveToAction, SIGNAL(triggered()), SLOT(onMovetoAction()));
    connect(contextMenu.renameAction, SIGNAL(triggered()), SLOT(onRenameAction()));
}
