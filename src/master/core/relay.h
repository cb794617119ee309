#pragma once

// What passes through the Master between clients and Engines.

#include "master/core/farm.h"

#include <map>

namespace farm {

// Passes requests for output, machine commands and the like on to Engines, and output
// back to those who asked.
//
// Owned by the Farm. Keeps nothing but who waits for what.
class Relay {
public:
    explicit Relay(Farm& farm) : m_farm(farm) {}

    // From clients.
    void OnGetOutput(PeerId peer, boost::shared_ptr<GetOutputMsg> const& message);
    void OnOutputTaken(PeerId peer, boost::shared_ptr<OutputTakenMsg> const& message);
    void OnCloseOutput(PeerId peer, boost::shared_ptr<CloseOutputMsg> const& message);
    void OnExecute(PeerId peer, boost::shared_ptr<ExecuteCommandMsg> const& message);
    void OnMachine(PeerId peer, boost::shared_ptr<MachineMsg> const& message);
    void OnStopPrograms(PeerId peer, boost::shared_ptr<StopVorlanOnNodeMsg> const& message);
    void OnShutdown();

    // From Engines.
    void OnOutput(Peer& peer, boost::shared_ptr<OutputDataMsg> const& message);

    void PeerGone(PeerId peer);

private:
    struct Request {
        PeerId client = 0;
        PeerId engine = 0;
    };
    using Requests = std::map<UID, Request>;
    Requests::iterator Remove(Requests::iterator at);
    void Fail(PeerId peer, UID const& request, String const& error);
    void ToEngine(PeerId peer, UID const& engine, MessagePtr message);

    Farm& m_farm;
    std::map<UID, Request> m_requests;
    std::map<PeerId, size_t> m_requestsOf; // how many a client has
};

} // namespace farm
