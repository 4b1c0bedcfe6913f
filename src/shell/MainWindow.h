#pragma once

#include <QMainWindow>
#include <QRect>

#include <memory>

class ThumbsForm;

namespace Ui {
class MainWindow;
}

/// The top-level window around the one `ThumbsForm`. It remembers its place between runs, and goes to full
/// screen and back when the form asks for it; what it remembers is the place from before.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

    /// Takes a folder or image that was named when the program was started as though it had been dropped on
    /// the window. Anything else is ignored.
    void open(const QString &path);

public slots:
    /// Brings to the disk what the end of the program would.
    void store();

    void OnchangeTitle(QString title);
    void OnEnterFullScreen();
    void OnExitFullScreen();
    void switchFullScreen();

protected:
    void showEvent(QShowEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void loadWindowGeometry();
    void storeGeometry() const;
    [[nodiscard]] QRect geometryBeforeFullScreen() const;
    void takeFullScreen();

    std::unique_ptr<Ui::MainWindow> ui;
    ThumbsForm *thumbsForm = nullptr;
    QRect savedGeometry;        ///< just before full screen, if the program took it; else null
    bool wasFullScreen = false; ///< as the slideshow began
};
