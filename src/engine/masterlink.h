#pragma once

// The Engine's way to the Master.

#include "engine/report/messagesink.h"

#include <vorlan/net/client.h>

#include <functional>
#include <memory>

namespace vorlan {

// What the Engine hears of its Master. Called on whatever thread the link has.
struct MasterEvents {
    // `address`: where the Master is, in numbers. The sink is for this connection alone.
    std::function<void(SinkPtr const& master, String const& name, String const& address)> connected;
    std::function<void(boost::shared_ptr<Message> const& message)> message;
    std::function<void(String const& reason)> gone;
};

// Keeps a connection to the Master, whatever happens to it.
//
// Owned by the Engine's main part. connected and gone come in turn.
class MasterLink {
public:
    virtual ~MasterLink() = default;
    virtual void Start() = 0;
    // Nothing is called any more; what was sent still goes out, for a while.
    virtual void Stop() = 0;
    // Leaves the Master and comes back, so that it hears of the Engine anew.
    virtual void Reconnect() = 0;
};

// The link over the network. Waits for a farm key and for a Master as long as it takes.
class NetMasterLink final : public MasterLink {
public:
    NetMasterLink(MasterEvents events, String const& machineName);
    ~NetMasterLink() override { Stop(); }

    void Start() override { m_client->Start(); }
    void Stop() override { m_client->FlushAndStop(k_FlushMs); }
    void Reconnect() override { m_client->Reconnect(); }

private:
    static constexpr int k_FlushMs = 1000;

    std::unique_ptr<net::Client> m_client;
};

} // namespace vorlan
