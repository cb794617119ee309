#include <vorlan/net/peer.h>

#include <corekit/platform.h>
#include <vorlan/version.h>

namespace vorlan::net {

char const* PeerKindName(PeerKind kind) {
    switch (kind) {
    case PeerKind::Client:
        return "Client";
    case PeerKind::Engine:
        return "Engine";
    case PeerKind::Tool:
        return "Tool";
    case PeerKind::Master:
        return "Master";
    }
    return "Unknown";
}

PeerInfo PeerInfo::Self(PeerKind kind, String const& program) {
    PeerInfo info;
    info.kind = kind;
    info.machine = Platform::GetUniqueSystemID();
    info.instance = UID(true);
    info.machineName = Platform::GetComputerNameA();
    info.version = k_VorlanVersion;
    info.program = program;
    info.user = Platform::GetCurrentUserName();
    return info;
}

String PeerInfo::Text() const {
    String const name = program.Empty() ? String(PeerKindName(kind)) : program;
    String text = machineName.Empty() ? name : name + " on " + machineName;
    if (!address.IsNull())
        text += machineName.Empty() ? " at " + address.ToString() : " (" + address.ToString() + ")";
    return text;
}

} // namespace vorlan::net
