// The steps of a walk that call a view.
#include <cmath>
#include <limits>

#include "VideoPlayer_FishEye/feplayer/CLS_180ViewSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_360ViewSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_FishEyeSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_LATViewSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_PTZSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_SourceSubPlayer.h"
#include "tests/walk/Walk.h"

namespace walk {

namespace {

CLS_SubPlayer* NewView(ModelView::Kind kind)
{
    switch (kind) {
    case ModelView::Kind::Source:
        return new CLS_SourceSubPlayer;
    case ModelView::Kind::FishEye:
        return new CLS_FishEyeSubPlayer;
    case ModelView::Kind::Wide180:
        return new CLS_180ViewSubPlayer;
    case ModelView::Kind::Wide360:
        return new CLS_360ViewSubPlayer;
    case ModelView::Kind::Lat:
        return new CLS_LATViewSubPlayer;
    case ModelView::Kind::Ptz:
        return new CLS_PTZSubPlayer;
    default:
        return new CLS_SubPlayer;
    }
}

template <class Para>
void CheckPara(const Para& real, const Record& model)
{
    if (Record::Of(real).Bytes() != model.Bytes())
        throw Mismatch("the record that the client has");
}

void Callback(int, int, void*, unsigned int, unsigned int, void*) {}

}  // namespace

void Walk::ViewConstruct()
{
    static constexpr ModelView::Kind kinds[] = {ModelView::Kind::Ptz,     ModelView::Kind::Base,
                                                ModelView::Kind::Source,  ModelView::Kind::FishEye,
                                                ModelView::Kind::Ptz,     ModelView::Kind::Wide180,
                                                ModelView::Kind::Wide360, ModelView::Kind::Lat};
    if (m_views.size() >= 6)
        return ViewDestroy();
    const ModelView::Kind kind = m_source.OneOf(kinds);
    Doing("a view", {static_cast<int>(kind)});
    m_views.push_back({NewView(kind), std::make_shared<ModelView>(m_setting, kind)});
    Check(m_views.back().view->GetSubPlayId(), [] { return -1; });
}

void Walk::ViewDestroy()
{
    if (m_views.empty())
        return;
    const View view = m_views.front();
    Doing("~CLS_SubPlayer", {static_cast<int>(view.model->kind)});
    m_views.erase(m_views.begin());
    delete view.view;
    Check(0, [&] {
        view.model->Destroy();
        return 0;
    });
}

void Walk::ViewCreate()
{
    const View view = AnyView(false);
    if (nullptr == view.view)
        return;
    void* const handle = Handle();
    const int mainId = Id();
    const auto para = m_values.Filled<tagCreateCorrectPara>();
    void* const window = m_values.Window();
    IdPlace place;
    int* const id = IdPointer(place);
    Doing("CreatePlayer", {static_cast<int>(view.model->kind), mainId});
    Check(view.view->CreatePlayer(handle, mainId, para, window, id), [&] {
        return view.model->CreatePlayer(handle, mainId, Record::Of(para), window,
                                        nullptr == id ? nullptr : &place);
    });
    CheckId(place);
}

void Walk::ViewDelete()
{
    const View view = AnyView(false);
    if (nullptr == view.view)
        return;
    Doing("DeletePlayer, SetFecCallBackFunc", {static_cast<int>(view.model->kind)});
    if (m_source.Coin())
        return Check(view.view->DeletePlayer(), [&] { return view.model->DeletePlayer(); });
    const auto function = m_source.Coin() ? &Callback : nullptr;
    Check(view.view->SetFecCallBackFunc(function, this), [&] {
        return view.model->SetFecCallBackFunc(reinterpret_cast<const void*>(function), this);
    });
}

void Walk::ViewMove()
{
    const View view = AnyView(m_source.Coin());
    if (nullptr == view.view)
        return;
    const STRUCT_CtlParam step = m_values.Step();
    const STRUCT_FishWindowRect rect = m_values.Rect();
    Doing("Move", {static_cast<int>(view.model->kind), step.m_iX, step.m_iY, rect.m_iWidth,
                   rect.m_iHeight});
    Check(view.view->Move(step.m_iX, step.m_iY, rect),
          [&] { return view.model->Move(step.m_iX, step.m_iY, rect); });
}

void Walk::ViewDrag()
{
    const View view = AnyView(m_source.Coin());
    if (nullptr == view.view)
        return;
    const STRUCT_CtlPointParam drag = m_values.Drag();
    const STRUCT_FishWindowRect rect = m_values.Rect();
    Doing("Move from a point to another",
          {static_cast<int>(view.model->kind), drag.m_iStartX, drag.m_iStartY, drag.m_iEndX,
           drag.m_iEndY, rect.m_iWidth, rect.m_iHeight});
    Check(view.view->Move(drag, rect), [&] { return view.model->Move(drag, rect); });
}

void Walk::ViewZoom()
{
    const View view = AnyView(m_source.Coin());
    if (nullptr == view.view)
        return;
    const int step = m_values.Int();
    Doing("Zoom", {static_cast<int>(view.model->kind), step});
    Check(view.view->Zoom(step), [&] { return view.model->Zoom(step); });
}

void Walk::ViewPtz()
{
    const View view = AnyView(m_source.Coin());
    if (nullptr == view.view)
        return;
    const STRUCT_CtlParam step = m_values.Step();
    const n_PTZCtlCmd command = m_values.ButtonCommand();
    Doing("PTZCtl",
          {static_cast<int>(view.model->kind), step.m_iX, step.m_iY, step.m_iZoom, command});
    Check(view.view->PTZCtl(step, command), [&] { return view.model->PTZCtl(step, command); });
}

void Walk::ViewPtzPara()
{
    const View view = AnyView(m_source.Coin());
    if (nullptr == view.view)
        return;
    auto para = m_values.Filled<tagCorrectPtzPara>();
    Record model = Record::Of(para);
    const bool get = m_source.Coin();
    Doing(get ? "GetCorrectPara of tagCorrectPtzPara" : "SetCorrectPara of tagCorrectPtzPara",
          {static_cast<int>(view.model->kind)});
    Check(get ? view.view->GetCorrectPara(para) : view.view->SetCorrectPara(para),
          [&] { return get ? view.model->GetPtzPara(model) : view.model->SetPtzPara(model); });
    CheckPara(para, model);
}

void Walk::ViewWidePara()
{
    const View view = AnyView(false);
    if (nullptr == view.view)
        return;
    auto para = m_values.Filled<tagCorrectWideScanPara>();
    Record model = Record::Of(para);
    const bool get = m_source.Coin();
    Doing(get ? "GetCorrectPara of tagCorrectWideScanPara"
              : "SetCorrectPara of tagCorrectWideScanPara",
          {static_cast<int>(view.model->kind)});
    Check(get ? view.view->GetCorrectPara(para) : view.view->SetCorrectPara(para),
          [&] { return get ? view.model->GetWidePara(model) : view.model->SetWidePara(model); });
    CheckPara(para, model);
}

/// The outline as it stands, in a client's list that held something else.
void Walk::ViewOutline()
{
    const View view = AnyView(m_source.Coin());
    if (nullptr == view.view)
        return;
    QVector<QVector<STRUCT_DrawPoint>> data(1);
    Outline model(1, std::make_shared<std::vector<STRUCT_DrawPoint>>());
    Doing("GetPTZDrawData", {static_cast<int>(view.model->kind)});
    Check(view.view->GetPTZDrawData(data), [&] { return view.model->GetPTZDrawData(model); });
    if (!SameOutline(model, data))
        throw Mismatch("the outline");
}

/// Draws an outline, by every road there is.
void Walk::ViewDraw()
{
    const View view = AnyView(!m_source.OneIn(8));
    if (nullptr == view.view)
        return;
    void* const handle = Handle();
    const auto para = m_values.Filled<tagCreateCorrectPara>();
    const Record model = Record::Of(para);
    const int road = m_source.Below(8);
    Doing("an outline", {static_cast<int>(view.model->kind), road});
    auto* const ptz = dynamic_cast<CLS_PTZSubPlayer*>(view.view);
    if (nullptr == ptz || road > 3 || view.model->outline.size() > 100) {
        tagCreateCorrectPara drawn = para;
        drawn.iCreateType = m_values.InstallationType();
        drawn.iCorrectMode = m_values.CorrectType();
        const int type = m_values.DrawType();
        return Check(view.view->CreatePtzDraw(handle, drawn, type),
                     [&] { return view.model->CreatePtzDraw(handle, Record::Of(drawn), type); });
    }
    const auto param = m_values.Filled<STRUCT_FecPtzParam>();
    const ModelPoint centre{param.stPosition.iX, param.stPosition.iY};
    switch (road) {
    case 0:
        return Check(ptz->SetFecDraw(handle, para),
                     [&] { return view.model->SetFecDraw(handle, model); });
    case 1:
        return Check(ptz->SetFecDraw(param),
                     [&] { return view.model->SetFecDraw(centre, param.iPTZZoom); });
    case 2:
        return Check(ptz->SetRectDraw(handle, para),
                     [&] { return view.model->SetRectDraw(handle, model); });
    default:
        return Check(ptz->SetRectDraw(param), [&] { return view.model->SetRectDraw(centre); });
    }
}

void Walk::ViewCoordinates()
{
    const View view = AnyView(true);
    if (nullptr == view.view)
        return;
    auto& ptz = dynamic_cast<CLS_PTZSubPlayer&>(*view.view);
    STRUCT_FecPoint in = {m_values.Int(), m_values.Int()};
    STRUCT_FecPoint out = {m_values.Int(), m_values.Int()};
    ModelPoint modelIn = {in.iX, in.iY};
    ModelPoint modelOut = {out.iX, out.iY};
    switch (m_source.Below(4)) {
    case 0: {
        const int mode = m_values.CorrectType();
        Doing("GetPtzType", {mode});
        return Check(ptz.GetPtzType(mode), [&] { return ModelView::GetPtzType(mode); });
    }
    case 1: {
        const int from = m_values.Int();
        const int to = m_values.Int();
        const bool place = m_source.OneIn(8);  // one point for both
        Doing("CoordSwitch", {from, to, in.iX, in.iY, place});
        Check(ptz.CoordSwitch(from, to, in, place ? in : out), [&] {
            return view.model->CoordSwitch(from, to, modelIn, place ? modelIn : modelOut);
        });
        break;
    }
    case 2:
        Doing("CoordFETo360", {in.iX, in.iY});
        Check(ptz.CoordFETo360(in, out),
              [&] { return view.model->CoordFETo360(modelIn, modelOut); });
        break;
    default: {
        const STRUCT_FishWindowRect rect = m_values.Rect();
        Doing("GetFishPoint", {in.iX, in.iY, rect.m_iWidth, rect.m_iHeight});
        Check(ptz.GetFishPoint(in.iX, in.iY, rect, out.iX, out.iY), [&] {
            return view.model->GetFishPoint(modelIn.x, modelIn.y, rect, modelOut.x, modelOut.y);
        });
    }
    }
    CheckPoint(in, modelIn);
    CheckPoint(out, modelOut);
}

void Walk::ViewOrbit()
{
    const View view = AnyView(true);
    if (nullptr == view.view)
        return;
    static constexpr double limits[] = {std::numeric_limits<double>::quiet_NaN(),
                                        std::numeric_limits<double>::infinity(),
                                        -std::numeric_limits<double>::infinity(),
                                        1e300,
                                        -1e300,
                                        0.5,
                                        9.99};
    const auto step = [this] {
        return m_source.OneIn(8) ? m_source.OneOf(limits) : static_cast<double>(m_values.Int());
    };
    const double angle = step();
    const double radius = step();
    double x = 1.5;
    double y = 2.5;
    double modelX = x;
    double modelY = y;
    Doing("FishEyeCorrectCal", {m_values.Int()});
    auto& ptz = dynamic_cast<CLS_PTZSubPlayer&>(*view.view);
    Check(ptz.FishEyeCorrectCal(x, y, angle, radius),
          [&] { return view.model->FishEyeCorrectCal(modelX, modelY, angle, radius); });
    const auto same = [](double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); };
    if (!same(x, modelX) || !same(y, modelY))
        throw Mismatch("the orbit");
}

}  // namespace walk
