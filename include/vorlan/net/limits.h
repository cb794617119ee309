#pragma once

#include <cstddef>

namespace vorlan::net {

// The limits of one connection. Whatever breaks one closes the connection with a
// line in the log that says which.
struct Limits {
    // Bytes of a frame's body before and after the proof of the farm key.
    size_t frameBeforeProof = 4u << 10;
    size_t frame = 1u << 20;
    // Bytes of a message that travels in parts, put together.
    size_t message = 1u << 30;
    // Bytes of such messages that all connections of one server may have under way; above
    // it the one who holds most is closed. And how long the next part may take.
    size_t assembling = size_t{2} << 30;
    int partMs = 30'000;
    // Messages of one connection that are handled before the others have their turn.
    size_t messagesAtOnce = 64;
    // Bytes of live events that wait for a slow reader.
    size_t queued = 64u << 20;
    // A load goes on when fewer bytes than this wait.
    size_t lowWater = 256u << 10;
    // From the accepted socket to the proof.
    int handshakeMs = 10'000;
    // A host that does not answer is given up after this.
    int connectMs = 5'000;
    // What was queued before a Close may still go out for so long.
    int lingerMs = 2'000;
    // Connections of one server: all of them, and those without a proof yet.
    size_t connections = 20'000;
    size_t unproved = 512;
};

} // namespace vorlan::net
