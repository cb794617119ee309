#include <vorlan/vorlanobject.h>

#include <corekit/exception.h>
#include <corekit/inifile.h>
#include <corekit/log.h>
#include <corekit/sformat.h>
#include <corekit/stream.h>
#include <vorlan/keys.h>

#include <utility>

namespace vorlan {

namespace {

// The innermost reading scope of this thread.
thread_local VorlanObject::ReadingScope const* s_reading = nullptr;

bool IsID(String const& name) { return name.CompareNoCase(p_ID) == 0; }

} // namespace

VorlanObject::ReadingScope::ReadingScope(VorlanObject const& object)
    : m_object(&object), m_own(object.Snapshot()), m_values(&m_own), m_outer(std::exchange(s_reading, this)) {}

VorlanObject::ReadingScope::ReadingScope(VorlanObject const& object, boost::shared_ptr<ValueBlock const> const& values)
    : m_object(&object), m_values(&values), m_outer(std::exchange(s_reading, this)) {}

VorlanObject::ReadingScope::~ReadingScope() { s_reading = m_outer; }

VorlanObject::VorlanObject() : m_values(ValueBlock::Empty()) {}

VorlanObject::VorlanObject(UID const& objectID) : id(objectID), m_values(ValueBlock::Empty()) {}

VorlanObject::VorlanObject(VorlanObject const& other) : id(other.id), m_values(other.Snapshot()) {}

VorlanObject& VorlanObject::operator=(VorlanObject const& other) {
    // Others may read the id at this moment, so it is written only where it differs.
    if (id != other.id)
        id = other.id;
    SetSnapshot(other.Snapshot());
    return *this;
}

VorlanObject::~VorlanObject() = default;

void VorlanObject::Clone(VorlanObject const& other) { VorlanObject::operator=(other); }

void VorlanObject::Merge(VorlanObject const& other) {
    auto const theirs = other.Snapshot();
    Change([&](boost::shared_ptr<ValueBlock const> const& mine) {
        ValueBlockBuilder builder;
        builder.AddAll(*mine);
        builder.AddAll(*theirs);
        return builder.Build();
    });
}

boost::shared_ptr<ValueBlock const> VorlanObject::Current() const { return m_values.load(); }

boost::shared_ptr<ValueBlock const> const* VorlanObject::Scoped() const {
    for (ReadingScope const* scope = s_reading; scope; scope = scope->m_outer) {
        if (scope->m_object == this)
            return scope->m_values;
    }
    return nullptr;
}

boost::shared_ptr<ValueBlock const> VorlanObject::Snapshot() const {
    auto const* const scoped = Scoped();
    return scoped ? *scoped : Current();
}

template <class Use>
auto VorlanObject::Read(uint32_t number, Use const& use) const {
    if (auto const* const scoped = Scoped())
        return use((*scoped)->Find(number));
    return use(Current()->Find(number));
}

void VorlanObject::SetSnapshot(boost::shared_ptr<ValueBlock const> const& values) {
    m_values.store(values ? values : ValueBlock::Empty());
}

bool VorlanObject::Change(Changer const& change) {
    boost::shared_ptr<ValueBlock const> current = Current();
    while (true) {
        boost::shared_ptr<ValueBlock const> const next = change(current);
        if (next == current || *next == *current)
            return false;
        if (m_values.compare_exchange_strong(current, next))
            return true;
    }
}

bool VorlanObject::Store(uint32_t number, std::string_view value) {
    boost::shared_ptr<ValueBlock const> current = Current();
    while (true) {
        std::string_view const old = current->Find(number);
        if (old.data() && old == value)
            return false;
        if (m_values.compare_exchange_strong(current, current->With(number, value)))
            return true;
    }
}

bool VorlanObject::Remove(uint32_t number) {
    return Change([&](boost::shared_ptr<ValueBlock const> const& values) {
        return values->Has(number) ? values->Without(number) : values;
    });
}

String VorlanObject::Get(String const& name, bool) const {
    if (IsID(name))
        return id.ToString();
    return Snapshot()->Find(std::string_view(name));
}

bool VorlanObject::Set(String const& name, String const& value) {
    if (IsID(name))
        return false;
    try {
        return Store(NameTable::Number(name), value);
    } catch (ArgumentException const& exception) {
        LogWarning("A value was not stored: " + exception.Message());
        return false;
    }
}

bool VorlanObject::Clear(String const& name) {
    uint32_t const number = NameTable::Lookup(name);
    return number != NameTable::k_None && Remove(number);
}

void VorlanObject::Send(OutStream& stream) const {
    auto const values = Snapshot();
    stream.Write(id);
    stream.Write(values->Count());
    for (ValueBlock::Value const value : *values) {
        stream.Write(String(value.Name()));
        stream.Write(String(value.text));
    }
}

void VorlanObject::Read(InStream& stream) {
    UID newID;
    uint32_t count = 0;
    if (!stream.Read(newID) || !stream.Read(count))
        return;
    if (count > k_MaxSentValues)
        throw ParseException(
            SFormat("An object with %u values came in, and the limit is %zu. It was refused.", count, k_MaxSentValues));
    ValueBlockBuilder builder;
    size_t bytes = 0;
    for (uint32_t i = 0; i < count; ++i) {
        String name;
        String text;
        if (!stream.Read(name, NameTable::k_MaxNameLength) || !stream.Read(text, k_MaxSentText))
            return;
        bytes += text.size();
        if (name.Empty() || bytes > k_MaxSentText)
            throw ParseException(
                name.Empty() ? String("An object with a value without a name came in. It was refused.")
                             : SFormat("An object with more than %zu bytes came in. It was refused.", k_MaxSentText));
        builder.AddCopy(std::string_view(name), std::string_view(text));
    }
    SetSnapshot(builder.Build());
    if (id != newID)
        id = newID;
}

void VorlanObject::Save(String& text, std::vector<String> const& names, OptionsToStringMode mode) const {
    auto const values = Snapshot();
    OptionMap options;
    for (String const& name : names) {
        std::string_view const value = values->Find(std::string_view(name));
        if (value.data())
            options[name] = value;
    }
    text += OptionsToString(options, mode, UID::Null, id);
}

void VorlanObject::Save(String& text, OptionsToStringMode mode) const {
    text += OptionsToString(Values(), mode, UID::Null, id);
}

void VorlanObject::Save(IniFile& file) const {
    auto const values = Snapshot();
    for (ValueBlock::Value const value : *values)
        file.SetValue(String(value.Name()), String(value.text));
}

void VorlanObject::Load(String& text) {
    OptionMap options;
    UID textID;
    size_t const taken = ParseOptions(text, options, nullptr, &textID);
    if (taken == 0)
        throw ParseException("This is no text of values. It must begin with \"{\", end with \"}\" and hold "
                             "Name=\"value\" between them.");
    SetValues(options);
    if (id.IsNull() && !textID.IsNull())
        id = textID;
    text = text.Mid(taken);
}

void VorlanObject::Load(IniFile& file) { SetValues(file.GetSection(file.CurrentSection())); }

String VorlanObject::Name() const { return TextOf(Known(p_Name)); }

void VorlanObject::SetName(String const& name) { Set(p_Name, name); }

String VorlanObject::Note() const { return TextOf(Known(p_Note)); }

void VorlanObject::SetNote(String const& note) { Set(p_Note, note); }

void VorlanObject::Replace(String const& from, String const& to, bool caseSensitive) {
    if (from.Empty())
        return;
    Change([&](boost::shared_ptr<ValueBlock const> const& values) {
        ValueBlockBuilder builder;
        builder.Reserve(values->Count());
        for (ValueBlock::Value const value : *values) {
            String text(value.text);
            text.Replace(from, to, caseSensitive);
            builder.AddCopy(value.number, text);
        }
        return builder.Build();
    });
}

bool VorlanObject::SetValues(OptionMap const& values) {
    return Change([&](boost::shared_ptr<ValueBlock const> const& current) {
        ValueBlockBuilder builder;
        builder.AddAll(*current);
        for (auto const& [name, text] : values) {
            if (name.Empty() || name.size() > NameTable::k_MaxNameLength)
                LogWarning("A value was not stored because its name is empty or too long: " + name.Mid(0, 60));
            else if (!IsOwnField(name))
                builder.Add(std::string_view(name), std::string_view(text));
        }
        return builder.Build();
    });
}

OptionMap VorlanObject::Values() const {
    OptionMap options;
    auto const values = Snapshot();
    for (ValueBlock::Value const value : *values)
        options[String(value.Name())] = value.text;
    return options;
}

bool VorlanObject::Has(String const& name) const { return Snapshot()->Find(std::string_view(name)).data() != nullptr; }

bool VorlanObject::IsOwnField(String const& name) const { return IsID(name); }

int64_t VorlanObject::IntOf(uint32_t number, int64_t otherwise) const {
    return Read(number, [&](std::string_view text) { return text.data() ? String(text).Int(otherwise) : otherwise; });
}

double VorlanObject::FloatOf(uint32_t number, double otherwise) const {
    return Read(number, [&](std::string_view text) { return text.data() ? String(text).Float(otherwise) : otherwise; });
}

bool VorlanObject::BoolOf(uint32_t number, bool otherwise) const {
    return Read(number, [&](std::string_view text) { return text.data() ? String(text).Bool(otherwise) : otherwise; });
}

UID VorlanObject::UIDOf(KnownValue value) const {
    return Read(value.number, [](std::string_view text) {
        UID uid;
        return UID::FromString(text, uid) ? uid : UID::Null;
    });
}

String VorlanObject::TextOf(KnownValue value) const {
    return Read(value.number, [](std::string_view text) { return String(text); });
}

} // namespace vorlan
