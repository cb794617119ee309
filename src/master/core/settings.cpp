#include "master/core/settings.h"

#include "master/core/distributor.h"
#include "master/core/engines.h"
#include "master/core/jobs.h"
#include "master/core/reporter.h"
#include "master/core/rows.h"
#include "master/core/runs.h"

#include <corekit/exception.h>
#include <vorlan/keys.h>
#include <vorlan/productfile.h>

namespace farm {

namespace {

// Sections are rows of their own under their name; a name may be a Product's UID. These
// are the other settings that lie beside them.
constexpr char k_Limits[] = "\nLimits";
constexpr char k_Restrictions[] = "\nRestrictions";
constexpr char k_Translations[] = "\nPathTranslations";
constexpr char k_Startup[] = "\nStartup";

constexpr size_t k_MaxSections = 10'000;
constexpr size_t k_MaxSectionKeys = 20'000;
constexpr size_t k_MaxPools = 10'000;

} // namespace

void Settings::AddShipped() {
    for (auto const& product : m_farm.config.products) {
        ProductEntry& entry = m_farm.products[product->Type()];
        entry.product = product;
        entry.original = product;
        entry.text = ProductToText(*product);
        entry.shipped = true;
    }
}

void Settings::StoreSetting(char const* name, Message const& message) {
    uint64_t& number = m_farm.settingRows[name];
    if (number == 0)
        number = m_farm.NextNumber();
    m_farm.out.Put(RecordKind::Option, number, String(name), EncodeMessage(message));
}

void Settings::OnOptions(PeerId peer, SetMasterOptionsMsg const& message) {
    if (message.section.Empty() || message.section.StartsWith("\n") ||
        (m_farm.sections.size() >= k_MaxSections && !m_farm.sections.contains(message.section))) {
        m_farm.out.Refuse(peer, UID::Null, "The section \"" + message.section.Mid(0, 100) + "\" cannot be set.");
        return;
    }
    SectionEntry& section = m_farm.sections[message.section];
    if (section.options.size() + message.options.size() > k_MaxSectionKeys) {
        m_farm.out.Refuse(peer, UID::Null, "The section \"" + message.section + "\" has too many options.");
        return;
    }
    if (message.section.CompareNoCase(o_ViewPresets) == 0) {
        MergeViewPresets(section.options, message.options);
    } else {
        for (auto const& [key, value] : message.options)
            section.options[key] = value;
    }
    if (section.number == 0)
        section.number = m_farm.NextNumber();
    m_farm.out.Put(RecordKind::Option, section.number, message.section, WriteRow(section.options));
    m_farm.out.ToFollowers(SectionMessage(message.section));
    ReadSection(message.section);
    if (message.section.CompareNoCase(o_Distribution) == 0 &&
        message.options.contains(std::string_view(o_LogDispatch)) && m_farm.policy.logDispatch)
        m_farm.out.LogDispatch(m_farm.reporter->Round(), true);
    m_farm.engineActions->ShowAllBarred();
    m_farm.jobActions->GiveUpAllAtLimit();
    if (message.section.CompareNoCase(o_Setup) == 0) {
        auto const info = InfoMessage();
        for (auto const& [id, other] : m_farm.peers.All()) {
            m_farm.out.To(id, info);
            if (other.engine)
                SendToEngine(id);
        }
    }
}

void Settings::SendToEngine(PeerId peer) {
    m_farm.out.To(peer, SectionMessage(o_Setup));
    SendTranslations(peer);
}

// Reads what the distribution needs of a section that changed.
void Settings::ReadSection(String const& section) {
    auto const at = m_farm.sections.find(section);
    if (at == m_farm.sections.end())
        return;
    OptionMap const& options = at->second.options;
    UID product;
    if (section.CompareNoCase(o_Distribution) == 0) {
        m_farm.policy = Policy::Read(options);
        m_farm.runActions->CountCreators();
    } else if (section.CompareNoCase(o_PoolExtInfo) == 0) {
        m_farm.poolRules = Policy::ReadPools(options);
    } else if (UID::FromString(section, product)) {
        auto const boost = options.find(std::string_view(o_PriorityBoost));
        // Empty or negative: the global one counts.
        if (boost != options.end() && boost->second.Int(-1) >= 0)
            m_farm.productBoosts[product] = static_cast<int>(boost->second.Int());
        else
            m_farm.productBoosts.erase(product);
    } else {
        return;
    }
    m_farm.jobActions->SettingsChanged();
}

void Settings::OnLimits(SetMasterLimitsMsg const& message) {
    m_farm.productLimits = message.limits;
    StoreSetting(k_Limits, message);
    m_farm.out.ToFollowers(LimitsMessage());
    m_farm.distributor->AllChanged();
}

void Settings::OnRestrictions(SetMasterRestrictionsMsg const& message) {
    m_farm.restrictions = message.restrictions;
    StoreSetting(k_Restrictions, message);
    m_farm.out.ToFollowers(RestrictionsMessage());
}

void Settings::OnTranslations(PathTranslationsMsg const& message) {
    m_farm.translations = message.translations;
    StoreSetting(k_Translations, message);
    // Engines need them as clients do.
    auto const told = TranslationsMessage();
    for (auto const& [id, peer] : m_farm.peers.All())
        m_farm.out.To(id, told);
}

void Settings::OnStartup(MasterDefaultStartupMsg const& message) {
    for (auto const& [component, value] : message.components)
        m_farm.startup[component] = value;
    auto const told = StartupMessage();
    StoreSetting(k_Startup, *told);
    m_farm.out.ToFollowers(told);
}

void Settings::OnPools(PoolMsg const& message) {
    for (auto const& [id, name] : message.pools) {
        // The null UID and the full one are no Pools.
        if (id.IsNull() || id == UID::Full || m_farm.pools.size() >= k_MaxPools)
            continue;
        PoolEntry& pool = m_farm.pools[id];
        if (pool.number == 0)
            pool.number = m_farm.NextNumber();
        pool.name = name;
        m_farm.out.Put(RecordKind::Pool, pool.number, id, name);
        auto told = PoolMsg::New();
        told->pools[id] = name;
        m_farm.out.ToFollowers(told);
    }
}

void Settings::OnDeletePool(PeerId peer, DeletePoolMsg const& message) {
    auto const at = m_farm.pools.find(message.pool);
    if (at == m_farm.pools.end()) {
        m_farm.out.Refuse(peer, message.pool, "The Pool is not there any more.");
        return;
    }
    m_farm.out.Erase(RecordKind::Pool, at->second.number);
    m_farm.runActions->ForgetStaggers(message.pool);
    m_farm.pools.erase(at);
    auto told = DeletePoolMsg::New();
    told->pool = message.pool;
    m_farm.out.ToFollowers(told);
}

void Settings::OnProduct(PeerId peer, ProductMsg const& message) {
    boost::shared_ptr<Product const> product;
    try {
        product = ProductFromText(message.text);
    } catch (Exception const& problem) {
        m_farm.out.Refuse(peer, UID::Null, "The Product is not valid: " + problem.Message());
        return;
    }
    ProductEntry& entry = m_farm.products[product->Type()];
    if (entry.number == 0)
        entry.number = m_farm.NextNumber();
    entry.product = product;
    entry.text = ProductToText(*product);
    entry.removed = false;
    m_farm.out.Put(RecordKind::Product, entry.number, product->Type(), entry.text);
    auto told = ProductMsg::New();
    told->text = entry.text;
    for (auto const& [id, other] : m_farm.peers.All())
        m_farm.out.To(id, told);
    m_farm.jobActions->ProductChanged(product->Type());
}

void Settings::OnRemoveProduct(PeerId peer, RemoveProductMsg const& message) {
    auto const at = m_farm.products.find(message.product);
    if (at == m_farm.products.end() || at->second.removed) {
        m_farm.out.Refuse(peer, message.product, "The Product is not there any more.");
        return;
    }
    ProductEntry& entry = at->second;
    if (entry.shipped) {
        // It comes back with the next start unless the store says that it is unwanted.
        if (entry.number == 0)
            entry.number = m_farm.NextNumber();
        entry.removed = true;
        m_farm.out.Put(RecordKind::Product, entry.number, message.product, String());
    } else {
        m_farm.out.Erase(RecordKind::Product, entry.number);
        m_farm.products.erase(at);
    }
    auto told = RemoveProductMsg::New();
    told->product = message.product;
    for (auto const& [id, other] : m_farm.peers.All())
        m_farm.out.To(id, told);
    m_farm.jobActions->ProductChanged(message.product);
}

MessagePtr Settings::SectionMessage(String const& section) const {
    auto message = SetMasterOptionsMsg::New();
    auto const at = m_farm.sections.find(section);
    message->section = section;
    if (at != m_farm.sections.end()) {
        message->section = at->first;
        message->options = at->second.options;
    }
    return message;
}

MessagePtr Settings::LimitsMessage() const {
    auto message = SetMasterLimitsMsg::New();
    message->limits = m_farm.productLimits;
    return message;
}

MessagePtr Settings::RestrictionsMessage() const {
    auto message = SetMasterRestrictionsMsg::New();
    message->restrictions = m_farm.restrictions;
    return message;
}

MessagePtr Settings::TranslationsMessage() const {
    auto message = PathTranslationsMsg::New();
    message->translations = m_farm.translations;
    return message;
}

MessagePtr Settings::StartupMessage() const {
    auto message = MasterDefaultStartupMsg::New();
    message->components = m_farm.startup;
    return message;
}

String Settings::OptionOf(char const* section, char const* key) const {
    auto const at = m_farm.sections.find(std::string_view(section));
    if (at == m_farm.sections.end())
        return String();
    auto const value = at->second.options.find(std::string_view(key));
    return value == at->second.options.end() ? String() : value->second;
}

MessagePtr Settings::InfoMessage() const {
    auto message = MasterInfoMsg::New();
    message->machine = m_farm.config.machine;
    message->machineName = m_farm.config.machineName;
    message->port = m_farm.config.port;
    message->version = m_farm.config.version;
    message->releaseDate = m_farm.config.releaseDate;
    message->startTime = m_farm.config.startTime;
    message->message = OptionOf(o_Setup, o_Message);
    message->administrate = static_cast<unsigned>(OptionOf(o_Setup, o_Administrate).Uint());
    message->historyLog = m_farm.config.historyLog;
    message->dispatchLog = m_farm.config.dispatchLog;
    message->idleTimeout = static_cast<int>(OptionOf(o_Setup, o_IdleTimeout).Int());
    return message;
}

void Settings::SendOptions(PeerId peer) {
    bool hasDistribution = false;
    for (auto const& [name, section] : m_farm.sections) {
        m_farm.out.To(peer, SectionMessage(name));
        hasDistribution = hasDistribution || name.CompareNoCase(o_Distribution) == 0;
    }
    if (!hasDistribution)
        m_farm.out.To(peer, SectionMessage(o_Distribution));
}

void Settings::SendPools(PeerId peer) {
    auto message = PoolMsg::New();
    for (auto const& [id, pool] : m_farm.pools)
        message->pools[id] = pool.name;
    m_farm.out.To(peer, message);
}

void Settings::SendProducts(PeerId peer) {
    for (auto const& [type, product] : m_farm.products) {
        if (product.removed)
            continue;
        auto message = ProductMsg::New();
        message->text = product.text;
        m_farm.out.To(peer, message);
    }
}

void Settings::SendDefaultEngine(PeerId peer) {
    auto message = DefaultEngineMsg::New();
    message->engine = *m_farm.defaultEngine;
    m_farm.out.To(peer, message);
    for (auto const& [type, product] : m_farm.defaultProducts) {
        auto options = DefaultEngineOptionsMsg::New();
        options->product = type;
        options->options = product.options;
        m_farm.out.To(peer, options);
    }
}

void Settings::SendFailures(PeerId peer) {
    auto message = FailureArchiveMsg::New();
    message->items = m_farm.failures.Items();
    m_farm.out.To(peer, message);
}

void Settings::ApplyOption(Record const& record) {
    m_farm.settingRows[record.id] = record.number;
    auto const decode = [&](auto message) {
        using T = typename decltype(message)::element_type;
        return boost::dynamic_pointer_cast<T>(DecodeMessage(T::s_Type, record.body));
    };
    if (record.id == k_Limits)
        m_farm.productLimits = decode(SetMasterLimitsMsg::New())->limits;
    else if (record.id == k_Restrictions)
        m_farm.restrictions = decode(SetMasterRestrictionsMsg::New())->restrictions;
    else if (record.id == k_Translations)
        m_farm.translations = decode(PathTranslationsMsg::New())->translations;
    else if (record.id == k_Startup)
        m_farm.startup = decode(MasterDefaultStartupMsg::New())->components;
    else
        m_farm.sections[record.id] = {record.number, ReadOptionRow(record.body)};
}

void Settings::ApplyPool(Record const& record) {
    if (record.op == Record::Op::Put)
        m_farm.pools[UIDOfRecord(record)] = {record.number, record.body};
    else
        std::erase_if(m_farm.pools, [&](auto const& pool) { return pool.second.number == record.number; });
}

void Settings::ApplyProduct(Record const& record) {
    if (record.op != Record::Op::Put) {
        std::erase_if(m_farm.products, [&](auto const& product) { return product.second.number == record.number; });
        return;
    }
    auto const product = record.body.Empty() ? nullptr : ProductFromText(record.body);
    ProductEntry& entry = m_farm.products[UIDOfRecord(record)];
    entry.number = record.number;
    entry.removed = !product;
    if (!product)
        return;
    entry.product = product;
    entry.text = record.body;
}

void Settings::ApplyFailure(Record const& record) {
    if (record.op == Record::Op::Put)
        m_farm.failures.Restore(ReadFailureRow(record));
    else
        m_farm.failures.RemoveRow(record.number);
}

void Settings::RestoreDone() {
    for (auto const& [name, section] : m_farm.sections)
        ReadSection(name);
}

} // namespace farm
