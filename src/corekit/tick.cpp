#include <corekit/tick.h>

namespace corekit {

constinit Tick::SignalType Tick::s_Timer0250;

} // namespace corekit
