#include <vorlan/version.h>

#include <corekit/sformat.h>

namespace vorlan {

corekit::String VersionText(unsigned version) {
    return corekit::SFormat("%u.%u.%u", version / 10000, version / 100 % 100, version % 100);
}

} // namespace vorlan
