#include "engine/masterlink.h"

#include <boost/make_shared.hpp>

namespace vorlan {

NetMasterLink::NetMasterLink(MasterEvents events, String const& machineName) {
    net::ClientOptions options;
    options.self = net::PeerInfo::Self(net::PeerKind::Engine, "VorlanEngine");
    options.self.machineName = machineName;
    using ConnectionPtr = boost::shared_ptr<net::Connection>;
    net::Handlers handlers;
    handlers.onConnected = [connected = events.connected](ConnectionPtr const& connection) {
        net::PeerInfo const& peer = connection->Peer();
        connected(boost::make_shared<ConnectionSink>(connection), peer.machineName, peer.address.Host());
    };
    handlers.onMessage = [message = events.message](ConnectionPtr const&, boost::shared_ptr<Message> const& one) {
        message(one);
    };
    handlers.onClosed = [gone = events.gone](ConnectionPtr const&, String const& reason) { gone(reason); };
    m_client = std::make_unique<net::Client>(std::move(options), std::move(handlers));
}

} // namespace vorlan
