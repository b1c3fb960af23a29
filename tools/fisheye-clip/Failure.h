#pragma once

#include <stdexcept>

namespace clip {

/// What the command line asks for makes no sense; the text says what and why.
struct BadUsage : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// Something could not be encoded or written; the text says what and why.
struct Failure : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

}  // namespace clip
