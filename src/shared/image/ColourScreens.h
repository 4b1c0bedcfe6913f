#pragma once

#include "shared/image/ColourConversion.h"

#include <QList>
#include <QObject>

class QScreen;

namespace Colour {

/// The screens' own colours, as far as the platform names their profiles. Icons, viewer and show are brought
/// to them as they are painted; files and the clipboard stay sRGB. For the GUI thread.
class Screens : public QObject
{
    Q_OBJECT

public:
    static Screens &all();

    /// Reads the profiles in the background.
    void read();

    /// False if `shown` would leave pictures as they are.
    [[nodiscard]] bool changes(const QScreen *screen) const;

    /// A picture in sRGB as this screen is to be given it.
    [[nodiscard]] QImage shown(const QImage &image, const QScreen *screen) const;

signals:
    /// What is on show is to be painted again.
    void changed();

private:
    QList<ScreenTransform> transforms; ///< in the order of the application's screens
};

} // namespace Colour
