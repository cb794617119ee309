#include "channel.h"

#include <corekit/exception.h>
#include <corekit/log.h>
#include <corekit/sformat.h>
#include <vorlan/messages.h>
#include <vorlan/wire.h>

#include <netinet/tcp.h>
#include <sys/socket.h>

namespace vorlan::net {

namespace {

std::atomic<uint64_t> s_lastNumber{0};

// How long the other end may take to close its side after all was sent.
constexpr int k_ClosingMs = 500;

// Bytes of a message in parts that must come within Limits::partMs.
constexpr size_t k_PartProgress = 64 * 1024;

constexpr char k_ExporterLabel[] = "EXPORTER-Channel-Binding";

boost::shared_ptr<EncodedMessage const> EncodeBody(UID const& type, std::string_view body) {
    static Limits const s_limits;
    std::string bytes;
    if (body.size() <= s_limits.frame) {
        bytes.reserve(k_FrameHeader + body.size());
        AppendFrameHeader(bytes, type, body.size());
        bytes.append(body);
    } else {
        AppendParts(bytes, type, body, s_limits.frame, s_limits.message);
    }
    return boost::make_shared<EncodedMessage const>(String(std::move(bytes)));
}

void SetOption(int fd, int level, int name, int value) { ::setsockopt(fd, level, name, &value, sizeof value); }

} // namespace

boost::shared_ptr<EncodedMessage const> EncodedMessage::Encode(Message const& message) {
    ScratchWriter const writer;
    message.Encode(*writer);
    return EncodeBody(message.Type(), writer->Bytes());
}

void SetUpTls(asio::ssl::context& tls) {
    SSL_CTX_set_min_proto_version(tls.native_handle(), TLS1_3_VERSION);
    SSL_CTX_set_num_tickets(tls.native_handle(), 0);
    SSL_CTX_set_session_cache_mode(tls.native_handle(), SSL_SESS_CACHE_OFF);
    // Who the other one is follows from the farm key alone.
    tls.set_verify_mode(asio::ssl::verify_none);
}

void SetUpSocket(Socket& socket) {
    int const fd = socket.native_handle();
    SetOption(fd, IPPROTO_TCP, TCP_NODELAY, 1);
    // A machine that was switched off is noticed within half a minute, one that
    // takes nothing of what was sent within a minute.
    SetOption(fd, SOL_SOCKET, SO_KEEPALIVE, 1);
    SetOption(fd, IPPROTO_TCP, TCP_KEEPIDLE, 10);
    SetOption(fd, IPPROTO_TCP, TCP_KEEPINTVL, 5);
    SetOption(fd, IPPROTO_TCP, TCP_KEEPCNT, 4);
    SetOption(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, 60'000);
}

IPPeer AddressOf(Endpoint const& endpoint) {
    auto const address = endpoint.address();
    if (address.is_v6() && address.to_v6().is_v4_mapped())
        return {asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6()).to_string(), endpoint.port()};
    return {address.to_string(), endpoint.port()};
}

Channel::Channel(Socket socket, Loop& loop, asio::ssl::context& tls, ChannelOptions options,
                 std::shared_ptr<ChannelHost> host)
    : m_context(loop.SharedContext()),
      m_number(++s_lastNumber),
      m_options(std::move(options)),
      m_host(std::move(host)),
      m_executor(socket.get_executor()),
      m_stream(std::move(socket), tls),
      m_timer(m_executor),
      m_reader(m_options.limits.frameBeforeProof),
      m_parts(m_options.limits.message),
      m_partTimer(m_executor) {
    m_peer.address = m_options.address;
}

void Channel::Start() {
    if (m_state != State::Starting)
        return;
    SetUpSocket(m_stream.next_layer());
    StartTimer(m_options.limits.handshakeMs, "the handshake took too long");
    auto const side =
        m_options.role == Handshake::Role::Caller ? asio::ssl::stream_base::client : asio::ssl::stream_base::server;
    m_stream.async_handshake(side, [self = shared_from_this()](error_code error) { self->OnTlsDone(error); });
}

void Channel::OnTlsDone(error_code error) {
    if (m_state != State::Starting)
        return;
    if (error)
        return End(m_options.address.ToString() + " does not speak the protocol of the farm: " + error.message());
    std::string channel(32, '\0');
    if (SSL_export_keying_material(m_stream.native_handle(), reinterpret_cast<unsigned char*>(channel.data()),
                                   channel.size(), k_ExporterLabel, sizeof k_ExporterLabel - 1, nullptr, 0, 0) != 1)
        return End("the encryption gives no binding for the proof of the farm key");
    m_handshake.emplace(m_options.role, m_options.key, m_options.self, std::move(channel));
    std::string first;
    m_handshake->Begin(first);
    SendRaw(std::move(first));
    Read();
}

void Channel::Read() {
    if (m_readPending)
        return;
    m_readPending = true;
    std::span<char> const room = m_reader.Room();
    m_stream.async_read_some(
        asio::buffer(room.data(), room.size()),
        [self = shared_from_this()](error_code error, size_t bytes) { self->OnRead(error, bytes); });
}

void Channel::OnRead(error_code error, size_t bytes) {
    m_readPending = false;
    if (m_state == State::Ended)
        return;
    if (error) {
        bool const plain = error == asio::error::eof || error == asio::ssl::error::stream_truncated;
        m_readEnded = true;
        if (m_state == State::Closing && !m_sendingDone)
            return; // what is queued goes out, or the timer ends it
        return End(m_state == State::Closing ? m_reason
                   : plain                   ? String("the other end closed the connection")
                                             : "the connection broke: " + String(error.message()));
    }
    if (m_state == State::Closing)
        return Read(); // for the other end's end
    m_reader.Filled(bytes);
    TakeFrames();
}

// What has come so far, some messages at a time, so that other connections of this thread
// have their turn; then reads on.
void Channel::TakeFrames() {
    m_takePending = false;
    try {
        Frame frame;
        for (size_t taken = 0; m_reading && (m_state == State::Starting || (m_state == State::Open && IsOpen()));
             ++taken) {
            if (taken == m_options.limits.messagesAtOnce) {
                m_takePending = true;
                return asio::post(m_executor, [self = shared_from_this()] { self->TakeFrames(); });
            }
            if (!m_reader.Next(frame))
                break;
            if (m_state == State::Starting)
                TakeHandshakeFrame(frame);
            else
                TakeFrame(frame);
        }
    } catch (std::exception const& exception) {
        return Fault(exception.what());
    }
    if (m_state == State::Closing || (m_reading && m_state != State::Ended))
        Read();
}

void Channel::SetReading(bool on) {
    // Within a handler it holds before the next message.
    asio::dispatch(m_executor, [self = shared_from_this(), on] {
        if (std::exchange(self->m_reading, on) == on || !on)
            return;
        if (!self->m_readPending && !self->m_takePending && self->m_state == State::Open) {
            self->m_takePending = true;
            asio::post(self->m_executor, [self] { self->TakeFrames(); });
        }
    });
}

void Channel::TakeHandshakeFrame(Frame const& frame) {
    std::string answer;
    Handshake::Step const step = m_handshake->TakeFrame(frame, answer);
    if (step == Handshake::Step::Failed) {
        String const text = m_handshake->FailureText(m_options.address.ToString(), m_options.host);
        if (!answer.empty())
            SendRaw(std::move(answer));
        m_open = false;
        return BeginClosing(text);
    }
    if (step == Handshake::Step::More)
        return SendRaw(std::move(answer));
    // The Welcome leaves before anything that a handler of OnProved sends.
    SendRaw(std::move(answer));
    OnProof();
}

void Channel::OnProof() {
    m_timer.cancel();
    m_peer = m_handshake->Peer();
    m_peer.address = m_options.address;
    m_reader.SetLimit(m_options.limits.frame);
    m_state = State::Open;
    m_proved = true;
    m_host->OnProved(shared_from_this());
}

void Channel::TakeFrame(Frame const& frame) {
    if (frame.type != k_PartType) {
        if (m_parts.Busy())
            throw NetException("a message came in the midst of another one's parts");
        return Deliver(frame.type, frame.body);
    }
    TakePart(frame.body);
}

void Channel::TakePart(std::string_view part) {
    bool const begins = !m_parts.Busy();
    bool const whole = m_parts.TakePart(part);
    if (!m_host->MayAssemble(shared_from_this(), m_parts.HeldBytes()))
        throw NetException(SFormat("the messages under way of all peers are over the limit of %zu bytes together",
                                   m_options.limits.assembling));
    m_partBytes += part.size();
    if (!whole) {
        if (begins || m_partBytes >= k_PartProgress)
            AwaitPart();
        return;
    }
    m_partTimer.cancel();
    Deliver(m_parts.Type(), m_parts.Body());
    m_parts.Clear();
    m_host->MayAssemble(shared_from_this(), 0);
}

// A message that is begun goes on, or its memory is given back.
void Channel::AwaitPart() {
    m_partBytes = 0;
    m_partTimer.expires_after(std::chrono::milliseconds(m_options.limits.partMs));
    m_partTimer.async_wait([self = shared_from_this()](error_code error) {
        if (error || self->m_state != State::Open)
            return;
        if (!self->m_reading)
            return self->AwaitPart(); // it is we who do not read
        self->Fault(SFormat("a message in parts did not go on for %d ms", self->m_options.limits.partMs));
    });
}

void Channel::Deliver(UID const& type, std::string_view body) {
    m_messageBytes = body.size();
    boost::shared_ptr<Message> const message = DecodeMessage(type, body);
    if (!message) {
        LogDebug("Passed over a message of the unknown type " + type.ToString() + " from " + m_peer.Text());
        return;
    }
    if (type == PingMsg::s_Type) {
        auto const answer = boost::make_shared<PongMsg>();
        answer->time = static_cast<PingMsg const&>(*message).time;
        Send(answer, Traffic::Live);
        return;
    }
    m_host->OnMessage(shared_from_this(), message);
}

void Channel::Send(boost::shared_ptr<Message const> const& message, Traffic traffic) {
    if (!message || !IsOpen())
        return;
    try {
        ScratchWriter const writer;
        message->Encode(*writer);
        std::string_view const body = writer->Bytes();
        if (body.size() > m_options.limits.frame / 4)
            return SendEncoded(EncodeBody(message->Type(), body), traffic);
        Queue(traffic, message->Type(), body);
    } catch (Exception const& exception) {
        LogError(String("A ") + message->TypeName() + " could not be sent to " + m_options.address.ToString() + ": " +
                 exception.what());
    }
}

void Channel::SendEncoded(boost::shared_ptr<EncodedMessage const> const& message, Traffic traffic) {
    if (!message || !IsOpen())
        return;
    Queue(traffic, message);
}

template <class... Content>
void Channel::Queue(Traffic traffic, Content const&... content) {
    bool post = false;
    bool over = false;
    {
        CommonMutex::Lock const lock(m_guard);
        m_queue.Push(content..., traffic);
        over = m_queue.LiveBytes() > m_options.limits.queued;
        if (traffic == Traffic::Load || m_queue.Bytes() >= m_options.limits.lowWater)
            m_wantDrained = true;
        post = !std::exchange(m_flushPosted, true);
    }
    if (over)
        Overflow();
    else if (post)
        PostFlush();
}

void Channel::Overflow() {
    if (m_closeAsked.exchange(true))
        return;
    m_open = false;
    String const reason = SFormat("it takes its messages too slowly: over %zu bytes wait", m_options.limits.queued);
    asio::post(m_executor, [self = shared_from_this(), reason] {
        LogWarning("Closed the connection to " + self->m_peer.Text() + ": " + reason);
        self->End(reason);
    });
}

void Channel::PostFlush() {
    asio::post(m_executor, [self = shared_from_this()] { self->Flush(); });
}

size_t Channel::QueuedBytes() const {
    CommonMutex::Lock const lock(m_guard);
    return m_queue.Bytes();
}

void Channel::Flush() {
    if (m_writing || m_state == State::Ended || m_sendingDone)
        return;
    bool drained = false;
    {
        CommonMutex::Lock const lock(m_guard);
        if (!m_queue.TakePiece(m_piece))
            m_flushPosted = false;
        else
            m_writing = true;
        drained = m_state == State::Open && m_wantDrained && m_queue.Bytes() < m_options.limits.lowWater;
        if (drained)
            m_wantDrained = false;
    }
    if (m_writing) {
        std::string_view const bytes = m_piece.Bytes();
        asio::async_write(m_stream, asio::buffer(bytes.data(), bytes.size()),
                          [self = shared_from_this()](error_code error, size_t) { self->OnWritten(error); });
    } else if (m_state == State::Closing) {
        return FinishSending();
    }
    if (drained)
        m_host->OnDrained(shared_from_this());
}

void Channel::OnWritten(error_code error) {
    m_writing = false;
    {
        CommonMutex::Lock const lock(m_guard);
        m_queue.Written(m_piece);
    }
    if (m_state == State::Ended)
        return;
    if (error)
        return End(m_state == State::Closing ? m_reason : "the connection broke: " + String(error.message()));
    Flush();
}

void Channel::SendRaw(std::string bytes) {
    if (bytes.empty())
        return;
    auto const frames = boost::make_shared<EncodedMessage const>(String(std::move(bytes)));
    Queue(Traffic::Live, frames);
}

void Channel::Close(String const& reason) {
    if (m_closeAsked.exchange(true))
        return;
    m_open = false;
    asio::post(m_executor, [self = shared_from_this(), reason] { self->BeginClosing(reason); });
}

void Channel::BeginClosing(String const& reason) {
    if (m_state == State::Ended || m_state == State::Closing)
        return;
    m_state = State::Closing;
    m_reason = reason;
    StartTimer(m_options.limits.lingerMs, nullptr);
    Flush();
}

void Channel::FinishSending() {
    m_sendingDone = true;
    error_code ignored;
    m_stream.next_layer().shutdown(asio::socket_base::shutdown_send, ignored);
    if (ignored || m_readEnded)
        return End(m_reason);
    StartTimer(k_ClosingMs, nullptr);
}

void Channel::Drop(String const& reason) {
    m_closeAsked = true;
    m_open = false;
    asio::post(m_executor, [self = shared_from_this(), reason] { self->End(reason); });
}

void Channel::DropHere(String const& reason) { End(m_state == State::Closing ? m_reason : reason); }

void Channel::Fault(String const& what) {
    if (m_proved)
        LogWarning("Closed the connection to " + m_peer.Text() + ": " + what);
    End(m_proved ? what : m_options.address.ToString() + " was refused: " + what);
}

void Channel::End(String const& reason) {
    if (m_state == State::Ended)
        return;
    m_state = State::Ended;
    m_closeAsked = true;
    m_open = false;
    m_timer.cancel();
    m_partTimer.cancel();
    error_code ignored;
    m_stream.next_layer().close(ignored);
    m_parts.Clear();
    m_host->MayAssemble(shared_from_this(), 0);
    {
        CommonMutex::Lock const lock(m_guard);
        m_queue.Clear();
    }
    m_host->OnEnded(shared_from_this(), m_proved, reason);
}

void Channel::StartTimer(int milliseconds, char const* reason) {
    m_timer.expires_after(std::chrono::milliseconds(milliseconds));
    m_timer.async_wait([self = shared_from_this(), reason](error_code error) {
        if (!error && !(reason && self->m_state != State::Starting))
            self->End(reason ? self->m_options.address.ToString() + ": " + reason : self->m_reason);
    });
}

} // namespace vorlan::net
