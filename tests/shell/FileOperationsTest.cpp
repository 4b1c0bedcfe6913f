#include "support/Program.h"

#include <QtTest>
#include <QtWidgets>

#include <unistd.h>

/// Copies, moves, renames and deletes real files through the real form, and compares the disk afterwards.
class FileOperationsTest : public ProgramTest
{
    Q_OBJECT

private slots:
    void init()
    {
        newFolder({"photos", "other", "target"});
        for (const char *const name : {"photos/a.png", "photos/b.png", "photos/c.png", "other/a.png"}) {
            Pictures::save(path(name), QSize(40 + qHash(QString(name)) % 50, 30));
            contents[name] = read(name);
        }
        messages.clear();
        DialogSeam::setAnswerer([this](const DialogSeam::Question &question) -> std::optional<QVariant> {
            if (question.kind == DialogSeam::Kind::Message)
                messages.append(question.title + ": " + question.text);
            return question.kind == DialogSeam::Kind::SelectFolder ? path(target) : QString();
        });
        target = "target";
    }

    void cleanup() { end(); }

    void selectedFilesAreCopied()
    {
        startOn("hideCheckboxButton");
        // What exists is offered; a row that is unticked stays as it is.
        write("target/a.png", "old");
        write("target/c.png", "old");
        select({"a.png", "b.png", "c.png"});
        whenDialog([&](QWidget *dialog) {
            auto *const tree = dialog->findChild<QTreeWidget *>("treeWidget");
            QCOMPARE(tree->topLevelItemCount(), 2);
            for (const char *const name : {"a.png", "c.png"})
                QCOMPARE(tree->findItems(path("target/") + name, Qt::MatchExactly).value(0)->text(1),
                         path("photos/") + name);
            tree->findItems("c.png", Qt::MatchEndsWith)[0]->setCheckState(0, Qt::Unchecked);
            dialog->findChild<QPushButton *>("overwriteButton")->click();
        });
        trigger("onCopytoAction");
        QCOMPARE(messages, QStringList("Kestrix: 2 files has been successfully copied to the target."));
        for (const char *const name : {"a.png", "b.png"})
            QCOMPARE(read(QString("target/") + name), contents[QString("photos/") + name]);
        QCOMPARE(read("target/c.png"), "old");

        // Onto itself: offered, but never lost.
        target = "photos";
        select({"a.png"});
        whenDialog([&](QWidget *dialog) { dialog->findChild<QPushButton *>("overwriteButton")->click(); });
        trigger("onCopytoAction");
        QCOMPARE(messages.last(), "Kestrix: 1 file has been successfully copied to the photos.");
        QCOMPARE(read("photos/a.png"), contents["photos/a.png"]);
    }

    void tickedFilesAreMoved()
    {
        startOn("showCheckboxButton");
        for (const char *const name : {"photos/a.png", "photos/c.png", "other/a.png"})
            VistamoGlobal::checkedItemList.append({path(QFileInfo(name).path()), QFileInfo(name).fileName()});
        whenDialog([&](QWidget *dialog) {
            QCOMPARE(dialog->findChild<QLabel *>("descLabel")->text(),
                     "The following file already exist. Do you wish to overwrite it?");
            dialog->findChild<QPushButton *>("cancelButton")->click();
        });
        trigger("onMovetoAction");
        QCOMPARE(messages, QStringList("Kestrix: 2 files has been successfully copied to the target."));
        QCOMPARE(disk("target"), QStringList({"a.png", "c.png"}));
        QCOMPARE(read("target/a.png"), contents["other/a.png"]); // from the last tick to the first
        QCOMPARE(disk("photos"), QStringList({"a.png", "b.png"}));
        QCOMPARE(disk("other"), QStringList());
        QTRY_COMPARE(program->fileNames().size(), 2);

        // A selected one leaves the list at once; the next read of the folder fills the strip again.
        program->click("hideCheckboxButton");
        select({"b.png"});
        trigger("onMovetoAction");
        QCOMPARE(read("target/b.png"), contents["photos/b.png"]);
        QCOMPARE(disk("photos"), QStringList("a.png"));
        QCOMPARE(program->rows(), 1);
        Pictures::save(path("photos/new.png"));
        Pictures::save(path("photos/newer.png"));
        const auto *const strip = program->find<QTableView>("galleryTableView")->model();
        QTRY_VERIFY(program->rows() == 3 && strip->columnCount() == 3);
        for (int row = 0; row < 3; ++row)
            QCOMPARE(strip->index(0, row).data(), program->list()->model()->index(row, 0).data());
    }

    void renamed()
    {
        startOn("hideCheckboxButton");
        program->list()->clearSelection();
        trigger("onRenameAction"); // nothing is selected: nothing happens
        const auto rename = [&](const QString &from, const QString &to) {
            select({from});
            whenDialog([&](QWidget *dialog) {
                const QString old = QFileInfo(from).baseName();
                QCOMPARE(dialog->findChild<QLabel *>("oldNameValueLabel")->text(), old);
                auto *const edit = dialog->findChild<QLineEdit *>("newNameLineEdit");
                QCOMPARE(edit->selectedText(), old);
                edit->setText(to);
                QTest::keyClick(edit, Qt::Key_Return);
            });
            trigger("onRenameAction");
        };
        rename("b.png", "a"); // exists
        QCOMPARE(read("photos/a.png"), contents["photos/a.png"]);
        const QString odd = "new \"name\" %1";
        rename("b.png", odd);
        QCOMPARE(read("photos/" + odd + ".png"), contents["photos/b.png"]);
        QTRY_COMPARE(program->fileNames().value(program->list()->currentIndex().row()), odd + ".png");
    }

    void deletedFilesAreInTheTrash()
    {
        startOn("hideCheckboxButton");
        select({"a.png", "b.png"});
        whenDialog([&](QWidget *dialog) { dialog->findChild<QPushButton *>("cancelButton")->click(); });
        program->click("deleteButton");
        QCOMPARE(disk("photos").size(), 3);
        whenDialog([&](QWidget *dialog) {
            auto *const model = dialog->findChild<QTreeView *>("fileTreeView")->model();
            QCOMPARE(model->rowCount(), 2);
            const auto icon = [&] {
                return model->index(1, 0).data(Qt::DecorationRole).value<QIcon>().pixmap(48).toImage();
            };
            QTRY_VERIFY(!icon().isNull());
            QCOMPARE(icon().pixelColor(24, 2), QColor(Qt::white));
            QVERIFY(icon().pixelColor(10, 20) != QColor(Qt::white));
            model->setData(model->index(0, 0), Qt::Unchecked, Qt::CheckStateRole); // goes all the same
            dialog->findChild<QPushButton *>("applyButton")->click();
        });
        program->click("deleteButton");
        QCOMPARE(disk("photos"), QStringList("c.png"));
        QTRY_COMPARE(program->rows(), 1);
        const QString trash = qEnvironmentVariable("XDG_DATA_HOME") + "/Trash/";
        for (const QString name : {"a.png", "b.png"}) {
            const QByteArray info = Files::read(trash + "info/" + name + ".trashinfo");
            QVERIFY(info.contains("Path=" + QFile::encodeName(path("photos/" + name))));
            QVERIFY(QFile::rename(trash + "files/" + name, path("photos/" + name))); // put back
            QCOMPARE(read("photos/" + name), contents["photos/" + name]);
        }
        QTRY_COMPARE(program->rows(), 3);
    }

    void slowCopyCanBeCancelled()
    {
        // Much more than any disk writes in the two seconds before the progress is shown.
        constexpr int bytes = 100'000'000;
        const QString name = "photos/large%1.png";
        write(name.arg(0), QByteArray(bytes, 'x'));
        for (int i = 1; i < 60; ++i)
            QCOMPARE(::link(qPrintable(path(name.arg(0))), qPrintable(path(name.arg(i)))), 0);
        write("target/large0.png", "in the way");
        startOn("hideCheckboxButton", 63);
        select(program->fileNames().filter("large"));
        QString label;
        whenDialog([&](QWidget *dialog) {
            label = qobject_cast<QProgressDialog *>(dialog)->labelText();
            dialog->findChild<QPushButton *>()->click();
        });
        QElapsedTimer time;
        time.start();
        trigger("onCopytoAction");
        QVERIFY(time.elapsed() >= 2000);
        QVERIFY2(QRegularExpression("^large\\d+\\.png\n\\d.* / [0-9.]+ MB$").match(label).hasMatch(),
                 qPrintable(label));
        QCOMPARE(messages.size(), 1); // and nothing was offered for overwriting
        QCOMPARE(read("target/large0.png"), "in the way");
        const auto copied = QDir(path("target")).entryInfoList({"large*", ".*"}, QDir::Files | QDir::Hidden);
        QVERIFY(copied.size() < 60);
        for (const QFileInfo &file : copied)
            QVERIFY(file.size() == bytes || file.fileName() == "large0.png");
        QVERIFY(messages[0].startsWith(QStringLiteral("Kestrix: %1 file").arg(disk("target").size() - 1)));
    }

private:
    void startOn(const char *checkBoxes, int files = 3)
    {
        start({path("photos")}, files);
        program->click(checkBoxes);
        QTRY_VERIFY(program->settled() && program->rows() == files);
    }

    void select(const QStringList &names)
    {
        QTRY_VERIFY(program->settled());
        program->list()->clearSelection();
        for (const QString &name : names) {
            const int row = static_cast<int>(program->fileNames().indexOf(name));
            QVERIFY(row >= 0);
            program->list()->selectionModel()->select(program->list()->model()->index(row, 0),
                                                      QItemSelectionModel::Select);
        }
    }

    void trigger(const char *slot) const { QMetaObject::invokeMethod(program->find("ThumbsForm"), slot); }

    QHash<QString, QByteArray> contents;
    QString target;
    QStringList messages;
};

QTEST_MAIN(FileOperationsTest)
#include "FileOperationsTest.moc"
