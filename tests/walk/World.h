#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <QtGlobal>

#include "VideoPlayer_FishEye/CLS_FishPlayer.h"
#include "tests/support/Recorder.h"
#include "tests/walk/ByteSource.h"
#include "tests/walk/Values.h"

namespace walk {

/// A polyline, and the outline of one view.
using Polyline = std::shared_ptr<const std::vector<STRUCT_DrawPoint>>;
using Outline = std::vector<Polyline>;

/// One thing that the library did.
struct Event
{
    enum class Kind
    {
        Line,
        Call,
        Callback
    };

    Kind kind = Kind::Line;
    QtMsgType level = QtDebugMsg;
    std::string text;  ///< of a line, or the name of what was called
    std::vector<std::intptr_t> arguments;
    std::vector<std::string> records;  ///< as they came in
    DrawOutlines outlines;             ///< what the client's callback was given

    // What the other side answered.
    std::intptr_t result = 0;
    std::string written;  ///< the record behind the pointer, afterwards
    bool idWritten = false;
    int id = 0;       ///< what stands behind the id pointer, if it was written
    Outline outline;  ///< of VxAlgo_FCU_Process
};

/// Everything round the library: an engine and an algorithm library that answer as the source of a
/// walk decides, the log, and the client's callbacks. What the library does on the thread of the
/// walk is kept in order; overlay threads are only held to what they may do at all. One at a time.
class World
{
public:
    explicit World(ByteSource& source);
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    /// While obedient, nothing that is called fails.
    void SetObedient(bool obedient) { m_obedient = obedient; }
    bool Obedient() const { return m_obedient; }

    /// What happened since the last time, oldest first.
    std::vector<Event> TakeEvents();

    /// The first thing that an overlay thread must not have done, or an empty text.
    static std::string Trespass();

    /// Waits until an overlay thread has called a callback once more.
    static void AwaitCycle();

    /// The two callbacks of the client.
    static DrawCallback Callback(int number);

    /// A call of something that the walk itself puts in the library's way.
    static int Answer(const char* name, std::vector<std::intptr_t> arguments);

    /// False on overlay threads.
    static bool IsWalker();

private:
    using Reply = std::intptr_t (World::*)(const fake::Call&, Event&);

    static void Handle(QtMsgType level, const QMessageLogContext& context, const QString& text);

    template <int number>
    static int Draw(int first, int second, DrawOutlines outlines);

    void Script(const char* name, Reply reply);
    int Status();
    std::intptr_t AnswerStatus(const fake::Call& call, Event& event);
    std::intptr_t AnswerId(const fake::Call& call, Event& event);
    std::intptr_t CreateCorrect(const fake::Call& call, Event& event);
    std::intptr_t GetPara(const fake::Call& call, Event& event);
    std::intptr_t SetPara(const fake::Call& call, Event& event);
    std::intptr_t CreateHandle(const fake::Call& call, Event& event);
    std::intptr_t TransformPoint(const fake::Call& call, Event& event);
    std::intptr_t Trace(const fake::Call& call, Event& event);
    void TraceLine(char* place, float* buffer, bool first, Event& event);
    int PointCount();

    ByteSource& m_source;
    Values m_values;
    bool m_obedient = false;
    std::vector<Event> m_events;
    std::map<std::string, std::string> m_paras;  ///< what was last set, by its place
    char m_lastPoint[8] = {};                    ///< what a conversion answered
    QtMessageHandler m_previous;
};

}  // namespace walk
