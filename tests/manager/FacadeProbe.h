#pragma once

#include "VideoPlayer_FishEye/CLS_FishPlayer.h"
#include "tests/manager/MainPlayerProbe.h"

/// A facade of a test's own, with its registry in sight.
class FacadeProbe : public CLS_FishPlayer
{
public:
    using CLS_FishPlayer::m_qmapMainPlayer;
};

/// A main player that writes down what the facade asks of its virtual operations, and answers what
/// a test has set.
class RecordingPlayer : public MainPlayerProbe
{
public:
    explicit RecordingPlayer(std::vector<std::string>& asked, int iResult = 0)
        : m_asked(asked), m_iResult(iResult)
    {}
    ~RecordingPlayer() override { m_asked.push_back("destructor"); }

    int CreateSubPlayers(const STRUCT_FishEyeParam& param, int iFishPlayerID,
                         const QMap<int, QVector<void*>>& windows, QMap<int, QVector<int>>& ids,
                         const STRUCT_FishDrawParam& draw) override
    {
        m_param = &param;
        m_iFishPlayerID = iFishPlayerID;
        m_windows = &windows;
        m_ids = &ids;
        m_draw = &draw;
        m_asked.push_back("CreateSubPlayers");
        return m_iResult;
    }
    int DeleteAllPlayer() override
    {
        m_asked.push_back("DeleteAllPlayer");
        return m_iResult;
    }
    int DeleteAllSubPlayer() override
    {
        m_asked.push_back("DeleteAllSubPlayer");
        return m_iResult;
    }
    int PutStreamToPlayer(int iStreamType, unsigned char* data, int iSize) override
    {
        m_data = data;
        m_asked.push_back("PutStreamToPlayer type " + std::to_string(iStreamType) + " size " +
                          std::to_string(iSize));
        return m_iResult;
    }

    std::vector<std::string>& m_asked;
    int m_iResult;
    const STRUCT_FishEyeParam* m_param = nullptr;
    int m_iFishPlayerID = 0;
    const QMap<int, QVector<void*>>* m_windows = nullptr;
    const QMap<int, QVector<int>>* m_ids = nullptr;
    const STRUCT_FishDrawParam* m_draw = nullptr;
    const unsigned char* m_data = nullptr;
};

/// Puts a line of text before a gtest parameter's name.
struct NamedRow
{
    template <class Info>
    std::string operator()(const Info& info) const
    {
        return info.param.name;
    }
};
