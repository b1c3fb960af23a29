#pragma once

#include <QVector>
#include <QWidget>

class QTabBar;

namespace viewer {

class CameraWidget;

/// The cameras, one at a time behind tabs or all in a grid.
class CameraArea : public QWidget
{
    Q_OBJECT

public:
    explicit CameraArea(QWidget* parent = nullptr);

    const QVector<CameraWidget*>& cameras() const { return m_cameras; }
    /// The one that keys and menus mean; null where there is none.
    CameraWidget* active() const;

    /// Shows a camera that was made as a child of the area, and makes it the active one. (A camera
    /// whose windows the engine knows does not change its parent.)
    void add(CameraWidget* camera);
    void activate(CameraWidget* camera);
    void setGrid(bool grid);
    void closeActive();

signals:
    void activeChanged();

protected:
    void resizeEvent(QResizeEvent*) override { arrange(); }

private:
    void remove(int index);
    void arrange();

    QTabBar* m_tabs;
    QVector<CameraWidget*> m_cameras;  ///< children, in the order of the tabs
    bool m_grid = false;
};

}  // namespace viewer
