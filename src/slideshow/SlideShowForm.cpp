#include "slideshow/SlideShowForm.h"

#include "shared/image/ColourScreens.h"
#include "shared/platform/PathIdentity.h"
#include "shared/platform/Platform.h"
#include "shared/VistamoGlobal.h"
#include "ui_SlideShowForm.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
#include <QTimer>

#include <utility>

namespace {

constexpr int tickMs = 1000;
constexpr int longestEndMs = 100;
constexpr int digitHeight = 100;
constexpr QPoint digitMargin(30, 40);

QString pathAt(int index)
{
    const QList<TFileRecord> &records = VistamoGlobal::fileDataList;
    return index >= 0 && index < records.size() ? records[index].fullPath : QString();
}

} // namespace

SlideShowForm::SlideShowForm(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::SlideShowForm>())
    , awake(Platform::keepScreenAwake())
{
    ui->setupUi(this);
    setCursor(Qt::BlankCursor);
    // The label is as large as the screen; a window that had to be so too is not given the whole screen.
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    connect(&Colour::Screens::all(), &Colour::Screens::changed, this, [this] {
        if (isVisible())
            composeImage();
    });
}

SlideShowForm::~SlideShowForm()
{
    stopLoader();
}

void SlideShowForm::loadOptions()
{
    VistamoGlobal().loadOptions();
}

void SlideShowForm::startShow(int index)
{
    imageIndex = pathAt(index).isEmpty() ? 0 : index;
    elapsedSeconds = 0;
    sourcePixmap = QPixmap();
    composeImage(); // the background, until the picture is there
    if (!refreshTimer) {
        refreshTimer = new QTimer(this);
        connect(refreshTimer, SIGNAL(timeout()), SLOT(onRefreshTimer()));
        refreshTimer->start(tickMs);
    }
    load(imageIndex);
    awaited = true;
}

void SlideShowForm::onRefreshTimer()
{
    ++elapsedSeconds;
    if (elapsedSeconds >= VistamoGlobal::delay || awaited) {
        // The list may have changed since the picture was asked for.
        if (!awaited
            && (nextIndex() != loadingIndex || ExactPath(pathAt(loadingIndex)) != ExactPath(loadingPath)))
            load(nextIndex());
        if (!loaded) {
            awaited = true;
            --elapsedSeconds;
            return;
        }
        showLoaded();
    }
    drawCountdown();
}

int SlideShowForm::nextIndex() const
{
    return imageIndex + 1 < VistamoGlobal::fileDataList.size() ? imageIndex + 1 : 0;
}

/// Starts decoding a picture; an index beyond the list gives none at once.
void SlideShowForm::load(int index)
{
    stopLoader();
    loadingIndex = index;
    loadingPath = pathAt(index);
    loaded.reset();
    if (loadingPath.isEmpty()) {
        loaded = QPixmap();
        return;
    }
    loader.set(std::make_unique<SlideLoader>(loadingPath));
    loader.on(&SlideLoader::loaded,
              [this](const QString &path, const QImage &image) { onLoaded(path, image); });
    loader.start(QThread::InheritPriority);
}

/// Gives up the decode in flight; one that does not end soon is left behind.
void SlideShowForm::stopLoader()
{
    loader.end(QDeadlineTimer(longestEndMs));
}

void SlideShowForm::onLoaded(const QString &path, const QImage &image)
{
    if (ExactPath(path) != ExactPath(loadingPath))
        return;
    loaded = QPixmap::fromImage(image);
    if (!awaited)
        return;
    // Late: its own seconds begin now.
    showLoaded();
    refreshTimer->start(tickMs);
}

/// Shows the decoded picture, and prefetches the one after it.
void SlideShowForm::showLoaded()
{
    imageIndex = loadingIndex;
    elapsedSeconds = 0;
    awaited = false;
    sourcePixmap = std::exchange(loaded, std::nullopt).value_or(QPixmap());
    composeImage();
    load(nextIndex());
}

void SlideShowForm::composeImage()
{
    screenSize = QGuiApplication::primaryScreen()->size();
    ui->imageLabel->setFixedSize(screenSize);
    const float a = static_cast<float>(sourcePixmap.width()) / static_cast<float>(screenSize.width());
    const float b = static_cast<float>(sourcePixmap.height()) / static_cast<float>(screenSize.height());
    // In the screen's own pixels.
    const qreal ratio = QGuiApplication::primaryScreen()->devicePixelRatio();
    const QSize pixels = (QSizeF(screenSize) * ratio).toSize();
    const QPixmap scaled = b > a ? sourcePixmap.scaledToHeight(pixels.height(), Qt::FastTransformation)
                                 : sourcePixmap.scaledToWidth(pixels.width(), Qt::FastTransformation);
    QImage image(pixels, QImage::Format_ARGB32);
    image.fill(VistamoGlobal::bkColor);
    QPainter painter;
    if (!painter.begin(&image))
        return;
    painter.drawPixmap((pixels.width() - scaled.width()) / 2, (pixels.height() - scaled.height()) / 2,
                       scaled);
    painter.end();
    image.setDevicePixelRatio(ratio);
    composedImage = Colour::Screens::all().shown(image, screen());
    drawCountdown();
}

void SlideShowForm::drawCountdown()
{
    if (!VistamoGlobal::showCountdown) {
        ui->imageLabel->setPixmap(QPixmap::fromImage(composedImage));
        return;
    }
    QImage image = composedImage;
    QPainter painter(&image);
    painter.setPen(Qt::white);
    painter.setBrush(Qt::white);
    QFont font = painter.font();
    font.setPixelSize(digitHeight);
    painter.setFont(font);
    const QString text = QString::number(elapsedSeconds + 1);
    painter.drawText(screenSize.width() - digitMargin.x() - painter.fontMetrics().horizontalAdvance(text),
                     screenSize.height() - digitMargin.y(), text);
    painter.end();
    ui->imageLabel->setPixmap(QPixmap::fromImage(image));
}

void SlideShowForm::showEvent(QShowEvent *)
{
    widgetShown = true;
    qApp->installEventFilter(this);
}

bool SlideShowForm::eventFilter(QObject *watched, QEvent *event)
{
    const bool isKey = event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride;
    if (!isKey || !VistamoGlobal::isFullScreen)
        return QWidget::eventFilter(watched, event);
    const bool ends = static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape;
    event->setAccepted(ends
                       || event->type() == QEvent::ShortcutOverride); // or the system's keys would do nothing
    if (ends && event->type() == QEvent::KeyPress && !keyPressPending)
        emit exitFullScreen();
    return true; // the program's keys do nothing here
}

void SlideShowForm::onKeyPressTimer()
{
    if (!keyPressTimer)
        return;
    keyPressTimer->stop();
    keyPressPending = false;
    keyPressTimer = nullptr;
}
