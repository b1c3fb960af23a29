#include "tests/viewer/FakeCamera.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstring>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

#include <dlfcn.h>
#include <linux/videodev2.h>
#include <sys/mman.h>
#include <sys/types.h>
#include <unistd.h>

#define EXPORTED __attribute__((visibility("default")))

namespace fake_camera {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds CONST_PERIOD{20};
constexpr std::uint32_t CONST_BUFFERS = 4;
constexpr std::uint32_t CONST_BUFFER_BYTES = 1 << 20;

/// All of it guarded by the mutex.
struct Camera
{
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Kind> kinds;  ///< none: it is not there
    bool busy = false;
    bool holds = false;
    bool damages = false;
    int asksInVain = 0;

    int descriptor = -1;       ///< of its memory, which is what it is opened as
    bool gone = false;         ///< unplugged while it was open
    std::optional<Kind> kind;  ///< that it gives, also when others are plugged in
    std::deque<std::uint32_t> queued;
    bool streams = false;
    std::size_t next = 0;
    Clock::time_point due;
};

Camera& TheCamera()
{
    static auto* const camera = new Camera;  // readers may outlive the program's end
    return *camera;
}

int Refuse(int error)
{
    errno = error;
    return -1;
}

int Open(Camera& camera)
{
    if (camera.kinds.empty())
        return Refuse(ENOENT);
    if (camera.descriptor >= 0)
        return Refuse(EBUSY);  // one reader at a time: none may be left over
    camera.descriptor = ::memfd_create("camera", 0);
    if (::ftruncate(camera.descriptor, off_t{CONST_BUFFERS} * CONST_BUFFER_BYTES) != 0)
        return -1;
    camera.gone = false;
    camera.kind = camera.kinds.front();
    camera.queued.clear();
    camera.streams = false;
    return camera.descriptor;
}

void Describe(const Camera& camera, v4l2_format& format)
{
    format.fmt.pix = {};
    format.fmt.pix.pixelformat = camera.kind->fourCc;
    format.fmt.pix.width = static_cast<std::uint32_t>(camera.kind->width);
    format.fmt.pix.height = static_cast<std::uint32_t>(camera.kind->height);
    format.fmt.pix.sizeimage = CONST_BUFFER_BYTES;
    format.fmt.pix.field = V4L2_FIELD_NONE;
    // Of compressed pictures no size is expected; the uncompressed ones are all of one.
    const bool compressed = V4L2_PIX_FMT_MJPEG == camera.kind->fourCc ||
                            V4L2_PIX_FMT_H264 == camera.kind->fourCc ||
                            V4L2_PIX_FMT_MPEG4 == camera.kind->fourCc;
    if (!compressed)
        format.fmt.pix.sizeimage = static_cast<std::uint32_t>(camera.kind->pictures.front().size());
}

int Dequeue(Camera& camera, v4l2_buffer& buffer)
{
    if (!camera.streams || camera.queued.empty())
        return Refuse(EINVAL);
    if (camera.holds || Clock::now() < camera.due) {
        camera.asksInVain += camera.holds ? 1 : 0;
        camera.changed.notify_all();
        return Refuse(EAGAIN);
    }
    const std::string& picture = camera.kind->pictures[camera.next];
    camera.next = (camera.next + 1) % camera.kind->pictures.size();
    camera.due += CONST_PERIOD;
    buffer.index = camera.queued.front();
    camera.queued.pop_front();
    const bool damaged = std::exchange(camera.damages, false);
    buffer.bytesused = static_cast<std::uint32_t>(damaged ? picture.size() / 2 : picture.size());
    buffer.flags = V4L2_BUF_FLAG_MAPPED | V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC |
                   (damaged ? V4L2_BUF_FLAG_ERROR : 0);
    const auto stamp = std::chrono::duration_cast<std::chrono::microseconds>(
        (camera.due - CONST_PERIOD).time_since_epoch());
    buffer.timestamp.tv_sec = stamp.count() / 1000000;
    buffer.timestamp.tv_usec = stamp.count() % 1000000;
    const auto place = off_t{buffer.index} * CONST_BUFFER_BYTES;
    return ::pwrite(camera.descriptor, picture.data(), picture.size(), place) < 0 ? -1 : 0;
}

int Answer(Camera& camera, unsigned long request, void* argument)
{
    if (camera.gone)
        return Refuse(ENODEV);
    switch (request) {
    case VIDIOC_QUERYCAP: {
        auto& answer = *static_cast<v4l2_capability*>(argument);
        answer = {};
        answer.capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
        return 0;
    }
    case VIDIOC_G_INPUT:
        *static_cast<int*>(argument) = 0;
        return 0;
    case VIDIOC_ENUMINPUT: {
        auto& input = *static_cast<v4l2_input*>(argument);
        return 0 == input.index ? 0 : Refuse(EINVAL);
    }
    case VIDIOC_ENUM_FMT: {
        auto& format = *static_cast<v4l2_fmtdesc*>(argument);
        if (format.index >= camera.kinds.size())
            return Refuse(EINVAL);
        format.pixelformat = camera.kinds[format.index].fourCc;
        return 0;
    }
    case VIDIOC_G_FMT:
        Describe(camera, *static_cast<v4l2_format*>(argument));
        return 0;
    case VIDIOC_S_FMT: {
        if (camera.busy)
            return Refuse(EBUSY);
        auto& format = *static_cast<v4l2_format*>(argument);
        camera.kind = camera.kinds.front();
        for (const Kind& kind : camera.kinds)
            if (kind.fourCc == format.fmt.pix.pixelformat)
                camera.kind = kind;
        Describe(camera, format);
        return 0;
    }
    case VIDIOC_G_PARM:
    case VIDIOC_S_PARM:
        static_cast<v4l2_streamparm*>(argument)->parm.capture.timeperframe = {
            static_cast<std::uint32_t>(CONST_PERIOD.count()), 1000};
        return 0;
    case VIDIOC_REQBUFS:
        static_cast<v4l2_requestbuffers*>(argument)->count = CONST_BUFFERS;
        return 0;
    case VIDIOC_QUERYBUF: {
        auto& buffer = *static_cast<v4l2_buffer*>(argument);
        buffer.length = CONST_BUFFER_BYTES;
        buffer.m.offset = buffer.index * CONST_BUFFER_BYTES;
        return 0;
    }
    case VIDIOC_QBUF:
        camera.queued.push_back(static_cast<v4l2_buffer*>(argument)->index);
        return 0;
    case VIDIOC_DQBUF:
        return Dequeue(camera, *static_cast<v4l2_buffer*>(argument));
    case VIDIOC_STREAMON:
        camera.streams = true;
        camera.next = 0;
        camera.due = Clock::now() + CONST_PERIOD;
        return 0;
    case VIDIOC_STREAMOFF:
        camera.streams = false;
        return 0;
    default:
        return Refuse(ENOTTY);
    }
}

/// What stands behind a function of this library.
template <typename Function>
Function* Real(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

/// A descriptor, or nothing for another file.
std::optional<int> OpenIfCamera(const char* path)
{
    if (nullptr == path || 0 != std::strcmp(path, CONST_PATH))
        return std::nullopt;
    Camera& camera = TheCamera();
    const std::lock_guard<std::mutex> lock(camera.mutex);
    return Open(camera);
}

}  // namespace

EXPORTED void Plug(std::vector<Kind> kinds)
{
    constexpr std::chrono::minutes CONST_PATIENCE{1};  // then readers are told that it is open
    Camera& camera = TheCamera();
    std::unique_lock<std::mutex> lock(camera.mutex);
    camera.changed.wait_for(lock, CONST_PATIENCE, [&] { return camera.descriptor < 0; });
    camera.kinds = std::move(kinds);
    camera.busy = camera.holds = camera.damages = false;
    camera.asksInVain = 0;
}

EXPORTED void Unplug()
{
    Camera& camera = TheCamera();
    const std::lock_guard<std::mutex> lock(camera.mutex);
    camera.kinds.clear();
    camera.gone = true;
}

EXPORTED void SetBusy(bool busy)
{
    Camera& camera = TheCamera();
    const std::lock_guard<std::mutex> lock(camera.mutex);
    camera.busy = busy;
}

EXPORTED void HoldPictures(bool hold)
{
    Camera& camera = TheCamera();
    const std::lock_guard<std::mutex> lock(camera.mutex);
    camera.holds = hold;
}

EXPORTED void DamageNext()
{
    Camera& camera = TheCamera();
    const std::lock_guard<std::mutex> lock(camera.mutex);
    camera.damages = true;
}

EXPORTED int AsksInVain()
{
    Camera& camera = TheCamera();
    const std::lock_guard<std::mutex> lock(camera.mutex);
    return camera.asksInVain;
}

EXPORTED void AwaitAskInVain()
{
    Camera& camera = TheCamera();
    std::unique_lock<std::mutex> lock(camera.mutex);
    const int before = camera.asksInVain;
    camera.changed.wait(lock, [&] { return camera.asksInVain > before; });
}

}  // namespace fake_camera

extern "C" EXPORTED int open64(const char* path, int flags, ...)
{
    if (const auto descriptor = fake_camera::OpenIfCamera(path))
        return *descriptor;
    va_list more;
    va_start(more, flags);
    const auto mode = va_arg(more, unsigned);
    va_end(more);
    static auto* const real = fake_camera::Real<int(const char*, int, ...)>("open64");
    return real(path, flags, mode);
}

extern "C" EXPORTED int ioctl(int descriptor, unsigned long request, ...)
{
    va_list more;
    va_start(more, request);
    void* const argument = va_arg(more, void*);
    va_end(more);
    {
        fake_camera::Camera& camera = fake_camera::TheCamera();
        const std::lock_guard<std::mutex> lock(camera.mutex);
        if (descriptor >= 0 && descriptor == camera.descriptor)
            return fake_camera::Answer(camera, static_cast<unsigned>(request), argument);
    }
    static auto* const real = fake_camera::Real<int(int, unsigned long, ...)>("ioctl");
    return real(descriptor, request, argument);
}

extern "C" EXPORTED int close(int descriptor)
{
    {
        fake_camera::Camera& camera = fake_camera::TheCamera();
        const std::lock_guard<std::mutex> lock(camera.mutex);
        if (descriptor >= 0 && descriptor == camera.descriptor) {
            camera.descriptor = -1;
            camera.changed.notify_all();
        }
    }
    static auto* const real = fake_camera::Real<int(int)>("close");
    return real(descriptor);
}
