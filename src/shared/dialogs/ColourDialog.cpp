#include "shared/dialogs/ColourDialog.h"

#include "shared/dialogs/DialogSeam.h"

#include <QColorDialog>

std::optional<QColor> ColourDialog::select(const QColor &current)
{
    if (const auto answer = DialogSeam::answer({DialogSeam::Kind::SelectColour, {}, current.name()}))
        return answer->isValid() ? std::optional(answer->value<QColor>()) : std::nullopt;
    QColorDialog dialog;
    dialog.setObjectName(QStringLiteral("ColourDialog"));
    dialog.setCurrentColor(current);
    std::optional<QColor> selected;
    QObject::connect(&dialog, &QColorDialog::colorSelected, [&](const QColor &colour) { selected = colour; });
    dialog.exec();
    return selected;
}
