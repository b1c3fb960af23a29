#pragma once

#include <string>

#include "VideoPlayer_FishEye/feplayer/CLS_SubPlayer.h"

/// What a view keeps of its creation, for a test that got the view from a main player's map.
struct ViewState : CLS_SubPlayer
{
    static int MainPlayId(const CLS_SubPlayer& view) { return view.*(&ViewState::m_iMainPlayId); }
    static void* Window(const CLS_SubPlayer& view) { return view.*(&ViewState::m_pWindow); }
    static void* Handle(const CLS_SubPlayer& view) { return view.*(&ViewState::m_pFcuHandle); }
    static int CreateType(const CLS_SubPlayer& view) { return view.*(&ViewState::m_iCreateType); }
    static int CorrectMode(const CLS_SubPlayer& view) { return view.*(&ViewState::m_iCorrectMode); }
    static std::string Record(const CLS_SubPlayer& view)
    {
        const tagCreateCorrectPara& para = view.*(&ViewState::m_stCreatePara);
        return {reinterpret_cast<const char*>(&para), sizeof(para)};
    }
};
