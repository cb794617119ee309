#pragma once

#include "frame.h"

#include <vorlan/farmkey.h>
#include <vorlan/net/peer.h>

#include <string>

namespace vorlan::net {

// Handshake is the talk by which two programs prove to each other that they have
// the same farm key. It is bound to the encrypted channel it runs in, so that
// whoever stands between two channels proves nothing.
// Owner: a connection. Thread: one. It does no input or output itself.
// Always: no more is read of the other end's words, before its proof, than fixed
// bytes at fixed places.
//
//   caller to listener   Hello      protocol (2), nonce (32)
//   listener to caller   Challenge  protocol (2), nonce (32), proof (32)
//   caller to listener   Proof      proof (32) over all that and what follows: who it is
//   listener to caller   Welcome    proof (32) over all that and what follows: who it is
//   either               Refusal    why (1), protocol (2)
class Handshake {
public:
    enum class Role { Caller, Listener };
    enum class Step { More, Done, Failed };
    enum class Failure : uint8_t { None = 0, WrongKey = 1, Protocol = 2, Malformed = 3 };

    // `channel` are bytes that both ends of the encrypted channel know, and no
    // other channel has.
    Handshake(Role role, FarmKey key, PeerInfo self, std::string channel);

    // Appends what is to be sent first.
    void Begin(std::string& out);
    // Takes the next frame and appends the answer to `out`, also of a failure.
    Step TakeFrame(Frame const& frame, std::string& out);

    // Who the other one is; after Done.
    PeerInfo const& Peer() const { return m_peer; }
    Failure Why() const { return m_failure; }
    // One sentence or two for people: what is wrong, what to do. `peer` names the
    // other end, `host` what to give to `vorlan key join`.
    String FailureText(String const& peer, String const& host) const;

    static constexpr size_t k_Nonce = 32;

private:
    Step TakeHello(std::string_view body, std::string& out);
    Step TakeChallenge(std::string_view body, std::string& out);
    Step TakeProof(std::string_view body, std::string& out);
    Step TakeWelcome(std::string_view body);
    Step TakeRefusal(std::string_view body);
    Step Fail(Failure failure, std::string& out);
    bool ReadInfo(std::string_view bytes);
    // What a proof covers.
    std::string Covered(std::string_view more = {}) const;

    Role const m_role;
    FarmKey const m_key;
    PeerInfo const m_self;
    std::string const m_channel;
    UID m_expected; // the type of the next frame
    std::string m_callerNonce;
    std::string m_listenerNonce;
    PeerInfo m_peer;
    Failure m_failure = Failure::None;
    bool m_refused = false; // the other end said so
    unsigned m_peerProtocol = 0;
};

} // namespace vorlan::net
