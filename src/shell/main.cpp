#include "shared/image/ImageReading.h"
#include "shared/threads/StoppableThread.h"
#include "shared/VistamoGlobal.h"
#include "shell/MainWindow.h"

#include <QApplication>

#include <cstdlib>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("Fusion"));
    ImageReading::setAllocationLimit();
#ifdef ORRELAN_SHOW_PDF_AND_CONVERT_BUTTONS
    VistamoGlobal::showPdfAndConvertButtons = true;
#endif

    int code = 0;
    {
        MainWindow window;
        window.show();
        if (const QStringList named = QApplication::arguments(); named.size() > 1)
            window.open(named[1]);
        code = QApplication::exec();
    }
    if (StoppableThread::someLeftBehind)
        std::_Exit(code);
    return code;
}
