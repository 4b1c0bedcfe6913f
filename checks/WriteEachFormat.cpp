// Writes a picture named after each extension that the program lists into a folder, for checks of what is
// installed.
//
//   WriteEachFormat FOLDER

#include "shared/VistamoGlobal.h"
#include "support/Files.h"
#include "support/LayeredFiles.h"
#include "support/Pictures.h"

#include <QGuiApplication>
#include <QMap>

namespace {

QByteArray fileOf(const QString &extension)
{
    const QSize size(400, 300);
    if (extension == ".psd" || extension == ".pspimage")
        return LayeredFiles::make({extension == ".psd" ? LayeredFiles::Psd : LayeredFiles::Psp, size});
    const QMap<QString, QByteArray> others = {
        {".jpe", "jpg"}, {".jif", "jpg"}, {".jfif", "jpg"}, {".jfi", "jpg"}, {".tif", "tiff"}};
    return Pictures::encoded(Pictures::quarters(size), others.value(extension, extension.mid(1).toLatin1()));
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication::addLibraryPath(PLUGINS);
    QGuiApplication application(argc, argv);
    VistamoGlobal().buildImageFileExtensionList();
    for (const QString &extension : VistamoGlobal::imageFileExtensionList) {
        const QByteArray file = fileOf(extension);
        if (file.isEmpty() || !Files::write(application.arguments().value(1) + "/a" + extension, file))
            qFatal("%s cannot be written", qPrintable(extension));
    }
    return 0;
}
