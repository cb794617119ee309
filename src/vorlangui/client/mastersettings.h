#pragma once

#include <corekit/commonmutex.h>
#include <corekit/optionmap.h>
#include <corekit/uid.h>
#include <vorlan/fwd.h>

#include <map>

namespace vorlan {

// MasterSettings is the client's copy of what the Master says about how it works.
// Owner: the FarmClient. Works with: the message handlers, which fill it.
// Thread: any.
class MasterSettings {
public:
    using Restrictions = std::map<String, bool, String::ciless>;

    // A Distribution option; empty when the Master has not named it.
    String Option(String const& key) const;
    OptionMap Options() const;
    // Keys that `options` has not got stay.
    void MergeOptions(OptionMap const& options);

    OptionMap ProductOptions(UID const& product) const;
    void SetProductOptions(UID const& product, OptionMap const& options);

    std::map<UID, int> Limits() const;
    void SetLimits(std::map<UID, int> const& limits);

    // True: administrators only.
    bool Restricts(String const& action) const;
    void SetRestrictions(Restrictions const& restrictions);

    // The Master has said nothing.
    void Clear();

private:
    mutable CommonMutex m_mutex;
    OptionMap m_options CK_GUARDED_BY(m_mutex);
    std::map<UID, OptionMap> m_products CK_GUARDED_BY(m_mutex);
    std::map<UID, int> m_limits CK_GUARDED_BY(m_mutex);
    Restrictions m_restrictions CK_GUARDED_BY(m_mutex);
};

} // namespace vorlan
