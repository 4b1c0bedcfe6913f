#include "batch/ImagesToPDFPreviewDialog.h"

#include "ui_ImagesToPDFPreviewDialog.h"
#include "viewer/ViewGeometry.h"

#include <QFileInfo>
#include <QScreen>

namespace {

constexpr int resizeDelayMs = 10;

} // namespace

ImagesToPDFPreviewDialog::ImagesToPDFPreviewDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::ImagesToPDFPreviewDialog>())
{
    ui->setupUi(this);
    connect(ui->previewLabel, SIGNAL(needToResizeImage(int)), SLOT(onNeedToResizeImage(int)));
    connect(ui->previewLabel, SIGNAL(startDragImage(QPoint)), SLOT(onStartDragImage(QPoint)));
    connect(ui->previewLabel, SIGNAL(endDragImage()), SLOT(onEndDragImage()));
    connect(ui->previewLabel, SIGNAL(mouseMove(QPoint, QPoint)), SLOT(onMouseMove(QPoint, QPoint)));
    connect(&resizeTimer, SIGNAL(timeout()), SLOT(updateTimer()));
    setWindowFlags(windowFlags() | Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint);
}

ImagesToPDFPreviewDialog::~ImagesToPDFPreviewDialog() = default;

void ImagesToPDFPreviewDialog::loadImage(const QString &path)
{
    if (!QFileInfo::exists(path))
        return;
    setWindowTitle(tr("Preview - ") + QFileInfo(path).fileName());
    fileName = path;
    using Thread = ImagesToPDFLoadFullPreviewImageThread;
    loadThread.set(std::make_unique<Thread>());
    loadThread->fileName = path;
    loadThread.on(&Thread::previewImageReady,
                  [this](const QImage &image) { handleFullPreviewImageReady(image); });
    loadThread.start(QThread::InheritPriority);
}

void ImagesToPDFPreviewDialog::handleFullPreviewImageReady(QImage image)
{
    hasAnswer = true;
    fullPixmap = QPixmap::fromImage(std::move(image));
    showFitted();
}

/// Scales the picture, also a small one, to fill the view.
void ImagesToPDFPreviewDialog::showFitted()
{
    ui->sizeInfoLabel->setText(QStringLiteral("%1x%2").arg(fullPixmap.width()).arg(fullPixmap.height()));
    const Viewport view = {viewportOf(ui->scrollArea->size()), devicePixelRatio()};
    setContentsSize(view.size);
    scaledPixmap = {viewLayout(ScaleMode::Fit, fullPixmap.size(), view.pixels(), 0).image};
    showScale();
}

void ImagesToPDFPreviewDialog::showScale()
{
    scale = static_cast<double>(scaledPixmap.width()) / fullPixmap.width();
    ui->percentResizeLabel->setText(percentText(scale));
    if (hasAnswer)
        ui->previewLabel->showImage(fullPixmap, scaledPixmap);
}

void ImagesToPDFPreviewDialog::setContentsSize(QSize size)
{
    ui->scrollAreaWidgetContents->setFixedSize(size);
    ui->previewLabel->setFixedSize(size);
}

void ImagesToPDFPreviewDialog::onNeedToResizeImage(int val)
{
    const std::optional<int> width = zoomStep(scaledPixmap.width(), fullPixmap.width(), val,
                                              QGuiApplication::primaryScreen()->physicalSize().width());
    if (!width)
        return;
    scaledPixmap = {scaledToWidth(fullPixmap.size(), *width)};
    showScale();
    const Viewport view = {viewportOf(ui->scrollArea->size()), devicePixelRatio()};
    setContentsSize(view.labelFor(scaledPixmap.size));
}

void ImagesToPDFPreviewDialog::onStartDragImage(QPoint point)
{
    panning.begin(point);
}

void ImagesToPDFPreviewDialog::onEndDragImage()
{
    panning.end();
}

void ImagesToPDFPreviewDialog::onMouseMove(QPoint point, QPoint)
{
    panning.moveTo(point, *ui->scrollArea);
}

void ImagesToPDFPreviewDialog::resizeEvent(QResizeEvent *event)
{
    QDialog::resizeEvent(event);
    resizeTimer.start(resizeDelayMs);
}

void ImagesToPDFPreviewDialog::updateTimer()
{
    showFitted();
    resizeTimer.stop();
}
