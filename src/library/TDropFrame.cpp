#include "library/TDropFrame.h"

#include "library/FileDrop.h"

#include <QAccessibleWidget>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr int litWidth = 3;

/// The frame as a screen reader has it.
class DropFrameInterface : public QAccessibleWidget
{
public:
    explicit DropFrameInterface(TDropFrame *frame)
        : QAccessibleWidget(frame, QAccessible::Button)
        , frame(frame)
    {
    }

    [[nodiscard]] QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString &name) override
    {
        if (name == pressAction())
            emit frame->clicked();
    }

private:
    TDropFrame *const frame;
};

QAccessibleInterface *interfaceOf(const QString & /*className*/, QObject *object)
{
    auto *const frame = qobject_cast<TDropFrame *>(object);
    return frame ? new DropFrameInterface(frame) : nullptr;
}

} // namespace

TDropFrame::TDropFrame(QWidget *parent)
    : QFrame(parent)
{
    [[maybe_unused]] static const bool installed = (QAccessible::installFactory(interfaceOf), true);
    setAcceptDrops(true);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
}

void TDropFrame::light(bool on)
{
    isLit = on;
    update();
}

void TDropFrame::dragEnterEvent(QDragEnterEvent *event)
{
    isDirDrop = FileDrop::enter(event);
    light(event->isAccepted());
}

void TDropFrame::dragMoveEvent(QDragMoveEvent *event)
{
    event->accept();
}

void TDropFrame::dragLeaveEvent(QDragLeaveEvent *event)
{
    QFrame::dragLeaveEvent(event);
    light(false);
}

void TDropFrame::dropEvent(QDropEvent *event)
{
    light(false);
    FileDrop::drop(event->mimeData(), isDirDrop, this);
}

void TDropFrame::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        emit clicked();
}

void TDropFrame::keyPressEvent(QKeyEvent *event)
{
    const int key = event->key();
    if (key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter)
        emit clicked();
    else
        QFrame::keyPressEvent(event);
}

void TDropFrame::focusInEvent(QFocusEvent *event)
{
    QFrame::focusInEvent(event);
    update();
}

void TDropFrame::focusOutEvent(QFocusEvent *event)
{
    QFrame::focusOutEvent(event);
    update();
}

void TDropFrame::paintEvent(QPaintEvent *event)
{
    QFrame::paintEvent(event);
    QPainter painter(this);
    QColor colour = palette().color(QPalette::Highlight);
    const QRect inside = rect().adjusted(litWidth, litWidth, -litWidth, -litWidth);
    if (isLit || hasFocus()) {
        painter.setPen(QPen(colour, isLit ? litWidth : 1));
        painter.drawRect(inside);
    }
    colour.setAlpha(40);
    if (isLit)
        painter.fillRect(inside, colour);
}
