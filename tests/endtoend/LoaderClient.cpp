// loader_client DIRECTORY DIRECTORY
//
// A client that says where it got the engine and the correction library from: 0 when these are the
// two directories. It does nothing about it itself; how it was linked and how it is started is what
// is tested.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include <dlfcn.h>

#include "VideoPlayer_FishEye/CLS_FishPlayer.h"
#include "VideoPlayer_FishEye/fec/CLS_VxAlgoFcu.h"
#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"

namespace {

using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;

std::string RealPath(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                           std::free);
    return real ? real.get() : "";
}

/// Whether a function comes from the file; says where it comes from.
bool IsFrom(void* function, const std::string& file)
{
    Dl_info info{};
    const bool found = nullptr != function && 0 != dladdr(function, &info);
    std::printf("%s: %s\n", file.c_str(), found ? info.dli_fname : "not found");
    return found && RealPath(info.dli_fname) == RealPath(file);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    CLS_FishPlayer* const library = CLS_FishPlayer::GetInstance();
    unsigned char header[12] = {12};
    int player = -1;
    int window = 0;
    const int created =
        library->CreateMainPlayer({3, CORRECT_TYPE_360}, &window, 0, header, 12, &player);
    const bool engine = IsFrom(reinterpret_cast<void*>(CLS_VxPlayer_SDK::RV_CreateSystem),
                               argv[1] + std::string("/libplaysdk.dylib"));
    const bool algorithm = IsFrom(reinterpret_cast<void*>(CLS_VxAlgoFcu::VxAlgo_FCU_Creat),
                                  argv[2] + std::string("/vx_algo_fcu.dylib"));
    const int deleted = library->FishPlayer_DeleteAllPlayer(player);
    return created == 0 && deleted == 0 && engine && algorithm ? 0 : 1;
}
