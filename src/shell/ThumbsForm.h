#pragma once

#include "fileops/FileTransfer.h"
#include "library/FileList.h"
#include "library/FileMenu.h"
#include "library/FolderLoad.h"
#include "library/Folders.h"
#include "library/FolderWatch.h"
#include "library/Ticks.h"
#include "shared/VistamoGlobal.h"
#include "viewer/Adjustments.h"
#include "viewer/CropTool.h"
#include "viewer/Exports.h"
#include "viewer/Panning.h"
#include "viewer/PictureLoader.h"
#include "viewer/PictureView.h"

#include <QItemSelection>
#include <QWidget>

#include <functional>
#include <memory>

class ImagesToPDFForm;
class QStackedLayout;
class QTimer;
class SlideShowForm;
class VistamoFilterDialog;

namespace Ui {
class ThumbsForm;
}

/// The central widget: the browser (page 0), the viewer (page 1), and further pages while their forms exist.
///
/// Its state lives in objects of the folders below, each with one concern and none that knows another: a slot
/// reads widgets, tells one of them, and shows what it answers. The slots stand in `thumbsform/`, a source
/// file a concern; the header goes through the concerns in the order of the pages.
class ThumbsForm : public QWidget
{
    Q_OBJECT

public:
    explicit ThumbsForm(QWidget *parent = nullptr);
    ~ThumbsForm() override;

    /// Shows `path` in the list and starts to read it; nothing if it is the folder last asked for.
    void loadFolder(const QString &path);

    /// Opens the viewer on a file.
    void loadImage(const QString &path);

    /// Takes a folder or image as though it had been dropped; nothing for anything else.
    void open(const QString &path);

    /// Applies the theme's colours, and reads the folder again.
    void applyThemeChange();

    /// Brings to the disk what the end of the program would: settings, and the exports that were asked for.
    void store();

    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    void changeTitle(QString title);
    void enterFullScreen();
    void exitFullScreen();
    void switchFullScreen();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private slots:
    // Pages
    void onImagesToPDFAction();
    void onImagesToPdfDestroyed();
    void onCloseToolWidget();
    void on_pdfButton_clicked();
    void on_convertButton_clicked();
    void on_webButton_clicked();
    void on_aboutButton_clicked();

    // Folder list
    void showDirModified(QString str);
    void onAddFolder(QString path);
    void onAddFolder(QString path, QString fileName);
    void onNeedToMoveitem(int oldPos, int newPos);
    void on_sideTreeView_clicked(QModelIndex index);
    void on_openFileAddButton_clicked();
    void on_openFileMinButton_clicked();

    // Load
    void onFolderShown(const QString &path);
    void startThumbnailThread();
    void onFilesFound(const FoundFiles &files);
    void onRequestGetThumbnail(QFileInfo info, int row);
    void onCurrentColumnChanged(int col);
    void onLoadFolderFinish();
    void onLoadThumbnailFinish();
    void onEnumFilesFinish(int count);
    void onRefreshTimer();
    void onThumbnailsFound(const QList<ThumbnailAnswer> &answers);
    void onThumbnailMade(const ThumbnailAnswer &answer);
    void onLostPictures();
    void onThumbnailRepaintNeeded();

    // Thumbnail list
    void onContentScrolledEvent(int value);
    void onRightMouseButtonPressEvent(QPoint pos);
    void onMainListViewSelectionChanged(QItemSelection selected, QItemSelection deselected);
    void on_plusButton_clicked();
    void on_minButton_clicked();
    void onZoomRequested(int step);
    void onClickedListView(QModelIndex index);
    void onDoubleClickListView(QModelIndex index);
    void on_showCheckboxButton_clicked();
    void on_hideCheckboxButton_clicked();

    // Keys
    void onKeyPressTimer();
    void showKeys();
    void openCurrentPhoto();
    void tickAll();
    void untickAll();
    void copyFiles();
    void readAgain();
    void showFirst();
    void showLast();
    void zoomIn();
    void zoomOut();

    // Viewer
    void onImageLoaded(QPixmap pixmap);
    void onLoadImageFinished();
    void on_closeButton_clicked();
    void on_forwardButton_clicked();
    void on_backButton_clicked();
    void on_forward2Button_clicked();
    void on_back2Button_clicked();

    // View
    void onLoadHighQualityTimer();
    void onScreenChanged();
    void onNeedToResizeImage(int val);
    void onStartDragImage(QPoint point);
    void onEndDragImage();
    void onMouseMove(QPoint point, QPoint localPoint);
    void onMouseLeave();
    void on_fitVHButton_clicked();
    void on_fitHButton_clicked();
    void on_fitVButton_clicked();
    void on_fullButton_clicked();

    // Rotate, flip and crop
    void on_rotateLeftButton_clicked();
    void on_rotateRightButton_clicked();
    void on_flipHButton_clicked();
    void on_flipVButton_clicked();
    void on_cropButton_clicked();
    void on_leftSpinBox_valueChanged(int arg1);
    void on_topSpinBox_valueChanged(int arg1);
    void on_widthSpinBox_valueChanged(int arg1);
    void on_heightSpinBox_valueChanged(int arg1);

    // Colour adjustments
    void on_filterResultAvailable(QImage image);
    void on_filterFinished();
    void onGrayscaleAction();
    void onSepiaAction();
    void onContrastAction();
    void onBrightnessAction();
    void onGammaAction();
    void onInvertColorsAction();
    void onResetImageAction();
    void startProcessImageThread();
    void stopProcessImageThread();
    void on_filterDialogApplyChanges();
    void on_filterDialogCancelChanges();
    void on_adjustmentsVisible(bool stat);
    void on_setFilter(int contrast, int brightness, int gamma, int invertColours);
    void showFilterDialog(int filterIndex);

    // Export
    void onSaveImageFinished();
    void onExportsWorking(qsizetype left);
    void imageFileActionClicked(bool checked);
    void pasteboardActionMenuClicked(bool checked);
    void on_exportCropImageButton_clicked();

    // Strip
    void onClickListView(QModelIndex index);
    void on_galleryButton_clicked();

    // File operations
    void onCopytoAction();
    void onMovetoAction();
    void handleConvertFinish();
    void handleOverwriteFiles(QStringList fileExistsList, QStringList fileSourceList);
    void onRenameAction();
    void on_readyToDeleteFile();
    void on_fileDeleted(QList<VistamoGlobal::TFileData> deletedFileList);
    void showDeleteDialog();
    void on_deleteButton_clicked();

    // Slideshow
    void on_slideShowButton_clicked();
    void OnExitFullScreen();
    void onSlideShowDestroyed();
    void on_optionsButton_clicked();

private:
    // Construction
    void setUpViews();
    void setUpMenus();
    void connectViews();
    void setUpContextMenu();
    void setUpKeys();
    void endWorkers();

    // Pages
    void focusPage();
    void prepareBatchForm(int mode);
    void sendCheckedItemsToBatchForm();

    // Settings
    void loadSettings();
    void loadFolderList();
    void saveSettings();

    // Folder list
    bool addFolderToList(const QString &path);
    void insertFolder(const QString &path, const QIcon &icon);
    void removeFolder(const QString &path);
    void checkEmptyFolderList();

    // Load
    void showList(bool visible);

    // Thumbnail list
    void tellScrollPosition();
    void checkIconSizeButtons();
    void checkDeleteButton();
    void showTickCount();
    void setCheckboxVisible(bool visible);
    void applyListStyleSheet();
    void colourButtons();
    void tickRows(int first, int last, bool ticked);
    void tickFolder(bool ticked);
    void tickRest(const QSet<QString> &before);
    void removeItemFromList(const QStringList &files);
    QStringList selectedFiles() const;

    // Viewer
    void loadImage();
    void loadSelectedImage(const QString &path);
    void followShownFile();
    void describePhoto(QSize size);
    void step(PictureLoader::Step direction);
    void stepTo(int row);
    void showRow(int row);

    // View
    void refit();
    void redraw(bool highQuality = false);
    void showView(bool highQuality);
    void showCropRect();
    void fitLabelToView(QSize label);
    void setImageScale(ScaleMode mode);
    Viewport viewport() const;
    void placeNavigationButtons();

    // Rotate, flip and crop
    void editPicture(const PictureEdit &edit);
    void rotateImage(int angle);
    void initCropMode();

    // Export
    void exportImage(const std::function<QImage()> &picture);

    // File operations
    FileTransfer::Surroundings transferSurroundings();
    void showOverwriteDialog(const QStringList &fileExistsList, const QStringList &fileSourceList);

    const std::unique_ptr<Ui::ThumbsForm> ui;
    enum Page
    {
        BrowserPage,
        ViewerPage,
        BatchPage ///< while its form exists
    };
    QStackedLayout *stackedLayout = nullptr;
    bool widgetShown = false; ///< false while a slideshow runs

    // Folder list
    Folders folders;
    FolderWatch folderWatch;

    // Load
    FileList fileList;
    FolderLoad folderLoad;

    // Thumbnail list
    const int maxIconSize = thumbnailSide; ///< pixels
    const int minIconSize = 128;           ///< pixels
    Ticks ticks;
    QString lastTicked;      ///< the file whose tick the user changed last
    QString movedFrom;       ///< the folder on show when the last move began
    QString restOf;          ///< the folder whose files that a walk has yet to find are ticked, or lose it
    bool restTicked = false; ///< which of both
    FileMenu contextMenu;

    // Viewer
    PictureLoader pictureLoader;
    PictureView pictureView;
    Panning panning;
    CropTool cropTool;
    Adjustments adjustments;
    Exports exports;
    VistamoFilterDialog *filterDialog = nullptr; ///< made once and kept
    int selectedImageIndex = 0;                  ///< row of the file on show
    bool keyPressPending = false;
    QTimer *keyPressTimer = nullptr;

    // File operations
    FileTransfer fileTransfer;
    QList<VistamoGlobal::TFileData> deleteFileList;

    // Slideshow
    SlideShowForm *slideShowForm = nullptr;
    ImagesToPDFForm *imagesToPdfForm = nullptr;
};
