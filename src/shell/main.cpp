#include "shared/image/ImageReading.h"
#include "shared/platform/Platform.h"
#include "shared/Settings.h"
#include "shared/threads/StoppableThread.h"
#include "shared/VistamoGlobal.h"
#include "shell/MainWindow.h"
#include "shell/ReadableStyle.h"

#include <QApplication>
#include <QFileInfo>
#include <QIcon>

#include <cstdlib>

int main(int argc, char *argv[])
{
    auto toldQt = Platform::followDarkDesktop();
    QApplication application(argc, argv);
    toldQt.reset();
    // Last: Qt drops its own plug-ins that come after ours with the same formats.
    QCoreApplication::setLibraryPaths(QCoreApplication::libraryPaths()
                                      << QCoreApplication::applicationDirPath()
                                             + QStringLiteral("/" ORRELAN_PLUGINS));
    QGuiApplication::setDesktopFileName(QStringLiteral("orrelan-gallery"));
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/resources/images/Gallery128.png")));
    QApplication::setStyle(new ReadableStyle(QStringLiteral("Fusion")));
    ImageReading::setAllocationLimit();
#ifdef ORRELAN_SHOW_PDF_AND_CONVERT_BUTTONS
    VistamoGlobal::showPdfAndConvertButtons = true;
#endif

    Platform::keepToUser(QFileInfo(programSettings().fileName()).path()); // the folders are listed there
    Platform::whenAskedToEnd([] {
        QApplication::closeAllWindows();
        QCoreApplication::exit(); // also where one stays
    });

    int code = 0;
    {
        MainWindow window;
        window.show();
        // The session may end without another word, or go on after all.
        QObject::connect(&application, &QGuiApplication::commitDataRequest, &window, &MainWindow::store,
                         Qt::DirectConnection);
        if (const QStringList named = QApplication::arguments(); named.size() > 1)
            window.open(named[1]);
        code = QApplication::exec();
    }
    if (StoppableThread::someLeftBehind)
        std::_Exit(code);
    return code;
}
