#include "library/FileNames.h"

#include <QTest>

class FileNamesTest : public QObject
{
    Q_OBJECT

private slots:
    void wrapping_data();
    void wrapping();
    void samePath();
};

void FileNamesTest::wrapping_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("wrapped");
    QTest::addRow("empty") << ""
                           << "";
    QTest::addRow("16 characters") << "0123456789abcdef"
                                   << "0123456789abcdef";
    QTest::addRow("17 characters") << "0123456789abcdefg"
                                   << "0123456789abcdef\ng";
    QTest::addRow("32 characters") << "0123456789abcdef0123456789abcdef"
                                   << "0123456789abcdef\n0123456789abcdef";
    QTest::addRow("40 characters") << "0123456789abcdef0123456789abcdef01234.jpg"
                                   << "0123456789abcdef\n0123456789abcdef\n01234.jpg";
}

void FileNamesTest::wrapping()
{
    QFETCH(QString, name);
    QFETCH(QString, wrapped);
    QCOMPARE(wrapFileName(name), wrapped);
}

void FileNamesTest::samePath()
{
    QVERIFY(isSamePath("/Photos/A.jpg", "/photos/a.JPG"));
    QVERIFY(!isSamePath("/photos/a.jpg", "/photos/b.jpg"));
}

QTEST_GUILESS_MAIN(FileNamesTest)
#include "FileNamesTest.moc"
