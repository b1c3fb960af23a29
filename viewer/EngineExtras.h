#pragma once

#include <optional>

#include <QByteArray>
#include <QColor>
#include <QPointF>
#include <QString>
#include <QVector>

#include "engine/PlaySdk.h"

/// What the viewer asks of the engine beyond the manager's operations, through the manager's
/// pointers to its entry points. An engine without an entry point refuses.
///
/// From any thread, as the engine's own.
namespace viewer::extras {

/// A line over a view: points as fractions of its window.
struct Line
{
    QVector<QPointF> points;
    QColor colour;
    int width = 2;  ///< pixels
};

/// A text over a view, its top left corner as fractions of the window.
struct Text
{
    QByteArray text;  ///< ASCII
    QPointF at;
    int height = 16;  ///< pixels
    QColor colour;
};

/// Where a pan/tilt/zoom view looks.
struct Look
{
    QPointF centre;    ///< fraction of the fisheye picture
    int zoom = 10000;  ///< 500..10000
};

/// The engine's id of the view in a window, -1 where there is none.
int ViewIn(int player, void* window);

std::optional<Look> LookOf(int player, int view);

/// Each replaces what was drawn before.
void DrawLines(int player, int view, const QVector<Line>& lines);
void DrawTexts(int player, int view, const QVector<Text>& texts);

/// Writes what a view shows (0: the decoded picture) to a PNG file; takes as long as that takes.
bool Capture(int player, int view, const QString& path);

bool SetLens(int player, RvLens lens);
std::optional<RvLens> LensOf(int player);

/// Whether the camera's picture has left and right, above and below swapped; every view shows the
/// world the right way round.
void SetOrientation(int player, bool mirrored, bool flipped);

std::optional<RvVideoParam> FiguresOf(int player);

/// The last pictures of what was put come out; what is put next begins another stream.
void EndStream(int player);

void Pause(int player, bool paused);

/// One picture more, of a player that is paused.
void Step(int player);

}  // namespace viewer::extras
