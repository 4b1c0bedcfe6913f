#pragma once

#include "shared/image/ColourConversion.h"

#include <QHash>
#include <QObject>
#include <QPointer>

class QScreen;
class QWindow;

namespace Colour {

/// The screens' own colours, as far as the platform names their profiles. Icons, viewer and show are brought
/// to those of the screen that they are on as they are painted; files and the clipboard stay sRGB. For the
/// GUI thread.
class Screens : public QObject
{
    Q_OBJECT

public:
    static Screens &all();

    /// Reads the profiles, and reads them again as screens come and go, as the system tells of a change, and
    /// as the program becomes active.
    /// @param window of the program, on whose screen icons are
    void follow(QWindow &window);

    [[nodiscard]] const QScreen *iconScreen() const;

    /// False if `shown` would leave pictures as they are.
    [[nodiscard]] bool changes(const QScreen *screen) const;

    /// For pictures that are made ready for this screen on another thread.
    [[nodiscard]] ScreenTransform transformTo(const QScreen *screen) const
    {
        return known.value(screen).transform;
    }

    /// A picture in sRGB as this screen is to be given it.
    [[nodiscard]] QImage shown(const QImage &image, const QScreen *screen) const;

public slots:
    /// Reads the profiles in the background.
    void read();

signals:
    /// What is on show is to be painted again.
    void changed();

private:
    struct Known
    {
        QByteArray profile;
        ScreenTransform transform;

        bool operator==(const Known &other) const { return profile == other.profile; }
    };

    QPointer<QWindow> window;
    QHash<const QScreen *, Known> known; ///< the screens that have a profile
    int lastRead = 0;
    bool isFollowing = false;
};

} // namespace Colour
