#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A camera device, as a driver of the kernel plays it: one path that is no file, and on it the
/// requests of a capture device whose pictures are read from memory that it shares. The library is
/// linked before the C library and stands before its open(), ioctl() and close().
namespace fake_camera {

constexpr const char* CONST_PATH = "/dev/video-test";

/// A kind of pictures that the camera offers, of one size.
struct Kind
{
    std::uint32_t fourCc;  ///< V4L2_PIX_FMT_*
    int width;
    int height;
    std::vector<std::string> pictures;  ///< which it gives again and again
};

/// It is there from now on, as soon as nobody has the one before open any more: idle and with
/// pictures. Like most drivers it takes any kind that it is asked for, and answers with the first
/// where it has not got it.
void Plug(std::vector<Kind> kinds);

/// Who reads is told that the device has gone, and who opens that there is none.
void Unplug();

/// Another program has its pictures.
void SetBusy(bool busy);

/// From now on none is ready, until it is called with false.
void HoldPictures(bool hold);

/// The next picture is damaged on its way: the driver marks it and fills in half of it.
void DamageNext();

/// How often a picture was asked for while none was ready.
int AsksInVain();

/// Waits until a picture has been asked for in vain.
void AwaitAskInVain();

}  // namespace fake_camera
