#include "viewer/ReducedPicture.h"

#include <QGuiApplication>
#include <QProcess>
#include <QTest>

namespace {

QPixmap picture(QSize size, const QColor &colour = Qt::red)
{
    QPixmap pixmap(size);
    pixmap.fill(colour);
    return pixmap;
}

} // namespace

/// The copy of a large picture that serves small views.
class ReducedPictureTest : public QObject
{
    Q_OBJECT

private slots:
    void servesViewsThatItHasThePixelsFor()
    {
        const QPixmap large = picture(QSize(8000, 6000));
        ReducedPicture reduced;
        reduced.want(large);
        const auto widthFor = [&](QSize device) { return reduced.enoughFor(large, device).width(); };
        QTRY_VERIFY(widthFor(QSize(800, 600)) < 8000);
        const int width = widthFor(QSize(800, 600));
        QVERIFY(width >= 2 * 800);
        QCOMPARE(widthFor(QSize(width, width * 3 / 4)), width);
        QCOMPARE(widthFor(QSize(width + 1, width * 3 / 4)), 8000);
        QCOMPARE(reduced.enoughFor(large, QSize(800, 600)).toImage().pixelColor(9, 9), QColor(Qt::red));

        const QPixmap other = picture(QSize(8000, 6000), Qt::blue);
        QCOMPARE(reduced.enoughFor(other, QSize(800, 600)).cacheKey(), other.cacheKey());
        reduced.want(other);
        QTRY_VERIFY(reduced.enoughFor(other, QSize(800, 600)).width() < 8000);
        QCOMPARE(reduced.enoughFor(other, QSize(800, 600)).toImage().pixelColor(9, 9), QColor(Qt::blue));
    }

    void programMayEndWhileItIsMade()
    {
        for (int i = 0; i < 3; ++i)
            QCOMPARE(QProcess::execute(QCoreApplication::applicationFilePath(), {"end"}), 0);
    }
};

int main(int argc, char *argv[])
{
    QGuiApplication application(argc, argv);
    if (QCoreApplication::arguments().contains("end")) {
        ReducedPicture().want(picture(QSize(8000, 6000)));
        return 0;
    }
    ReducedPictureTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "ReducedPictureTest.moc"
