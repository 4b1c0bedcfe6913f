#include "shared/ImageReading.h"
#include "shell/MainWindow.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("Fusion"));
    ImageReading::setAllocationLimit();

    MainWindow window;
    window.show();
    return QApplication::exec();
}
