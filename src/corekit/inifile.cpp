#include "initext.h"

#include <corekit/file.h>
#include <corekit/inifile.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace corekit {

String const* IniFile::FindValue(String const& section, String const& key) const {
    auto const inSection = m_content.sections.find(section);
    if (inSection == m_content.sections.end())
        return nullptr;
    auto const entry = inSection->second.entries.find(key);
    return entry == inSection->second.entries.end() ? nullptr : &entry->second.value;
}

// Reads an integer into the type of the default; out of its range is the default.
template <class T>
T IniFile::Number(String const& section, String const& key, T def) const {
    Guard const guard(*this);
    String const* value = FindValue(section, key);
    if (!value)
        return def;
    if constexpr (std::is_same_v<T, uint64_t>)
        return value->Uint(def);
    else {
        int64_t const number = value->Int(static_cast<int64_t>(def));
        return std::in_range<T>(number) ? static_cast<T>(number) : def;
    }
}

String IniFile::GetValue(String const& section, String const& key, String const& def) const {
    Guard const guard(*this);
    String const* value = FindValue(section, key);
    return value ? *value : def;
}

String IniFile::GetValue(String const& section, String const& key, char const* def) const {
    Guard const guard(*this);
    String const* value = FindValue(section, key);
    return value ? *value : String(def);
}

bool IniFile::GetValue(String const& section, String const& key, bool def) const {
    Guard const guard(*this);
    String const* value = FindValue(section, key);
    return value ? value->Bool(def) : def;
}

int IniFile::GetValue(String const& section, String const& key, int def) const { return Number(section, key, def); }

int64_t IniFile::GetValue(String const& section, String const& key, int64_t def) const {
    return Number(section, key, def);
}

unsigned IniFile::GetValue(String const& section, String const& key, unsigned def) const {
    return Number(section, key, def);
}

uint64_t IniFile::GetValue(String const& section, String const& key, uint64_t def) const {
    return Number(section, key, def);
}

unsigned short IniFile::GetValue(String const& section, String const& key, unsigned short def) const {
    return Number(section, key, def);
}

float IniFile::GetValue(String const& section, String const& key, float def) const {
    double const value = GetValue(section, key, static_cast<double>(def));
    return std::abs(value) <= std::numeric_limits<float>::max() ? static_cast<float>(value) : def;
}

double IniFile::GetValue(String const& section, String const& key, double def) const {
    Guard const guard(*this);
    String const* value = FindValue(section, key);
    return value ? value->Float(def) : def;
}

// True when something changed.
bool IniFile::Store(String const& section, String const& key, String const& value) {
    Guard const guard(*this);
    Entry& entry = m_content.sections[section].entries[key];
    bool const fresh = entry.order == 0;
    if (!fresh && entry.value == value)
        return false;
    if (fresh)
        entry.order = m_nextOrder++;
    entry.value = value;
    return true;
}

void IniFile::SetValue(String const& section, String const& key, String const& value) {
    if (Store(section, key, value))
        OnChanged();
}

void IniFile::SetValue(String const& section, String const& key, char const* value) {
    SetValue(section, key, String(value));
}

void IniFile::SetValue(String const& section, String const& key, bool value) {
    SetValue(section, key, String::From(value));
}

void IniFile::SetValue(String const& section, String const& key, double value) {
    SetValue(section, key, String::From(value));
}

void IniFile::SetValue(String const& section, String const& key, float value) {
    SetValue(section, key, String::From(value));
}

void IniFile::SetSection(String const& name) {
    Guard const guard(*this);
    m_current = name;
    m_beforeFirst = false;
    m_walking = false;
}

String IniFile::CurrentSection() const {
    Guard const guard(*this);
    return m_current;
}

// The head of the file without keys is no section to those outside.
bool IniFile::IsHidden(SectionMap::value_type const& section) {
    return section.first.Empty() && section.second.entries.empty();
}

bool IniFile::HasSection(String const& name) const {
    Guard const guard(*this);
    auto const section = m_content.sections.find(name);
    return section != m_content.sections.end() && !IsHidden(*section);
}

void IniFile::InsertSection(String const& name) {
    bool changed = false;
    {
        Guard const guard(*this);
        auto const [section, isNew] = m_content.sections.try_emplace(name);
        changed = isNew || !section->second.entries.empty();
        section->second.entries.clear();
        SetSection(name);
    }
    if (changed)
        OnChanged();
}

bool IniFile::ClearSection(String const& name) {
    {
        Guard const guard(*this);
        if (m_content.sections.erase(name) == 0)
            return false;
    }
    OnChanged();
    return true;
}

bool IniFile::EraseFirstSection() {
    {
        Guard const guard(*this);
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
    Guard const guard(*this);
    bool const hidden = !m_content.sections.empty() && IsHidden(*m_content.sections.begin());
    return m_content.sections.size() - hidden;
}

std::vector<String> IniFile::Sections() const {
    Guard const guard(*this);
    std::vector<String> names;
    names.reserve(m_content.sections.size());
    for (auto const& section : m_content.sections) {
        if (!IsHidden(section))
            names.push_back(section.first);
    }
    return names;
}

void IniFile::ResetSection() {
    Guard const guard(*this);
    m_beforeFirst = true;
}

bool IniFile::NextSection(String& name) {
    Guard const guard(*this);
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
    Guard const guard(*this);
    if (!m_walking) {
        m_walk = Keys(m_current);
        m_walkAt = 0;
        m_walking = true;
    }
    while (m_walkAt < m_walk.size()) {
        String const& next = m_walk[m_walkAt++];
        // A key may have gone since the walk began.
        if (String const* found = FindValue(m_current, next)) {
            key = next;
            value = *found;
            return true;
        }
    }
    return false;
}

bool IniFile::HasKey(String const& section, String const& key) const {
    Guard const guard(*this);
    return FindValue(section, key) != nullptr;
}

bool IniFile::HasKey(String const& key) const {
    Guard const guard(*this);
    return FindValue(m_current, key) != nullptr;
}

bool IniFile::ClearKey(String const& section, String const& key) {
    {
        Guard const guard(*this);
        auto const inSection = m_content.sections.find(section);
        if (inSection == m_content.sections.end() || inSection->second.entries.erase(key) == 0)
            return false;
    }
    OnChanged();
    return true;
}

bool IniFile::ClearKey(String const& key) { return ClearKey(CurrentSection(), key); }

std::vector<std::pair<String const*, IniFile::Entry const*>> IniFile::InOrder(Section const& section) {
    std::vector<std::pair<String const*, Entry const*>> entries;
    entries.reserve(section.entries.size());
    for (auto const& [key, entry] : section.entries)
        entries.emplace_back(&key, &entry);
    std::ranges::sort(entries, {}, [](auto const& item) { return item.second->order; });
    return entries;
}

std::vector<String> IniFile::Keys(String const& section) const {
    Guard const guard(*this);
    std::vector<String> keys;
    auto const found = m_content.sections.find(section);
    if (found != m_content.sections.end()) {
        for (auto const& [key, entry] : InOrder(found->second))
            keys.push_back(*key);
    }
    return keys;
}

OptionMap IniFile::GetSection(String const& section) const {
    Guard const guard(*this);
    OptionMap values;
    auto const found = m_content.sections.find(section);
    if (found != m_content.sections.end()) {
        for (auto const& [key, entry] : found->second.entries)
            values.emplace_hint(values.end(), key, entry.value);
    }
    return values;
}

void IniFile::Clear() { AdoptContent({}, true); }

bool IniFile::Load(Path const& path, bool mustExist, bool replace) {
    if (!mustExist && !path.Exists()) {
        if (replace)
            Clear();
        return false;
    }
    try {
        AdoptContent(Parse(File::Read(path)), replace);
        return true;
    } catch (FileException const& exception) {
        Raise(k_Error, exception);
    } catch (ParseException const& exception) {
        Raise(k_Error, ParseException("Cannot use \"" + path + "\". " + exception.Message(), exception.Detail()));
    }
    return false;
}

void IniFile::LoadText(String const& text) { AdoptContent(Parse(text), true); }

void IniFile::Save(Path const& path) const { File::WriteWhole(path, SaveText()); }

void IniFile::AdoptContent(Content&& content, bool replace) {
    {
        Guard const guard(*this);
        m_walking = false;
        m_beforeFirst = true;
        if (replace) {
            m_content = {};
            m_current.clear();
        }
        if (!content.headComment.Empty())
            m_content.headComment = std::move(content.headComment);
        if (!content.endComment.Empty())
            m_content.endComment = std::move(content.endComment);
        for (auto& [name, section] : content.sections) {
            Section& mine = m_content.sections[name];
            if (!section.comment.Empty())
                mine.comment = section.comment;
            for (auto const& [key, entry] : InOrder(section)) {
                Entry& mineEntry = mine.entries[*key];
                uint64_t const order = mineEntry.order ? mineEntry.order : m_nextOrder++;
                mineEntry = *entry;
                mineEntry.order = order;
            }
        }
    }
    OnChanged();
}

IniFile::Content IniFile::Parse(String const& text) {
    IniText parsed(text);
    Content content;
    content.headComment = parsed.HeadComment();
    content.endComment = parsed.EndComment();
    parsed.ForEachSection([&](String const& name, String const& comment) { content.sections[name].comment = comment; });
    uint64_t order = 1;
    parsed.ForEachValue([&](String const& section, String const& key, String const& value, String const& comment) {
        content.sections[section].entries.insert_or_assign(key, Entry{value, comment, order++});
    });
    return content;
}

String IniFile::SaveText() const {
    Guard const guard(*this);
    IniText out;
    for (auto const& [name, section] : m_content.sections) {
        if (!name.Empty() || !section.entries.empty())
            out.AddSection(name, section.comment);
        for (auto const& [key, entry] : InOrder(section))
            out.AddValue(name, *key, entry->value, entry->comment);
    }
    return out.Text(m_content.headComment, m_content.endComment);
}

} // namespace corekit
