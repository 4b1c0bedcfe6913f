#pragma once

#include <QColor>
#include <QDateTime>
#include <QImage>
#include <QList>
#include <QMetaType>
#include <QRect>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>
#include <QUrl>

/// One listed image. Entry i of `fileDataList`, row i of `mainModel` and column i of `galleryModel`
/// are the same file.
struct TFileRecord
{
    QString fileName;
    QString path;            ///< the folder
    QString fullPath;        ///< the folder as it was asked for, "/" and the file name
    int thumbnailWidth = 0;  ///< pixels; part of the record, nothing sets it
    int thumbnailHeight = 0; ///< pixels; as above
    qint64 size = 0;         ///< bytes
    QDateTime accessTime;
    QDateTime creationTime; ///< birth time; invalid where the file system keeps none
    QDateTime modifiedTime;
    int reserved = 0;
    QString suffix;
    QRect imageRect; ///< where the picture lies in its 256-pixel square; null until that is known
};
Q_DECLARE_TYPEINFO(TFileRecord, Q_RELOCATABLE_TYPE);

/// What goes into the thumbnail database and comes out of it.
struct TThumbnailRecord
{
    QString resolution; ///< full picture, upright, as "4032x3024"
    QString fullPath;   ///< key
    qint64 size = 0;    ///< key: bytes
    QDateTime accessTime;
    QDateTime creationTime; ///< key: birth time, or what stands in for it
    QImage image;           ///< the thumbnail; null for "not there"
};

/// One ticked file. Its identity is `path` and `fileName`, compared as a path.
struct TCheckedItem
{
    QString path;
    QString fileName;
    bool checked = true;
};

/// One entry of the batch form's list with the number of its cached preview.
struct TSourceFile
{
    QString fullPath;
    int cacheId = 0;
    bool cacheValid = false;
};

/// What the forms share: the variables of the process and a few small operations on them.
///
/// The class has no state of its own, so a temporary serves to call an operation. The GUI thread alone
/// touches the variables; workers are given copies, except for the list of extensions and the name of the
/// table, which stay as they are once the program has started.
class VistamoGlobal
{
public:
    /// A file on its way to deletion or into the batch form.
    struct TFileData
    {
        QString fullPath;
        int index = -1; ///< row in `mainModel`, or -1 where none is known
    };

    /// True if the last suffix of `fileName` is one of `imageFileExtensionList`, whatever its case.
    [[nodiscard]] bool isImageFile(const QString &fileName) const;

    /// Name of the program as its titles show it.
    [[nodiscard]] QString getAppTitle() const;

    /// The maker's web page.
    [[nodiscard]] QUrl getWebsiteUrl() const;

    /// Fills `imageFileExtensionList`, lower case with the dot, in the order of comparison. Until then
    /// nothing is an image file.
    static void buildImageFileExtensionList();

    // What these do is documented where it is done: library/ThumbnailDatabase.h, viewer/ColourFilters.h,
    // slideshow/SlideshowOptions.h. The connection is one that belongs to the calling thread.

    [[nodiscard]] bool thumbnailTableExists(const QString &tableName, const QSqlDatabase &db) const;
    [[nodiscard]] bool createThumbnailTable(const QString &tableName, const QSqlDatabase &db) const;
    [[nodiscard]] bool getThumbnail(TThumbnailRecord &record, const QString &tableName,
                                    const QSqlDatabase &db) const;
    [[nodiscard]] bool addThumbnail(const TThumbnailRecord &record, const QString &tableName,
                                    const QSqlDatabase &db) const;
    [[nodiscard]] QByteArray imageToByteArray(const QImage &image) const;
    [[nodiscard]] QString getThumbnailsFolder() const;
    [[nodiscard]] QImage applyFilters(QImage image, int contrast, int brightness, int gamma,
                                      int invertColours) const;
    [[nodiscard]] QImage applyFilter(QImage image, int filterType, float value) const;
    void loadOptions();

    // Settings of the batch tools
    static inline int pageSizeComboIndex[5] = {-1, -1, -1, -1, -1};
    static inline QString outputFolder;
    static inline QString pdfFileName;
    static inline int pageSize = 0;
    static inline bool resizeImageToPaper = false;
    static inline bool pdfSmoothEdges = true;
    static inline int pdfQuality = 2;
    static inline int pageOrientation = 0;
    static inline int pageMargin = 0;
    static inline int pageMarginSize = 20;
    static inline int targeFileType = 6; // spelt like the settings key
    static inline int targeFileQuality = 95;
    static inline QList<TSourceFile> previewCacheList;

    // Settings of the browser and the viewer
    static inline bool showGallery = true;
    static inline int iconSize = 128; ///< pixels
    static inline bool showCheckbox = false;
    static inline QString exportImagePath;

    /// The batch tools are part of the build but reachable only where this is true: the program sets it by a
    /// switch of the build.
    static inline bool showPdfAndConvertButtons = false;

    // Settings of the slideshow
    static inline QColor bkColor = Qt::black;
    static inline int delay = 5; ///< seconds a picture
    static inline bool showCountdown = false;

    // The folder on show
    static inline bool vistamoLoadFolderThreadStat = false;
    static inline float scrollPositionRatio = 0; ///< of `mainListView`: value / maximum
    static inline QString selectedFileName;      ///< to be selected when the walk comes to it
    static inline QStringList imageFileExtensionList;
    static inline QList<TFileRecord> fileDataList;
    static inline QList<TCheckedItem> checkedItemList; ///< from any folder

    static inline QSqlDatabase thumbnailDatabase; ///< the GUI thread's connection
    static inline QString thumbnailTableName = QStringLiteral("FileData");
    static inline bool useStandardDataLocation = false;

    static inline bool isFullScreen = false;
};

Q_DECLARE_METATYPE(VistamoGlobal::TFileData)
