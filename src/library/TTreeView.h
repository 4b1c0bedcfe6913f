#pragma once

#include <QTimer>
#include <QTreeView>

/// The list of folders. Takes folders and images dropped from elsewhere, and lets its own rows be dragged to
/// another place; the owner does the moving. A row whose drag ends nowhere is no longer current. A row that a
/// key has reached counts as clicked after a moment.
class TTreeView : public QTreeView
{
    Q_OBJECT

public:
    explicit TTreeView(QWidget *parent = nullptr);

    /// Where the drop indicator is, as the base class tells its subclasses.
    enum class DropPlace
    {
        OnItem = OnItem,
        AboveItem = AboveItem,
        BelowItem = BelowItem,
        OnViewport = OnViewport
    };

    /// The row in which a dragged row ends: `row` is the one under the pointer, -1 over empty space.
    [[nodiscard]] static int movedRow(int sourceRow, int row, DropPlace place, int rowCount);

    /// After this time on a row that was reached by a key, it counts as clicked.
    static constexpr int restMs = 300;

signals:
    void addFolder(QString path);
    void addFolder(QString path, QString fileName);
    void needToMoveitem(int oldPos, int newPos);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void startDrag(Qt::DropActions supportedActions) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    QTimer restTimer;
    QPersistentModelIndex beforePress; ///< was current
    bool isDirDrop = false;
    int sourceRow = -1;
    int targetRow = -1;
};
