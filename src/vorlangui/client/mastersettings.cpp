#include "mastersettings.h"

namespace vorlan {

String MasterSettings::Option(String const& key) const {
    CommonMutex::Lock const lock(m_mutex);
    auto const found = m_options.find(key);
    return found == m_options.end() ? String() : found->second;
}

OptionMap MasterSettings::Options() const {
    CommonMutex::Lock const lock(m_mutex);
    return m_options;
}

void MasterSettings::MergeOptions(OptionMap const& options) {
    CommonMutex::Lock const lock(m_mutex);
    for (auto const& [key, value] : options)
        m_options[key] = value;
}

OptionMap MasterSettings::ProductOptions(UID const& product) const {
    CommonMutex::Lock const lock(m_mutex);
    auto const found = m_products.find(product);
    return found == m_products.end() ? OptionMap() : found->second;
}

void MasterSettings::SetProductOptions(UID const& product, OptionMap const& options) {
    CommonMutex::Lock const lock(m_mutex);
    m_products[product] = options;
}

std::map<UID, int> MasterSettings::Limits() const {
    CommonMutex::Lock const lock(m_mutex);
    return m_limits;
}

void MasterSettings::SetLimits(std::map<UID, int> const& limits) {
    CommonMutex::Lock const lock(m_mutex);
    m_limits = limits;
}

bool MasterSettings::Restricts(String const& action) const {
    CommonMutex::Lock const lock(m_mutex);
    auto const found = m_restrictions.find(action);
    return found != m_restrictions.end() && found->second;
}

void MasterSettings::SetRestrictions(Restrictions const& restrictions) {
    CommonMutex::Lock const lock(m_mutex);
    m_restrictions = restrictions;
}

void MasterSettings::Clear() {
    CommonMutex::Lock const lock(m_mutex);
    m_options.clear();
    m_products.clear();
    m_limits.clear();
    m_restrictions.clear();
}

} // namespace vorlan
