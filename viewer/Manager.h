#pragma once

#include <functional>
#include <memory>

#include <QByteArray>
#include <QMap>
#include <QReadWriteLock>
#include <QString>
#include <QVector>

#include "VideoPlayer_FishEye/CLS_FishPlayer.h"

class CLS_180ViewSubPlayer;

namespace viewer {

/// The one place where the viewer talks to the manager library. It keeps the rule that no player is
/// created or deleted while another thread feeds one, and tells the cameras' draw callbacks apart,
/// which carry no name of their own.
///
/// Everything but put() belongs to the GUI thread.
class Manager
{
public:
    /// Called on the overlay thread of a player.
    using Outlines = std::function<void(const DrawOutlines& outlines)>;

    static Manager& instance();

    /// What is missing for pictures to be shown, for people: which library, and where it was looked
    /// for. Empty when both are there.
    QString missing() const;

    /// Creates an engine player for a stream, or returns -1.
    int create(const STRUCT_FishEyeParam& camera, void* mainWindow, QByteArray header);

    /// Deletes the player with its views.
    void remove(int player);

    /// The views of a layout in place of those that are there. False where the manager refused.
    bool layOut(int player, const STRUCT_FishEyeParam& camera,
                const QMap<int, QVector<void*>>& windows, const STRUCT_FishDrawParam& draw);

    /// Sets what gets the outlines; null ends it. When it returns the former one is not running.
    /// False where 256 other players have theirs.
    bool setOutlines(int player, Outlines outlines);

    /// From any thread. False where the engine has no room now.
    bool put(int player, const QByteArray& block);

    // Steering, in a window of 10000 x 10000; the manager's results.
    int move(int player, int view, int x, int y);
    int zoom(int player, int view, int step);
    int press(int player, int view, STRUCT_CtlParam step, n_PTZCtlCmd command);

    /// Turns the 180 view or the panorama (CORRECT_TYPE_*) by whole degrees.
    int turn(int player, int type, int degrees);

    /// Takes the outline on the fisheye picture from one place to another, in position units.
    int dragOutline(int player, int view, STRUCT_CtlPointParam way);

    /// A second 180 view, which the manager's layouts do not have. To be destroyed before the
    /// player. Null where the engine refused.
    std::unique_ptr<CLS_180ViewSubPlayer> createHalf(int player, const STRUCT_FishEyeParam& camera,
                                                     void* window);

private:
    Manager() = default;
    ~Manager();

    QReadWriteLock m_lock;        ///< for reading: a feed; for writing: creation and deletion
    void* m_algorithm = nullptr;  ///< owned: what createHalf lends its views
};

}  // namespace viewer
