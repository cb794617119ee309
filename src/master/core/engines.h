#pragma once

// What happens to Engines.

#include "master/core/farm.h"

namespace farm {

// Takes Engines in, settles with them what ran, keeps their settings.
//
// Owned by the Farm. Works with Runs and the Distributor. Always: an Engine's settings
// are the Master's; what it is comes from the Engine.
class Engines {
public:
    explicit Engines(Farm& farm) : m_farm(farm) {}

    // From Engines.
    void OnRegister(Peer& peer, RegisterEngineMsg const& message);
    void OnPreparing(Peer& peer, WorkPreparingMsg const& message);
    void OnBegun(Peer& peer, WorkBegunMsg const& message);
    void OnProgress(Peer& peer, WorkProgressMsg const& message);
    // A line of the Engine's own; cut to a length for people.
    void OnHistory(Peer& peer, EngineHistoryElementMsg const& message);
    void OnEnded(Peer& peer, WorkEndedMsg const& message);
    void PeerGone(EngineEntry& engine);

    // From clients.
    void OnEngine(PeerId peer, EngineMsg const& message);
    void OnOptions(PeerId peer, EngineOptionsMsg const& message);
    void OnRemove(PeerId peer, RemoveEngineMsg const& message);
    void OnDefault(DefaultEngineMsg const& message);
    void OnDefaultOptions(DefaultEngineOptionsMsg const& message);
    void OnResetFailures(PeerId peer, ResetEngineFailuresMsg const& message);
    void OnStop(PeerId peer, StopWorkMsg const& message);

    // Tells of the Products that failures hold the Engine off, or all Engines, where that has
    // changed.
    void ShowBarred(EngineEntry& engine);
    void ShowAllBarred();

    // The Engine has said something.
    void Heard(EngineEntry& engine);
    // This connection no longer wants to be an Engine that is there already.
    void ForgetRival(PeerId peer);

    // Silence, lost Engines, restricted times.
    void CheckTimes();

    // Adds a line to the Engine's log.
    void Note(EngineEntry& engine, String const& text);

    // Rows, before RestoreDone.
    void ApplyEngine(Record const& record);
    void ApplyOptions(Record const& record);
    void ApplyHistory(Record const& record);
    void RestoreDone();

private:
    // A second instance that registers under the id of an Engine that is connected. The
    // first one is asked whether it is alive.
    struct Rival {
        PeerId peer = 0;
        RegisterEngineMsg message;
        Steady until;
    };
    void Challenge(EngineEntry& engine, Peer& peer, RegisterEngineMsg const& message);
    void RefuseRival(EngineEntry& engine, Rival const& rival);
    void CheckRivals();
    EngineEntry& Make(UID const& id, uint64_t number);
    void ReadSettings(EngineEntry& engine);
    void CompareClocks(EngineEntry& engine, Time const& clock);
    Time AgoAt(EngineEntry const& engine, Time const& at, int64_t steadyMs) const;
    void Settle(EngineEntry& engine, RegisterEngineMsg const& message);
    void Ended(EngineEntry& engine, WorkEnded const& ended);
    boost::shared_ptr<Engine> Change(EngineEntry& engine);
    void StoreEngine(EngineEntry const& engine);
    void TellEngine(EngineEntry const& engine);
    void SendSettings(EngineEntry const& engine);
    void PutOptions(EngineProduct& product, UID const& engine, UID const& type, OptionMap const& options);

    Farm& m_farm;
    std::map<UID, Rival> m_rivals; // by the Engine's id
    std::set<UID> m_refusedRivals; // instances that people were told of
};

} // namespace farm
