#include "handshake.h"

#include <corekit/exception.h>
#include <corekit/sformat.h>
#include <vorlan/wire.h>

#include <openssl/rand.h>

namespace vorlan::net {

namespace {

UID const k_Hello = UID::FromName("vorlan handshake Hello");
UID const k_Challenge = UID::FromName("vorlan handshake Challenge");
UID const k_Proof = UID::FromName("vorlan handshake Proof");
UID const k_Welcome = UID::FromName("vorlan handshake Welcome");
UID const k_Refusal = UID::FromName("vorlan handshake Refusal");

constexpr char k_ListenerPurpose[] = "vorlan listener";
constexpr char k_CallerPurpose[] = "vorlan caller";
constexpr char k_WelcomePurpose[] = "vorlan welcome";

// Of each text of PeerInfo.
constexpr size_t k_MaxInfoText = 256;

std::string FreshNonce() {
    std::string nonce(Handshake::k_Nonce, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char*>(nonce.data()), static_cast<int>(nonce.size())) != 1)
        throw NetException("This machine has no random numbers for a safe connection");
    return nonce;
}

void AppendFrame(std::string& out, UID const& type, std::string_view body) {
    AppendFrameHeader(out, type, body.size());
    out.append(body);
}

void AppendProof(std::string& to, FarmKey::Bytes const& proof) {
    to.append(reinterpret_cast<char const*>(proof.data()), proof.size());
}

std::string EncodeInfo(PeerInfo const& info) {
    MessageWriter writer;
    auto const text = [&](char const* name, String const& value) {
        writer.Text(name);
        writer.Text(std::string_view(value).substr(0, k_MaxInfoText));
    };
    writer.Map(7);
    writer.Text("Kind");
    writer.Uint(static_cast<uint64_t>(info.kind));
    writer.Text("Machine");
    writer.Id(info.machine);
    writer.Text("Instance");
    writer.Id(info.instance);
    writer.Text("Version");
    writer.Uint(info.version);
    text("MachineName", info.machineName);
    text("Program", info.program);
    text("User", info.user);
    return std::string(writer.Bytes());
}

PeerInfo DecodeInfo(std::string_view bytes) {
    PeerInfo info;
    MessageReader reader(bytes, "handshake");
    for (size_t left = reader.EnterMap(64); left > 0; --left) {
        std::string_view const name = reader.Name();
        if (name == "Kind") {
            uint64_t const kind = reader.Uint();
            if (kind > static_cast<uint64_t>(PeerKind::Master))
                throw ParseException("The kind of program is unknown");
            info.kind = static_cast<PeerKind>(kind);
        } else if (name == "Machine") {
            info.machine = reader.Id();
        } else if (name == "Instance") {
            info.instance = reader.Id();
        } else if (name == "Version") {
            info.version = static_cast<unsigned>(reader.Uint());
        } else if (name == "MachineName") {
            info.machineName = reader.Text(k_MaxInfoText);
        } else if (name == "Program") {
            info.program = reader.Text(k_MaxInfoText);
        } else if (name == "User") {
            info.user = reader.Text(k_MaxInfoText);
        } else {
            reader.Skip();
        }
    }
    reader.Leave();
    return info;
}

} // namespace

Handshake::Handshake(Role role, FarmKey key, PeerInfo self, std::string channel)
    : m_role(role),
      m_key(std::move(key)),
      m_self(std::move(self)),
      m_channel(std::move(channel)),
      m_expected(role == Role::Caller ? k_Challenge : k_Hello) {}

void Handshake::Begin(std::string& out) {
    if (m_role != Role::Caller)
        return;
    m_callerNonce = FreshNonce();
    std::string body;
    AppendNumber(body, m_self.protocol, 2);
    AppendFrame(out, k_Hello, body + m_callerNonce);
}

Handshake::Step Handshake::TakeFrame(Frame const& frame, std::string& out) {
    if (frame.type == k_Refusal)
        return TakeRefusal(frame.body);
    if (frame.type != m_expected)
        return Fail(Failure::Malformed, out);
    if (frame.type == k_Hello)
        return TakeHello(frame.body, out);
    if (frame.type == k_Challenge)
        return TakeChallenge(frame.body, out);
    return frame.type == k_Proof ? TakeProof(frame.body, out) : TakeWelcome(frame.body);
}

Handshake::Step Handshake::TakeHello(std::string_view body, std::string& out) {
    if (body.size() < 2 + k_Nonce)
        return Fail(Failure::Malformed, out);
    m_peerProtocol = static_cast<unsigned>(NumberAt(body, 0, 2));
    if (m_peerProtocol != m_self.protocol)
        return Fail(Failure::Protocol, out);
    m_callerNonce = body.substr(2, k_Nonce);
    m_listenerNonce = FreshNonce();
    std::string answer;
    AppendNumber(answer, m_self.protocol, 2);
    answer += m_listenerNonce;
    AppendProof(answer, m_key.Proof(k_ListenerPurpose, Covered()));
    AppendFrame(out, k_Challenge, answer);
    m_expected = k_Proof;
    return Step::More;
}

Handshake::Step Handshake::TakeChallenge(std::string_view body, std::string& out) {
    if (body.size() < 2 + k_Nonce + FarmKey::k_Size)
        return Fail(Failure::Malformed, out);
    m_peerProtocol = static_cast<unsigned>(NumberAt(body, 0, 2));
    if (m_peerProtocol != m_self.protocol)
        return Fail(Failure::Protocol, out);
    m_listenerNonce = body.substr(2, k_Nonce);
    if (!m_key.Verify(k_ListenerPurpose, Covered(), body.substr(2 + k_Nonce, FarmKey::k_Size)))
        return Fail(Failure::WrongKey, out);
    std::string const info = EncodeInfo(m_self);
    std::string answer;
    AppendProof(answer, m_key.Proof(k_CallerPurpose, Covered(info)));
    AppendFrame(out, k_Proof, answer + info);
    m_expected = k_Welcome;
    return Step::More;
}

Handshake::Step Handshake::TakeProof(std::string_view body, std::string& out) {
    if (body.size() < FarmKey::k_Size)
        return Fail(Failure::Malformed, out);
    std::string_view const info = body.substr(FarmKey::k_Size);
    if (!m_key.Verify(k_CallerPurpose, Covered(info), body.substr(0, FarmKey::k_Size)))
        return Fail(Failure::WrongKey, out);
    if (!ReadInfo(info))
        return Fail(Failure::Malformed, out);
    std::string const own = EncodeInfo(m_self);
    std::string answer;
    AppendProof(answer, m_key.Proof(k_WelcomePurpose, Covered(own)));
    AppendFrame(out, k_Welcome, answer + own);
    return Step::Done;
}

Handshake::Step Handshake::TakeWelcome(std::string_view body) {
    std::string nothing;
    if (body.size() < FarmKey::k_Size)
        return Fail(Failure::Malformed, nothing);
    std::string_view const info = body.substr(FarmKey::k_Size);
    if (!m_key.Verify(k_WelcomePurpose, Covered(info), body.substr(0, FarmKey::k_Size)))
        return Fail(Failure::WrongKey, nothing);
    return ReadInfo(info) ? Step::Done : Fail(Failure::Malformed, nothing);
}

Handshake::Step Handshake::TakeRefusal(std::string_view body) {
    std::string nothing;
    if (body.size() < 3 || body[0] < 1 || body[0] > static_cast<char>(Failure::Malformed))
        return Fail(Failure::Malformed, nothing);
    m_refused = true;
    m_failure = static_cast<Failure>(body[0]);
    m_peerProtocol = static_cast<unsigned>(NumberAt(body, 1, 2));
    return Step::Failed;
}

Handshake::Step Handshake::Fail(Failure failure, std::string& out) {
    m_failure = failure;
    std::string body;
    body.push_back(static_cast<char>(failure));
    AppendNumber(body, m_self.protocol, 2);
    AppendFrame(out, k_Refusal, body);
    return Step::Failed;
}

bool Handshake::ReadInfo(std::string_view bytes) {
    try {
        m_peer = DecodeInfo(bytes);
        m_peer.protocol = m_peerProtocol;
        return true;
    } catch (ParseException const&) {
        return false;
    }
}

std::string Handshake::Covered(std::string_view more) const {
    std::string covered = m_channel;
    AppendNumber(covered, m_self.protocol, 2);
    covered += m_callerNonce;
    covered += m_listenerNonce;
    covered += more;
    return covered;
}

String Handshake::FailureText(String const& peer, String const& host) const {
    switch (m_failure) {
    case Failure::WrongKey:
        if (m_role == Role::Caller)
            return peer + " does not have this farm's key. Run `vorlan key show` on " + host +
                   " and `vorlan key join " + host + " <line>` here.";
        return peer + " does not have this farm's key. Run `vorlan key show` on " + m_self.machineName +
               " and `vorlan key join " + m_self.machineName + " <line>` there.";
    case Failure::Protocol:
        return SFormat("%s speaks protocol %u, this program %u. Install the same version on both machines.",
                       peer.c_str(), m_peerProtocol, m_self.protocol);
    case Failure::Malformed:
        if (m_refused)
            return peer + " did not understand this program's greeting. Install the same version on both machines.";
        return peer + " does not speak the protocol of the farm." +
               (m_role == Role::Caller ? " See what uses that port there." : "");
    case Failure::None:
        break;
    }
    return {};
}

} // namespace vorlan::net
