#pragma once

#include <string>
#include <utility>
#include <vector>

#include "VideoPlayer_FishEye/feplayer/CLS_SubPlayer.h"

/// A view that writes down what it is asked and answers what a test has set. It has no window in
/// the engine.
class RecordingView : public CLS_SubPlayer
{
public:
    explicit RecordingView(int iResult) : m_iResult(iResult) {}

    int GetPTZDrawData(QVector<QVector<STRUCT_DrawPoint>>& data) override
    {
        m_asked.push_back("GetPTZDrawData of " + std::to_string(data.size()));
        data = m_outline;
        return m_iResult;
    }
    int Move(STRUCT_CtlPointParam point, STRUCT_FishWindowRect rect) override
    {
        return Asked("Drag " + Text(point.m_iStartX, point.m_iStartY) + " to " +
                     Text(point.m_iEndX, point.m_iEndY) + In(rect));
    }
    int Move(int x, int y, STRUCT_FishWindowRect rect) override
    {
        return Asked("Move " + Text(x, y) + In(rect));
    }
    int Zoom(int step) override { return Asked("Zoom " + std::to_string(step)); }
    int PTZCtl(STRUCT_CtlParam param, n_PTZCtlCmd cmd) override
    {
        return Asked("PTZCtl " + Text(param.m_iX, param.m_iY) + "," +
                     std::to_string(param.m_iZoom) + " command " + std::to_string(cmd));
    }

    /// What it was asked since the last look.
    std::vector<std::string> Asked() { return std::exchange(m_asked, {}); }

    int m_iResult;
    QVector<QVector<STRUCT_DrawPoint>> m_outline;

private:
    static std::string Text(int x, int y) { return std::to_string(x) + "," + std::to_string(y); }
    static std::string In(STRUCT_FishWindowRect rect)
    {
        return " in " + std::to_string(rect.m_iWidth) + "x" + std::to_string(rect.m_iHeight);
    }
    int Asked(std::string text)
    {
        m_asked.push_back(std::move(text));
        return m_iResult;
    }

    std::vector<std::string> m_asked;
};
