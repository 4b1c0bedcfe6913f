#pragma once

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QPixmap>
#include <QString>

class VistamoLoadImageThread;

/// Pictures that the user is likely to want next, decoded while nothing else is asked for and kept within a
/// bound in bytes. GUI thread.
class DecodedAhead : public QObject
{
    Q_OBJECT

public:
    /// A file as it was when the list was read: a changed one is another.
    struct File
    {
        QString path;
        qint64 size = 0;
        QDateTime modified;
        friend bool operator==(const File &, const File &) = default;
    };

    using QObject::QObject;

    /// What may be wanted next, the likeliest first; all other pictures are dropped. Of the files only so
    /// many are decoded as fit the bound if they are as large as `shown`.
    void want(const QList<File> &files, const QPixmap &shown);

    /// The picture of a file, null if it is not at hand.
    QPixmap picture(const File &file) const;

    /// Gives the thread that decodes to the caller, who has to end it; null if there is none.
    VistamoLoadImageThread *takeThread();

private slots:
    void onImageLoaded(QPixmap pixmap);
    void onFinished();

private:
    struct Picture
    {
        File file;
        QPixmap pixmap;
    };

    void decodeNext();

    QList<File> wanted;
    QList<Picture> pictures;
    File inHand;
    VistamoLoadImageThread *thread = nullptr;
};
