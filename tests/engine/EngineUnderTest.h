// The engine as a client has it: opened by its file name, every entry point by its exported name.
#pragma once

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "engine/PlaySdk.h"
#include "tests/engine/TestClip.h"

namespace test {

/// The entry point of that name; throws where there is none.
inline void* EntryPoint(const char* name)
{
    static void* library = dlopen("libplaysdk.dylib", RTLD_LAZY);
    if (!library)
        throw std::runtime_error(dlerror());
    void* found = dlsym(library, name);
    if (!found)
        throw std::runtime_error(std::string("no entry point ") + name);
    return found;
}

/// RV(RV_Play)(player): the exported function, with the signature of the public header.
#define RV(name) (reinterpret_cast<decltype(&::name)>(::test::EntryPoint(#name)))

/// How long a test waits for what must come; never waited out when all is well.
constexpr std::chrono::seconds PATIENCE{60};

/// Receives a view's pictures.
class Images
{
public:
    struct Image
    {
        int width = 0;
        int height = 0;
        Bytes pixels;

        Colour At(double x, double y) const
        {
            const int column = static_cast<int>(x * width);
            const int row = static_cast<int>(y * height);
            const std::uint8_t* pixel =
                pixels.data() + 4 * (static_cast<long>(row) * width + column);
            return {double(pixel[2]), double(pixel[1]), double(pixel[0])};
        }
    };

    static void Receive(int player, int correct, void* bgra, unsigned int width,
                        unsigned int height, void* self)
    {
        static_cast<Images*>(self)->Add(player, correct, static_cast<std::uint8_t*>(bgra),
                                        static_cast<int>(width), static_cast<int>(height));
    }

    /// The newest picture, as soon as there were `count` of them; an empty one when they do not
    /// come.
    Image Await(int count)
    {
        std::unique_lock lock(m_lock);
        m_news.wait_for(lock, PATIENCE, [&] { return m_count >= count; });
        return m_count >= count ? m_last : Image{};
    }

    /// The newest picture, as soon as one satisfies the condition.
    template <typename Condition>
    bool AwaitOne(Condition&& condition, std::chrono::steady_clock::duration patience = PATIENCE)
    {
        std::unique_lock lock(m_lock);
        return m_news.wait_for(lock, patience, [&] { return m_count > 0 && condition(m_last); });
    }

    int Count()
    {
        std::lock_guard lock(m_lock);
        return m_count;
    }
    int Player()
    {
        std::lock_guard lock(m_lock);
        return m_player;
    }
    int Correct()
    {
        std::lock_guard lock(m_lock);
        return m_correct;
    }

private:
    void Add(int player, int correct, const std::uint8_t* bgra, int width, int height)
    {
        {
            std::lock_guard lock(m_lock);
            m_player = player;
            m_correct = correct;
            m_last.width = width;
            m_last.height = height;
            m_last.pixels.assign(bgra, bgra + 4L * width * height);
            ++m_count;
        }
        m_news.notify_all();
    }

    std::mutex m_lock;
    std::condition_variable m_news;
    Image m_last;
    int m_count = 0;
    int m_player = 0;
    int m_correct = 0;
};

/// A player without a window; deleted at the end.
class TestPlayer
{
public:
    explicit TestPlayer(const char* fourCc = "AUTO", void* window = nullptr, bool search = false)
        : TestPlayer({std::uint8_t(fourCc[0]), std::uint8_t(fourCc[1]), std::uint8_t(fourCc[2]),
                      std::uint8_t(fourCc[3]), 0, 0, 0, std::uint8_t(search ? 0 : 1)},
                     window)
    {}
    /// With the stream description of the creation record.
    explicit TestPlayer(const std::array<std::uint8_t, 8>& stream, void* window = nullptr)
    {
        RvPlayerCreation creation{};
        creation.iSize = sizeof(creation);
        creation.pWindow = window;
        std::copy(stream.begin(), stream.end(), creation.aucStream);
        m_id = RV(RV_CreatePlayerForSpecialNeeds)(2, &creation, sizeof(creation), 0);
    }
    ~TestPlayer() { Delete(); }
    TestPlayer(const TestPlayer&) = delete;
    TestPlayer& operator=(const TestPlayer&) = delete;

    int Id() const { return m_id; }
    int Delete() { return RV(RV_DeletePlayer)(std::exchange(m_id, -1)); }
    int Play() { return RV(RV_Play)(m_id); }

    int Put(const Bytes& bytes) { return Put(bytes.data(), bytes.size()); }
    int Put(const std::uint8_t* bytes, std::size_t size)
    {
        return RV(RV_PutStreamToPlayer)(m_id, const_cast<std::uint8_t*>(bytes),
                                        static_cast<int>(size));
    }
    int End() { return RV(RV_PlayerControl)(m_id, RV_CONTROL_END_OF_STREAM, nullptr, 0); }

    /// A view without a window.
    int AddView(int mode, int mount = RV_MOUNT_CEILING, int x = 5000, int y = 5000,
                int zoom = 10000, void* window = nullptr)
    {
        RvCreateCorrect record{};
        record.iSize = sizeof(record);
        record.iCreateType = mount;
        record.iCorrectMode = mode;
        record.iPositionX = x;
        record.iPositionY = y;
        record.iZoom = zoom;
        int id = -1;
        return RV(RV_CreateFishEyeCorrect)(m_id, &record, sizeof(record), window, &id);
    }

    /// Switches the main window to the fisheye picture; its view's id.
    int Fisheye(int mount = RV_MOUNT_CEILING)
    {
        RvCreateCorrect record{};
        record.iSize = sizeof(record);
        record.iCreateType = mount;
        return RV(RV_SetFishEyeCorrectEnable)(m_id, 1, &record);
    }

    int Listen(int view, Images& images, int width = 256, int height = 256)
    {
        RV(RV_SetPlayRectEx)(m_id, view, width, height);
        return RV(RV_SetFishEyeCorrectCallBack)(m_id, view, Images::Receive, &images);
    }

    RvVideoParam Describe() const
    {
        RvVideoParam param{};
        param.iSize = sizeof(param);
        RV(RV_GetVideoParam)(m_id, &param, sizeof(param));
        return param;
    }

    RvLens Lens() const
    {
        RvLens lens{};
        RV(RV_PlayerControl)(m_id, RV_CONTROL_GET_LENS, &lens, sizeof(lens));
        return lens;
    }
    int SetLens(RvLens lens)
    {
        lens.iSize = sizeof(lens);
        return RV(RV_PlayerControl)(m_id, RV_CONTROL_SET_LENS, &lens, sizeof(lens));
    }

private:
    int m_id;
};

inline bool Near(const Colour& a, const Colour& b, double tolerance)
{
    return std::abs(a.r - b.r) <= tolerance && std::abs(a.g - b.g) <= tolerance &&
           std::abs(a.b - b.b) <= tolerance;
}

}  // namespace test
