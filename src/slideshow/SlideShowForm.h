#pragma once

#include "shared/threads/Worker.h"
#include "slideshow/SlideLoader.h"

#include <QImage>
#include <QPixmap>
#include <QSize>
#include <QWidget>

#include <memory>
#include <optional>

class QTimer;

namespace Ui {
class SlideShowForm;
}

/// Shows the files of the folder on show one after the other, endlessly, on the whole primary screen. Escape
/// leaves it.
///
/// The next picture is prefetched while the present one is up. If that takes longer, the present one stays
/// and its seconds wait.
class SlideShowForm : public QWidget
{
    Q_OBJECT

public:
    explicit SlideShowForm(QWidget *parent);
    ~SlideShowForm() override;

    /// Reads the options again.
    void loadOptions();

    /// Begins with this entry of the list, or with the first if there is no such entry.
    void startShow(int index);

signals:
    void exitFullScreen();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private slots:
    void onKeyPressTimer();
    void onRefreshTimer();
    void onLoaded(const QString &path, const QImage &image);

private:
    [[nodiscard]] int nextIndex() const;
    void load(int index);
    void stopLoader();
    void showLoaded();
    void composeImage();
    void drawCountdown();

    const std::unique_ptr<Ui::SlideShowForm> ui;
    const std::shared_ptr<void> awake; ///< as long as the show goes on
    bool widgetShown = false;
    bool keyPressPending = false;
    QTimer *keyPressTimer = nullptr;
    QPixmap sourcePixmap; ///< in full; null for a file that cannot be read
    QTimer *refreshTimer = nullptr;
    int imageIndex = 0;
    int elapsedSeconds = 0;
    QImage composedImage; ///< the picture on its background, as large as the screen
    QSize screenSize;

    Worker<SlideLoader> loader; ///< of the next picture
    int loadingIndex = 0;
    QString loadingPath;
    std::optional<QPixmap> loaded; ///< the next picture, once it is there
    bool awaited = false;          ///< its second has come
};
