// Packs polylines into the caller's line table and point buffer, within their limits.
#pragma once

#include "correction/VxAlgoFcu.h"
#include "optics/Vector.h"

namespace correction {

class LineWriter
{
public:
    /// @param pstBuffer  room for FCU_MAX_POINTS points
    explicit LineWriter(tagFcuPoint* pstBuffer) : m_pstBuffer(pstBuffer) {}

    /// Goes on with the current line, or begins one. A line that grows too long is followed by a
    /// next one from the same point. When table or buffer are full points are dropped.
    void Add(const optics::Point& stPoint);

    /// Ends the current line; a line of one point is none.
    void Break();

    /// Ends the current line and hands the lines over.
    void Finish(tagFcuLineTable& stTable);

private:
    tagFcuPoint* m_pstBuffer;
    int m_iBegin = 0;  ///< of the current line in the buffer
    int m_iEnd = 0;    ///< behind the last point written
    int m_iLines = 0;
    tagFcuLine m_astLines[FCU_MAX_LINES] = {};
};

}  // namespace correction
