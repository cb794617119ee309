#pragma once

// Which thread is the main one: that of the windows, or of the loop in their place.

namespace corekit {

// The calling thread is the main thread: the one that started the program, until
// another one has adopted the role.
bool IsMainThread();
// The calling thread is the main one from now on. For programs whose loop runs on
// another thread than the one that started them.
void BecomeMainThread();

// A debug build logs the caller's call stack and aborts when this is not the main
// thread; a release build does nothing.
#ifndef NDEBUG
void AssertMainThread();
#else
inline void AssertMainThread() {}
#endif

} // namespace corekit
