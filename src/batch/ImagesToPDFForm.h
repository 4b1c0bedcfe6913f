#pragma once

#include "batch/BatchListModel.h"
#include "batch/BatchOptions.h"
#include "batch/ImagesToPDFAddUrlsThread.h"
#include "batch/ImagesToPDFLoadPreviewImageThread.h"
#include "shared/platform/CocoaCode.h"
#include "shared/threads/Worker.h"
#include "shared/VistamoGlobal.h"

#include <QImage>
#include <QItemSelection>
#include <QList>
#include <QPointer>
#include <QTimer>
#include <QUrl>
#include <QWidget>

#include <memory>

class ImagesToPDFPreviewDialog;
class ImagesToPDFProgressForm;
class QVBoxLayout;

namespace Ui {
class ImagesToPDFForm;
}

/// The page of the two batch tools: a list of images that become the pages of one PDF, or are converted to
/// another format. It owns the list, the options and the workers; deleted with files still being added, it
/// lets go of them.
class ImagesToPDFForm : public QWidget
{
    Q_OBJECT

public:
    explicit ImagesToPDFForm(QWidget *parent = nullptr);
    ~ImagesToPDFForm() override;

    /// 0 creates a PDF file, otherwise images are converted.
    void setToolMode(int mode);

    /// Empties the list, and changes nothing else.
    void clearFileList();

    /// Adds these files to the list, in their order.
    void setSourceFiles(const QList<VistamoGlobal::TFileData> &files);

protected:
    void changeEvent(QEvent *event) override;

signals:
    void closeToolWidget();
    void closeApp();

private slots:
    // Collecting files
    void on_openFileAddButton_clicked();
    void on_ImageFilesSelected(const QStringList &pathList);
    void on_AddURL(const QUrl &url);
    void on_AddURLs(QList<QUrl> urls);
    void onFilesFound(const QList<BatchFile> &files);
    void onAddUrlsFinish(QString lastPath);
    void onAddUrlsReadyToClose() {} ///< kept for the interface: the worker is free again by then

    // The list
    void on_itemSelection_changed(const QItemSelection &selected, const QItemSelection &deselected);
    void on_removeButton_clicked();
    void on_upButton_clicked();
    void on_downButton_clicked();
    void on_clearButton_clicked();
    void on_backButton_clicked();

    // Options
    void on_FolderSelected(QString path);
    void on_outputFolderButton_clicked();
    void on_pdfFilenameButton_clicked();
    void on_targetComboBox_currentIndexChanged(int index);
    void on_qualitySpinBox_valueChanged(int arg1);
    void on_pdfPageOrientationPortraitButton_clicked();
    void on_pdfPageOrientationLanscapeButton_clicked();
    void on_pdfPaperSizeComboBox_currentIndexChanged(int index);
    void on_pdfNoMarginButton_clicked();
    void on_pdfAddMarginButton_clicked();
    void on_pdfMarginSizeSpinBox_valueChanged(int value);
    void on_pdfQualityComboBox_currentIndexChanged(int index);
    void on_pdfResizeImageToPaperCheckBox_clicked();
    void on_pdfSmoothEdgesCheckBox_clicked();

    // Runs
    void on_createPdfButton_clicked();
    void handleStartConvertSignal();
    void handleFinishConvertSignal();

    // Preview
    void on_updateTimer();
    void handleUpdatePreviewImage(QImage image);
    void on_PreviewImage_DoubleClick();

private:
    /// What the form shows beside its options.
    enum class State
    {
        Empty,  ///< the target for drops
        List,   ///< the files
        Running ///< the progress form
    };

    // Construction
    void colourButtons();
    void setUpList();
    void fillComboBoxes();
    void loadSettings();
    void setPageOrientation(int orientation);
    void setPageMargin(int value);

    // Options
    template <typename Option>
    void setOption(Option &option, Option value);
    void setPdfPath(const QString &path);

    // Collecting files
    void addUrls(const QList<QUrl> &urls);
    [[nodiscard]] bool addUrlsThreadActive() const { return addUrlsThread.isActive(); }
    void startAddUrlsThread(const QList<QUrl> &urls);
    void showCollected(qsizetype count);

    // The list
    void updateFormState(State state);
    void updateItemSelection(int count);
    [[nodiscard]] QList<int> selectedRows() const;
    void moveSelectedRows(int step);
    [[nodiscard]] bool closeIfRequested();

    // Runs
    void createPdfFile();
    [[nodiscard]] QString getPdfSaveFileName();
    void startConvert(const QString &path);
    void setConverting(bool busy);
    [[nodiscard]] TargetFormat getTargetFormat() const;
    [[nodiscard]] bool isJpgTarget() const;

    // Preview
    void showPreviewImage(const QString &path, bool force);
    void loadPreviewImage(const QString &path, bool force);

    const std::unique_ptr<Ui::ImagesToPDFForm> ui;
    const std::unique_ptr<CocoaCode> cocoaCode;
    BatchListModel fileListModel;
    QList<VistamoGlobal::TFileData> sourceFileList;
    bool uiReady = false; ///< the option slots answer to the user, not to the form itself

    // Rows of the target formats; -1 for the one that is not offered
    int pngIndex = -1;
    int jpgIndex = -1;
    int jxrIndex = -1;
    int tiffIndex = -1;
    int webpIndex = -1;
    int gifIndex = -1;
    int heifIndex = -1;
    int heicIndex = -1;
    int avifIndex = -1;
    int jxlIndex = -1;

    int listIconSize = 256; ///< pixels; also of the thumbnails that are stored
    bool itemSelected = false;
    bool canMoveUp = false;   ///< after a run
    bool canMoveDown = false; ///< after a run
    int convertMode = 0;
    bool closeRequested = false; ///< nothing sets it
    bool createAfterFolderSelected = false;
    QPointer<ImagesToPDFProgressForm> progressForm;

    Worker<ImagesToPDFAddUrlsThread> addUrlsThread;
    QTimer collectingTimer; ///< until it is told how many images were added
    qsizetype collected = 0;

    QTimer updateTimer;
    QString selectedFile;
    QString currentPreviewFile;
    QString pendingPreviewFile;
    bool pendingPreviewForce = false;
    int previewCountdown = 0; ///< ticks left of the debounce
    Worker<ImagesToPDFLoadPreviewImageThread> previewThread;
    QPointer<ImagesToPDFPreviewDialog> previewDialog; ///< the last one, open or closed
};
