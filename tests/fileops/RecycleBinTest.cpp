#include "fileops/FileCopy.h"
#include "support/Files.h"

#include <shellapi.h>

/// What the recycle bin takes. FilesInUseTest has what it cannot take.
class RecycleBinTest : public FolderTest
{
    Q_OBJECT

private slots:
    void init() { newFolder(); }

    void filesGoThere()
    {
        const QStringList names = {"a.jpg", QString::fromUtf8("100% \u00fc\u5199 b.jpg"), "read-only.jpg",
                                   ".hidden"};
        for (int round = 1; round <= 2; ++round) { // a name may go there twice
            for (const QString &name : names) {
                write(name, name.toUtf8());
                if (name.startsWith("read-only"))
                    QVERIFY(QFile::setPermissions(path(name), QFile::ReadOwner));
                const qint64 before = inBin();
                QVERIFY2(FileCopy::moveToTrash(path(name), progress), qPrintable(name));
                QVERIFY(!QFile::exists(path(name)));
                QCOMPARE(inBin(), before + 1);
            }
        }
    }

private:
    /// The number of things in the bin of the test's volume.
    qint64 inBin() const
    {
        SHQUERYRBINFO bin = {};
        bin.cbSize = sizeof(bin);
        const QString root = folder->path().left(3);
        return SUCCEEDED(SHQueryRecycleBinW(root.toStdWString().c_str(), &bin)) ? bin.i64NumItems : -1;
    }

    FileCopy::Progress progress;
};

QTEST_MAIN(RecycleBinTest)
#include "RecycleBinTest.moc"
