#pragma once

/// A name server that does not answer, for one name. The library is linked before the C library and
/// stands before its getaddrinfo().
namespace fake_names {

constexpr const char* CONST_SILENT = "silent.invalid";

/// Waits until somebody asks for the silent name.
void AwaitQuestion();

/// Who asks now and has got no answer.
int Waiting();

/// Answers whoever asks or will ask that there is no such name.
void Answer();

}  // namespace fake_names
