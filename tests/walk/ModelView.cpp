#include <algorithm>
#include <cmath>

#include "tests/walk/Model.h"
#include "tests/walk/ModelArithmetic.h"

namespace walk {

namespace {

constexpr double CONST_PI = 3.14159265358979323846;

void Clamp(ModelPoint& point)
{
    point.x = std::min(point.x, 9999);
    point.y = std::min(point.y, 9999);
}

bool Empty(STRUCT_FishWindowRect rect)
{
    return rect.m_iWidth <= 0 || rect.m_iHeight <= 0;
}

/// One row of texts for each class that creates a view.
struct CreateTexts
{
    const char* handle;
    const char* mainId;
    const char* window;
    const char* idPlace;
};

constexpr CreateTexts CONST_BASE_TEXTS = {
    "[  CLS_SubPlayer::CreatePlayer nullptr == _pfcuHandle ]",
    "[  CLS_SubPlayer::CreatePlayer _iMainPlayerId < 0 ]",
    "[  CLS_SubPlayer::CreatePlayer nullptr == _pWindow ]",
    "[  CLS_SubPlayer::CreatePlayer nullptr == _piSubPlayerId ]"};
constexpr CreateTexts CONST_FISHEYE_TEXTS = {
    "[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == _pfcuHandle ]",
    "[  CLS_FishEyeSubPlayer::CreatePlayer _iMainPlayerId < 0 ]",
    "[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == _pWindow ]",
    "[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == _piSubPlayerId ]"};
constexpr CreateTexts CONST_PTZ_TEXTS = {
    "[  CLS_PTZSubPlayer::CreatePlayer nullptr == _pfcuHandle ]",
    "[  CLS_PTZSubPlayer::CreatePlayer _iMainPlayerId < 0 ]",
    "[  CLS_PTZSubPlayer::CreatePlayer nullptr == _pWindow ]",
    "[  CLS_PTZSubPlayer::CreatePlayer nullptr == _piSubPlayerId ]"};

const CreateTexts& TextsOf(ModelView::Kind kind)
{
    if (ModelView::Kind::FishEye == kind)
        return CONST_FISHEYE_TEXTS;
    return ModelView::Kind::Ptz == kind ? CONST_PTZ_TEXTS : CONST_BASE_TEXTS;
}

/// The texts of the two wide views.
struct WideTexts
{
    const char* size;
    const char* readFailed;
    const char* setMainId;
    const char* setAbsent;
    const char* getMainId;
    const char* getAbsent;
};

constexpr WideTexts CONST_180_TEXTS = {
    "[  CLS_180ViewSubPlayer::Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = ",
    "[  CLS_180ViewSubPlayer::Move GetCorrectPara fail iRet = ",
    "[  CLS_180ViewSubPlayer::SetCorrectPara m_iMainPlayId < 0 ]",
    "[  CLS_180ViewSubPlayer::SetCorrectPara nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectPara ]",
    "[  CLS_180ViewSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]",
    "[  CLS_180ViewSubPlayer::GetCorrectPara nullptr == CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara ]"};
constexpr WideTexts CONST_360_TEXTS = {
    "[  CLS_360ViewSubPlayer::Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = ",
    "[  CLS_360ViewSubPlayer::Move GetCorrectPara fail iRet = ",
    "[  CLS_360ViewSubPlayer::SetCorrectPara m_iMainPlayId < 0 ]",
    "[  CLS_360ViewSubPlayer::SetCorrectPara nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectPara ]",
    "[  CLS_360ViewSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]",
    "[  CLS_360ViewSubPlayer::GetCorrectPara nullptr == CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara ]"};

const WideTexts& WideTextsOf(ModelView::Kind kind)
{
    return ModelView::Kind::Wide180 == kind ? CONST_180_TEXTS : CONST_360_TEXTS;
}

bool IsWide(ModelView::Kind kind)
{
    return ModelView::Kind::Wide180 == kind || ModelView::Kind::Wide360 == kind;
}

}  // namespace

void ModelView::Destroy()
{
    SetFecCallBackFunc(nullptr, nullptr);
    if (main < 0) {
        s.Warn("[  CLS_SubPlayer::DeletePlayer m_iMainPlayId < 0 ]");
        return;
    }
    if (!s.Has("RV_DeleteFishEyeCorrect")) {
        s.Warn(
            "[  CLS_SubPlayer::CreatePlayer nullptr == CLS_VxPlayer_SDK::RV_DeleteFishEyeCorrect ]");
        return;
    }
    s.replay->Call("RV_DeleteFishEyeCorrect", {main, sub});
}

int ModelView::CreatePlayer(const void* newHandle, int mainId, Record para, const void* newWindow,
                            IdPlace* id)
{
    const CreateTexts& texts = TextsOf(kind);
    if (Kind::Source != kind) {
        if (nullptr == newHandle)
            return s.Refuse(texts.handle);
        if (mainId < 0)
            return s.Refuse(texts.mainId);
        if (nullptr == newWindow)
            return s.Refuse(texts.window);
        if (nullptr == id)
            return s.Refuse(texts.idPlace);
    }
    const bool opensWindow = Kind::Source != kind && Kind::FishEye != kind;
    int correctId = -1;
    if (opensWindow) {
        if (!s.Has("RV_CreateFishEyeCorrect"))
            return s.Refuse(
                Kind::Ptz == kind
                    ? "[  CLS_PTZSubPlayer::CreatePlayer nullptr == CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect ]"
                    : "[  CLS_SubPlayer::CreatePlayer nullptr == CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect ]");
        const Event& answer =
            s.replay->Call("RV_CreateFishEyeCorrect",
                           {mainId, Argument::Address(), 88, newWindow,
                            nullptr == id->address ? Argument::Address() : Argument(id->address)},
                           {para});
        if (answer.idWritten)
            id->value = answer.id;
        correctId = static_cast<int>(answer.result);
        if (correctId < 0) {
            s.Warn(Text(
                Kind::Ptz == kind
                    ? "[  CLS_PTZSubPlayer::CreatePlayer CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect fail iRet = "
                    : "[  CLS_SubPlayer::CreatePlayer CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect fail iRet = ",
                correctId));
            return correctId;
        }
        para = Record(answer.written);
        id->value = correctId;
        sub = correctId;
    }
    main = mainId;
    handle = newHandle;
    window = newWindow;
    if (Kind::Source != kind)
        create = para;
    if (Kind::Ptz != kind) {
        createType = para.Int(4);
        mode = para.Int(8);
    }
    return 0;
}

int ModelView::DeletePlayer()
{
    if (Kind::FishEye == kind)
        return 0;
    const bool ptz = Kind::Ptz == kind;
    if (main < 0)
        return s.Refuse(ptz ? "[  CLS_PTZSubPlayer::DeletePlayer m_iMainPlayId < 0 ]"
                            : "[  CLS_SubPlayer::DeletePlayer m_iMainPlayId < 0 ]");
    if (ptz && sub < 0)
        return s.Refuse("[  CLS_PTZSubPlayer::DeletePlayer m_iSubPlayId < 0 ]");
    if (!s.Has("RV_DeleteFishEyeCorrect"))
        return s.Refuse(
            ptz ? "[  CLS_PTZSubPlayer::DeletePlayer nullptr == CLS_VxPlayer_SDK::RV_DeleteFishEyeCorrect ]"
                : "[  CLS_SubPlayer::CreatePlayer nullptr == CLS_VxPlayer_SDK::RV_DeleteFishEyeCorrect ]");
    return static_cast<int>(s.replay->Call("RV_DeleteFishEyeCorrect", {main, sub}).result);
}

int ModelView::SetFecCallBackFunc(const void* function, const void* user)
{
    if (main < 0)
        return s.Refuse("[  CLS_SubPlayer::SetFecCallBackFunc m_iMainPlayId < 0 ]");
    if (sub < 0)
        return s.Refuse("[  CLS_SubPlayer::SetFecCallBackFunc m_iSubPlayId < 0 ]");
    if (!s.Has("RV_SetFishEyeCorrectCallBack"))
        return s.Refuse(
            "[  CLS_SubPlayer::SetFecCallBackFunc nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack ]");
    return static_cast<int>(
        s.replay->Call("RV_SetFishEyeCorrectCallBack", {main, sub, function, user}).result);
}

int ModelView::GetPtzPara(Record& para)
{
    if (Kind::Lat == kind)
        return main >= 0 ? 0
                         : s.Refuse("[  CLS_LATViewSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]");
    if (Kind::Ptz != kind)
        return 0;
    if (main < 0)
        return s.Refuse("[  CLS_PTZSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]");
    if (sub < 0)
        return s.Refuse("[  CLS_PTZSubPlayer::GetCorrectPara m_iSubPlayId < 0 ]");
    if (!s.Has("RV_GetFishEyeCorrectPara"))
        return s.Refuse(
            "[  CLS_PTZSubPlayer::DeletePlayer nullptr == CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara ]");
    const Event& answer =
        s.replay->Call("RV_GetFishEyeCorrectPara", {main, sub, 1, Argument::Address(), 32}, {para});
    para = Record(answer.written);
    return static_cast<int>(answer.result);
}

int ModelView::SetPtzPara(Record& para)
{
    if (Kind::Ptz != kind)
        return 0;
    if (main < 0)
        return s.Refuse("[  CLS_PTZSubPlayer::SetCorrectPara m_iMainPlayId < 0 ]");
    if (sub < 0)
        return s.Refuse("[  CLS_PTZSubPlayer::SetCorrectPara m_iSubPlayId < 0 ]");
    if (!s.Has("RV_SetFishEyeCorrectPara"))
        return s.Refuse(
            "[  CLS_PTZSubPlayer::SetCorrectPara nullptr == CLS_VxPlayer_SDK::SetCorrectPara");
    outline.clear();
    ModelPoint centre{create.Int(48), create.Int(52)};
    if (0 == drawType)
        SetFecDraw(centre, create.Int(56));
    else if (1 == drawType) {
        if (0x300 == mode) {
            ModelPoint panorama;
            CoordSwitch(0x40000, 0x20000, centre, panorama);
            centre = panorama;
        }
        SetRectDraw(centre);
    } else
        return s.Refuse(
            "[  CLS_PTZSubPlayer::SetCorrectPara n_DrawType_Rect != m_iDrawType & n_DrawType_Fec != m_iDrawType");
    const Event& answer =
        s.replay->Call("RV_SetFishEyeCorrectPara", {main, sub, 1, Argument::Address(), 32}, {para});
    para = Record(answer.written);
    return static_cast<int>(answer.result);
}

int ModelView::GetWidePara(Record& para)
{
    if (!IsWide(kind))
        return 0;
    if (main < 0)
        return s.Refuse(WideTextsOf(kind).getMainId);
    if (!s.Has("RV_GetFishEyeCorrectPara"))
        return s.Refuse(WideTextsOf(kind).getAbsent);
    const Event& answer =
        s.replay->Call("RV_GetFishEyeCorrectPara", {main, sub, 3, Argument::Address(), 8}, {para});
    para = Record(answer.written);
    return static_cast<int>(answer.result);
}

int ModelView::SetWidePara(Record& para)
{
    if (!IsWide(kind))
        return 0;
    if (main < 0)
        return s.Refuse(WideTextsOf(kind).setMainId);
    if (!s.Has("RV_SetFishEyeCorrectPara"))
        return s.Refuse(WideTextsOf(kind).setAbsent);
    const Event& answer =
        s.replay->Call("RV_SetFishEyeCorrectPara", {main, sub, 3, Argument::Address(), 8}, {para});
    para = Record(answer.written);
    return static_cast<int>(answer.result);
}

/// The drag of a wide view.
int ModelView::Turn(int dx, STRUCT_FishWindowRect rect)
{
    const WideTexts& texts = WideTextsOf(kind);
    if (Empty(rect))
        return s.Refuse(Text(texts.size, rect.m_iWidth, " _rect.m_iHeight = ", rect.m_iHeight));
    Record para(8);
    if (const int result = GetWidePara(para); result < 0)
        return s.Refuse(Text(texts.readFailed, result));
    const int span = Kind::Wide180 == kind ? 180 : 360;
    const int degrees = Wrap(1LL * dx * span) / rect.m_iWidth;
    const float turned = para.Float(4) + static_cast<float>(degrees);
    const int angle = Truncate(static_cast<double>(turned));
    para.Float(4, static_cast<float>(angle - angle / span * span));
    return SetWidePara(para);
}

int ModelView::Zoom(int step)
{
    if (Kind::Planted == kind)
        return static_cast<int>(s.replay->Callback("Zoom", {step}).result);
    if (Kind::Ptz != kind)
        return 0;
    Record para(32);
    if (const int result = GetPtzPara(para); result < 0) {
        s.Warn(Text("[  CLS_PTZSubPlayer::Zoom GetCorrectPara fail iRet = ", result));
        return result;
    }
    const int zoom = std::min(Wrap(1LL * para.Int(16) - Wrap(5LL * step)), 10000);
    para.Int(16, zoom);
    create.Int(56, zoom);
    return SetPtzPara(para);
}

namespace {

/// A centre in polar coordinates about the middle of the picture.
struct Polar
{
    double angle;
    double halfTurn;
    double radius;
};

Polar About(double x, double y)
{
    const int dx = Truncate(x - 5000.0);
    const int dy = Truncate(y - 5000.0);
    const int sum = Wrap(1LL * Wrap(1LL * dx * dx) + Wrap(1LL * dy * dy));
    Polar polar{dx >= 0 ? CONST_PI / 2 : -CONST_PI / 2, dy < 0 ? CONST_PI : 0.0,
                std::sqrt(static_cast<double>(sum))};
    if (0 != dy)
        polar.angle = std::atan(static_cast<double>(dx) / static_cast<double>(dy));
    return polar;
}

void Place(double angle, double radius, double& newX, double& newY)
{
    if (radius < 10.0)
        radius = 10.0;
    newX = std::sin(angle) * radius + 5000.0;
    newY = std::cos(angle) * radius + 5000.0;
}

}  // namespace

/// Where the orbit leads. The command and this sum up the angle in different orders.
int ModelView::FishEyeCorrectCal(double& newX, double& newY, double angleStep,
                                 double radiusStep) const
{
    const Polar polar = About(x, y);
    const double angle = angleStep * CONST_PI / 10000.0 + polar.halfTurn + polar.angle;
    Place(angle, polar.radius + radiusStep, newX, newY);
    return 0;
}

int ModelView::PTZCtl(STRUCT_CtlParam param, int command)
{
    if (Kind::Planted == kind)
        return static_cast<int>(
            s.replay->Callback("PTZCtl", {param.m_iX, param.m_iY, param.m_iZoom, command}).result);
    if (Kind::Ptz != kind)
        return 0;
    static constexpr int signs[10][3] = {{0, -1, 0},  {0, 1, 0},  {-1, 0, 0}, {1, 0, 0},
                                         {-1, -1, 0}, {1, -1, 0}, {-1, 1, 0}, {1, 1, 0},
                                         {0, 0, -1},  {0, 0, 1}};
    const bool known = command >= 0 && command < 10;
    int dx = known ? Wrap(1LL * signs[command][0] * param.m_iX) : 0;
    int dy = known ? Wrap(1LL * signs[command][1] * param.m_iY) : 0;
    const int dz = known ? Wrap(1LL * signs[command][2] * param.m_iZoom) : 0;
    Record para(32);
    if (const int result = GetPtzPara(para); result < 0) {
        s.Warn(Text("[  CLS_PTZSubPlayer::PTZCtl GetCorrectPara fail iRet = ", result));
        return result;
    }
    if (x < 1.0 || y < 1.0) {
        x = para.Int(8);
        y = para.Int(12);
    }
    if (3 == createType) {
        dx = Wrap(-1LL * dx);
        dy = Wrap(-1LL * dy);
    }
    double newX = x + dx;
    double newY = y + dy;
    if (1 != createType) {
        const Polar polar = About(x, y);
        double angle = polar.angle + polar.halfTurn;
        angle = angle + dx * CONST_PI / 10000.0;
        Place(angle, polar.radius + dy, newX, newY);
    }
    const int zoom = std::min(std::max(Wrap(1LL * para.Int(16) + dz), 0), 10000);
    para.Int(8, Truncate(newX)).Int(12, Truncate(newY)).Int(16, zoom);
    const int result = SetPtzPara(para);
    if (-2 == result)
        return 1;
    if (result < 0) {
        s.Warn(Text("[  CLS_PTZSubPlayer::PTZCtl SetCorrectPara fail iRet = ", result));
        return result;
    }
    x = newX;
    y = newY;
    create.Int(48, Truncate(newX)).Int(52, Truncate(newY)).Int(56, zoom);
    return 0;
}

/// The writing half of every movement.
int ModelView::Store(Record& para, double newX, double newY)
{
    if (const int result = SetPtzPara(para); result < 0) {
        s.Warn(Text("[  CLS_PTZSubPlayer::Move SetCorrectPara fail iRet = ", result));
        return result;
    }
    x = newX;
    y = newY;
    create.Int(48, Truncate(newX)).Int(52, Truncate(newY));
    return 0;
}

int ModelView::Move(int iDx, int iDy, STRUCT_FishWindowRect rect)
{
    if (Kind::Planted == kind)
        return static_cast<int>(
            s.replay->Callback("MoveBy", {iDx, iDy, rect.m_iWidth, rect.m_iHeight}).result);
    if (IsWide(kind))
        return Turn(iDx, rect);
    if (Kind::Ptz != kind)
        return 0;
    if (Empty(rect))
        return s.Refuse(Text(
            "[  CLS_PTZSubPlayer::Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = ",
            rect.m_iWidth, " _rect.m_iHeight = ", rect.m_iHeight));
    int dx = Scale(iDx, rect.m_iWidth);
    int dy = Scale(iDy, rect.m_iHeight);
    Record para(32);
    if (const int result = GetPtzPara(para); result < 0) {
        s.Warn(Text("[  CLS_PTZSubPlayer::Move GetCorrectPara fail iRet = ", result));
        return result;
    }
    if (x <= 0.0 || y <= 0.0) {
        x = para.Int(8);
        y = para.Int(12);
    }
    if (2 == createType) {
        dx = Wrap(-1LL * dx);
        dy = Wrap(-1LL * dy);
    }
    double newX = x - dx;
    double newY = y - dy;
    if (1 != createType)
        FishEyeCorrectCal(newX, newY, dx, dy);
    para.Int(8, Truncate(newX)).Int(12, Truncate(newY));
    return Store(para, newX, newY);
}

int ModelView::Move(STRUCT_CtlPointParam point, STRUCT_FishWindowRect rect)
{
    if (Kind::Planted == kind)
        return static_cast<int>(
            s.replay
                ->Callback("MoveFromTo", {point.m_iStartX, point.m_iStartY, point.m_iEndX,
                                          point.m_iEndY, rect.m_iWidth, rect.m_iHeight})
                .result);
    if (Kind::Ptz != kind)
        return 0;
    if (Empty(rect))
        return s.Refuse(Text(
            "[  CLS_PTZSubPlayer::Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = ",
            rect.m_iWidth, " _rect.m_iHeight = ", rect.m_iHeight));
    if (0x500 != mode)
        return DragThroughAlgorithm(point, rect);
    return DragOnPicture(Scale(Wrap(1LL * point.m_iEndX - point.m_iStartX), rect.m_iWidth),
                         Scale(Wrap(1LL * point.m_iEndY - point.m_iStartY), rect.m_iHeight));
}

int ModelView::DragOnPicture(int dx, int dy)
{
    Record para(32);
    if (const int result = GetPtzPara(para); result < 0) {
        s.Warn(Text("[  CLS_PTZSubPlayer::Move GetCorrectPara fail iRet = ", result));
        return result;
    }
    x = para.Int(8);
    y = para.Int(12);
    const double newX = x + dx;
    const double newY = y + dy;
    para.Int(8, Truncate(newX)).Int(12, Truncate(newY));
    if (para.Int(8) < 0 || para.Int(8) > 10000 || para.Int(12) < 0 || para.Int(12) > 10000) {
        s.Inform(Text(
            "[  tParam.iPTZPositionX is invalid ||  tParam.iPTZPositionY is invalid . tParam.iPTZPositionX = ",
            para.Int(8), " tParam.iPTZPositionY = ", para.Int(12)));
        return -1;
    }
    return Store(para, newX, newY);
}

int ModelView::DragThroughAlgorithm(STRUCT_CtlPointParam point, STRUCT_FishWindowRect rect)
{
    int fish[4] = {0, 0, 0, 0};
    for (int end = 0; end < 2; ++end) {
        const int result = GetFishPoint(0 == end ? point.m_iStartX : point.m_iEndX,
                                        0 == end ? point.m_iStartY : point.m_iEndY, rect,
                                        fish[2 * end], fish[2 * end + 1]);
        if (result < 0) {
            s.Warn(Text("[  CLS_PTZSubPlayer::Move GetFishPoint fail iRet = ", result));
            return result;
        }
    }
    Record para(32);
    if (const int result = GetPtzPara(para); result < 0) {
        s.Warn(Text("[  CLS_PTZSubPlayer::Move GetCorrectPara fail iRet = ", result));
        return result;
    }
    if (x < 1.0 || y < 1.0) {
        x = para.Int(8);
        y = para.Int(12);
    }
    const double newX = x + Wrap(1LL * fish[2] - fish[0]);
    const double newY = y + Wrap(1LL * fish[3] - fish[1]);
    para.Int(8, Truncate(newX)).Int(12, Truncate(newY));
    if (para.Int(8) < 0 || para.Int(8) > 10000 || para.Int(12) < 0 || para.Int(12) > 10000)
        return s.Refuse(Text(
            "[  CLS_PTZSubPlayer::Move param.iPTZPositionX is invalid || param.iPTZPositionY is invalid param.iPTZPositionX = ",
            para.Int(8), " param.iPTZPositionY = ", para.Int(12)));
    return Store(para, newX, newY);
}

int ModelView::Transform(const char* failText, float fx, float fy, int from, int to,
                         ModelPoint& out)
{
    Record request(92);
    request.Int(0, 92).Int(4, createType).Int(8, mode).Float(12, fx).Float(16, fy);
    request.Int(20, from).Int(24, to);
    const Event& answer =
        s.replay->Call("VxAlgo_FCU_Point_Transform",
                       {handle, Argument::Address(), Argument::Address()}, {request, Record(8)});
    const int result = static_cast<int>(answer.result);
    if (result < 0) {
        s.Warn(Text(failText, result));
        return result;
    }
    const Record point(answer.written);
    out = {FromFraction(point.Float(0)), FromFraction(point.Float(4))};
    return 0;
}

int ModelView::CoordSwitch(int from, int to, ModelPoint& in, ModelPoint& out)
{
    if (nullptr == handle)
        return s.Refuse("[  CLS_PTZSubPlayer::CoordFETo360 nullptr == m_pFcuHandle ]");
    if (!s.Has("VxAlgo_FCU_Point_Transform"))
        return s.Refuse(
            "[  CLS_PTZSubPlayer::CoordSwitch CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform ]");
    Clamp(in);
    return Transform(
        "[  CLS_PTZSubPlayer::CoordSwitch CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform fail iRet = ",
        Fraction(in.x), Fraction(in.y), from, to, out);
}

int ModelView::CoordFETo360(ModelPoint& in, ModelPoint& out)
{
    if (nullptr == handle)
        return s.Refuse("[  CLS_PTZSubPlayer::CoordFETo360 nullptr == m_pFcuHandle ]");
    if (!s.Has("VxAlgo_FCU_Point_Transform"))
        return s.Refuse(
            "[  CLS_PTZSubPlayer::CoordFETo360 nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform ]");
    Clamp(in);
    const int wholeX = in.x / 10000;
    const int wholeY = in.y / 10000;
    return Transform(
        "[  CLS_PTZSubPlayer::CoordFETo360 CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform fail iRet = ",
        static_cast<float>(wholeX), static_cast<float>(wholeY), 0x40000, 0x20000, out);
}

int ModelView::GetFishPoint(int iX, int iY, STRUCT_FishWindowRect rect, int& fishX, int& fishY)
{
    if (Empty(rect))
        return s.Refuse(Text(
            "[  CLS_PTZSubPlayer::GetFishPoint _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = ",
            rect.m_iWidth, " _rect.m_iHeight = ", rect.m_iHeight));
    ModelPoint in{Scale(iX, rect.m_iWidth), Scale(iY, rect.m_iHeight)};
    ModelPoint out;
    const int result = CoordSwitch(1 == createType ? 0x30000 : 0x20000, 0x40000, in, out);
    if (result < 0) {
        s.Warn(Text("[  CLS_PTZSubPlayer::GetFishPoint CoordSwitch fail iRet = ", result));
        return result;
    }
    fishX = out.x;
    fishY = out.y;
    return 0;
}

int ModelView::GetPtzType(int mode)
{
    const bool own = 0x200 == mode || 0x300 == mode || 0x400 == mode;
    return own ? 16 * mode : 0x1000;
}

int ModelView::CreatePtzDraw(const void* newHandle, Record para, int type)
{
    if (Kind::Ptz != kind)
        return 0;
    createType = para.Int(4);
    mode = para.Int(8);
    handle = newHandle;
    drawType = type;
    outline.clear();
    if (1 == drawType && 0x300 == mode) {
        ModelPoint centre{para.Int(48), para.Int(52)};
        ModelPoint panorama;
        CoordSwitch(0x40000, 0x20000, centre, panorama);
        para.Int(48, panorama.x).Int(52, panorama.y);
    }
    if (1 == drawType)
        return SetRectDraw(newHandle, para);
    return 0 == drawType ? SetFecDraw(newHandle, para) : 0;
}

int ModelView::SetFecDraw(const void* newHandle, const Record& para)
{
    if (nullptr == newHandle)
        return s.Refuse("[  CLS_PTZSubPlayer::SetFecDraw nullptr == _pfcuHandle]");
    if (!s.Has("VxAlgo_FCU_Process"))
        return s.Refuse("[  CLS_PTZSubPlayer::SetFecDraw CLS_VxAlgoFcu::VxAlgo_FCU_Process]");
    handle = newHandle;
    return Trace({para.Int(48), para.Int(52)}, para.Int(56));
}

int ModelView::SetFecDraw(ModelPoint centre, int zoom)
{
    if (nullptr == handle)
        return s.Refuse("[  CLS_PTZSubPlayer::SetFecDraw nullptr == m_pFcuHandle]");
    if (!s.Has("VxAlgo_FCU_Process"))
        return s.Refuse("[  CLS_PTZSubPlayer::SetFecDraw CLS_VxAlgoFcu::VxAlgo_FCU_Process]");
    return Trace(centre, zoom);
}

int ModelView::Trace(ModelPoint centre, int zoom)
{
    Record request(112);
    request.Int(0, 112).Int(4, createType).Int(8, mode).Int(12, 32).Int(16, 0);
    request.Float(20, Fraction(centre.x)).Float(24, Fraction(centre.y)).Float(28, Fraction(zoom));
    request.Int(32, 250).Int(36, 250).Int(40, GetPtzType(mode));
    const Event& answer = s.replay->CallBlind(
        "VxAlgo_FCU_Process", {handle, 0, Argument::Address(), Argument::Address()});
    const std::intptr_t some = -1;
    const Record result = Record(88).Int(0, 88).Pointer(16, reinterpret_cast<void*>(some));
    const Record table = Record(368).Pointer(16, reinterpret_cast<void*>(some));
    if (request.Bytes() != answer.records.at(0))
        throw Mismatch("the request of VxAlgo_FCU_Process");
    if (result.Bytes() != Record(answer.records.at(1)).Blanked(16).Bytes())
        throw Mismatch("the result record of VxAlgo_FCU_Process");
    if (table.Bytes() != Record(answer.records.at(2)).Blanked(16).Bytes())
        throw Mismatch("the line table of VxAlgo_FCU_Process");
    if (answer.result < 0) {
        s.Warn(
            Text("[  CLS_PTZSubPlayer::SetFecDraw CLS_VxAlgoFcu::VxAlgo_FCU_Process fail iRet = ",
                 static_cast<int>(answer.result)));
        return static_cast<int>(answer.result);
    }
    if (answer.outline.empty())
        return s.Refuse("[  CLS_PTZSubPlayer::SetFecDraw iLineNum <= 0 ]");
    outline.insert(outline.end(), answer.outline.begin(), answer.outline.end());
    return 0;
}

int ModelView::SetRectDraw(const void* newHandle, const Record& para)
{
    if (nullptr == newHandle)
        return s.Refuse("[  CLS_PTZSubPlayer::SetRectDraw nullptr == _pfcuHandle ]");
    handle = newHandle;
    return SetRectDraw({para.Int(48), para.Int(52)});
}

int ModelView::SetRectDraw(ModelPoint centre)
{
    const float left = Fraction(centre.x > 500 ? centre.x - 500 : 0);
    const float right = Fraction(centre.x < 9500 ? centre.x + 500 : 10000);
    const float top = Fraction(centre.y > 500 ? centre.y - 500 : 0);
    const float bottom = Fraction(std::min(centre.y, 9500) + 500);
    const STRUCT_DrawPoint corners[] = {{left, top}, {right, top}, {right, bottom}, {left, bottom}};
    for (int i = 0; i < 4; ++i)
        outline.push_back(std::make_shared<std::vector<STRUCT_DrawPoint>>(
            std::vector<STRUCT_DrawPoint>{corners[i], corners[(i + 1) % 4]}));
    return 0;
}

int ModelView::GetPTZDrawData(Outline& data)
{
    if (Kind::Planted == kind)
        return static_cast<int>(s.replay->Callback("GetPTZDrawData", {}).result);
    if (Kind::Ptz == kind)
        data = outline;
    return 0;
}

}  // namespace walk
