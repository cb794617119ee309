#include "master/core/relay.h"

namespace farm {

namespace {

constexpr size_t k_MaxRequests = 10'000;
constexpr size_t k_MaxRequestsOfPeer = 200;

} // namespace

void Relay::Fail(PeerId peer, UID const& request, String const& error) {
    auto message = OutputDataMsg::New();
    message->request = request;
    message->end = true;
    message->error = error;
    m_farm.out.To(peer, message);
}

void Relay::OnGetOutput(PeerId peer, boost::shared_ptr<GetOutputMsg> const& message) {
    EngineEntry const* const engine = m_farm.FindEngine(message->engine);
    if (!engine || !engine->Online()) {
        Fail(peer, message->request,
             engine ? "The Engine " + engine->engine->Name() + " is offline."
                    : String("The Engine is not there any more."));
        return;
    }
    auto const of = m_requestsOf.find(peer);
    if (m_requests.size() >= k_MaxRequests || m_requests.contains(message->request) ||
        (of != m_requestsOf.end() && of->second >= k_MaxRequestsOfPeer)) {
        Fail(peer, message->request, "Too many requests for output.");
        return;
    }
    m_requests[message->request] = {peer, engine->peer};
    ++m_requestsOf[peer];
    m_farm.out.To(engine->peer, message);
}

Relay::Requests::iterator Relay::Remove(Requests::iterator at) {
    auto const of = m_requestsOf.find(at->second.client);
    if (--of->second == 0)
        m_requestsOf.erase(of);
    return m_requests.erase(at);
}

void Relay::OnOutputTaken(PeerId peer, boost::shared_ptr<OutputTakenMsg> const& message) {
    auto const at = m_requests.find(message->request);
    if (at != m_requests.end() && at->second.client == peer)
        m_farm.out.To(at->second.engine, message);
}

void Relay::OnCloseOutput(PeerId peer, boost::shared_ptr<CloseOutputMsg> const& message) {
    auto const at = m_requests.find(message->request);
    if (at == m_requests.end() || at->second.client != peer)
        return;
    m_farm.out.To(at->second.engine, message);
    Remove(at);
}

void Relay::OnOutput(Peer& peer, boost::shared_ptr<OutputDataMsg> const& message) {
    auto const at = m_requests.find(message->request);
    if (at == m_requests.end() || at->second.engine != peer.id) {
        // Nobody waits for it any more.
        if (!message->end) {
            auto close = CloseOutputMsg::New();
            close->request = message->request;
            m_farm.out.To(peer.id, close);
        }
        return;
    }
    m_farm.out.To(at->second.client, message);
    if (message->end)
        Remove(at);
}

void Relay::ToEngine(PeerId peer, UID const& id, MessagePtr message) {
    EngineEntry const* const engine = m_farm.FindEngine(id);
    if (engine && engine->Online())
        m_farm.out.To(engine->peer, std::move(message));
    else
        m_farm.out.Refuse(peer, id, engine ? "The Engine is offline." : "The Engine is not there any more.");
}

void Relay::OnExecute(PeerId peer, boost::shared_ptr<ExecuteCommandMsg> const& message) {
    std::set<UID> engines = message->engines;
    for (UID const& id : message->jobs) {
        if (JobEntry const* const job = m_farm.FindJob(id)) {
            for (Run const* const run : job->runs)
                engines.insert(run->engine->id);
        }
    }
    for (UID const& id : engines)
        ToEngine(peer, id, message);
}

void Relay::OnMachine(PeerId peer, boost::shared_ptr<MachineMsg> const& message) {
    ToEngine(peer, message->machine, message);
}

void Relay::OnStopPrograms(PeerId peer, boost::shared_ptr<StopVorlanOnNodeMsg> const& message) {
    ToEngine(peer, message->engine, message);
}

void Relay::OnShutdown() {
    auto const message = ShutdownMsg::New();
    for (auto const& [id, peer] : m_farm.peers.All())
        m_farm.out.To(id, message);
    m_farm.out.Log(LogLevel::System, "Shut down on request");
    m_farm.out.Stop();
}

void Relay::PeerGone(PeerId peer) {
    for (auto at = m_requests.begin(); at != m_requests.end();) {
        if (at->second.client == peer) {
            auto close = CloseOutputMsg::New();
            close->request = at->first;
            m_farm.out.To(at->second.engine, close);
            at = Remove(at);
        } else if (at->second.engine == peer) {
            Fail(at->second.client, at->first, "The Engine has disconnected.");
            at = Remove(at);
        } else {
            ++at;
        }
    }
}

} // namespace farm
