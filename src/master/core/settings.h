#pragma once

// Options, limits, Pools and Products.

#include "master/core/farm.h"

namespace farm {

// Keeps what people set for the farm as a whole, and tells it.
//
// Owned by the Farm. A change of options is merged key by key and told as the whole
// section, so that two who change at once lose nothing.
class Settings {
public:
    explicit Settings(Farm& farm) : m_farm(farm) {}

    // Puts in the Products that came with the program.
    void AddShipped();

    void OnOptions(PeerId peer, SetMasterOptionsMsg const& message);
    void OnLimits(SetMasterLimitsMsg const& message);
    void OnRestrictions(SetMasterRestrictionsMsg const& message);
    void OnTranslations(PathTranslationsMsg const& message);
    void OnStartup(MasterDefaultStartupMsg const& message);
    void OnPools(PoolMsg const& message);
    void OnDeletePool(PeerId peer, DeletePoolMsg const& message);
    void OnProduct(PeerId peer, ProductMsg const& message);
    void OnRemoveProduct(PeerId peer, RemoveProductMsg const& message);

    // What a peer asks for.
    void SendOptions(PeerId peer);
    void SendLimits(PeerId peer) { m_farm.out.To(peer, LimitsMessage()); }
    void SendRestrictions(PeerId peer) { m_farm.out.To(peer, RestrictionsMessage()); }
    // What an Engine needs to know of them.
    void SendToEngine(PeerId peer);
    void SendTranslations(PeerId peer) { m_farm.out.To(peer, TranslationsMessage()); }
    void SendStartup(PeerId peer) { m_farm.out.To(peer, StartupMessage()); }
    void SendPools(PeerId peer);
    void SendProducts(PeerId peer);
    void SendDefaultEngine(PeerId peer);
    void SendFailures(PeerId peer);
    void SendMasterInfo(PeerId peer) { m_farm.out.To(peer, InfoMessage()); }

    // Rows, before RestoreDone.
    void ApplyOption(Record const& record);
    void ApplyPool(Record const& record);
    void ApplyProduct(Record const& record);
    void ApplyFailure(Record const& record);
    void RestoreDone();

private:
    MessagePtr LimitsMessage() const;
    MessagePtr RestrictionsMessage() const;
    MessagePtr TranslationsMessage() const;
    MessagePtr StartupMessage() const;
    MessagePtr InfoMessage() const;
    MessagePtr SectionMessage(String const& section) const;
    void ReadSection(String const& section);
    void StoreSetting(char const* name, Message const& message);
    String OptionOf(char const* section, char const* key) const;

    Farm& m_farm;
};

} // namespace farm
