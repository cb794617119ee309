#include <vorlan/product.h>

#include "productjson.h"

#include <vorlan/valueblock.h>

#include <algorithm>
#include <array>

namespace vorlan {

namespace {

constexpr std::array<char const*, 4> k_ClassNames = {"Sequence", "Single", "Once per Engine", "Virtual Module"};

template <class T>
std::vector<boost::shared_ptr<T>> DeepCopy(std::vector<boost::shared_ptr<T>> const& items) {
    std::vector<boost::shared_ptr<T>> copies;
    copies.reserve(items.size());
    for (auto const& item : items)
        copies.push_back(boost::make_shared<T>(*item));
    return copies;
}

template <class T>
void Move(std::vector<T>& items, size_t from, size_t to) {
    if (from >= items.size() || to >= items.size())
        return;
    auto const first = items.begin();
    auto const at = [first](size_t index) { return first + static_cast<ptrdiff_t>(index); };
    if (from < to)
        std::rotate(at(from), at(from + 1), at(to + 1));
    else
        std::rotate(at(to), at(from), at(from + 1));
}

} // namespace

Product::Product(String const& name, UID const& type, bool customized)
    : m_name(name), m_type(type), m_customized(customized) {}

Product::Product(Product const& other) { *this = other; }

Product& Product::operator=(Product const& other) {
    if (this == &other)
        return *this;
    m_name = other.m_name;
    m_type = other.m_type;
    m_class = other.m_class;
    m_queue = other.m_queue;
    m_customized = other.m_customized;
    m_evenPackets = other.m_evenPackets;
    m_shortHelp = other.m_shortHelp;
    m_longHelp = other.m_longHelp;
    m_summary = other.m_summary;
    m_aliases = other.m_aliases;
    m_freeNames = other.m_freeNames;
    m_params = DeepCopy(other.m_params);
    m_commands = DeepCopy(other.m_commands);
    m_autoDetect = other.m_autoDetect;
    m_derivedValues = other.m_derivedValues;
    m_launch = other.m_launch;
    m_outputRules = other.m_outputRules;
    m_extra = other.m_extra;
    ClearCache();
    return *this;
}

char const* Product::ClassName(ProductClass productClass) { return k_ClassNames[static_cast<size_t>(productClass)]; }

bool Product::ClassFromName(String const& name, ProductClass& productClass) {
    auto const folded = [](String text) {
        text.Replace(" ", "");
        return text.Lower();
    };
    for (size_t i = 0; i < k_ClassNames.size(); ++i) {
        if (folded(k_ClassNames[i]) == folded(name)) {
            productClass = static_cast<ProductClass>(i);
            return true;
        }
    }
    return false;
}

bool Product::IsCalled(String const& nameOrAlias) const {
    return m_name.CompareNoCase(nameOrAlias) == 0 ||
           std::any_of(m_aliases.begin(), m_aliases.end(),
                       [&](String const& alias) { return alias.CompareNoCase(nameOrAlias) == 0; });
}

bool Product::IsFreeName(String const& name) const {
    return std::any_of(m_freeNames.begin(), m_freeNames.end(), [&name](String const& free) {
        if (!free.EndsWith("*"))
            return free.CompareNoCase(name) == 0;
        String const start = free.Mid(0, free.size() - 1);
        return start.CompareNoCase(name.Mid(0, start.size())) == 0;
    });
}

void Product::SetHelp(String const& shortHelp, String const& longHelp) {
    m_shortHelp = shortHelp;
    m_longHelp = longHelp;
}

void Product::ExpandHelp() {
    OptionMap const& standard = StandardHelp();
    for (auto const& parameter : m_params) {
        auto const help = standard.find(parameter->GetName());
        if (help != standard.end() && parameter->GetHelp().Empty())
            parameter->m_settings[k_SettingHelp] = help->second;
    }
}

void Product::SimplifyHelp() {
    OptionMap const& standard = StandardHelp();
    for (auto const& parameter : m_params) {
        auto const help = standard.find(parameter->GetName());
        if (help != standard.end() && parameter->GetHelp() == help->second)
            parameter->m_settings.erase(k_SettingHelp);
    }
}

void Product::ClearCache() {
    m_defaults.store(nullptr);
    m_nameIndex.clear();
    for (size_t i = 0; i < m_params.size(); ++i)
        m_nameIndex.try_emplace(m_params[i]->GetName().Lower().Str(), i);
}

boost::shared_ptr<Product::Defaults const> Product::MakeDefaults() const {
    auto const defaults = boost::make_shared<Defaults>(k_Values.size());
    for (auto const& parameter : m_params) {
        uint32_t const number = NameTable::Lookup(parameter->GetName());
        if (number < defaults->size() && !(*defaults)[number])
            (*defaults)[number] = parameter->GetDefault();
    }
    return defaults;
}

String const* Product::DefaultOf(KnownValue value) const {
    boost::shared_ptr<Defaults const> defaults = m_defaults.load();
    if (!defaults) {
        boost::shared_ptr<Defaults const> const made = MakeDefaults();
        // Another thread may have been faster; theirs stays then, as long as the Product is not written.
        defaults = m_defaults.compare_exchange_strong(defaults, made) ? made : m_defaults.load();
    }
    auto const& text = (*defaults)[value.number];
    return text ? &*text : nullptr;
}

size_t Product::IndexOf(String const& name) const {
    auto const isCalled = [&](size_t i) { return m_params[i]->GetName().CompareNoCase(name) == 0; };
    auto const found = m_nameIndex.find(name.Lower().Str());
    if (found != m_nameIndex.end() && found->second < m_params.size() && isCalled(found->second))
        return found->second;
    for (size_t i = 0; i < m_params.size(); ++i) {
        if (isCalled(i))
            return i;
    }
    return k_NotFound;
}

boost::shared_ptr<Parameter const> Product::GetParam(size_t index) const {
    return index < m_params.size() ? m_params[index] : nullptr;
}

boost::shared_ptr<Parameter const> Product::GetParam(String const& name) const { return GetParam(IndexOf(name)); }

MutableParameterInfo Product::GetMutableParam(size_t index) {
    m_defaults.store(nullptr);
    return index < m_params.size() ? MutableParameterInfo(m_params[index]) : MutableParameterInfo();
}

MutableParameterInfo Product::GetMutableParam(String const& name) { return GetMutableParam(IndexOf(name)); }

MutableParameterInfo Product::NewParam(Parameter::TYPE type) {
    m_defaults.store(nullptr);
    m_params.push_back(boost::make_shared<Parameter>(type));
    return MutableParameterInfo(m_params.back());
}

void Product::DeleteParam(String const& name) {
    size_t const index = IndexOf(name);
    if (index == k_NotFound)
        return;
    m_params.erase(m_params.begin() + static_cast<ptrdiff_t>(index));
    ClearCache();
}

void Product::MoveParam(size_t from, size_t to) {
    Move(m_params, from, to);
    ClearCache();
}

bool Product::IsDefaultParam(String const& name, String const& value) const {
    auto const parameter = GetParam(name);
    return parameter && parameter->IsDefault(value);
}

void Product::FilterOutDefaults(OptionMap& values) const {
    std::erase_if(values, [this](auto const& entry) { return IsDefaultParam(entry.first, entry.second); });
}

boost::shared_ptr<Command const> Product::GetCommand(unsigned index) const {
    return index < m_commands.size() ? m_commands[index] : nullptr;
}

boost::shared_ptr<Command> Product::GetMutableCommand(unsigned index) {
    return index < m_commands.size() ? m_commands[index] : nullptr;
}

boost::shared_ptr<Command const> Product::FindCommand(String const& name) const {
    for (auto const& command : m_commands) {
        if (!command->IsSeparator() && command->GetName().CompareNoCase(name) == 0)
            return command;
    }
    return nullptr;
}

boost::shared_ptr<Command> Product::AddCommand(int flags) {
    m_commands.push_back(boost::make_shared<Command>(static_cast<unsigned>(flags)));
    return m_commands.back();
}

void Product::DeleteCommand(String const& name) {
    auto const found = std::find_if(m_commands.begin(), m_commands.end(), [&name](auto const& command) {
        return command->GetName().CompareNoCase(name) == 0;
    });
    if (found != m_commands.end())
        m_commands.erase(found);
}

void Product::MoveCommand(size_t from, size_t to) { Move(m_commands, from, to); }

} // namespace vorlan
