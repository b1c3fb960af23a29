#include "tests/walk/World.h"

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>

#include <QString>

namespace walk {

namespace {

World* s_current = nullptr;
std::thread::id s_walker;

/// What overlay threads do.
struct Overlays
{
    std::mutex mutex;
    std::condition_variable cycled;
    long cycles = 0;
    std::string trespass;
};

Overlays& Others()
{
    static Overlays* const overlays = new Overlays;  // outlives a thread that is left behind
    return *overlays;
}

/// The lines that an overlay thread may write.
bool IsOverlayLine(const std::string& text)
{
    static const char* const texts[] = {
        "\"_VX_\" \"VideoPlayerFishEye\" : [  CLS_MainPlayer::FishEyeDrawCallBack !pclsFish->m_blDrawEnabled ]",
        "\"_VX_\" \"VideoPlayerFishEye\" : [  CLS_MainPlayer::DrawCalculate nullptr == m_pfDrawCallback ]",
        "\"_VX_\" \"VideoPlayerFishEye\" : [  CLS_MainPlayer::DrawCalculate !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]",
        "\"_VX_\" \"VideoPlayerFishEye\" : [  CLS_MainPlayer::DrawCalculate nullptr == pPlayer ]"};
    return std::find(std::begin(texts), std::end(texts), text) != std::end(texts);
}

template <class T>
T At(const char* place)
{
    T value;
    std::memcpy(&value, place, sizeof(value));
    return value;
}

template <class T>
void Put(char* place, T value)
{
    std::memcpy(place, &value, sizeof(value));
}

constexpr int CONST_BUFFER_POINTS = 40000;  ///< that the library provides
constexpr int CONST_LINE_POINTS = 2500;     ///< that it reads of a line
constexpr int CONST_LINES = 22;

/// A point that tells where in the buffer it stands, any bits.
STRUCT_DrawPoint PointAt(std::uint32_t pattern, int index)
{
    const std::uint32_t bits[] = {(pattern + static_cast<std::uint32_t>(index)) * 2654435761U,
                                  pattern ^ static_cast<std::uint32_t>(index) << 7};
    STRUCT_DrawPoint point;
    std::memcpy(&point, bits, sizeof(point));
    return point;
}

}  // namespace

World::World(ByteSource& source) : m_source(source), m_values(source)
{
    s_current = this;
    s_walker = std::this_thread::get_id();
    m_previous = qInstallMessageHandler(Handle);
    fake::Reset();
    for (const char* name :
         {"RV_SetAVMode", "RV_SetVideoMode", "RV_CreateSystem", "RV_DeletePlayer", "RV_Play",
          "RV_PutStreamToPlayer", "RV_DeleteFishEyeCorrect", "RV_SetFishEyeCorrectCallBack",
          "VxAlgo_FCU_Release", "VxAlgo_FCU_Init"})
        Script(name, &World::AnswerStatus);
    Script("RV_CreatePlayerForSpecialNeeds", &World::AnswerId);
    Script("RV_SetFishEyeCorrectEnable", &World::AnswerId);
    Script("RV_CreateFishEyeCorrect", &World::CreateCorrect);
    Script("RV_GetFishEyeCorrectPara", &World::GetPara);
    Script("RV_SetFishEyeCorrectPara", &World::SetPara);
    Script("VxAlgo_FCU_Creat", &World::CreateHandle);
    Script("VxAlgo_FCU_Point_Transform", &World::TransformPoint);
    Script("VxAlgo_FCU_Process", &World::Trace);
}

World::~World()
{
    fake::Reset();
    qInstallMessageHandler(m_previous);
    s_current = nullptr;
}

void World::Script(const char* name, Reply reply)
{
    fake::Always(name, [this, reply](const fake::Call& call) {
        Event event;
        event.kind = Event::Kind::Call;
        event.text = call.name;
        event.arguments = call.arguments;
        event.records = call.records;
        event.result = (this->*reply)(call, event);
        m_events.push_back(std::move(event));
        return m_events.back().result;
    });
}

/// A call that no script answers has left no event: it shows as a nameless one.
std::vector<Event> World::TakeEvents()
{
    std::size_t calls = 0;
    for (const Event& event : m_events)
        calls += event.kind == Event::Kind::Call ? 1U : 0U;
    if (const std::vector<fake::Call> recorded = fake::TakeCalls(); recorded.size() > calls)
        m_events.emplace_back();
    return std::exchange(m_events, {});
}

bool World::IsWalker()
{
    return std::this_thread::get_id() == s_walker;
}

std::string World::Trespass()
{
    const std::lock_guard<std::mutex> lock(Others().mutex);
    return Others().trespass;
}

void World::AwaitCycle()
{
    Overlays& others = Others();
    std::unique_lock<std::mutex> lock(others.mutex);
    const long seen = others.cycles;
    others.cycled.wait(lock, [&] { return others.cycles != seen; });
}

void World::Handle(QtMsgType level, const QMessageLogContext& context, const QString& text)
{
    Event event;
    event.level = level;
    event.text = text.toStdString();
    const bool plain = nullptr != context.category &&
                       0 == std::strcmp(context.category, "default") && nullptr == context.file &&
                       0 == context.line && nullptr == context.function;
    if (!plain)
        event.text += " {context}";
    if (IsWalker() && nullptr != s_current) {
        s_current->m_events.push_back(std::move(event));
        return;
    }
    const std::lock_guard<std::mutex> lock(Others().mutex);
    if (QtWarningMsg != level || !IsOverlayLine(event.text))
        Others().trespass = event.text;
}

template <int number>
int World::Draw(int first, int second, DrawOutlines outlines)
{
    if (IsWalker()) {
        Event event;
        event.kind = Event::Kind::Callback;
        event.text = "callback";
        event.arguments = {number, first, second};
        event.outlines = std::move(outlines);
        s_current->m_events.push_back(std::move(event));
        return -1 - number;  // ignored
    }
    Overlays& others = Others();
    const std::lock_guard<std::mutex> lock(others.mutex);
    if (0 != first || 0 != second)
        others.trespass = "a callback with numbers";
    ++others.cycles;
    others.cycled.notify_all();
    return 0;
}

DrawCallback World::Callback(int number)
{
    return 1 == number ? &Draw<1> : &Draw<2>;
}

int World::Answer(const char* name, std::vector<std::intptr_t> arguments)
{
    Event event;
    event.kind = Event::Kind::Callback;
    event.text = name;
    event.arguments = std::move(arguments);
    event.result = s_current->Status();
    s_current->m_events.push_back(std::move(event));
    return static_cast<int>(s_current->m_events.back().result);
}

/// A result code: 0 as a rule.
int World::Status()
{
    static constexpr int failures[] = {-1, -2, -2, -5, std::numeric_limits<int>::min()};
    switch (m_source.Below(8)) {
    case 5:
        return m_source.Below(100);
    case 6:
        return m_obedient ? 1 : m_source.OneOf(failures);
    case 7:
        return m_obedient ? std::numeric_limits<int>::max() : m_values.Int();
    default:
        return 0;
    }
}

std::intptr_t World::AnswerStatus(const fake::Call&, Event&)
{
    return Status();
}

/// Few different ids, so that players meet under one.
std::intptr_t World::AnswerId(const fake::Call&, Event&)
{
    const int status = Status();
    return status < 0 ? status : m_source.Below(4);
}

/// Now and then the engine changes the record, or writes the id by itself.
std::intptr_t World::CreateCorrect(const fake::Call& call, Event& event)
{
    char* const record = call.Pointer<char>(1);
    if (m_source.OneIn(4))
        Put(record + 4 * m_source.Below(18), m_values.Int());
    if (m_source.OneIn(8))
        Put(record + 72 + 8 * m_source.Below(2), m_values.Window());
    event.written.assign(record, 88);
    if (m_source.OneIn(4)) {
        event.idWritten = true;
        event.id = m_values.Int();
        *call.Pointer<int>(4) = event.id;
    }
    const int status = Status();
    return status < 0 ? status : m_source.Below(100);
}

/// The engine gives back what was set, or something of its own.
std::intptr_t World::GetPara(const fake::Call& call, Event& event)
{
    static constexpr int edges[] = {0, 1, 5000, 9999, 10000};
    char* const record = call.Pointer<char>(3);
    const int size = call.Int(4);
    const std::string place = std::to_string(call.Int(0)) + ' ' + std::to_string(call.Int(1)) +
                              ' ' + std::to_string(size);
    const auto known = m_paras.find(place);
    if (known != m_paras.end() && !m_source.OneIn(4))
        std::memcpy(record, known->second.data(), known->second.size());
    else if (8 == size) {
        Put(record, m_values.Int());
        Put(record + 4, m_source.Coin()
                            ? static_cast<float>(m_source.Below(721) - 360) + m_values.Float()
                            : m_values.Float());
    } else
        for (int i = 0; i < size / 4; ++i)
            Put(record + 4 * i, m_source.OneIn(4) ? m_source.OneOf(edges) : m_values.Int());
    event.written.assign(record, static_cast<std::size_t>(size));
    return Status();
}

std::intptr_t World::SetPara(const fake::Call& call, Event& event)
{
    char* const record = call.Pointer<char>(3);
    const int size = call.Int(4);
    m_paras[std::to_string(call.Int(0)) + ' ' + std::to_string(call.Int(1)) + ' ' +
            std::to_string(size)] = call.records.at(0);
    if (m_source.OneIn(8))
        Put(record + 4 * m_source.Below(size / 4), m_values.Int());
    event.written.assign(record, static_cast<std::size_t>(size));
    return Status();
}

std::intptr_t World::CreateHandle(const fake::Call&, Event&)
{
    static char objects[4];
    if (!m_obedient && m_source.OneIn(16))
        return 0;
    return reinterpret_cast<std::intptr_t>(&objects[m_source.Below(4)]);
}

/// An answer, the last one once more, or nothing written at all.
std::intptr_t World::TransformPoint(const fake::Call& call, Event& event)
{
    char* const point = call.Pointer<char>(2);
    if (m_source.OneIn(4))
        std::memcpy(point, m_lastPoint, sizeof(m_lastPoint));
    else if (!m_source.OneIn(16)) {
        Put(point, m_values.Float());
        Put(point + 4, m_values.Float());
    }
    std::memcpy(m_lastPoint, point, sizeof(m_lastPoint));
    event.written.assign(point, 8);
    return Status();
}

int World::PointCount()
{
    static constexpr int limits[] = {-1,    std::numeric_limits<int>::min(), 2499, 2500, 2501, 3000,
                                     40000, std::numeric_limits<int>::max()};
    switch (m_source.Below(32)) {
    case 30:
        return m_source.OneOf(limits);
    case 31:
        return m_values.Int();
    default:
        return m_source.Below(9);
    }
}

/// A line's count and points. The points of the first line stand at the start of the buffer unless
/// the line is moved; the pointers of the others are null until they are set.
void World::TraceLine(char* place, float* buffer, bool first, Event& event)
{
    const int claimed = PointCount();
    const int count = std::clamp(claimed, 0, CONST_LINE_POINTS);
    const int offset = m_source.Below(CONST_BUFFER_POINTS - CONST_LINE_POINTS + 1);
    const bool moved = !first || m_source.OneIn(4);
    const bool null = m_source.OneIn(16);
    const auto pattern = static_cast<std::uint32_t>(m_source.Byte());
    Put(place, claimed);
    if (null)
        Put(place + 8, static_cast<float*>(nullptr));
    else if (moved)
        Put(place + 8, buffer + 2 * offset);
    auto line = std::make_shared<std::vector<STRUCT_DrawPoint>>();
    for (int i = 0; i < count && !null; ++i) {
        line->push_back(PointAt(pattern, i));
        std::memcpy(buffer + 2 * ((moved ? offset : 0) + i), &line->back(),
                    sizeof(STRUCT_DrawPoint));
    }
    event.outline.push_back(std::move(line));
}

std::intptr_t World::Trace(const fake::Call& call, Event& event)
{
    static constexpr int limits[] = {0,  -1,   std::numeric_limits<int>::min(), 21, 22,
                                     23, 1000, std::numeric_limits<int>::max()};
    char* const table = At<char*>(call.Pointer<char>(3) + 16);
    float* const buffer = At<float*>(table + 16);
    const int lines = m_source.OneIn(16) ? m_source.OneOf(limits) : 1 + m_source.Below(4);
    Put(table, lines);
    // Lines that overlap in the buffer would change each other: each gets its points anew, in
    // order, so the last one to write a point decides.
    for (int i = 0; i < std::min(lines, CONST_LINES); ++i)
        TraceLine(table + 8 + 16 * i, buffer, 0 == i, event);
    for (int i = 0; i < std::min(lines, CONST_LINES); ++i) {
        const float* const points = At<float*>(table + 16 + 16 * i);
        auto line = std::make_shared<std::vector<STRUCT_DrawPoint>>(*event.outline[i]);
        if (!line->empty())
            std::memcpy(line->data(), points, line->size() * sizeof(STRUCT_DrawPoint));
        event.outline[i] = std::move(line);
    }
    return Status();
}

}  // namespace walk
