#pragma once

// What the Core is told and what it wants done.

#include "master/core/moment.h"
#include "master/core/record.h"

#include <boost/shared_ptr.hpp>
#include <corekit/log.h>
#include <corekit/uid.h>
#include <vorlan/fwd.h>
#include <vorlan/messages.h>
#include <vorlan/net/peer.h>

#include <memory>
#include <variant>
#include <vector>

namespace farm {

using namespace vorlan;

class StateSnapshot;

// Names one connection, never used twice by one process.
using PeerId = uint64_t;
using MessagePtr = boost::shared_ptr<Message const>;

// Who is behind an event: user, program, instance, address, version and the like, as the
// handshake proved them. Never changed, shared by all events of one connection.
using Identity = boost::shared_ptr<net::PeerInfo const>;

struct PeerConnected {
    PeerId peer = 0;
    Identity who;
};
struct PeerGone {
    PeerId peer = 0;
    Identity who;
};
struct PeerMessage {
    PeerId peer = 0;
    boost::shared_ptr<Message> message;
    Identity who;
};
// Time has passed; see Core::NextDeadline.
struct Tick {};
using Event = std::variant<PeerConnected, PeerGone, PeerMessage, Tick>;

struct SendTo {
    PeerId peer = 0;
    MessagePtr message;
};
// To many; the message needs to be encoded once only.
struct SendAll {
    std::shared_ptr<std::vector<PeerId> const> peers;
    MessagePtr message;
};
struct ClosePeer {
    PeerId peer = 0;
    String reason;
};
// Call Core::Pull for this peer while its queue is below its low-water mark.
struct LoadReady {
    PeerId peer = 0;
};
struct LogLine {
    LogLevel level{};
    String text;
};
// The state as it was in the middle of the turn, to be written for people.
struct DumpState {
    std::shared_ptr<StateSnapshot const> snapshot;
};
// A piece of the log of the distribution.
struct DispatchText {
    String text;
    bool begin = false; // of a new log
};
// The Master is to end.
struct StopProgram {};
using Effect =
    std::variant<SendTo, SendAll, ClosePeer, Record, LoadReady, LogLine, DumpState, DispatchText, StopProgram>;

} // namespace farm
