#include "viewer/CameraArea.h"

#include <cmath>

#include <QTabBar>

#include "viewer/CameraWidget.h"

namespace viewer {

CameraArea::CameraArea(QWidget* parent) : QWidget(parent), m_tabs(new QTabBar(this))
{
    m_tabs->setTabsClosable(true);
    m_tabs->setExpanding(false);
    m_tabs->setDrawBase(false);
    m_tabs->setFocusPolicy(Qt::NoFocus);
    connect(m_tabs, &QTabBar::currentChanged, this, [this] {
        arrange();
        emit activeChanged();
    });
    connect(m_tabs, &QTabBar::tabCloseRequested, this, &CameraArea::remove);
}

CameraWidget* CameraArea::active() const
{
    return m_cameras.value(m_tabs->currentIndex(), nullptr);
}

void CameraArea::add(CameraWidget* camera)
{
    m_cameras.append(camera);
    connect(camera, &CameraWidget::userActed, this, [this, camera] { activate(camera); });
    m_tabs->setCurrentIndex(m_tabs->addTab(camera->title()));
    arrange();
    emit activeChanged();
}

void CameraArea::activate(CameraWidget* camera)
{
    m_tabs->setCurrentIndex(m_cameras.indexOf(camera));
}

void CameraArea::remove(int index)
{
    delete m_cameras.takeAt(index);
    m_tabs->removeTab(index);
    arrange();
    emit activeChanged();
}

void CameraArea::closeActive()
{
    if (nullptr != active())
        remove(m_tabs->currentIndex());
}

void CameraArea::setGrid(bool grid)
{
    m_grid = grid;
    arrange();
}

void CameraArea::arrange()
{
    m_tabs->setVisible(m_cameras.size() > 1);
    const int top = m_cameras.size() > 1 ? m_tabs->sizeHint().height() : 0;
    m_tabs->setGeometry(0, 0, width(), top);
    const QRect room(0, top, width(), height() - top);
    const int count = m_cameras.size();
    const int columns = m_grid ? static_cast<int>(std::ceil(std::sqrt(count))) : 1;
    const int rows = m_grid && columns > 0 ? (count + columns - 1) / columns : 1;
    for (int i = 0; i < count; ++i) {
        const bool shown = m_grid || m_cameras[i] == active();
        const int row = m_grid ? i / columns : 0;
        const int column = m_grid ? i % columns : 0;
        if (shown)
            m_cameras[i]->setGeometry(room.x() + room.width() * column / columns,
                                      room.y() + room.height() * row / rows, room.width() / columns,
                                      room.height() / rows);
        m_cameras[i]->setVisible(shown);
    }
}

}  // namespace viewer
