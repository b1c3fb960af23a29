#pragma once

#include <QWidget>

#include "viewer/Layouts.h"

namespace viewer {

/// A window into which the engine draws one view; Qt paints nothing in it, but a note where there
/// is no view. It tells what the mouse does in fractions of itself, which hold for every screen
/// density.
class CellWidget : public QWidget
{
    Q_OBJECT

public:
    /// @param number  of a pan/tilt/zoom cell, from 0; -1 for the others
    CellWidget(int number, QWidget* parent);

    int number() const { return m_number; }

    /// What the manager takes for a window.
    void* handle() const { return reinterpret_cast<void*>(winId()); }

    /// A fraction of the fisheye picture, the largest square in the middle, as a fraction of the
    /// cell, and the other way round.
    QPointF fromSquare(QPointF fraction) const;
    QPointF toSquare(QPointF fraction) const;

    /// What stands in it instead of a picture; empty where the engine draws one.
    void setNote(const QString& note);
    const QString& note() const { return m_note; }

    QPaintEngine* paintEngine() const override
    {
        return m_note.isEmpty() ? nullptr : QWidget::paintEngine();
    }

signals:
    void pressed(viewer::CellWidget* cell, QPointF at, Qt::MouseButton button,
                 Qt::KeyboardModifiers modifiers);
    void dragged(viewer::CellWidget* cell, QPointF at);
    void released(viewer::CellWidget* cell, QPointF at);
    void wheeled(viewer::CellWidget* cell, QPointF at, double notches);
    void doubleClicked(viewer::CellWidget* cell);
    void resized(viewer::CellWidget* cell);

protected:
    void paintEvent(QPaintEvent*) override;
    void resizeEvent(QResizeEvent*) override { emit resized(this); }
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    QPointF fraction(QPointF position) const;

    const int m_number;
    QString m_note;
};

}  // namespace viewer
