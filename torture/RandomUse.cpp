#include "batch/ImagesToPDFForm.h"
#include "support/Program.h"

#include <QMenu>
#include <QRandomGenerator>
#include <QThread>

#include <atomic>
#include <cstdio>
#include <map>
#include <mutex>
#include <set>
#include <vector>

/// Uses the real window at random while files come, change and go underneath.
///
///     RandomUse [SEED [ACTIONS]]        a seed by the clock and 2000 actions unless named
///
/// In every pause, rows, strip, title and pixels have to agree with the disk; at the end, no file may be lost
/// that nobody else took away. It prints its seed first, and ends with 1 where something was wrong.
namespace {

constexpr int actionsUntilPause = 200;
constexpr int mostFiles = 60;         ///< of a folder
constexpr int longestPauseMs = 60000; ///< until all is quiet, on a slow machine with sanitizers
const QSize pictureSize(48, 32);

[[noreturn]] void fail(const QString &what)
{
    std::printf("WRONG: %s\n", qPrintable(what));
    std::fflush(stdout);
    std::_Exit(1);
}

/// The one colour of a picture: the number of its file.
QColor colourOf(int number)
{
    return QColor::fromRgb(0xff000000U | static_cast<QRgb>(number) * 2654435761U >> 8U);
}

QString contentOf(const QString &path)
{
    return QImage(path).text(QStringLiteral("Number"));
}

/// Somebody else at work in the same folders: makes, changes, renames and removes files until told to stop.
class Neighbour : public QThread
{
public:
    Neighbour(const QStringList &folders, quint32 seed)
        : folders(folders)
        , random(seed)
    {
        for (int i = 0; i < 40; ++i)
            make();
    }
    ~Neighbour() override
    {
        requestInterruption();
        wait();
    }

    /// Holds still until resumed.
    void pause() { turn.lock(); }
    void resume() { turn.unlock(); }

    /// The numbers of the files that nobody but the program can have taken away. While paused.
    const std::set<int> &files() const { return kept; }

protected:
    void run() override
    {
        while (!isInterruptionRequested()) {
            {
                const std::lock_guard lock(turn);
                act();
            }
            QThread::msleep(random.bounded(20U));
        }
    }

private:
    void make()
    {
        const int number = ++last;
        QImage image(pictureSize, QImage::Format_RGB32);
        image.fill(colourOf(number));
        image.setText(QStringLiteral("Number"), QString::number(number));
        const QString path =
            folders[random.bounded(static_cast<int>(folders.size()))] + QStringLiteral("/%1.png").arg(number);
        if (image.save(path)) // in one go or in pieces, as the system likes it
            kept.insert(number);
    }

    void act()
    {
        const QDir folder(folders[random.bounded(static_cast<int>(folders.size()))]);
        const QStringList names = folder.entryList({QStringLiteral("*.png")}, QDir::Files);
        const QString path = names.isEmpty()
                                 ? QString()
                                 : folder.filePath(names[random.bounded(static_cast<int>(names.size()))]);
        switch (random.bounded(5)) {
        case 0:
            if (!path.isEmpty() && names.size() > 5) {
                const int number = contentOf(path).toInt();
                if (QFile::remove(path)) // if the program has not just moved it
                    kept.erase(number);
            }
            break;
        case 1:
            if (!path.isEmpty())
                QFile::rename(path, folder.filePath(QStringLiteral("r%1.png").arg(++last)));
            break;
        case 2:
            if (!path.isEmpty()) {
                QFile file(path);
                if (file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly))
                    file.setFileTime(QDateTime::currentDateTime(), QFileDevice::FileModificationTime);
            }
            break;
        default:
            if (names.size() < mostFiles)
                make();
        }
    }

    const QStringList folders;
    QRandomGenerator random;
    std::mutex turn;
    std::set<int> kept;
    int last = 0;
};

class RandomUse : public ProgramTest
{
public:
    explicit RandomUse(quint32 seed)
        : random(seed)
    {
        newFolder({"one", "two", "three", "exports"});
        for (const char *const name : {"one", "two", "three"})
            folders.append(path(name));
        DialogSeam::setAnswerer([this](const DialogSeam::Question &question) { return answer(question); });
        neighbour = std::make_unique<Neighbour>(folders, random.generate());
        VistamoGlobal::showPdfAndConvertButtons = true;
        Program::setFolders(folders, QRect(0, 0, 900, 700));
        program = std::make_unique<Program>();
        neighbour->start(QThread::LowPriority);
        treatDialogs();
    }
    ~RandomUse() override { DialogSeam::setAnswerer({}); }

    void use(int actions)
    {
        for (int i = 1; i <= actions; ++i) {
            act();
            if (random.bounded(3) == 0)
                QTest::qWait(random.bounded(8));
            if (i % actionsUntilPause == 0) {
                compareWithDisk();
                std::printf("%d actions\n", i);
                std::fflush(stdout);
            }
        }
        program.reset();
        neighbour->pause();
        findAll();
        neighbour->resume();
    }

private:
    int below(qsizetype count) { return count < 1 ? 0 : random.bounded(static_cast<int>(count)); }
    int anyRow() { return below(program->rows() + 1); } // one more: a row that is none

    std::optional<QVariant> answer(const DialogSeam::Question &question)
    {
        switch (question.kind) {
        case DialogSeam::Kind::SelectFolder:
            if (batchForm()) // what it writes is no photo that nobody may lose
                return path("exports");
            return below(4) == 0 ? QString() : folders[below(folders.size())];
        case DialogSeam::Kind::SaveFile:
            return below(4) == 0 ? QString() : path(QStringLiteral("exports/%1.jpg").arg(below(10)));
        case DialogSeam::Kind::OpenFiles:
            return program->fileNames().isEmpty() ? QStringList() : QStringList{anyFile(), anyFile()};
        case DialogSeam::Kind::SelectColour:
            return QColor(Qt::red);
        default:
            return below(2) == 0;
        }
    }

    void treatDialogs()
    {
        QTimer::singleShot(5, this, [this] {
            treatDialogs(); // what is pressed may wait for another dialog
            treatDialog();
        });
    }

    /// Presses something in the modal dialog or menu on show, or closes it.
    void treatDialog()
    {
        if (auto *const menu = qobject_cast<QMenu *>(QApplication::activePopupWidget())) {
            const QList<QAction *> actions = menu->actions();
            QAction *const action = actions.value(below(actions.size() + 1));
            menu->close(); // first, as a click does: nobody picks from it twice
            if (action && action->isEnabled() && !action->menu())
                action->trigger();
            return;
        }
        QWidget *const dialog = QApplication::activeModalWidget();
        if (!dialog)
            return;
        for (auto *const edit : dialog->findChildren<QLineEdit *>())
            edit->setText(QStringLiteral("n%1").arg(++names));
        const auto buttons = dialog->findChildren<QAbstractButton *>();
        QAbstractButton *const button = buttons.value(below(buttons.size() + 1));
        if (button && button->isVisible() && button->isEnabled())
            button->click();
        else
            dialog->close();
    }

    void clickIfThere(const char *name)
    {
        auto *const button = program->find<QAbstractButton>(name);
        if (button->isVisible() && button->isEnabled())
            button->click();
    }

    /// A show ends with Escape, as all that is modal ends by itself.
    void endShow()
    {
        if (auto *const show = program->window->findChild<QWidget *>("SlideShowForm"))
            QTest::keyClick(show, Qt::Key_Escape);
    }

    QString anyFile()
    {
        const auto &records = VistamoGlobal::fileDataList;
        const TFileRecord &record = records[below(records.size())];
        return record.path + '/' + record.fileName;
    }

    ImagesToPDFForm *batchForm() const { return program->window->findChild<ImagesToPDFForm *>(); }

    void useBatchForm()
    {
        const auto buttons = batchForm()->findChildren<QAbstractButton *>();
        QAbstractButton *const button = buttons[below(buttons.size())];
        if (!button->isVisible() || !button->isEnabled() || button->objectName() == "outputFolderButton")
            return;
        button->click();
        const auto boxes = batchForm() ? batchForm()->findChildren<QComboBox *>() : QList<QComboBox *>();
        if (!boxes.isEmpty() && below(3) == 0)
            boxes[below(boxes.size())]->setCurrentIndex(below(12));
    }

    void act()
    {
        using Action = std::function<void()>;
        const auto click = [this](const char *name) { return [=, this] { clickIfThere(name); }; };
        const auto call = [this](const char *slot) { return [=, this] { program->call(slot); }; };
        const auto inViewer = [this](const Action &action) {
            return [=, this] {
                if (program->find("closeButton")->isVisible())
                    action();
            };
        };
        static const std::vector<Action> actions = {
            [this] { program->openFolder(below(folders.size())); },
            [this] { program->choose(below(program->rows())); },
            [this] {
                if (program->rows() > 0)
                    emit program->list()->clicked(program->index(below(program->rows())));
            },
            [this] {
                const QModelIndex index = program->index(anyRow());
                if (index.isValid() && index.flags() & Qt::ItemIsUserCheckable)
                    program->list()->model()->setData(index, below(2) ? Qt::Checked : Qt::Unchecked,
                                                      Qt::CheckStateRole);
            },
            [this] { program->open(anyRow()); },
            [this] { program->open(anyRow()); },
            [this] {
                auto *const bar = program->list()->verticalScrollBar();
                bar->setValue(below(bar->maximum() + 1));
            },
            [this] { program->call("onRightMouseButtonPressEvent", Q_ARG(QPoint, QPoint(60, 60))); },
            [this] { program->window->resize(500 + below(700), 400 + below(500)); },
            [this] { emit program->strip()->clicked(program->strip()->model()->index(0, anyRow())); },
            [this] { program->drop(folders[below(folders.size())], QString()); },
            [] {
                const bool dark = qApp->palette().window().color().lightness() < 128;
                QPalette palette;
                palette.setColor(QPalette::Window, dark ? Qt::lightGray : Qt::black);
                palette.setColor(QPalette::WindowText, dark ? Qt::black : Qt::white);
                QApplication::setPalette(palette);
            },
            [this] {
                const int value = below(400);
                for (const char *const name : {"leftSpinBox", "topSpinBox", "widthSpinBox", "heightSpinBox"})
                    if (below(2) == 0)
                        program->find<QSpinBox>(name)->setValue(value);
            },
            inViewer(click("forwardButton")),
            inViewer(click("forwardButton")),
            inViewer(click("backButton")),
            inViewer(click("rotateLeftButton")),
            inViewer(click("rotateRightButton")),
            inViewer(click("flipHButton")),
            inViewer(click("flipVButton")),
            inViewer(click("cropButton")),
            inViewer(click("galleryButton")),
            inViewer(click("fitVHButton")),
            inViewer(click("fitHButton")),
            inViewer(click("fullButton")),
            inViewer(call("onGrayscaleAction")),
            inViewer(call("onSepiaAction")),
            inViewer(call("onResetImageAction")),
            inViewer(call("onGammaAction")),
            inViewer([this] { program->call("imageFileActionClicked", Q_ARG(bool, false)); }),
            inViewer(
                [this] { program->call("onNeedToResizeImage", Q_ARG(int, below(2) == 0 ? 120 : -120)); }),
            inViewer(click("closeButton")),
            inViewer(click("closeButton")),
            click("plusButton"),
            click("minButton"),
            click("showCheckboxButton"),
            click("hideCheckboxButton"),
            call("onCopytoAction"),
            call("onMovetoAction"),
            call("onRenameAction"),
            click("deleteButton"),
            [this] {
                if (below(5) == 0)
                    clickIfThere("slideShowButton");
            },
            [this] { clickIfThere(below(2) ? "pdfButton" : "convertButton"); },
        };
        endShow();
        if (batchForm())
            return useBatchForm();
        actions[static_cast<size_t>(below(static_cast<qsizetype>(actions.size())))]();
    }

    template <typename Condition>
    void until(const Condition &condition, const char *what)
    {
        if (!QTest::qWaitFor(condition, longestPauseMs))
            fail(what);
    }

    void compareWithDisk()
    {
        neighbour->pause();
        until([] { return !QApplication::activeModalWidget() && !QApplication::activePopupWidget(); },
              "a dialog stays");
        endShow();
        until([this] { return !program->window->findChild<QWidget *>("SlideShowForm"); }, "a show stays");
        until([this] { return isBatchClosed(); }, "a batch stays");
        if (auto *const close = program->find<QAbstractButton>("closeButton"); close->isVisible())
            close->click();
        const int folder = below(folders.size());
        program->openFolder(folder);
        const QString path = folders[folder];
        const auto namesOnDisk = [&] {
            const QStringList names = QDir(path).entryList({QStringLiteral("*.png")}, QDir::Files);
            return QSet<QString>(names.begin(), names.end());
        };
        const auto namesShown = [&] {
            const QStringList names = program->fileNames();
            return QSet<QString>(names.begin(), names.end());
        };
        const auto agree = [&] { return program->settled() && namesOnDisk() == namesShown(); };
        // What came with one of the program's own changes, which it passes over, is seen with the next.
        for (int nudges = 0; nudges < 3 && !QTest::qWaitFor(agree, longestPauseMs / 6); ++nudges) {
            Files::write(path + "/.nudge", {});
            QFile::remove(path + "/.nudge");
        }
        if (!QTest::qWaitFor(agree, longestPauseMs / 2)) {
            for (const TFileRecord &record : VistamoGlobal::fileDataList)
                if (record.imageRect == QRect())
                    std::printf("Without its icon: %s\n", qPrintable(record.fileName));
            const QStringList notShown = (namesOnDisk() - namesShown()).values();
            const QStringList notThere = (namesShown() - namesOnDisk()).values();
            fail(QStringLiteral(
                     "the list is not that of the disk: \"%1\", walking %2, not shown %3, not there %4")
                     .arg(program->text("pathValueLabel"))
                     .arg(VistamoGlobal::vistamoLoadFolderThreadStat)
                     .arg(notShown.join(' '), notThere.join(' ')));
        }
        if (program->rows() > 0) {
            const QString name = program->fileNames()[below(program->rows())];
            const int number = contentOf(path + '/' + name).toInt();
            program->open(name);
            const auto isShown = [&] {
                const QImage label = program->find("imageLabel")->grab().toImage();
                return program->isOn(name)
                       && Pictures::isNear(label.pixelColor(label.rect().center()), colourOf(number), 3);
            };
            until(isShown, "title or picture are not those of the file");
            program->click("closeButton");
        }
        neighbour->resume();
    }

    bool isBatchClosed() const
    {
        if (!batchForm())
            return true;
        for (const char *const name : {"cancelButton", "backButton"})
            for (auto *const button : batchForm()->findChildren<QAbstractButton *>(name))
                if (button->isVisible() && button->isEnabled())
                    button->click();
        return false;
    }

    /// Each file has to be in one of the folders or in the trash.
    void findAll()
    {
        std::set<int> found;
        for (const QString &place : {folder->path(), qEnvironmentVariable("XDG_DATA_HOME")}) {
            QDirIterator walk(place, {QStringLiteral("*.png"), QStringLiteral("*.png.*")},
                              QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
            while (walk.hasNext())
                found.insert(contentOf(walk.next()).toInt());
        }
        for (const int number : neighbour->files())
            if (!found.contains(number))
                fail(QStringLiteral("file %1 is lost").arg(number));
        std::printf("%zu files are where they belong, %d were written\n", neighbour->files().size(),
                    static_cast<int>(disk("exports").size()));
    }

    QRandomGenerator random;
    QStringList folders;
    int names = 0;
    std::unique_ptr<Neighbour> neighbour;
};

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QApplication::setStyle("Fusion");
    const QStringList arguments = QApplication::arguments();
    const quint32 seed =
        arguments.size() > 1 ? arguments[1].toUInt() : QRandomGenerator::global()->generate();
    std::printf("Seed %u\n", seed);
    std::fflush(stdout);
    RandomUse(seed).use(arguments.size() > 2 ? arguments[2].toInt() : 2000);
    if (StoppableThread::someLeftBehind)
        std::_Exit(0);
    return 0;
}
