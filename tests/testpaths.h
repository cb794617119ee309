#pragma once

// Where the project's files and its built programs stand. One source file knows it, so
// that a checkout in another folder compiles the same text and finds it in the cache.

namespace vorlan {

extern char const* const k_SourceDir;
extern char const* const k_BinDir;

} // namespace vorlan
