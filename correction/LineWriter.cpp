#include "correction/LineWriter.h"

namespace correction {
namespace {

bool Same(const tagFcuPoint& a, const tagFcuPoint& b)
{
    return a.fX == b.fX && a.fY == b.fY;
}

}  // namespace

void LineWriter::Add(const optics::Point& stPoint)
{
    const tagFcuPoint stFloat{static_cast<float>(std::clamp(stPoint.x, 0.0, 1.0)),
                              static_cast<float>(std::clamp(stPoint.y, 0.0, 1.0))};
    if (m_iEnd > m_iBegin && Same(m_pstBuffer[m_iEnd - 1], stFloat))
        return;
    if (m_iEnd - m_iBegin == FCU_MAX_POINTS_OF_LINE) {
        const tagFcuPoint stLast = m_pstBuffer[m_iEnd - 1];
        Break();
        if (m_iLines < FCU_MAX_LINES && m_iEnd < FCU_MAX_POINTS)
            m_pstBuffer[m_iEnd++] = stLast;
    }
    if (m_iLines == FCU_MAX_LINES || m_iEnd == FCU_MAX_POINTS)
        return;
    m_pstBuffer[m_iEnd++] = stFloat;
}

void LineWriter::Break()
{
    if (m_iEnd - m_iBegin >= 2)
        m_astLines[m_iLines++] = {m_iEnd - m_iBegin, 0, m_pstBuffer + m_iBegin};
    else
        m_iEnd = m_iBegin;
    m_iBegin = m_iEnd;
}

void LineWriter::Finish(tagFcuLineTable& stTable)
{
    Break();
    stTable.iLines = m_iLines;
    std::copy_n(m_astLines, m_iLines, stTable.astLines);
}

}  // namespace correction
