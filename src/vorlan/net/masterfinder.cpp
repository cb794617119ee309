#include <vorlan/discovery.h>

#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/inifile.h>
#include <corekit/log.h>
#include <corekit/stringtokenizer.h>
#include <vorlan/components.h>
#include <vorlan/keys.h>

#include <cstdlib>

namespace vorlan {

using namespace corekit;

namespace {

MasterHosts ReadConnectionFile() {
    MasterHosts configured;
    for (Path const& path : {File::GetUserConnectionFile(), File::GetConnectionFile()}) {
        try {
            IniFile file;
            file.Load(path);
            configured.hosts = file.GetValue("Master", "Peer", "");
            configured.port = file.GetValue("Master", "Port", static_cast<unsigned short>(0));
        } catch (Exception const& exception) {
            LogWarning("The connection settings are not used: " + String(exception.what()));
        }
        if (!configured.hosts.Trim().Empty())
            break;
    }
    return configured;
}

bool OneHome() {
    char const* const home = std::getenv("VORLAN_HOME");
    return home && *home;
}

bool IsThisMachine(String const& host) { return host.CompareNoCase("localhost") == 0 || host.StartsWith("127."); }

} // namespace

Path MasterFinder::PortFile() { return Components::Folder(Components::GetName(k_ComponentMaster)) / "port"; }

void MasterFinder::WritePortFile(unsigned short port) {
    File::MakeFolder(PortFile().Branch());
    File::WriteWhole(PortFile(), String::From(port) + k_NL);
}

unsigned short MasterFinder::LocalPort() {
    try {
        if (PortFile().Exists()) {
            int64_t const port = File::Read(PortFile()).Trim().Int(0);
            if (port > 0 && port <= 65535)
                return static_cast<unsigned short>(port);
            LogWarning("There is no port in " + PortFile() + ". Start the Master of this machine anew.");
        }
    } catch (FileException const& exception) {
        LogDebug(exception.what());
    }
    unsigned short const configured = ReadConnectionFile().port;
    return configured ? configured : o_MasterPortDefault;
}

unsigned short MasterFinder::ListenPort() {
    unsigned short const configured = ReadConnectionFile().port;
    if (configured)
        return configured;
    return OneHome() ? 0 : o_MasterPortDefault;
}

std::vector<IPPeer> MasterFinder::ConfiguredHosts(MasterHosts const& own) {
    std::vector<IPPeer> peers;
    MasterHosts const configured = own.hosts.Trim().Empty() ? ReadConnectionFile() : own;
    StringTokenizer words(configured.hosts, " \t,;");
    String word;
    while (words.Next(word)) {
        if (word.Empty())
            continue;
        IPPeer peer;
        if (!IPPeer::FromString(word, peer)) {
            LogWarning("\"" + word +
                       "\" in the connection settings is no host. Give names or addresses, with a port "
                       "behind a colon if need be.");
            continue;
        }
        unsigned short port = peer.Port() ? peer.Port() : configured.port;
        if (port == 0)
            port = IsThisMachine(peer.Host()) ? LocalPort() : o_MasterPortDefault;
        peers.push_back(IPPeer(peer.Host(), port));
    }
    return peers;
}

std::vector<IPPeer> MasterFinder::Find(FarmKey const& key, Cancelled const& cancelled, MasterHosts const& own) {
    std::vector<IPPeer> peers = ConfiguredHosts(own);
    if (peers.empty() && !OneHome())
        peers = Discovery::Find(key, cancelled);
    if (peers.empty())
        peers.push_back(IPPeer("127.0.0.1", LocalPort()));
    return peers;
}

} // namespace vorlan
