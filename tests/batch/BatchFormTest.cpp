#include "batch/ImagesToPDFForm.h"
#include "batch/ImagesToPDFFrame.h"
#include "batch/ImagesToPDFProgressForm.h"
#include "shared/image/MemoryBudget.h"
#include "support/Program.h"

/// The batch tools through the program's real form.
class BatchFormTest : public ProgramTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder({"photos", "photos/deep", "out"});
        for (const char *const name : {"a.png", "b.png", "c.png", "deep/d.png"})
            Pictures::save(path(QStringLiteral("photos/") + name), QSize(90, 60));
        batchSettings().clear();
        answers.clear();
        asked.clear();
        DialogSeam::setAnswerer([this](const DialogSeam::Question &question) -> std::optional<QVariant> {
            asked.append(question.title + ": "
                         + QDir::fromNativeSeparators(question.text).replace(folder->path(), "~"));
            return answers.isEmpty() ? QVariant() : answers.takeFirst();
        });
    }

    void cleanup() { end(); }

    void aFreshFormAndItsModes()
    {
        open("pdfButton", {});
        QCOMPARE(program->window->windowTitle(), "Orrelan Gallery-Create a PDF File from Multiple Images");
        QCOMPARE(find<QComboBox>("pdfPaperSizeComboBox")->currentText(), "Letter");
        QCOMPARE(find<QComboBox>("targetComboBox")->currentText(), "PNG");
        QCOMPARE(batchSettings().allKeys(), QStringList());
        find<QComboBox>("targetComboBox")->setCurrentText("JPG");
        QCOMPARE(batchSettings().value("General/targeFileType").toInt(), 4);
        for (const Qt::GlobalColor colour : {Qt::black, Qt::white}) { // the theme changes
            QApplication::setPalette(QColor(colour));
            const QPalette ground = find("sourceTreeView")->palette();
            for (const char *const button : {"outputFolderButton", "pdfFilenameButton"})
                QCOMPARE(tool(button)->palette().color(QPalette::Button), ground.color(QPalette::Base));
        }
        QApplication::setPalette({});
        tool("pdfNoMarginButton")->click();
        QVERIFY(!find("pdfMarginSizeSpinBox")->isVisible());
        tool("backButton")->click();
        QTRY_VERIFY(!form());

        // What was chosen is there again; a conversion shows its own options.
        open("convertButton", {});
        QVERIFY(find("qualitySpinBox")->isVisible());
        QVERIFY(!find("optionsWidget")->isVisible());
        find<QComboBox>("targetComboBox")->setCurrentText("WEBP");
        QVERIFY(!find("qualitySpinBox")->isVisible());
    }

    void tickedFilesAreListedAndPutInOrder()
    {
        open("pdfButton", {"a.png", "b.png", "c.png"});
        const auto first = [this](int role) { return view()->model()->index(0, 0).data(role); };
        QCOMPARE(first(Qt::DisplayRole), "a.png\n90x60\n" + path("photos"));
        const QImage icon = first(Qt::DecorationRole).value<QIcon>().pixmap(64).toImage();
        QCOMPARE(Pictures::quartersOf(icon.copy(0, 11, 64, 42)), "red green blue yellow");
        select({0});
        QVERIFY(find("previewImage")->isVisible());
        QTest::qWait(0);
        QCOMPARE(program->window->height(), 513); // the options scroll
        view()->setCurrentIndex(view()->model()->index(0, 0));
        QSignalSpy stands(view()->selectionModel(), &QItemSelectionModel::currentChanged);
        tool("downButton")->click();
        QCOMPARE(rows(), QStringList({"b", "a", "c"}));
        QCOMPARE(stands.value(stands.size() - 1).value(0).toModelIndex().row(), 1); // told to readers
        select({1, 0, 2});
        tool("removeButton")->click();
        QVERIFY(!view()->currentIndex().isValid());
        QVERIFY(find("noItemFrame")->isVisible() && !find("previewImage")->isVisible());

        // Folders are looked through, a file that is there already moves to the end.
        add({"photos"});
        QTRY_COMPARE(rows().size(), 4);
        QTRY_VERIFY(view()->isVisible());
        answers = {QStringList({path("photos/a.png"), path("photos/deep/d.png")})};
        tool("openFileAddButton")->click();
        QTRY_COMPARE(rows().mid(2), QStringList({"a", "d"}));
        QCOMPARE(rows().size(), 4);
        const QStringList four = rows();
        select({1, 3});
        tool("upButton")->click();
        QCOMPARE(rows(), QStringList({four[1], four[0], four[3], four[2]}));
        QCOMPARE(view()->selectionModel()->selectedRows(), QModelIndexList({view()->model()->index(0, 0)}));
        QVERIFY(!tool("upButton")->isEnabled() && tool("downButton")->isEnabled());
        // Where a reader stands he stays, or beside it.
        view()->setCurrentIndex(view()->model()->index(2, 0));
        select({0, 2});
        tool("removeButton")->click();
        QCOMPARE(rows(), QStringList({four[0], four[2]}));
        QCOMPARE(view()->currentIndex().row(), 0);
        QVERIFY(!tool("removeButton")->isEnabled());
        tool("clearButton")->click();
        QVERIFY(find("noItemFrame")->isVisible());
    }

    void previewOfAThumbnailAndOfAFileWithoutOne()
    {
        write("photos/b.png", "broken");
        open("pdfButton", {"b.png", "a.png"});
        auto *const label = find<QLabel>("previewImage");
        for (const int row : {1, 0}) { // the old one stays for a second and a half
            select({row});
            QCOMPARE(label->pixmap(Qt::ReturnByValue).size(), QSize(231, 154));
        }
        QTRY_VERIFY(label->pixmap(Qt::ReturnByValue).isNull());

        select({1});
        QTest::mouseDClick(label, Qt::LeftButton);
        auto *const dialog = form()->findChild<QDialog *>("ImagesToPDFPreviewDialog");
        QVERIFY(dialog && dialog->isVisible() && !dialog->isModal());
        QTRY_COMPARE(program->find<QLabel>("sizeInfoLabel", dialog)->text(), "90x60");
    }

    void picturesAreConvertedAndAskedAboutWhereTheyExist()
    {
        for (const char *const name : {"out/a.jpg", "out/c.jpg"})
            write(name, "old");
        open("convertButton", {"a.png", "b.png", "c.png"});
        find<QComboBox>("targetComboBox")->setCurrentText("JPG");
        select({1});

        // Without a folder it is asked for first; cancelled, nothing starts.
        answers = {QString()};
        tool("createPdfButton")->click();
        QVERIFY(view()->isVisible());
        answers = {path("out"), false};
        whenDialog([&](QWidget *dialog) {
            auto *const tree = dialog->findChild<QTreeWidget *>("treeWidget");
            QCOMPARE(tree->topLevelItemCount(), 2);
            QCOMPARE(tree->topLevelItem(1)->text(0), QDir::toNativeSeparators(path("out/c.jpg")));
            QCOMPARE(tree->topLevelItem(1)->text(1), QDir::toNativeSeparators(path("photos/c.png")));
            tree->topLevelItem(0)->setCheckState(0, Qt::Unchecked);
            dialog->findChild<QPushButton *>("overwriteButton")->click();
        });
        tool("createPdfButton")->click();
        QVERIFY(!view()->isVisible() && !find("outputWidget")->isVisible());
        QTRY_COMPARE(asked.last(), "Kestrix: The conversion process is completed.");
        QTRY_VERIFY(view()->isVisible() && find("outputWidget")->isVisible());
        QCOMPARE(read("out/a.jpg"), "old");
        for (const char *const name : {"out/b.jpg", "out/c.jpg"})
            QCOMPARE(QImage(path(name)).size(), QSize(90, 60));

        // With nothing ticked nobody hears of the end: Cancel leaves the progress form.
        whenDialog([&](QWidget *dialog) {
            auto *const tree = program->find<QTreeWidget>("treeWidget", dialog);
            for (QTreeWidgetItem *const item : tree->findItems("", Qt::MatchContains))
                item->setCheckState(0, Qt::Unchecked);
            program->find<QPushButton>("overwriteButton", dialog)->click();
        });
        tool("createPdfButton")->click();
        QTRY_VERIFY(!QApplication::activeModalWidget() && dialogsSeen == 2);
        QVERIFY(!view()->isVisible());
        find<QPushButton>("cancelButton")->click();
        QTRY_VERIFY(view()->isVisible());
        // Escape is as Cancel.
        whenDialog([](QWidget *dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
        tool("createPdfButton")->click();
        QTRY_VERIFY(view()->isVisible() && dialogsSeen == 3);
    }

    void aPdfIsMadeAndAskedAboutWhereItExists()
    {
        QVERIFY(ImagesToPDFProgressForm::completedText(235, 212).contains("212 of 235 pages"));
        open("pdfButton", {"a.png", "b.png"});
        answers = {path("out/all"), false};
        tool("createPdfButton")->click();
        QTRY_COMPARE(asked.last(), "Kestrix: The conversion processes are completed.");
        QTRY_VERIFY(view()->isVisible());
        QVERIFY(read("out/all.pdf").startsWith("%PDF-1.6"));

        // Not to be overwritten, and no other name: nothing starts.
        write("out/all.pdf", "old");
        answers = {false, QString()};
        tool("createPdfButton")->click();
        QVERIFY(view()->isVisible());
        QCOMPARE(asked[2], "Confirm overwrite: Are you sure you want to overwrite ~/out/all.pdf?");
        QCOMPARE(read("out/all.pdf"), "old");
        // With another name what was there is kept.
        answers = {false, path("out/other.pdf"), false};
        tool("createPdfButton")->click();
        QTRY_COMPARE(disk("out"), QStringList({"all (previous).pdf", "all.pdf"}));
        QCOMPARE(read("out/all (previous).pdf"), "old");
        QTRY_VERIFY(view()->isVisible());
    }

    void whateverEndsInTheMiddleLeavesNothingHalfDone()
    {
        open("convertButton", {});
        Pictures::saveMany(path("photos"), 60, QSize(1500, 1000));
        MemoryBudget::setBytes(1);
        auto share = std::make_unique<const MemoryBudget::Share>(1); // nothing is decoded
        add({"photos"});
        QTRY_VERIFY(find("collectedLabel")->isVisible());
        share.reset();
        QTRY_VERIFY(rows().size() > 2);
        QCOMPARE(text("collectedLabel"), QStringLiteral("Adding images: %1").arg(rows().size()));
        MemoryBudget::setBytes(std::numeric_limits<qint64>::max());
        tool("backButton")->click(); // the form, while it fills its list
        QTRY_VERIFY(!form());

        program->click("convertButton");
        VistamoGlobal::outputFolder = path("out");
        add({"photos"});
        QTRY_VERIFY(view()->isVisible());
        add({"photos"}); // does not disturb the run
        tool("createPdfButton")->click();
        QTRY_COMPARE(find<QLabel>("label_2")->text().section(QDir::separator(), -2, -2), "photos");
        QTRY_VERIFY(disk("out").size() > 2);
        QVERIFY(find("progressBar")->width() < form()->width() / 2);
        QVERIFY(find("label_2")->minimumSizeHint().width() < 100);
        find<QPushButton>("cancelButton")->click();
        QVERIFY(!find("cancelButton")->isEnabled());
        QTRY_VERIFY(view()->isVisible());
        QVERIFY(disk("out").size() < 60 && asked.isEmpty());
        QTRY_VERIFY(!find("collectedLabel")->isVisible());

        QVERIFY(QDir(path("out")).removeRecursively() && QDir().mkdir(path("out")));
        tool("createPdfButton")->click();
        QTRY_VERIFY(disk("out").size() > 2);
        program.reset();
        QVERIFY(disk("out").size() < 50);
        for (const QString &name : all("out"))
            QVERIFY(!QImage(path("out/" + name)).isNull());
    }

private:
    /// Opens a tool with these files ticked.
    void open(const char *button, const QStringList &ticked)
    {
        VistamoGlobal::showPdfAndConvertButtons = true;
        program.reset();
        start({path("photos")}, 3);
        for (const QString &name : ticked)
            program->tick(name);
        QVERIFY(program->find(button)->isVisible());
        program->click(button);
        QTRY_COMPARE(rows(), QStringList(ticked).replaceInStrings(".png", QString()));
        for (int row = 0; row < ticked.size(); ++row) // as a screen reader has it
            QCOMPARE(view()->model()->index(row, 0).data(Qt::AccessibleDescriptionRole).toString(),
                     QStringLiteral("%1 of %2").arg(row + 1).arg(ticked.size()));
        QTRY_COMPARE(view()->isVisible(), !ticked.isEmpty());
    }

    /// As if these had been dropped on the empty list.
    void add(const QStringList &names) const
    {
        QList<QUrl> urls;
        for (const QString &name : names)
            urls.append(QUrl::fromLocalFile(path(name)));
        emit find<ImagesToPDFFrame>("noItemFrame")->addURLs(urls);
    }

    ImagesToPDFForm *form() const { return program->window->findChild<ImagesToPDFForm *>(); }
    template <typename Widget = QWidget>
    Widget *find(const QString &name) const
    {
        return program->find<Widget>(name, form());
    }
    QToolButton *tool(const char *name) const { return find<QToolButton>(name); }
    QTreeView *view() const { return find<QTreeView>("sourceTreeView"); }
    QStringList rows() const { return Program::namesIn(view()); }
    /// Selects rows one by one, in this order.
    void select(const QList<int> &wanted) const
    {
        auto mode = QItemSelectionModel::ClearAndSelect;
        for (const int row : wanted) {
            view()->selectionModel()->select(view()->model()->index(row, 0), mode);
            mode = QItemSelectionModel::Select;
        }
    }
    QVariantList answers; ///< to the questions in turn
    QStringList asked;
};

PROGRAM_TEST_MAIN(BatchFormTest)
#include "BatchFormTest.moc"
