#pragma once

#include "shared/threads/StoppableThread.h"

#include <QImage>
#include <QString>

/// Decodes one picture of a show in the background.
class SlideLoader : public StoppableThread
{
    Q_OBJECT

public:
    explicit SlideLoader(const QString &path, QObject *parent = nullptr);

    const QString path;

signals:
    /// The picture, null if it could not be read.
    void loaded(const QString &path, const QImage &image);

protected:
    void run() override;
};
