// Decodes bytes into a walk over the whole interface of the manager library and stops at the first
// step that is not as the model says.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "tests/walk/Walk.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr int CONST_STEPS = 2000;
    walk::GivenBytes bytes(data, size);
    const std::string difference = walk::Walk(bytes, /*overlays=*/false).Run(CONST_STEPS);
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\n", difference.c_str());
        std::abort();
    }
    return 0;
}
