#include <vorlan/fwd.h>
#include <vorlan/keys.h>

namespace vorlan {

String const k_DontUpdateLongestTotal = "*";

} // namespace vorlan
