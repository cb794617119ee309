#include "testpaths.h"

namespace vorlan {

char const* const k_SourceDir = VORLAN_SOURCE_DIR;
char const* const k_BinDir = VORLAN_BIN_DIR;

} // namespace vorlan
