#pragma once

// Who is at the other end of a connection.

#include <corekit/string.h>
#include <corekit/uid.h>
#include <vorlan/ippeer.h>

#include <cstdint>

namespace vorlan::net {

// Numbers go over the wire.
enum class PeerKind : uint8_t { Client = 0, Engine = 1, Tool = 2, Master = 3 };

// "Client" and so on; "Unknown" for a number that is none of them.
char const* PeerKindName(PeerKind kind);

// The number that both ends must share.
inline constexpr unsigned k_ProtocolVersion = 1;

// What a program says of itself in the handshake. A plain value. Of a peer it is
// known only after the proof of the farm key, except for `address`.
struct PeerInfo {
    PeerKind kind = PeerKind::Tool;
    UID machine;        // Platform::GetUniqueSystemID of its machine
    UID instance;       // fresh for each start of the program
    String machineName; // as people know it
    unsigned protocol = k_ProtocolVersion;
    unsigned version = 0; // as k_VorlanVersion
    IPPeer address;       // as this end of the connection sees the other
    String program;       // "VorlanEngine"
    String user;          // the account it runs under

    // This program on this machine.
    static PeerInfo Self(PeerKind kind, String const& program);
    // "VorlanEngine on render07 (10.0.0.7:40212)", for the log.
    String Text() const;
};

} // namespace vorlan::net
