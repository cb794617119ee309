#include "engine/report/infoport.h"

#include "engine/report/outputservice.h"

#include <boost/make_shared.hpp>
#include <corekit/exception.h>
#include <corekit/log.h>

namespace vorlan {

namespace {

// Whoever listens takes no descriptor that a unit needs.
constexpr size_t k_Connections = 256;
constexpr size_t k_Unproved = 32;
// A listener that does not read gets no more figures.
constexpr size_t k_QueueBytes = 65536;

} // namespace

InfoPort::InfoPort(OutputService& output, Post post, String machineName)
    : m_output(output), m_post(std::move(post)), m_machineName(std::move(machineName)) {}

InfoPort::~InfoPort() { Close(); }

void InfoPort::Open(FarmKey const& key) {
    if (key.IsNull() || (m_server && m_key == key))
        return;
    Close();
    net::ServerOptions options;
    options.key = key;
    options.limits.connections = k_Connections;
    options.limits.unproved = k_Unproved;
    options.self = net::PeerInfo::Self(net::PeerKind::Engine, "VorlanEngine");
    options.self.machineName = m_machineName;
    using ConnectionPtr = boost::shared_ptr<net::Connection>;
    net::Handlers handlers;
    handlers.onMessage = [this](ConnectionPtr const& connection, boost::shared_ptr<Message> const& message) {
        m_post([this, connection, message] { OnMessage(connection, message); });
    };
    handlers.onClosed = [this](ConnectionPtr const& connection, String const&) {
        m_post([this, number = connection->Number()] { OnClosed(number); });
    };
    auto server = std::make_unique<net::Server>(std::move(options), std::move(handlers));
    try {
        server->Start();
    } catch (Exception const& error) {
        if (!std::exchange(m_failing, true)) {
            LogError(String("There is no information port, and with it no live output or hardware figures: ") +
                     error.what());
        }
        return;
    }
    m_failing = false;
    m_key = key;
    m_server = std::move(server);
}

void InfoPort::Close() {
    m_server.reset();
    for (auto const& [number, sink] : m_sinks)
        m_output.Gone(sink);
    m_sinks.clear();
    m_listeners.clear();
}

void InfoPort::OnMessage(boost::shared_ptr<net::Connection> const& connection,
                         boost::shared_ptr<Message> const& message) {
    if (!connection->IsOpen()) {
        return; // its end was told already, or will be
    }
    SinkPtr& sink = m_sinks[connection->Number()];
    if (!sink)
        sink = boost::make_shared<ConnectionSink>(connection);
    if (message->Type() == GetHardwareMsg::s_Type)
        m_listeners.insert(connection->Number());
    else if (message->Type() == GetOutputMsg::s_Type)
        m_output.Request(sink, static_cast<GetOutputMsg const&>(*message));
    else if (message->Type() == CloseOutputMsg::s_Type)
        m_output.Close(sink, static_cast<CloseOutputMsg const&>(*message).request);
}

void InfoPort::OnClosed(uint64_t number) {
    auto const sink = m_sinks.extract(number);
    if (!sink.empty())
        m_output.Gone(sink.mapped());
    m_listeners.erase(number);
}

void InfoPort::SendHardware(HardwareMsg const& figures) {
    auto const message = boost::make_shared<HardwareMsg>(figures);
    for (uint64_t const number : m_listeners) {
        auto const sink = m_sinks.find(number);
        if (sink != m_sinks.end() && sink->second->QueuedBytes() < k_QueueBytes)
            sink->second->Send(message);
    }
}

} // namespace vorlan
