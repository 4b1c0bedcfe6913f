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

/// Calls `action(setting, option)` for each option and where it is stored.
template <typename Action>
void forEachOption(const Action &action)
{
    using Global = VistamoGlobal;
    action(BatchSettings::pageOrientation, Global::pageOrientation);
    action(BatchSettings::pageSize, Global::pageSize);
    action(BatchSettings::pageMargin, Global::pageMargin);
    action(BatchSettings::pageMarginSize, Global::pageMarginSize);
    action(BatchSettings::resizeImageToPaper, Global::resizeImageToPaper);
    action(BatchSettings::pdfSmoothEdges, Global::pdfSmoothEdges);
    action(BatchSettings::pdfQuality, Global::pdfQuality);
    action(BatchSettings::outputFolder, Global::outputFolder);
    action(BatchSettings::pdfFileName, Global::pdfFileName);
    action(BatchSettings::targeFileType, Global::targeFileType);
    action(BatchSettings::targeFileQuality, Global::targeFileQuality);
}

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
    const QSettings store = batchSettings();
    forEachOption([&](const auto &setting, auto &option) { option = setting.read(store); });
}

void saveBatchSettings()
{
    QSettings store = batchSettings();
    forEachOption([&](const auto &setting, const auto &option) { setting.write(store, option); });
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
