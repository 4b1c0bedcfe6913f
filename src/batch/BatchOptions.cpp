#include "batch/BatchOptions.h"

#include "shared/Settings.h"
#include "shared/VistamoGlobal.h"

#include <QFileInfo>

#include <algorithm>
#include <array>
#include <iterator>

namespace {

struct Paper
{
    QPageSize::PageSizeId id;
    QSizeF points;
};

const std::array<Paper, 5> papers = {{
    {QPageSize::Letter, {612, 792}},
    {QPageSize::A4, {595.2756, 841.8898}},
    {QPageSize::A5, {419.5276, 595.2756}},
    {QPageSize::Legal, {612, 1008}},
    {QPageSize::Executive, {696, 1013}},
}};

constexpr std::array<int, 6> resolutions = {96, 150, 300, 400, 600, 1200};
constexpr int usualResolution = 300;

} // namespace

BatchOptions BatchOptions::current()
{
    using Global = VistamoGlobal;
    return {Global::outputFolder,    Global::pdfFileName,        Global::pageSize,
            Global::pdfQuality,      Global::pageOrientation,    Global::pageMargin,
            Global::pageMarginSize,  Global::resizeImageToPaper, Global::pdfSmoothEdges,
            Global::targeFileQuality};
}

void loadBatchSettings()
{
    QSettings settings = batchSettings();
    settings.beginGroup(QStringLiteral("General"));
    const auto number = [&](const char *key, int otherwise) {
        return settings.value(QLatin1String(key), otherwise).toInt();
    };
    const auto flag = [&](const char *key, bool otherwise) {
        return settings.value(QLatin1String(key), otherwise).toBool();
    };
    const auto text = [&](const char *key) { return settings.value(QLatin1String(key)).toString(); };
    VistamoGlobal::pageOrientation = number("pageOrientation", 1);
    VistamoGlobal::pageSize = number("pageSize", 0);
    VistamoGlobal::pageMargin = number("pageMargin", 1);
    VistamoGlobal::pageMarginSize = number("pageMarginSize", 20);
    VistamoGlobal::resizeImageToPaper = flag("resizeImageToPaper", false);
    VistamoGlobal::pdfSmoothEdges = flag("pdfSmoothEdges", true);
    VistamoGlobal::pdfQuality = number("pdfQuality", 2);
    VistamoGlobal::outputFolder = text("outputFolder");
    VistamoGlobal::pdfFileName = text("pdfFileName");
    VistamoGlobal::targeFileType = number("targeFileType", 6);
    VistamoGlobal::targeFileQuality = number("targeFileQuality", 95);
}

void saveBatchSettings()
{
    QSettings settings = batchSettings();
    settings.beginGroup(QStringLiteral("General"));
    const auto save = [&](const char *key, const QVariant &value) {
        settings.setValue(QLatin1String(key), value);
    };
    save("pageOrientation", VistamoGlobal::pageOrientation);
    save("pageSize", VistamoGlobal::pageSize);
    save("pageMargin", VistamoGlobal::pageMargin);
    save("pageMarginSize", VistamoGlobal::pageMarginSize);
    save("resizeImageToPaper", VistamoGlobal::resizeImageToPaper);
    save("pdfSmoothEdges", VistamoGlobal::pdfSmoothEdges);
    save("pdfQuality", VistamoGlobal::pdfQuality);
    save("outputFolder", VistamoGlobal::outputFolder);
    save("pdfFileName", VistamoGlobal::pdfFileName);
    save("targeFileType", VistamoGlobal::targeFileType);
    save("targeFileQuality", VistamoGlobal::targeFileQuality);
}

QPageSize getPageSize(int index, QSizeF *pointSize)
{
    const auto *const row = std::find(std::begin(VistamoGlobal::pageSizeComboIndex),
                                      std::end(VistamoGlobal::pageSizeComboIndex), index);
    const auto position = static_cast<size_t>(row - std::begin(VistamoGlobal::pageSizeComboIndex));
    const Paper &paper = papers[position < papers.size() ? position : 0];
    *pointSize = paper.points;
    return QPageSize(paper.id);
}

int getResolution(int index)
{
    return index >= 0 && index < static_cast<int>(resolutions.size()) ? resolutions[index] : usualResolution;
}

QString convertTarget(const QString &source, const QString &folder, const QString &extension)
{
    const QFileInfo info(source);
    QString name = info.fileName();
    if (name.contains(QLatin1Char('.')))
        name.chop(info.completeSuffix().size() + 1);
    return folder + QLatin1Char('/') + name + extension;
}
