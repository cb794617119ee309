#include "initext.h"

#include <corekit/file.h>
#include <corekit/inifile.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace corekit {

const String* IniFile::FindValue(const String& section, const String& key) const {
    const auto inSection = m_content.sections.find(section);
    if (inSection == m_content.sections.end())
        return nullptr;
    const auto entry = inSection->second.entries.find(key);
    return entry == inSection->second.entries.end() ? nullptr : &entry->second.value;
}

// Reads an integer into the type of the default; out of its range is the default.
template <class T>
T IniFile::Number(const String& section, const String& key, T def) const {
    const Guard guard(*this);
    const String* value = FindValue(section, key);
    if (!value)
        return def;
    if constexpr (std::is_same_v<T, uint64_t>)
        return value->Uint(def);
    else {
        const int64_t number = value->Int(static_cast<int64_t>(def));
        return std::in_range<T>(number) ? static_cast<T>(number) : def;
    }
}

String IniFile::GetValue(const String& section, const String& key, const String& def) const {
    const Guard guard(*this);
    const String* value = FindValue(section, key);
    return value ? *value : def;
}

String IniFile::GetValue(const String& section, const String& key, const char* def) const {
    const Guard guard(*this);
    const String* value = FindValue(section, key);
    return value ? *value : String(def);
}

bool IniFile::GetValue(const String& section, const String& key, bool def) const {
    const Guard guard(*this);
    const String* value = FindValue(section, key);
    return value ? value->Bool(def) : def;
}

int IniFile::GetValue(const String& section, const String& key, int def) const { return Number(section, key, def); }

int64_t IniFile::GetValue(const String& section, const String& key, int64_t def) const {
    return Number(section, key, def);
}

unsigned IniFile::GetValue(const String& section, const String& key, unsigned def) const {
    return Number(section, key, def);
}

uint64_t IniFile::GetValue(const String& section, const String& key, uint64_t def) const {
    return Number(section, key, def);
}

unsigned short IniFile::GetValue(const String& section, const String& key, unsigned short def) const {
    return Number(section, key, def);
}

float IniFile::GetValue(const String& section, const String& key, float def) const {
    const double value = GetValue(section, key, static_cast<double>(def));
    return std::abs(value) <= std::numeric_limits<float>::max() ? static_cast<float>(value) : def;
}

double IniFile::GetValue(const String& section, const String& key, double def) const {
    const Guard guard(*this);
    const String* value = FindValue(section, key);
    return value ? value->Float(def) : def;
}

// True when something changed.
bool IniFile::Store(const String& section, const String& key, const String& value) {
    const Guard guard(*this);
    Entry& entry = m_content.sections[section].entries[key];
    const bool fresh = entry.order == 0;
    if (!fresh && entry.value == value)
        return false;
    if (fresh)
        entry.order = m_nextOrder++;
    entry.value = value;
    return true;
}

void IniFile::SetValue(const String& section, const String& key, const String& value) {
    if (Store(section, key, value))
        OnChanged();
}

void IniFile::SetValue(const String& section, const String& key, const char* value) {
    SetValue(section, key, String(value));
}

void IniFile::SetValue(const String& section, const String& key, bool value) {
    SetValue(section, key, String::From(value));
}

void IniFile::SetValue(const String& section, const String& key, double value) {
    SetValue(section, key, String::From(value));
}

void IniFile::SetValue(const String& section, const String& key, float value) {
    SetValue(section, key, String::From(value));
}

void IniFile::SetSection(const String& name) {
    const Guard guard(*this);
    m_current = name;
    m_beforeFirst = false;
    m_walking = false;
}

String IniFile::CurrentSection() const {
    const Guard guard(*this);
    return m_current;
}

// The head of the file without keys is no section to those outside.
bool IniFile::IsHidden(const SectionMap::value_type& section) {
    return section.first.empty() && section.second.entries.empty();
}

bool IniFile::HasSection(const String& name) const {
    const Guard guard(*this);
    const auto section = m_content.sections.find(name);
    return section != m_content.sections.end() && !IsHidden(*section);
}

void IniFile::InsertSection(const String& name) {
    bool changed = false;
    {
        const Guard guard(*this);
        const auto [section, isNew] = m_content.sections.try_emplace(name);
        changed = isNew || !section->second.entries.empty();
        section->second.entries.clear();
        SetSection(name);
    }
    if (changed)
        OnChanged();
}

bool IniFile::ClearSection(const String& name) {
    {
        const Guard guard(*this);
        if (m_content.sections.erase(name) == 0)
            return false;
    }
    OnChanged();
    return true;
}

bool IniFile::EraseFirstSection() {
    {
        const Guard guard(*this);
        auto first = m_content.sections.begin();
        if (first != m_content.sections.end() && IsHidden(*first))
            ++first;
        if (first == m_content.sections.end())
            return false;
        m_content.sections.erase(first);
    }
    OnChanged();
    return true;
}

size_t IniFile::SectionCount() const {
    const Guard guard(*this);
    const bool hidden = !m_content.sections.empty() && IsHidden(*m_content.sections.begin());
    return m_content.sections.size() - hidden;
}

vector<String> IniFile::Sections() const {
    const Guard guard(*this);
    vector<String> names;
    names.reserve(m_content.sections.size());
    for (const auto& section : m_content.sections)
        if (!IsHidden(section))
            names.push_back(section.first);
    return names;
}

void IniFile::ResetSection() {
    const Guard guard(*this);
    m_beforeFirst = true;
}

bool IniFile::NextSection(String& name) {
    const Guard guard(*this);
    auto next = m_beforeFirst ? m_content.sections.begin() : m_content.sections.upper_bound(m_current);
    if (next != m_content.sections.end() && IsHidden(*next))
        ++next;
    if (next == m_content.sections.end())
        return false;
    name = next->first;
    SetSection(name);
    return true;
}

bool IniFile::GetNextValue(String& key, String& value) {
    const Guard guard(*this);
    if (!m_walking) {
        m_walk = Keys(m_current);
        m_walkAt = 0;
        m_walking = true;
    }
    while (m_walkAt < m_walk.size()) {
        const String& next = m_walk[m_walkAt++];
        // A key may have gone since the walk began.
        if (const String* found = FindValue(m_current, next)) {
            key = next;
            value = *found;
            return true;
        }
    }
    return false;
}

bool IniFile::HasKey(const String& section, const String& key) const {
    const Guard guard(*this);
    return FindValue(section, key) != nullptr;
}

bool IniFile::HasKey(const String& key) const {
    const Guard guard(*this);
    return FindValue(m_current, key) != nullptr;
}

bool IniFile::ClearKey(const String& section, const String& key) {
    {
        const Guard guard(*this);
        const auto inSection = m_content.sections.find(section);
        if (inSection == m_content.sections.end() || inSection->second.entries.erase(key) == 0)
            return false;
    }
    OnChanged();
    return true;
}

bool IniFile::ClearKey(const String& key) { return ClearKey(CurrentSection(), key); }

vector<std::pair<const String*, const IniFile::Entry*>> IniFile::InOrder(const Section& section) {
    vector<std::pair<const String*, const Entry*>> entries;
    entries.reserve(section.entries.size());
    for (const auto& [key, entry] : section.entries)
        entries.emplace_back(&key, &entry);
    std::ranges::sort(entries, {}, [](const auto& item) { return item.second->order; });
    return entries;
}

vector<String> IniFile::Keys(const String& section) const {
    const Guard guard(*this);
    vector<String> keys;
    const auto found = m_content.sections.find(section);
    if (found != m_content.sections.end())
        for (const auto& [key, entry] : InOrder(found->second))
            keys.push_back(*key);
    return keys;
}

OptionMap IniFile::GetSection(const String& section) const {
    const Guard guard(*this);
    OptionMap values;
    const auto found = m_content.sections.find(section);
    if (found != m_content.sections.end())
        for (const auto& [key, entry] : found->second.entries)
            values.emplace_hint(values.end(), key, entry.value);
    return values;
}

void IniFile::Clear() { Take({}, true); }

bool IniFile::Load(const Path& path, bool mustExist, bool replace) {
    if (!mustExist && !path.Exists()) {
        if (replace)
            Clear();
        return false;
    }
    try {
        Take(Parse(File::Read(path)), replace);
        return true;
    } catch (const FileException& exception) {
        Raise(k_Error, exception);
    } catch (const ParseException& exception) {
        Raise(k_Error, ParseException("Cannot use \"" + path + "\". " + exception.Message(), exception.Detail()));
    }
    return false;
}

void IniFile::LoadText(const String& text) { Take(Parse(text), true); }

void IniFile::Save(const Path& path) const { File::WriteWhole(path, SaveText()); }

void IniFile::Take(Content&& content, bool replace) {
    {
        const Guard guard(*this);
        m_walking = false;
        m_beforeFirst = true;
        if (replace) {
            m_content = {};
            m_current.clear();
        }
        if (!content.headComment.empty())
            m_content.headComment = std::move(content.headComment);
        if (!content.endComment.empty())
            m_content.endComment = std::move(content.endComment);
        for (auto& [name, section] : content.sections) {
            Section& mine = m_content.sections[name];
            if (!section.comment.empty())
                mine.comment = section.comment;
            for (const auto& [key, entry] : InOrder(section)) {
                Entry& mineEntry = mine.entries[*key];
                const uint64_t order = mineEntry.order ? mineEntry.order : m_nextOrder++;
                mineEntry = *entry;
                mineEntry.order = order;
            }
        }
    }
    OnChanged();
}

IniFile::Content IniFile::Parse(const String& text) {
    IniText parsed(text);
    Content content;
    content.headComment = parsed.HeadComment();
    content.endComment = parsed.EndComment();
    parsed.ForEachSection([&](const String& name, const String& comment) { content.sections[name].comment = comment; });
    uint64_t order = 1;
    parsed.ForEachValue([&](const String& section, const String& key, const String& value, const String& comment) {
        content.sections[section].entries.insert_or_assign(key, Entry{value, comment, order++});
    });
    return content;
}

String IniFile::SaveText() const {
    const Guard guard(*this);
    IniText out;
    for (const auto& [name, section] : m_content.sections) {
        if (!name.empty() || !section.entries.empty())
            out.AddSection(name, section.comment);
        for (const auto& [key, entry] : InOrder(section))
            out.AddValue(name, *key, entry->value, entry->comment);
    }
    return out.Text(m_content.headComment, m_content.endComment);
}

} // namespace corekit
