#include "shell/MainWindow.h"

#include "shared/image/ColourScreens.h"
#include "shared/platform/ColourScheme.h"
#include "shared/Settings.h"
#include "shared/VistamoGlobal.h"
#include "shell/ThumbsForm.h"
#include "shell/WindowGeometry.h"
#include "ui_MainWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QScreen>
#include <QVBoxLayout>

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
    , ui(std::make_unique<Ui::MainWindow>())
{
    ui->setupUi(this);
    loadWindowGeometry();

    thumbsForm = new ThumbsForm(this);
    connect(thumbsForm, SIGNAL(changeTitle(QString)), SLOT(OnchangeTitle(QString)));
    connect(thumbsForm, SIGNAL(enterFullScreen()), SLOT(OnEnterFullScreen()));
    connect(thumbsForm, SIGNAL(exitFullScreen()), SLOT(OnExitFullScreen()));
    connect(thumbsForm, SIGNAL(switchFullScreen()), SLOT(switchFullScreen()));
    // Refused by Qt with a warning, as intended: the form has no way to end the program.
    connect(thumbsForm, SIGNAL(closeApp()), SLOT(OnCloseApp()));
    thumbsForm->show();

    auto *const layout = new QVBoxLayout;
    layout->addWidget(thumbsForm);
    layout->setContentsMargins(0, 0, 0, 0);
    ui->centralwidget->setLayout(layout);

    setWindowTitle(VistamoGlobal().getAppTitle());
    connect(&Colour::Screens::all(), &Colour::Screens::changed, this, [] {
        for (QWidget *widget : QApplication::allWidgets())
            widget->update();
    });
}

MainWindow::~MainWindow() = default;

void MainWindow::open(const QString &path)
{
    thumbsForm->open(QFileInfo(QDir::fromNativeSeparators(path)).absoluteFilePath());
}

void MainWindow::OnchangeTitle(QString title)
{
    setWindowTitle(title);
}

void MainWindow::OnEnterFullScreen()
{
    wasFullScreen = isFullScreen();
    takeFullScreen();
    VistamoGlobal::isFullScreen = true;
}

void MainWindow::OnExitFullScreen()
{
    if (!wasFullScreen) {
        // A compositor gives the size back by itself, maximised or not, and ends a program that takes more
        // than the screen before.
        if (QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) {
            setWindowState(windowState() & ~Qt::WindowFullScreen);
        } else {
            const QRect before = geometryBeforeFullScreen();
            showNormal();
            setGeometry(before);
        }
    }
    VistamoGlobal::isFullScreen = false;
}

void MainWindow::switchFullScreen()
{
    if (isFullScreen())
        setWindowState(windowState() & ~Qt::WindowFullScreen);
    else
        takeFullScreen();
}

void MainWindow::takeFullScreen()
{
    if (!isFullScreen())
        savedGeometry = geometry();
    setWindowState(windowState() | Qt::WindowFullScreen);
    show();
}

/// Also where the desktop took the full screen by itself.
QRect MainWindow::geometryBeforeFullScreen() const
{
    return savedGeometry.isValid() ? savedGeometry : normalGeometry();
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    storeGeometry();
    event->accept();
}

void MainWindow::store()
{
    storeGeometry();
    thumbsForm->store();
}

void MainWindow::storeGeometry() const
{
    QSettings store = programSettings();
    const QRect place = isFullScreen() ? geometryBeforeFullScreen() : geometry();
    BrowserSettings::posX.write(store, place.x());
    BrowserSettings::posY.write(store, place.y());
    BrowserSettings::width.write(store, place.width());
    BrowserSettings::height.write(store, place.height());
}

void MainWindow::showEvent(QShowEvent *event)
{
    QMainWindow::showEvent(event);
    Colour::Screens::all().follow(*windowHandle());
}

void MainWindow::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::WindowStateChange && !isFullScreen())
        savedGeometry = {};
    if (isThemeChange(*event) && thumbsForm)
        thumbsForm->applyThemeChange();
}

void MainWindow::loadWindowGeometry()
{
    const QSettings store = programSettings();
    const bool isStored = store.contains(BrowserSettings::width.key);
    const StoredGeometry stored = {BrowserSettings::posX.read(store), BrowserSettings::posY.read(store),
                                   BrowserSettings::width.read(store), BrowserSettings::height.read(store)};
    const QScreen *const screen = QGuiApplication::primaryScreen();
    setGeometry(restoredGeometry(stored, screen->size()));
    if (!isStored)
        move(screen->availableGeometry().topLeft()); // of the frame
}
