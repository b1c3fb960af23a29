#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tests/walk/Replay.h"

namespace walk {

// A second telling of what the library does, for the walk to hold it against: plain values, raw
// record bytes, and every line written out. It shares nothing with the library but the types of
// the arguments. Each operation goes through what has happened (Replay) and returns the result
// that it expects.

/// What all model objects know: the step that is gone through, and the entry points.
struct Setting
{
    Replay* replay = nullptr;
    std::set<std::string> absent;  ///< entry points whose pointers are null
    bool algorithmLoaded = true;

    bool Has(const char* entry) const { return absent.empty() || 0 == absent.count(entry); }
    void Warn(const std::string& text) const { replay->Warn(text); }
    void Inform(const std::string& text) const { replay->Inform(text); }
    int Refuse(const std::string& text) const
    {
        Warn(text);
        return -1;
    }
};

/// A place for an id that the library gets by pointer; where the walk does not know the address,
/// any will do.
struct IdPlace
{
    const void* address = nullptr;
    int value = 0;
};

/// The same points, bit by bit.
bool SameOutline(const Outline& model, const QVector<QVector<STRUCT_DrawPoint>>& real);

struct ModelPoint
{
    int x = 0;
    int y = 0;
};

/// A view of any class.
class ModelView
{
public:
    enum class Kind
    {
        Base,
        Source,
        FishEye,
        Wide180,
        Wide360,
        Lat,
        Ptz,
        Planted
    };

    ModelView(Setting& setting, Kind kind) : s(setting), kind(kind) {}

    void Destroy();
    int CreatePlayer(const void* handle, int mainId, Record para, const void* window, IdPlace* id);
    int DeletePlayer();
    int GetPTZDrawData(Outline& data);
    int CreatePtzDraw(const void* handle, Record para, int type);
    int Move(STRUCT_CtlPointParam point, STRUCT_FishWindowRect rect);
    int Move(int x, int y, STRUCT_FishWindowRect rect);
    int Zoom(int step);
    int PTZCtl(STRUCT_CtlParam param, int command);
    int GetPtzPara(Record& para);
    int GetWidePara(Record& para);
    int SetPtzPara(Record& para);
    int SetWidePara(Record& para);
    int SetFecCallBackFunc(const void* function, const void* user);

    static int GetPtzType(int mode);
    int SetFecDraw(const void* handle, const Record& para);
    int SetFecDraw(ModelPoint centre, int zoom);
    int SetRectDraw(const void* handle, const Record& para);
    int SetRectDraw(ModelPoint centre);
    int CoordSwitch(int from, int to, ModelPoint& in, ModelPoint& out);
    int CoordFETo360(ModelPoint& in, ModelPoint& out);
    int GetFishPoint(int x, int y, STRUCT_FishWindowRect rect, int& fishX, int& fishY);
    int FishEyeCorrectCal(double& newX, double& newY, double angleStep, double radiusStep) const;

    Setting& s;
    Kind kind;
    int main = -1;
    int sub = -1;
    const void* window = nullptr;
    Record create{88};
    const void* handle = nullptr;
    double x = 0;
    double y = 0;
    int createType = 0;
    int mode = 0;
    int drawType = 0;
    Outline outline;

private:
    int Turn(int x, STRUCT_FishWindowRect rect);
    int DragOnPicture(int dx, int dy);
    int DragThroughAlgorithm(STRUCT_CtlPointParam point, STRUCT_FishWindowRect rect);
    int Store(Record& para, double newX, double newY);
    int Trace(ModelPoint centre, int zoom);
    int Transform(const char* failText, float fx, float fy, int from, int to, ModelPoint& out);
};

using ModelViewPointer = std::shared_ptr<ModelView>;

/// A main player. A null pointer in the lists is a null that the walk has planted.
class ModelMain
{
public:
    explicit ModelMain(Setting& setting) : s(setting) {}

    void Construct();

    /// False when the views are left behind.
    bool Destroy();

    int CreateMainPlayer(STRUCT_FishEyeParam camera, const void* window, int streamType,
                         const unsigned char* header, int headSize, IdPlace* id);
    int CreateSubPlayers(STRUCT_FishEyeParam camera, const QMap<int, QVector<void*>>& windows,
                         STRUCT_FishDrawParam draw);
    int DeleteAllPlayer();
    int DeleteAllSubPlayer();
    int PutStreamToPlayer(int streamType, const unsigned char* data, int size);
    int EnableFishEye(bool enable);
    int EnableDraw(bool enable);
    int RegisterDrawCallback(int number);
    void FishEyeDrawCallBack();
    int DrawCalculate();
    int GetDefultCenterPoint(int index, int count, ModelPoint& point);
    int CorrectWindowCtl(int type, STRUCT_CtlParam param, int command, STRUCT_FishWindowRect rect);
    int DrawWindowCtl(int index, STRUCT_CtlPointParam point, int command,
                      STRUCT_FishWindowRect rect);
    int PTZWindowCtl(int index, STRUCT_CtlParam param, int command, STRUCT_FishWindowRect rect);
    int PTZCtl(int index, STRUCT_CtlParam param, int command);
    int Coord360ToFE(ModelPoint& in, ModelPoint& out);

    Setting& s;
    const void* self = nullptr;
    int id = -1;
    int correct = -1;
    const void* window = nullptr;
    const void* handle = nullptr;
    bool corrected = false;
    STRUCT_FishEyeParam camera{};
    bool drawEnabled = false;
    int callback = 0;  ///< number of the callback, 0 for none
    bool running = false;
    std::map<int, std::vector<ModelViewPointer>> views;

private:
    void LayOutPtz(STRUCT_FishEyeParam camera, const QVector<void*>& windows, int drawType);
    void LayOutOne(int type, STRUCT_FishEyeParam camera, void* window, int drawWindowType);
};

using ModelMainPointer = std::shared_ptr<ModelMain>;

/// The facade. A null pointer in the registry is a null that the walk has planted.
class ModelFacade
{
public:
    explicit ModelFacade(Setting& setting) : s(setting) {}

    int CreateSystem();
    int CreateMainPlayer(const ModelMainPointer& fresh, STRUCT_FishEyeParam camera,
                         const void* window, int streamType, const unsigned char* header,
                         int headSize, IdPlace* id);
    int CreateMainPlayerFromFile(const ModelMainPointer& fresh, const void* window, IdPlace* id);
    int CreateSubPlayer(STRUCT_FishEyeParam camera, int id,
                        const QMap<int, QVector<void*>>& windows, STRUCT_FishDrawParam draw);
    int CreatePlayerFromStream(const ModelMainPointer& fresh, STRUCT_FishEyeParam camera,
                               const void* window, const QMap<int, QVector<void*>>& windows,
                               int streamType, const unsigned char* header, int headSize,
                               IdPlace* id, STRUCT_FishDrawParam draw);
    int CreatePlayerFromFile(const ModelMainPointer& fresh, const void* window, IdPlace* id);
    int FishPlayerCreateSubPlayer(STRUCT_FishEyeParam camera, int id,
                                  const QMap<int, QVector<void*>>& windows,
                                  STRUCT_FishDrawParam draw);

    /// `abandoned` tells whether the player's views were left behind.
    int DeleteAllPlayer(int id, bool& abandoned);
    int DeleteAllSubPlayer(int id);
    int PutStreamToPlayer(int id, int streamType, const unsigned char* data, int size);
    int EnableFish(int id, bool enable);
    int EnableDraw(int id, bool enable);
    int RegisterDrawCallback(int id, int number);
    int CorrectWindowCtl(int id, int type, STRUCT_CtlParam param, int command,
                         STRUCT_FishWindowRect rect);
    int DrawWindowCtl(int id, int index, STRUCT_CtlPointParam point, int command,
                      STRUCT_FishWindowRect rect);
    int PTZWindowCtl(int id, int index, STRUCT_CtlParam param, int command,
                     STRUCT_FishWindowRect rect);
    int PTZCtl(int id, int index, STRUCT_CtlParam param, int command);

    Setting& s;
    std::map<int, ModelMainPointer> players;

private:
    ModelMain* Find(int id, const char* unknown, const char* null);
    int Register(const ModelMainPointer& fresh, int result, const IdPlace& id);
};

}  // namespace walk
