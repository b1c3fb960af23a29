#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include <QElapsedTimer>
#include <QList>
#include <QStringList>
#include <QWidget>

#include "VideoPlayer_FishEye/CLS_FishPlayer.h"

#include "viewer/CameraSettings.h"
#include "viewer/CellWidget.h"
#include "viewer/StreamReader.h"

class CLS_180ViewSubPlayer;
class QLabel;
class QTimer;

namespace viewer {

class Scene;

/// One camera: its stream, its player, and the cells of its layout, in which the mouse steers.
///
/// The cells are windows of the engine. They are made once and shown, hidden and resized from then
/// on, since a player's main window cannot be changed.
class CameraWidget : public QWidget
{
    Q_OBJECT

public:
    static constexpr int CONST_VIEWS = 8;

    /// @param source  a file, a URL, a device, or Scene::name()
    CameraWidget(QString source, CameraSettings settings, QWidget* parent = nullptr);
    ~CameraWidget() override;

    const QString& source() const { return m_source; }
    const CameraSettings& settings() const { return m_settings; }
    /// What is to be remembered of it: while the circle is edited, with the lens from before.
    CameraSettings lastingSettings() const;
    QString title() const;

    StreamState state() const { return m_state; }
    const StreamInfo& stream() const { return m_stream; }
    /// What keeps pictures away, for people; empty while there are any.
    QString trouble() const;
    /// Whether a picture has been drawn.
    bool showsPictures() const { return m_live; }
    /// Whether the stream has played for a while since it was opened last and given none.
    bool pictureless() const { return m_pictureless; }
    /// Pictures of a live stream for which the engine had no room.
    int dropped() const { return m_dropped; }
    int player() const { return m_player; }

    void chooseLayout(const QString& id);
    void chooseMount(Mount mount);
    void chooseOverlay(OverlayKind overlay);

    /// The lens from now on; nothing lets the engine find it. False where it is refused.
    bool chooseLens(const std::optional<RvLens>& lens);

    void chooseOrientation(bool mirrored, bool flipped);

    bool paused() const { return m_paused; }
    void setPaused(bool paused);
    /// Pauses or goes on; a file that has ended plays again from its start.
    void togglePause();
    void step();
    void setSpeed(double speed);
    double speed() const { return m_speed; }
    void setLoop(bool loop);
    /// Where a file is, in seconds from its start.
    double position() const { return m_reader ? m_reader->position() : m_position; }

    /// Opens the source anew, a file where it was.
    void reopen();

    /// The pan/tilt/zoom view that keys and buttons steer, from 0.
    int selected() const { return m_selected; }
    void select(int view);
    /// Selects it, and enlarges it where another cell is enlarged.
    void showView(int view);
    /// Whether the selected view has not been covered by another cell.
    bool seesSelected() const;
    /// How many there are in the layout.
    int viewCount() const;

    /// Where a view looks; nothing where there is no such view.
    std::optional<extras::Look> lookOf(int view) const;
    void turnTo(int view, const extras::Look& look);

    /// A button command for the selected view; speed 1..10.
    void press(n_PTZCtlCmd command, int speed);
    /// The selected view back to where it started.
    void home();

    void savePreset(const QString& name);
    void removePreset(const QString& name);
    bool goToPreset(const QString& name);

    /// Write PNG files; snapshotTaken tells how it went.
    void snapshotView(const QString& path);
    void snapshotSource(const QString& path);

    /// Shows the source with the image circle on it, which the mouse moves and sizes.
    void editCircle(bool edit);
    bool editsCircle() const { return m_editsCircle; }
    /// Draws it where the engine has the lens now.
    void drawCircle();

signals:
    void stateChanged();
    void settingsChanged();
    void selectionChanged();
    void userActed();
    void circleDragged(double x, double y, double radius);
    void snapshotTaken(const QString& path, bool written);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Drag
    {
        enum class What
        {
            Nothing,
            View,
            Outline,
            Turn,
            Box,
            Circle
        };
        What what = What::Nothing;
        CellWidget* cell = nullptr;
        int view = -1;
        QPointF start;
        Direction grabbed;
        QPointF offset;  ///< Outline: from the view's centre to where it was taken
        int turned = 0;  ///< Turn: degrees so far
        bool resizes = false;
    };

    // Life.
    void open();
    void close();
    void restart();
    void play(const QString& path);
    void playAgain();
    void setState(StreamState state, const QString& message);
    void awaitPicture();

    // Layout.
    const struct Layout& layoutNow() const;
    STRUCT_FishEyeParam cameraRecord() const;
    void layOut();
    void placeCells();
    void keepLooks();
    void restoreViews();
    CellWidget* cellOf(CellKind kind, int number) const;
    QList<CellWidget*> cells() const;
    std::optional<extras::Look>& keptLook(int view);
    int viewIn(const CellWidget* cell) const;
    QStringList notices() const;
    void tell();

    // Overlay.
    void receiveOutlines(const DrawOutlines& outlines);
    void drawOutlines();
    void drawFrames();
    void drawBox(const CellWidget* cell, QPointF from, QPointF to);

    SourcePicture sourcePicture(const RvLens& lens) const;

    // Gestures.
    PtzView geometryOf(int view) const;
    void lookAt(int view, QPointF centre);
    void zoomTo(int view, double zoom);
    int outlineAt(const CellWidget* cell, QPointF at) const;
    std::optional<QPointF> overlayPoint(const CellWidget* cell, QPointF at) const;
    void startDrag(CellWidget* cell, QPointF at, Qt::MouseButton button,
                   Qt::KeyboardModifiers modifiers);
    void goOn(CellWidget* cell, QPointF at);
    void endDrag(CellWidget* cell, QPointF at);
    void dragOutline(QPointF to);
    void turnWide(const CellWidget* cell, int degrees);
    void zoomBox(const CellWidget* cell, QPointF from, QPointF to);
    void dragCircle(QPointF at);
    void wheel(CellWidget* cell, QPointF at, double notches);
    void enlarge(CellWidget* cell);
    void capture(int view, const QString& path);

    const QString m_source;
    CameraSettings m_settings;

    CellWidget* m_main = nullptr;
    CellWidget* m_panorama = nullptr;
    CellWidget* m_half = nullptr;
    CellWidget* m_otherHalf = nullptr;
    std::array<CellWidget*, CONST_VIEWS> m_views{};
    QLabel* m_banner = nullptr;
    CellWidget* m_enlarged = nullptr;
    bool m_editsCircle = false;
    std::optional<RvLens> m_lensBefore;  ///< the edit

    int m_player = -1;
    QString m_path;  ///< what the reader reads
    std::shared_ptr<StreamReader> m_reader;
    std::unique_ptr<QObject> m_ear;  ///< hears m_reader, and no other
    std::unique_ptr<CLS_180ViewSubPlayer> m_secondHalf;
    Scene* m_scene = nullptr;
    QTimer* m_nextPicture = nullptr;  ///< runs until the stream has given one
    StreamState m_state = StreamState::Connecting;
    QString m_message;
    StreamInfo m_stream;
    QElapsedTimer m_sincePlaying;
    std::int64_t m_shownBefore = 0;  ///< pictures, when the stream began to play
    bool m_live = false;
    bool m_pictureless = false;
    bool m_outlined = true;
    bool m_lensRefused = false;
    int m_dropped = 0;
    double m_position = 0.0;  ///< seconds, at which a file begins
    bool m_paused = false;
    bool m_loop = true;
    double m_speed = 1.0;

    int m_selected = 0;
    int m_chosen = 0;  ///< the one selected in the last layout of several; one alone shows that
    std::array<std::optional<extras::Look>, CONST_VIEWS> m_looks;  ///< of the layout before
    std::array<extras::Look, CONST_VIEWS> m_homes;
    int m_panoramaDegrees = 0;
    int m_halfDegrees = 0;
    int m_halfSent = 0;  ///< what the manager was given for it, within 180 either way
    Drag m_drag;
    int m_wheeled = -1;        ///< the view that the wheel turned last
    double m_wheelRest = 0.0;  ///< notches of it, too small to show so far

    std::mutex m_outlinesMutex;
    DrawOutlines m_outlines;  ///< guarded by m_outlinesMutex
};

}  // namespace viewer
