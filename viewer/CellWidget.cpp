#include "viewer/CellWidget.h"

#include <algorithm>

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

namespace viewer {

namespace {

constexpr double CONST_NOTCH = 120.0;  ///< eighths of a degree of a wheel

QSizeF SquareIn(QSizeF cell)
{
    const double side = std::max(1.0, std::min(cell.width(), cell.height()));
    return {side / std::max(1.0, cell.width()), side / std::max(1.0, cell.height())};
}

}  // namespace

CellWidget::CellWidget(int number, QWidget* parent) : QWidget(parent), m_number(number)
{
    setAttribute(Qt::WA_DontCreateNativeAncestors);
    setAttribute(Qt::WA_NativeWindow);
    setAttribute(Qt::WA_PaintOnScreen);
    setAttribute(Qt::WA_NoSystemBackground);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::NoFocus);
    winId();  // the window exists from now on
    hide();
}

void CellWidget::setNote(const QString& note)
{
    m_note = note;
    setAttribute(Qt::WA_PaintOnScreen, note.isEmpty());
    update();
}

void CellWidget::paintEvent(QPaintEvent*)
{
    if (m_note.isEmpty())
        return;
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    painter.setPen(Qt::lightGray);
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextWordWrap, m_note);
}

QPointF CellWidget::fromSquare(QPointF fraction) const
{
    const QSizeF square = SquareIn(size());
    return {0.5 + (fraction.x() - 0.5) * square.width(),
            0.5 + (fraction.y() - 0.5) * square.height()};
}

QPointF CellWidget::toSquare(QPointF fraction) const
{
    const QSizeF square = SquareIn(size());
    return {0.5 + (fraction.x() - 0.5) / square.width(),
            0.5 + (fraction.y() - 0.5) / square.height()};
}

QPointF CellWidget::fraction(QPointF position) const
{
    return {position.x() / std::max(1, width()), position.y() / std::max(1, height())};
}

void CellWidget::mousePressEvent(QMouseEvent* event)
{
    emit pressed(this, fraction(event->localPos()), event->button(), event->modifiers());
}

void CellWidget::mouseMoveEvent(QMouseEvent* event)
{
    emit dragged(this, fraction(event->localPos()));
}

void CellWidget::mouseReleaseEvent(QMouseEvent* event)
{
    emit released(this, fraction(event->localPos()));
}

void CellWidget::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (Qt::LeftButton == event->button())
        emit doubleClicked(this);
}

void CellWidget::wheelEvent(QWheelEvent* event)
{
    emit wheeled(this, fraction(event->position()), event->angleDelta().y() / CONST_NOTCH);
    event->accept();
}

}  // namespace viewer
