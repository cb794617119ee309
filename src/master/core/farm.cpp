#include "master/core/farm.h"

#include "master/core/distributor.h"
#include "master/core/engines.h"
#include "master/core/jobcommands.h"
#include "master/core/jobs.h"
#include "master/core/loader.h"
#include "master/core/relay.h"
#include "master/core/reporter.h"
#include "master/core/runs.h"
#include "master/core/settings.h"
#include "master/core/standstills.h"

#include <boost/make_shared.hpp>

#include <array>
#include <cstring>

namespace farm {

uint64_t Random::Next() {
    // SplitMix64.
    uint64_t mixed = m_state += 0x9E3779B97F4A7C15U;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBU;
    return mixed ^ (mixed >> 31);
}

UID Random::NextUID() {
    std::array<uint8_t, UID::k_Size> bytes{};
    uint64_t const low = Next();
    uint64_t const high = Next();
    std::memcpy(bytes.data(), &low, sizeof low);
    std::memcpy(bytes.data() + sizeof low, &high, sizeof high);
    bytes[6] = static_cast<uint8_t>((bytes[6] & 0x0F) | 0x40);
    bytes[8] = static_cast<uint8_t>((bytes[8] & 0x3F) | 0x80);
    return UID(bytes);
}

Farm::Farm(CoreConfig coreConfig)
    : config(std::move(coreConfig)),
      random(config.seed),
      policy(Policy::Read({})),
      defaultEngine(boost::make_shared<Engine>()),
      settings(std::make_unique<Settings>(*this)),
      jobActions(std::make_unique<Jobs>(*this)),
      engineActions(std::make_unique<Engines>(*this)),
      runActions(std::make_unique<Runs>(*this)),
      distributor(std::make_unique<Distributor>(*this)),
      loader(std::make_unique<Loader>(*this)),
      reporter(std::make_unique<Reporter>(*this)),
      relay(std::make_unique<Relay>(*this)),
      jobCommands(std::make_unique<JobCommands>(*this)),
      standstills(std::make_unique<Standstills>(*this)) {}

Farm::~Farm() = default;

JobEntry* Farm::FindJob(UID const& id) {
    auto const at = jobsById.find(id);
    return at == jobsById.end() ? nullptr : at->second;
}

JobEntry* Farm::FindJob(uint64_t number) {
    auto const at = jobs.find(number);
    return at == jobs.end() ? nullptr : at->second.get();
}

EngineEntry* Farm::FindEngine(UID const& id) {
    auto const at = enginesById.find(id);
    return at == enginesById.end() ? nullptr : at->second;
}

Run* Farm::FindRun(UID const& work) {
    auto const at = runsByWork.find(work);
    return at == runsByWork.end() ? nullptr : at->second;
}

boost::shared_ptr<Product const> Farm::FindProduct(UID const& type) const {
    auto const at = products.find(type);
    return at == products.end() || at->second.removed ? nullptr : at->second.product;
}

PoolRule const& Farm::RuleOfPool(UID const& pool) const {
    static PoolRule const s_none;
    auto const at = poolRules.find(pool);
    return at == poolRules.end() ? s_none : at->second;
}

int Farm::LimitOfProduct(UID const& type) const {
    auto const at = productLimits.find(type);
    return at == productLimits.end() ? 0 : at->second;
}

Usage const& Farm::UsageOf(std::unordered_map<UID, Usage> const& usages, UID const& id) const {
    static Usage const s_none;
    auto const at = usages.find(id);
    return at == usages.end() ? s_none : at->second;
}

OptionMap Farm::OptionsOn(EngineEntry const& engine, UID const& type) const {
    OptionMap options;
    auto const add = [&](OptionMap const& more) {
        for (auto const& [name, value] : more)
            options[name] = value;
    };
    if (auto const common = sections.find(type.ToString()); common != sections.end())
        add(common->second.options);
    if (auto const common = defaultProducts.find(type); common != defaultProducts.end())
        add(common->second.options);
    if (auto const own = engine.products.find(type); own != engine.products.end())
        add(own->second.options);
    return options;
}

EngineProduct const* Farm::ProductOn(EngineEntry const& engine, UID const& type) const {
    auto const own = engine.products.find(type);
    if (own != engine.products.end())
        return &own->second;
    auto const common = defaultProducts.find(type);
    return common == defaultProducts.end() ? nullptr : &common->second;
}

} // namespace farm
