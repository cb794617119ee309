#pragma once

// The port on which the Engine tells others of its machine and of its runs.

#include "engine/report/messagesink.h"

#include <vorlan/farmkey.h>
#include <vorlan/messages_output.h>
#include <vorlan/net/server.h>

#include <functional>
#include <map>
#include <memory>
#include <set>

namespace vorlan {

class OutputService;

// A server of the Engine's own, for those with the farm key: GetHardwareMsg is answered
// once a second until the connection ends, GetOutputMsg by the OutputService.
//
// Owned by the Engine's main part; its thread. `post` brings what the network says to
// that thread. Without a farm key, or a port, there is no server; Open tries again.
class InfoPort {
public:
    using Post = std::function<void(std::function<void()>)>;

    InfoPort(OutputService& output, Post post, String machineName);
    ~InfoPort();

    // Listens with this machine's key as it is now. Nothing when it does so already.
    void Open(FarmKey const& key);
    void Close();
    // 0 when it does not listen.
    unsigned short Port() const { return m_server ? m_server->Port() : 0; }

    bool HasListeners() const { return !m_listeners.empty(); }
    // To all who asked for hardware figures.
    void SendHardware(HardwareMsg const& figures);

private:
    void OnMessage(boost::shared_ptr<net::Connection> const& connection, boost::shared_ptr<Message> const& message);
    void OnClosed(uint64_t number);

    OutputService& m_output;
    Post const m_post;
    String const m_machineName;
    FarmKey m_key;
    std::unique_ptr<net::Server> m_server;
    std::map<uint64_t, SinkPtr> m_sinks;
    std::set<uint64_t> m_listeners;
    bool m_failing = false;
};

} // namespace vorlan
