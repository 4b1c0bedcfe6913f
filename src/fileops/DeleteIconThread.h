#pragma once

#include "shared/threads/StoppableThread.h"

#include <QImage>
#include <QStringList>

/// Makes the icons of the delete dialog: thumbnails on white squares, from the database where it has them.
class DeleteIconThread : public StoppableThread
{
    Q_OBJECT

public:
    /// @param side of the icons, pixels
    DeleteIconThread(const QStringList &paths, int side, QObject *parent = nullptr);

signals:
    /// The icon of the path with this number; white alone for a file that cannot be read.
    void iconMade(int number, QImage icon);

protected:
    void run() override;

private:
    const QStringList paths;
    const int side;
};
