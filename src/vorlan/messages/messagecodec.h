#pragma once

#include <vorlan/engine.h>
#include <vorlan/enginehistory.h>
#include <vorlan/ippeer.h>
#include <vorlan/job.h>
#include <vorlan/jobhistory.h>
#include <vorlan/message.h>
#include <vorlan/messagefactory.h>
#include <vorlan/messagetable.h>
#include <vorlan/wire.h>

#include "logtext.h"

#include <concepts>
#include <limits>
#include <tuple>
#include <type_traits>
#include <vector>

// How the fields of messages become bytes, text for the log and documentation.
// Included by the files that register messages, and by nobody else.

namespace vorlan {

template <class T>
concept Record = requires {
    T::k_Name;
    T::Fields();
};
template <class T>
concept MapLike = requires {
    typename T::mapped_type;
};
template <class T>
concept TextMap =
    MapLike<T> && std::same_as<typename T::key_type, String> && std::same_as<typename T::mapped_type, String>;
template <class T>
concept ListLike = !MapLike<T> && !std::same_as<T, String> && requires(T list) {
    typename T::value_type;
    list.size();
    list.begin();
}
&&!std::same_as<T, JobHistory> && !std::same_as<T, EngineHistory>;

// Lists grow with what has really come, from this many items on.
inline constexpr size_t k_FirstItems = 256;

// Put together while compiling, not for each message.
template <Record T>
inline constexpr auto k_FieldsOf = T::Fields();

template <Record T>
void WriteRecord(MessageWriter& writer, T const& record);
template <Record T>
void ReadRecord(MessageReader& reader, T& record);

template <class T>
void WriteValue(MessageWriter& writer, T const& value) {
    if constexpr (std::same_as<T, bool>)
        writer.Bool(value);
    else if constexpr (std::floating_point<T>)
        writer.Real(static_cast<double>(value));
    else if constexpr (std::signed_integral<T>)
        writer.Int(value);
    else if constexpr (std::unsigned_integral<T>)
        writer.Uint(value);
    else if constexpr (std::same_as<T, String>)
        writer.Text(value);
    else if constexpr (std::same_as<T, UID>)
        writer.Id(value);
    else if constexpr (std::same_as<T, Time>)
        writer.Int(value.Milliseconds());
    else if constexpr (std::same_as<T, IPPeer>)
        writer.Text(value.ToString());
    else if constexpr (std::same_as<T, boost::shared_ptr<Job>>)
        value ? WriteJob(writer, *value) : writer.Nil();
    else if constexpr (std::same_as<T, Engine>)
        WriteEngine(writer, value);
    else if constexpr (std::same_as<T, JobHistory>)
        WriteJobHistory(writer, value);
    else if constexpr (std::same_as<T, EngineHistory>)
        WriteEngineHistory(writer, value);
    else if constexpr (MapLike<T>) {
        writer.Map(value.size());
        for (auto const& [key, item] : value) {
            WriteValue(writer, key);
            WriteValue(writer, item);
        }
    } else if constexpr (ListLike<T>) {
        writer.Array(value.size());
        for (auto const& item : value)
            WriteValue(writer, item);
    } else
        WriteRecord(writer, value);
}

template <class T>
void ReadValue(MessageReader& reader, T& value);

template <std::integral T>
void ReadInteger(MessageReader& reader, T& value) {
    if constexpr (std::is_signed_v<T>) {
        int64_t const number = reader.Int();
        if (number < std::numeric_limits<T>::min() || number > std::numeric_limits<T>::max())
            reader.Fail("is out of range");
        value = static_cast<T>(number);
    } else {
        uint64_t const number = reader.Uint();
        if (number > std::numeric_limits<T>::max())
            reader.Fail("is out of range");
        value = static_cast<T>(number);
    }
}

template <MapLike T>
void ReadMap(MessageReader& reader, T& map) {
    map.clear();
    size_t const count = reader.EnterMap();
    for (size_t i = 0; i < count; ++i) {
        typename T::key_type key{};
        ReadValue(reader, key);
        ReadValue(reader, map[std::move(key)]);
    }
    reader.Leave();
}

template <ListLike T>
void ReadList(MessageReader& reader, T& list) {
    list.clear();
    size_t const count = reader.EnterArray();
    if constexpr (requires { list.reserve(count); })
        list.reserve(std::min(count, k_FirstItems));
    for (size_t i = 0; i < count; ++i) {
        typename T::value_type item{};
        ReadValue(reader, item);
        list.insert(list.end(), std::move(item));
    }
    reader.Leave();
}

template <class T>
void ReadValue(MessageReader& reader, T& value) {
    if constexpr (std::same_as<T, bool>)
        value = reader.Bool();
    else if constexpr (std::floating_point<T>)
        value = static_cast<T>(reader.Real());
    else if constexpr (std::integral<T>)
        ReadInteger(reader, value);
    else if constexpr (std::same_as<T, String>)
        value = String(reader.Text());
    else if constexpr (std::same_as<T, UID>)
        value = reader.Id();
    else if constexpr (std::same_as<T, Time>)
        value = Time(reader.Int());
    else if constexpr (std::same_as<T, IPPeer>) {
        if (std::string_view const text = reader.Text(); !text.empty() && !IPPeer::FromString(text, value))
            reader.Fail("is not an address");
    } else if constexpr (std::same_as<T, boost::shared_ptr<Job>>)
        value = ReadJob(reader);
    else if constexpr (std::same_as<T, Engine>)
        ReadEngine(reader, value);
    else if constexpr (std::same_as<T, JobHistory>)
        ReadJobHistory(reader, value);
    else if constexpr (std::same_as<T, EngineHistory>)
        ReadEngineHistory(reader, value);
    else if constexpr (MapLike<T>)
        ReadMap(reader, value);
    else if constexpr (ListLike<T>)
        ReadList(reader, value);
    else
        ReadRecord(reader, value);
}

template <Record T>
void WriteRecord(MessageWriter& writer, T const& record) {
    std::apply(
        [&](auto const&... field) {
            writer.Map(sizeof...(field));
            ((writer.Text(field.name), WriteValue(writer, record.*(field.member))), ...);
        },
        k_FieldsOf<T>);
}

// Reads the value if the field has this name. Nil counts as a field that is not
// there.
template <class T, class F>
bool ReadIfNamed(MessageReader& reader, T& record, F const& field, std::string_view name) {
    if (name != field.name)
        return false;
    char const* const outer = reader.SetField(field.name);
    if (!reader.TakeNil())
        ReadValue(reader, record.*(field.member));
    reader.SetField(outer);
    return true;
}

// A Job is the one thing that has no default.
template <class T, class F>
void CheckThere(MessageReader& reader, T const& record, F const& field) {
    if constexpr (std::same_as<typename F::ValueType, boost::shared_ptr<Job>>) {
        if (!(record.*(field.member))) {
            reader.SetField(field.name);
            reader.Fail("is missing");
        }
    }
}

template <Record T>
void ReadRecord(MessageReader& reader, T& record) {
    auto const readNamed = [&]([[maybe_unused]] std::string_view name) {
        return std::apply([&](auto const&... field) { return (ReadIfNamed(reader, record, field, name) || ...); },
                          k_FieldsOf<T>);
    };
    size_t const count = reader.EnterMap();
    for (size_t i = 0; i < count; ++i) {
        if (!readNamed(reader.Name()))
            reader.Skip();
    }
    reader.Leave();
    std::apply([&](auto const&... field) { (CheckThere(reader, record, field), ...); }, k_FieldsOf<T>);
}

template <Record T>
void LogRecord(LogText& text, T const& record);

template <class T>
void LogValue(LogText& text, T const& value) {
    if constexpr (std::same_as<T, bool>)
        text.Plain(value ? k_Yes : k_No);
    else if constexpr (std::is_arithmetic_v<T>)
        text.Plain(String::From(value));
    else if constexpr (std::same_as<T, String>)
        text.Quoted(value);
    else if constexpr (std::same_as<T, UID>)
        text.Plain(value.ToString());
    else if constexpr (std::same_as<T, Time>)
        text.Plain(value.IsZero() ? String("none") : value.Format(k_DefaultDateTime, false));
    else if constexpr (std::same_as<T, IPPeer>)
        text.Plain(value.ToString());
    else if constexpr (std::same_as<T, boost::shared_ptr<Job>>)
        value ? text.Object(*value, value->parentID) : text.Plain("none");
    else if constexpr (std::same_as<T, Engine>)
        text.Object(value, UID::Null);
    else if constexpr (std::same_as<T, JobHistory> || std::same_as<T, EngineHistory>)
        text.Plain("(" + String::From(value.size()) + " items)");
    else if constexpr (MapLike<T> || ListLike<T>)
        LogItems(text, value);
    else
        LogRecord(text, value);
}

template <class T>
void LogItems(LogText& text, T const& items) {
    text.Plain("[");
    size_t shown = 0;
    for (auto const& item : items) {
        if (shown > 0)
            text.Plain(", ");
        if (text.IsFull() || shown == LogText::k_MaxListed) {
            text.Plain("... " + String::From(items.size()) + " items");
            break;
        }
        ++shown;
        if constexpr (TextMap<T>) {
            text.Named(item.first, item.second);
        } else if constexpr (MapLike<T>) {
            LogValue(text, item.first);
            text.Plain("=");
            LogValue(text, item.second);
        } else {
            LogValue(text, item);
        }
    }
    text.Plain("]");
}

template <Record T>
void LogFields(LogText& text, T const& record) {
    std::apply(
        [&](auto const&... field) {
            ((text.IsFull() ? void() : (text.Field(field.name), LogValue(text, record.*(field.member)))), ...);
        },
        k_FieldsOf<T>);
}

template <Record T>
void LogRecord(LogText& text, T const& record) {
    text.Plain("{");
    LogFields(text, record);
    text.Plain(" }");
}

// What kind of value a field has, in words, and the records on the way.
template <class T>
String DescribeType(std::vector<MessageDescription>& records);

template <Record T>
MessageDescription DescribeRecord(std::vector<MessageDescription>& records) {
    MessageDescription description;
    description.name = T::k_Name;
    std::apply(
        [&](auto const&... field) {
            (description.fields.push_back({field.name,
                                           DescribeType<typename std::decay_t<decltype(field)>::ValueType>(records),
                                           field.help, field.since}),
             ...);
        },
        k_FieldsOf<T>);
    return description;
}

template <class T>
String DescribeType(std::vector<MessageDescription>& records) {
    if constexpr (std::same_as<T, bool>)
        return "bool";
    else if constexpr (std::floating_point<T>)
        return "number";
    else if constexpr (std::signed_integral<T>)
        return "int" + String::From(sizeof(T) * 8);
    else if constexpr (std::unsigned_integral<T>)
        return "uint" + String::From(sizeof(T) * 8);
    else if constexpr (std::same_as<T, String>)
        return "text";
    else if constexpr (std::same_as<T, UID>)
        return "id";
    else if constexpr (std::same_as<T, Time>)
        return "time";
    else if constexpr (std::same_as<T, IPPeer>)
        return "address";
    else if constexpr (std::same_as<T, boost::shared_ptr<Job>>)
        return "Job";
    else if constexpr (std::same_as<T, Engine>)
        return "Engine";
    else if constexpr (std::same_as<T, JobHistory>)
        return "JobHistory";
    else if constexpr (std::same_as<T, EngineHistory>)
        return "EngineHistory";
    else if constexpr (MapLike<T>)
        return "map of " + DescribeType<typename T::key_type>(records) + " to " +
               DescribeType<typename T::mapped_type>(records);
    else if constexpr (ListLike<T>)
        return "list of " + DescribeType<typename T::value_type>(records);
    else {
        String const name = T::k_Name;
        auto const same = [&](MessageDescription const& record) { return record.name == name; };
        if (std::none_of(records.begin(), records.end(), same))
            records.push_back(DescribeRecord<T>(records));
        return name;
    }
}

template <class T>
void MessageOf<T>::Encode(MessageWriter& writer) const {
    WriteRecord(writer, static_cast<T const&>(*this));
}

template <class T>
void MessageOf<T>::Decode(MessageReader& reader) {
    ReadRecord(reader, static_cast<T&>(*this));
}

template <class T>
void MessageOf<T>::Emit(boost::shared_ptr<Message> const& self) const {
    s_Signal.Emit(boost::static_pointer_cast<T>(self));
}

template <class T>
bool MessageOf<T>::HasListeners() const {
    return !s_Signal.Empty();
}

template <class T>
String MessageOf<T>::Text() const {
    LogText text(T::k_Name);
    LogFields(text, static_cast<T const&>(*this));
    return text.TakeText();
}

// What the factory keeps of one kind.
struct MessageKind {
    UID type;
    char const* name;
    char const* about;
    unsigned ways;
    unsigned since;
    MessageFactory::Maker make;
    MessageDescription (*describe)(std::vector<MessageDescription>& records);
};
using MessageKinds = std::vector<MessageKind>;

template <class T>
void AddKind(MessageKinds& kinds) {
    kinds.push_back({T::s_Type, T::k_Name, T::k_About, T::k_Ways, T::k_Since,
                     []() -> boost::shared_ptr<Message> { return boost::make_shared<T>(); }, &DescribeRecord<T>});
}

// A header has no more lines than that; a test sees to it.
inline constexpr int k_MostTableLines = 600;

template <class Table, int Line>
void AddKindAt(MessageKinds& kinds) {
    if constexpr (requires(Table * table) { MessageAt(table, TableLine<Line>()); })
        AddKind<std::remove_pointer_t<decltype(MessageAt(static_cast<Table*>(nullptr), TableLine<Line>()))>>(kinds);
}

// Registers the kinds of a table, in its order. This is also where their virtuals are
// built: a kind that is in no table does not link.
template <class Table>
void AddTable(MessageKinds& kinds) {
    // In blocks: compilers bound how many terms one fold may have.
    constexpr int k_BlockLines = 100;
    auto const addBlock = [&]<int Block, int... Lines>(std::integral_constant<int, Block>,
                                                       std::integer_sequence<int, Lines...>) {
        (AddKindAt<Table, Block * k_BlockLines + Lines>(kinds), ...);
    };
    [&]<int... Blocks>(std::integer_sequence<int, Blocks...>) {
        (addBlock(std::integral_constant<int, Blocks>(), std::make_integer_sequence<int, k_BlockLines>()), ...);
    }
    (std::make_integer_sequence<int, k_MostTableLines / k_BlockLines>());
}

// One per file of messages, called by the factory.
void AddJobMessages(MessageKinds& kinds);
void AddEngineMessages(MessageKinds& kinds);
void AddMasterMessages(MessageKinds& kinds);
void AddRequestMessages(MessageKinds& kinds);
void AddFarmMessages(MessageKinds& kinds);
void AddOutputMessages(MessageKinds& kinds);

} // namespace vorlan
