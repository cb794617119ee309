#pragma once

#include <boost/shared_ptr.hpp>
#include <corekit/string.h>
#include <vorlan/net/peer.h>

#include <cstddef>
#include <cstdint>
#include <functional>

namespace vorlan {
class Message;
}

namespace vorlan::net {

// A message as it goes over the wire, frame or parts, so that a broadcast is
// encoded once. Constant; any thread.
class EncodedMessage {
public:
    // Throws ArgumentException for a message longer than a receiver would take.
    static boost::shared_ptr<EncodedMessage const> Encode(Message const& message);
    explicit EncodedMessage(String bytes) : m_bytes(std::move(bytes)) {}
    size_t Size() const { return m_bytes.size(); }
    String const& Bytes() const { return m_bytes; }

private:
    String const m_bytes;
};

// How a message counts against the bound of the queue.
enum class Traffic {
    Live, // an event: too many of them waiting drop the peer
    Load, // a piece of a load, sent while the queue is under its low-water mark: never counts
};

// Connection is one proven peer of this program.
// Owner: shared by the Server or Client and whoever holds the pointer; it stays
// valid after its end, and what is sent then is dropped.
// Works with: Handlers, which hear what happens to it.
// Thread: any.
// Always: messages leave in the order of the Send calls; nothing here waits.
class Connection {
public:
    virtual ~Connection() = default;
    Connection(Connection const&) = delete;
    Connection& operator=(Connection const&) = delete;

    // Encodes on the calling thread and queues. A message that is too long is
    // dropped with an error in the log.
    virtual void Send(boost::shared_ptr<Message const> const& message, Traffic traffic = Traffic::Live) = 0;
    virtual void SendEncoded(boost::shared_ptr<EncodedMessage const> const& message,
                             Traffic traffic = Traffic::Live) = 0;
    // Bytes of both kinds of traffic that have not been handed to the system yet.
    virtual size_t QueuedBytes() const = 0;
    // What is queued still goes out if the peer takes it soon (Limits::lingerMs);
    // nothing is received any more. onClosed gets the reason. The first call counts.
    virtual void Close(String const& reason) = 0;
    // Whether more is read of the other end; what has come already is kept for later. For
    // one who sends faster than it is served. Nothing is lost: its sending waits.
    virtual void SetReading(bool on) = 0;
    // Within onMessage: how many bytes the message had on its way.
    virtual size_t MessageBytes() const = 0;
    virtual bool IsOpen() const = 0;

    virtual PeerInfo const& Peer() const = 0;
    // Unique in this process, never 0.
    virtual uint64_t Number() const = 0;

protected:
    Connection() = default;
};

// What a program wants to hear of its connections. Called on network threads, the
// calls of one connection one after the other, and never under a lock. A handler
// may send, close, and Stop neither its Server nor its Client. An exception of a
// handler is logged and goes no further.
struct Handlers {
    std::function<void(boost::shared_ptr<Connection> const&)> onConnected;
    // Each message but PingMsg, which is answered here.
    std::function<void(boost::shared_ptr<Connection> const&, boost::shared_ptr<Message> const&)> onMessage;
    // Once for each onConnected, its last call. The reason is for people.
    std::function<void(boost::shared_ptr<Connection> const&, String const&)> onClosed;
    // Fewer than Limits::lowWater bytes wait: after something of Traffic::Load was
    // sent, or after the queue had been longer. The moment to send the next piece.
    std::function<void(boost::shared_ptr<Connection> const&)> onDrained;
    // Of a Client alone: no host could be reached in this round. `reason` says of
    // each what was wrong, and what to do.
    std::function<void(String const&)> onFailed;
};

} // namespace vorlan::net
