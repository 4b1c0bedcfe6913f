#include "shell/MainWindow.h"

#include "shared/ColourScheme.h"
#include "shared/Settings.h"
#include "shared/VistamoGlobal.h"
#include "shell/ThumbsForm.h"
#include "shell/WindowGeometry.h"
#include "ui_MainWindow.h"

#include <QCloseEvent>
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
    // Refused by Qt with a warning, and wanted so: the form has no way to end the program.
    connect(thumbsForm, SIGNAL(closeApp()), SLOT(OnCloseApp()));
    thumbsForm->show();

    auto *const layout = new QVBoxLayout;
    layout->addWidget(thumbsForm);
    layout->setContentsMargins(0, 0, 0, 0);
    ui->centralwidget->setLayout(layout);

    setWindowTitle(VistamoGlobal().getAppTitle());
}

MainWindow::~MainWindow() = default;

void MainWindow::OnchangeTitle(QString title)
{
    setWindowTitle(title);
}

void MainWindow::OnEnterFullScreen()
{
    savedGeometry = geometry();
    showFullScreen();
    VistamoGlobal::isFullScreen = true;
}

void MainWindow::OnExitFullScreen()
{
    showNormal();
    setGeometry(savedGeometry);
    VistamoGlobal::isFullScreen = false;
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    QSettings settings = programSettings();
    settings.beginGroup(QStringLiteral("General"));
    settings.setValue(QStringLiteral("posX"), geometry().x());
    settings.setValue(QStringLiteral("posY"), geometry().y());
    settings.setValue(QStringLiteral("width"), geometry().width());
    settings.setValue(QStringLiteral("height"), geometry().height());
    settings.endGroup();
    event->accept();
}

void MainWindow::changeEvent(QEvent *event)
{
    if (isThemeChange(*event) && thumbsForm)
        thumbsForm->applyThemeChange();
}

void MainWindow::loadWindowGeometry()
{
    QSettings settings = programSettings();
    settings.beginGroup(QStringLiteral("General"));
    const auto number = [&](const char *key) { return settings.value(QLatin1String(key)).toInt(); };
    const StoredGeometry stored = {number("posX"), number("posY"), number("width"), number("height")};
    settings.endGroup();
    setGeometry(restoredGeometry(stored, QGuiApplication::primaryScreen()->size()));
}
