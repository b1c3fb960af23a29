#pragma once

#include <chrono>

/// A name server that does not answer, for one name. The library is linked before the C library and
/// stands before its getaddrinfo().
namespace fake_names {

constexpr const char* CONST_SILENT = "silent.invalid";

/// After which a test that waits for an asker, or an asker for its answer, fails and does not hang.
constexpr std::chrono::seconds CONST_PATIENCE{120};

/// Waits until so many ask for the silent name; false where they do not come.
bool AwaitQuestions(int count);

/// Who asks now and has got no answer.
int Waiting();

/// Answers all who ask now that there is no such name.
void Answer();

}  // namespace fake_names
