#include "viewer/WindowPicture.h"

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

namespace viewer {

namespace {

struct Free
{
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, Free>;

}  // namespace

QImage PictureOf(WId window)
{
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(nullptr, nullptr), &xcb_disconnect);
    const auto id = static_cast<xcb_window_t>(window);
    const Reply<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(connection.get(), xcb_get_geometry(connection.get(), id), nullptr));
    if (!size)
        return {};
    const Reply<xcb_get_image_reply_t> image(
        xcb_get_image_reply(connection.get(),
                            xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, id, 0, 0,
                                          size->width, size->height, ~0U),
                            nullptr));
    if (!image || xcb_get_image_data_length(image.get()) != 4 * size->width * size->height)
        return {};
    return QImage(xcb_get_image_data(image.get()), size->width, size->height, QImage::Format_RGB32)
        .copy();
}

}  // namespace viewer
