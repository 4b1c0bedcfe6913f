#include <QDir>
#include <QTemporaryDir>

namespace {

/// Gives the test program settings, data and trash of its own before anything asks for them: a test never
/// sees the developer's files.
class PrivateHome
{
public:
    PrivateHome()
    {
        qputenv("HOME", home.path().toLocal8Bit());
        for (const char *const variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
            const QString folder = home.filePath(QLatin1String(variable));
            QDir().mkpath(folder);
            qputenv(variable, folder.toLocal8Bit());
        }
    }

private:
    QTemporaryDir home;
};

const PrivateHome privateHome;

} // namespace
