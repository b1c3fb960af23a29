#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "VideoPlayer_FishEye/CLS_FishPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_MainPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_SubPlayer.h"
#include "tests/walk/ByteSource.h"
#include "tests/walk/Model.h"
#include "tests/walk/Values.h"
#include "tests/walk/World.h"

namespace walk {

/// A walk over the whole interface of the manager library, decided by a source of bytes: each step
/// calls one operation and holds its result, what it wrote, its lines, its calls and the state that
/// it leaves against the model. One walk at a time in a process.
class Walk
{
public:
    /// With `overlays`, layouts may start overlay threads, and the walk waits for their cycles and
    /// their ends: some milliseconds each time.
    Walk(ByteSource& source, bool overlays);
    ~Walk();
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    /// Goes so many steps, or until the source is empty, then destroys what it made.
    /// @return what differed, with the step and what happened in it; an empty text when nothing did
    std::string Run(int steps);

    /// Steps gone by the last Run.
    int Steps() const { return m_step; }

private:
    /// Switches one entry pointer between null and what was resolved.
    struct Entry
    {
        const char* name;
        std::function<void(bool)> resolve;
        std::function<bool()> resolved;
    };

    struct Main
    {
        CLS_MainPlayer* player;
        ModelMainPointer model;
    };

    struct View
    {
        CLS_SubPlayer* view;
        ModelViewPointer model;
    };

    struct Step
    {
        int weight;
        void (Walk::*go)();
    };
    static const std::vector<Step> s_steps;

    /// The facade with its registry in the open.
    class Facade : public CLS_FishPlayer
    {
    public:
        using CLS_FishPlayer::m_qmapMainPlayer;
    };

    // The frame of a step.
    template <class Function>
    void AddEntry(const char* name, Function*& pointer);
    void ReadEngineEntries();
    void ReadAlgorithmEntries();
    void Begin();
    void Go();
    void Clear();
    void Doing(const char* operation, std::initializer_list<long long> arguments = {});
    void Check(int result, const std::function<int()>& model);
    void CheckId(const IdPlace& place) const;
    static void CheckPoint(STRUCT_FecPoint real, ModelPoint model);
    void Audit();
    static void Audit(const Main& main);
    static void Audit(const View& view);

    // Arguments.
    int Id();
    int Index();
    Main AnyMain();
    View AnyView(bool ptz);
    std::vector<Main> Mains() const;
    QMap<int, QVector<void*>> Windows();
    STRUCT_FishDrawParam DrawParam(const QMap<int, QVector<void*>>& windows);
    unsigned char* Header();
    int* IdPointer(IdPlace& place);
    void* Handle();
    bool MayFail(const QMap<int, QVector<void*>>& windows) const;
    void Spare(const ModelMain& model);
    static std::vector<View> ViewsOf(const Main& main);

    // Steps: the bindings and the walk's own meddling.
    void ToggleEntry();
    void RestoreEntries();
    void ReloadEngine();
    void DecodeSettings();
    void AlgorithmBinding();
    void PlantInRegistry();
    void PlantInViews();

    // Steps: the facade.
    void CreateInRegistry(const std::function<int()>& create,
                          const std::function<int(const ModelMainPointer&)>& model);
    void FacadeSystem();
    void FacadeCreateMain();
    void FacadeCreateFromFile();
    void FacadeCreateFromStream();
    void FacadeCreateSub();
    void FacadeDeleteAll();
    void FacadeDeleteSub();
    void FacadePutStream();
    void FacadeSwitches();
    void FacadeCorrectWindow();
    void FacadeDrawWindow();
    void FacadePtzWindow();
    void FacadePtz();

    // Steps: a main player.
    void MainConstruct();
    void MainDestroy();
    void MainCreate();
    void MainLayOut();
    void MainDelete();
    void MainPutStream();
    void MainSwitches();
    void MainDraw();
    void MainPoints();
    void MainCorrectWindow();
    void MainDrawWindow();
    void MainPtzWindow();
    void MainPtz();

    // Steps: a view.
    void ViewConstruct();
    void ViewDestroy();
    void ViewCreate();
    void ViewDelete();
    void ViewMove();
    void ViewDrag();
    void ViewZoom();
    void ViewPtz();
    void ViewPtzPara();
    void ViewWidePara();
    void ViewOutline();
    void ViewDraw();
    void ViewCoordinates();
    void ViewOrbit();

    ByteSource& m_source;
    Values m_values;
    World m_world;
    const bool m_overlays;
    Setting m_setting;
    std::vector<Entry> m_entries;

    std::unique_ptr<Facade> m_facade;
    ModelFacade m_modelFacade;
    std::vector<Main> m_mains;      ///< made by the walk
    std::vector<Main> m_replaced;   ///< pushed out of the registry by another under the same id
    std::vector<View> m_views;      ///< made by the walk
    std::vector<View> m_abandoned;  ///< left behind by a main player

    std::vector<unsigned char> m_header;  ///< no more bytes than the library may read
    int m_headSize = 0;
    bool m_headerFits = false;  ///< it says its own size
    int m_id = 0;               ///< the client's variable for an id

    int m_step = 0;
    std::string m_doing;
    std::string m_story;
};

}  // namespace walk
