#pragma once

#include "loop.h"

#include <vorlan/ippeer.h>

#include <functional>
#include <vector>

namespace vorlan::net {

// Finds the addresses of a host and calls `done` on the loop, with none and a
// reason when there are none. A name is looked up on a thread of its own, which may
// outlast the loop: a name server that does not answer must hold up nobody's end.
void Resolve(Loop& loop, IPPeer const& peer, std::function<void(std::vector<Endpoint>, String const&)> done);

} // namespace vorlan::net
