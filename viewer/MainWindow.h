#pragma once

#include <memory>

#include <QMainWindow>

#include "viewer/CommandLine.h"

class QAction;
class QActionGroup;
class QComboBox;
class QLabel;
class QListWidget;
class QSettings;
class QSlider;
class QTimer;

namespace viewer {

class CameraArea;
class CameraWidget;

/// The program's window: the cameras, and everything by which they are steered but the mouse.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// @param store  what is remembered of the cameras; null: nothing is
    explicit MainWindow(std::unique_ptr<QSettings> store);
    ~MainWindow() override;

    /// @param options  what the command line wants of this camera, whatever is remembered of it
    void openSource(const QString& source, const Options& options = {});
    CameraArea& cameras() { return *m_area; }

    /// Writes the window to a PNG file once pictures have been shown for a while, and ends the
    /// program: with CONST_EXIT_FAILED and a line on the error output where that cannot be.
    void leaveWithSnapshot(const QString& path, double after);

    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void makeFileMenu();
    void makeViewMenu();
    void makeCameraMenu();
    void makePlaybackMenu();
    void makeSteeringActions();
    void makePad();
    void makeStatusLine();
    QAction* add(QMenu* menu, const QString& text, const QKeySequence& keys,
                 const std::function<void()>& what);
    /// The same, for what needs a camera.
    QAction* addForCamera(QMenu* menu, const QString& text, const QKeySequence& keys,
                          const std::function<void(CameraWidget&)>& what);

    CameraWidget* active() const;
    void follow(CameraWidget* camera);
    void showState();
    void showFigures();
    void fillPresets();
    void savePreset();
    void startPatrol();
    void patrol();
    void say(const QString& text);
    void chooseFile();
    void chooseAddress();
    void takeSnapshot(bool ofView);
    void editLens();
    void showKeys();
    void toggleFullScreen();
    void checkSnapshot();

    const std::unique_ptr<QSettings> m_store;
    CameraArea* m_area;
    QActionGroup* m_layouts = nullptr;
    QActionGroup* m_mounts = nullptr;
    QActionGroup* m_overlays = nullptr;
    QActionGroup* m_speeds = nullptr;
    QAction* m_mirrored = nullptr;
    QAction* m_flipped = nullptr;
    QAction* m_pause = nullptr;
    QAction* m_loop = nullptr;
    QAction* m_patrol = nullptr;
    QAction* m_fullScreen = nullptr;
    QListWidget* m_presets = nullptr;
    QSlider* m_padSpeed = nullptr;
    QLabel* m_figures = nullptr;
    bool m_padShown = true;  ///< these two before the full screen
    bool m_statusShown = true;
    QTimer* m_patrolTimer;
    QString m_patrolAt;  ///< the preset shown last

    QString m_snapshot;
    double m_snapshotAfter = 0.0;
    QTimer* m_snapshotTimer;
    int m_snapshotPolls = 0;
};

}  // namespace viewer
