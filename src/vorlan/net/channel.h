#pragma once

#include "asio.h"
#include "frame.h"
#include "handshake.h"
#include "loop.h"
#include "sendqueue.h"

#include <boost/enable_shared_from_this.hpp>
#include <corekit/commonmutex.h>
#include <vorlan/net/limits.h>

#include <optional>

namespace vorlan::net {

class Channel;
using ChannelPtr = boost::shared_ptr<Channel>;

// What a Server or a Client hears of its channels. Called on the channel's network
// thread, never under a lock.
class ChannelHost {
public:
    virtual ~ChannelHost() = default;
    virtual void OnProved(ChannelPtr const& channel) = 0;
    virtual void OnMessage(ChannelPtr const& channel, boost::shared_ptr<Message> const& message) = 0;
    virtual void OnDrained(ChannelPtr const& channel) = 0;
    // So many bytes it holds of a message that is not whole yet. False: it may not.
    virtual bool MayAssemble(ChannelPtr const&, size_t) { return true; }
    // The last call of each channel. `proved`: OnProved came before.
    virtual void OnEnded(ChannelPtr const& channel, bool proved, String const& reason) = 0;
};

struct ChannelOptions {
    Handshake::Role role = Handshake::Role::Caller;
    FarmKey key;
    PeerInfo self;
    Limits limits;
    IPPeer address; // the other end
    String host;    // its name as the user gave it, for what to do about a wrong key
};

// Channel is a socket with TLS, the handshake, and the frames that go over it.
// Owner: its handlers in the network loop, until it has ended, and whoever holds
// the pointer.
// Works with: ChannelHost, which it keeps alive.
// Thread: its loop's; the operations of Connection on any.
// Always: one read and one write are under way at most; OnEnded comes once.
class Channel final : public Connection, public boost::enable_shared_from_this<Channel> {
public:
    // `loop` is the socket's own.
    Channel(Socket socket, Loop& loop, asio::ssl::context& tls, ChannelOptions options,
            std::shared_ptr<ChannelHost> host);

    // Begins the TLS and the farm's handshake. Loop thread.
    void Start();
    // Ends at once, without what is queued. Any thread.
    void Drop(String const& reason);
    // The same when its loop runs no more; calls OnEnded on this thread.
    void DropHere(String const& reason);

    void Send(boost::shared_ptr<Message const> const& message, Traffic traffic) override;
    void SendEncoded(boost::shared_ptr<EncodedMessage const> const& message, Traffic traffic) override;
    size_t QueuedBytes() const override;
    void Close(String const& reason) override;
    void SetReading(bool on) override;
    size_t MessageBytes() const override { return m_messageBytes; }
    bool IsOpen() const override { return m_open.load(std::memory_order_acquire); }
    PeerInfo const& Peer() const override { return m_peer; }
    uint64_t Number() const override { return m_number; }

    IPPeer const& Address() const { return m_options.address; }
    // The connection failed before the proof, and why; for a text to people.
    Handshake::Failure HandshakeFailure() const { return m_handshake ? m_handshake->Why() : Handshake::Failure::None; }

private:
    enum class State { Starting, Open, Closing, Ended };

    void OnTlsDone(error_code error);
    void Read();
    void OnRead(error_code error, size_t bytes);
    void TakeFrames();
    void TakeHandshakeFrame(Frame const& frame);
    void OnProof();
    void TakeFrame(Frame const& frame);
    void TakePart(std::string_view part);
    void AwaitPart();
    void Deliver(UID const& type, std::string_view body);

    template <class... Content>
    void Queue(Traffic traffic, Content const&... content);
    void Overflow();
    void PostFlush();
    void Flush();
    void OnWritten(error_code error);
    void SendRaw(std::string bytes);

    void BeginClosing(String const& reason);
    void FinishSending();
    void Fault(String const& what);
    void End(String const& reason);
    void StartTimer(int milliseconds, char const* reason);

    // Constant after construction. The context outlives the socket and the timer,
    // also for who holds the pointer after the end of the loop.
    std::shared_ptr<asio::io_context> const m_context;
    uint64_t const m_number;
    ChannelOptions const m_options;
    std::shared_ptr<ChannelHost> const m_host;
    Executor const m_executor;

    std::atomic<bool> m_open{true};
    std::atomic<bool> m_closeAsked{false};

    mutable CommonMutex m_guard;
    SendQueue m_queue CK_GUARDED_BY(m_guard);
    bool m_flushPosted CK_GUARDED_BY(m_guard) = false; // a flush is to come, or a write is under way
    bool m_wantDrained CK_GUARDED_BY(m_guard) = false;

    // The loop's thread only.
    TlsStream m_stream;
    Timer m_timer;
    State m_state = State::Starting;
    PeerInfo m_peer; // constant once the proof is there
    std::optional<Handshake> m_handshake;
    FrameReader m_reader;
    PartAssembler m_parts;
    SendQueue::Piece m_piece; // being written
    bool m_writing = false;
    bool m_proved = false;
    bool m_sendingDone = false;
    bool m_readEnded = false;
    bool m_reading = true;      // SetReading
    bool m_readPending = false; // a read is under way
    bool m_takePending = false; // TakeFrames is to be called again
    size_t m_messageBytes = 0;  // of the message that is being delivered
    size_t m_partBytes = 0;     // that have come since the part timer was set
    Timer m_partTimer;
    String m_reason;
};

// The settings of TLS that both ends share.
void SetUpTls(asio::ssl::context& tls);
void SetUpSocket(Socket& socket);
IPPeer AddressOf(Endpoint const& endpoint);

} // namespace vorlan::net
