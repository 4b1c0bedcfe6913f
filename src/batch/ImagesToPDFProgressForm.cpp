#include "batch/ImagesToPDFProgressForm.h"

#include "batch/ImagesToPDFForm.h"
#include "batch/ImagesToPDFOverwriteFileDialog.h"
#include "shared/dialogs/MessageBox.h"
#include "ui_ImagesToPDFProgressForm.h"

#include <QDesktopServices>
#include <QDir>
#include <QPointer>
#include <QUrl>

namespace {

// At the end of the program: for a large picture in flight, but not for a drive that is dead.
constexpr int longestEndMs = 30'000;

} // namespace

ImagesToPDFProgressForm::ImagesToPDFProgressForm(ImagesToPDFForm *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::ImagesToPDFProgressForm>())
{
    ui->setupUi(this);
}

ImagesToPDFProgressForm::~ImagesToPDFProgressForm()
{
    convertThread.end(QDeadlineTimer(longestEndMs));
}

void ImagesToPDFProgressForm::startRun(QStringList files, int mode, QString path, QString format,
                                       QString extension, bool overwrite)
{
    fileList = files;
    pages = files.size();
    isConvertMode = mode;
    targetPath = path;
    targetFormat = format;
    targetExtension = extension;
    ui->progressBar->setMaximum(static_cast<int>(files.size()));
    ui->progressBar->setValue(0);
    emit startConvertSignal();

    using Thread = ImagesToPDFConvertThread;
    convertThread.set(std::make_unique<Thread>());
    convertThread->sourceFiles = files;
    convertThread->targetPath = path;
    convertThread->targetFormat = format;
    convertThread->targetExtension = extension;
    convertThread->overwrite = overwrite;
    convertThread->isConvertMode = mode;
    convertThread.on(&Thread::updateFileName, [this](const QString &name) { handleUpdateFileName(name); });
    convertThread.on(&Thread::pagesWritten, [this](qsizetype count) { pages = count; });
    convertThread.on(&Thread::threadTerminated, [this] { handleThreadTerminated(); });
    convertThread.on(&Thread::threadCompleted, [this](const QStringList &exist, const QStringList &sources) {
        handleThreadCompleted(exist, sources);
    });
    convertThread.start(QThread::InheritPriority);
}

void ImagesToPDFProgressForm::handleUpdateFileName(QString fileName)
{
    ui->label_2->setText(QDir::toNativeSeparators(fileName));
    ui->progressBar->setValue(ui->progressBar->value() + 1);
}

void ImagesToPDFProgressForm::handleThreadTerminated()
{
    emit finishConvertSignal();
    deleteLater();
}

void ImagesToPDFProgressForm::handleConvertFinish()
{
    handleThreadTerminated();
}

void ImagesToPDFProgressForm::handleThreadCompleted(QStringList fileExistsList, QStringList fileSourceList)
{
    if (fileExistsList.isEmpty())
        showCompleted();
    else
        askToOverwrite(fileExistsList, fileSourceList);
}

QString ImagesToPDFProgressForm::completedText(qsizetype files, qsizetype pages)
{
    const QString text = files < 2 ? tr("The conversion process is completed.")
                                   : tr("The conversion processes are completed.");
    if (pages == files)
        return text;
    return text + QLatin1Char('\n')
           + tr("The PDF file has the first %1 of %2 pages: it cannot hold more.").arg(pages).arg(files);
}

void ImagesToPDFProgressForm::showCompleted()
{
    const QString text = completedText(fileList.size(), pages);
    const QPointer<ImagesToPDFProgressForm> alive(this); // the program may end meanwhile
    const bool open = MessageBox::informWithAction(tr("Kestrix"), text, tr("Open PDF File"));
    if (!alive)
        return;
    if (open)
        QDesktopServices::openUrl(QUrl::fromLocalFile(targetPath));
    handleThreadTerminated();
}

void ImagesToPDFProgressForm::askToOverwrite(const QStringList &fileExistsList,
                                             const QStringList &fileSourceList)
{
    const QPointer<ImagesToPDFOverwriteFileDialog> dialog = new ImagesToPDFOverwriteFileDialog(this);
    connect(dialog, SIGNAL(overwriteFiles(QStringList)), SLOT(handleOverwriteFiles(QStringList)));
    connect(dialog, SIGNAL(convertFinish()), SLOT(handleConvertFinish()));
    dialog->setFiles(fileExistsList, fileSourceList);
    dialog->exec();
    if (!dialog)
        return;
    dialog->deleteLater();
    if (dialog->isEnabled()) // closed by Escape or its title bar: nobody else would end the run
        handleConvertFinish();
}

void ImagesToPDFProgressForm::handleOverwriteFiles(QStringList urls)
{
    startRun(urls, isConvertMode, targetPath, targetFormat, targetExtension, true);
}

void ImagesToPDFProgressForm::on_cancelButton_clicked()
{
    // Without a worker the run is over, and nobody else would close the form.
    if (convertThread.isActive() && !convertThread->isFinished()) {
        ui->cancelButton->setEnabled(false);
        convertThread.stop();
    } else {
        handleThreadTerminated();
    }
}
