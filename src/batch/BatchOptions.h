#pragma once

#include <QPageSize>
#include <QString>

/// The options of one run of a batch tool, as the form has them when it starts.
struct BatchOptions
{
    QString outputFolder;
    QString pdfFileName;
    int pageSize = 0;        ///< row of the paper sizes
    int pdfQuality = 0;      ///< row of the resolutions
    int pageOrientation = 0; ///< 0 portrait, otherwise landscape
    int pageMargin = 0;      ///< 0 none
    int pageMarginSize = 0;  ///< tens of device pixels
    bool resizeImageToPaper = false;
    bool pdfSmoothEdges = false;
    int targeFileQuality = 0; ///< of JPG, 0 to 100

    /// A copy of the options. GUI thread.
    [[nodiscard]] static BatchOptions current();
};

/// A format that pictures can be converted to.
struct TargetFormat
{
    QString name;      ///< "JPEG XL"
    QString extension; ///< ".jxl"
};

/// Reads the options from their settings; what is missing there takes its default. GUI thread.
void loadBatchSettings();

/// Writes all options. GUI thread.
void saveBatchSettings();

/// The sheet for a row of the paper sizes, and the size in points that goes with it, which no page follows.
/// Letter for a row that there is not.
[[nodiscard]] QPageSize getPageSize(int index, QSizeF *pointSize);

/// Dots per inch for a row of the resolutions; 300 for one that there is not.
[[nodiscard]] int getResolution(int index);

/// Where a picture is converted to: the source's name up to its first dot, with another extension.
[[nodiscard]] QString convertTarget(const QString &source, const QString &folder, const QString &extension);
