#pragma once

#include "test.h"

#include <vorlan/messagefactory.h>

#include <msgpack.hpp>

namespace vorlan::test {

// Makes bodies of messages from their descriptions with the msgpack library, and
// so without the code under test.
class BodyMaker {
public:
    explicit BodyMaker(unsigned seed) : m_random(seed) {}

    // All fields, or each with even odds. With strangers there are fields that no
    // program knows between them.
    enum class Fields { All, Some, AllAndStrangers };
    std::string Body(MessageDescription const& message, Fields fields) {
        msgpack::sbuffer buffer;
        Packer packer(buffer);
        Record(packer, message, fields);
        return {buffer.data(), buffer.size()};
    }

private:
    using Packer = msgpack::packer<msgpack::sbuffer>;

    uint32_t Below(uint32_t limit) { return static_cast<uint32_t>(m_random() % limit); }

    std::vector<char> Id() {
        std::vector<char> bytes(UID::k_Size);
        for (char& byte : bytes)
            byte = static_cast<char>(m_random());
        return bytes;
    }

    std::string Text() {
        // Around the lengths at which the form changes.
        static constexpr uint32_t k_Lengths[] = {0, 1, 5, 31, 32, 33, 255, 256, 700, 65'535, 65'536};
        std::string text(Below(40) < 32 ? Below(40) : k_Lengths[Below(std::size(k_Lengths))], ' ');
        for (char& c : text)
            c = static_cast<char>(Below(20) == 0 ? m_random() : 'a' + Below(26));
        return text;
    }

    // Of all sizes, the ends of the range among them.
    int64_t Number(int bits, bool isSigned) {
        uint64_t const random = (uint64_t{m_random()} << 32 | m_random()) >> Below(64);
        uint64_t const mask = (bits == 64 ? ~uint64_t{0} : (uint64_t{1} << bits) - 1) >> isSigned;
        int64_t const value = static_cast<int64_t>(Below(10) == 0 ? mask : random & mask);
        return isSigned && Below(2) == 0 ? -value - 1 : value;
    }

    void Stranger(Packer& out) {
        static constexpr uint32_t k_ExtLengths[] = {5, 8, 300};
        std::function<void()> const kinds[] = {
            [&] { out.pack_nil(); },
            [&] {
                out.pack(std::tuple(1, 2.5f, std::map<std::string, bool>{{"deep", true}}));
            },
            [&] { out.pack(msgpack::type::ext(3, k_ExtLengths[Below(3)])); },
            [&] { out.pack(Text()); },
            [&] {
                out.pack(std::map<int, std::vector<int>>{{1, {}}, {-70000, std::vector<int>(20, -300)}});
            },
            [&] { out.pack(Number(64, true)); },
        };
        kinds[Below(6)]();
    }

    void Object(Packer& out, bool parent) {
        out.pack_map(parent ? 3 : 2).pack("ID").pack(Id());
        if (parent)
            out.pack("Parent").pack(Id());
        std::map<std::string, std::string> values;
        for (uint32_t i = Below(50); i > 0; --i)
            values["Value" + std::to_string(i)] = Text();
        out.pack("Values").pack(values);
    }

    void EngineHistoryValue(Packer& out) {
        uint32_t const lines = Below(20);
        out.pack_array(lines);
        for (uint32_t i = 0; i < lines; ++i)
            out.pack(std::tuple(Number(50, true), Text()));
    }

    void JobHistoryValue(Packer& out) {
        uint32_t const units = 1 + Below(6);
        out.pack_map(2).pack("Job").pack(Id()).pack("Units").pack_array(units);
        int64_t time = 63'000'000'000'000;
        for (uint32_t unit = 0; unit < units; ++unit) {
            uint32_t const tries = 1 + Below(3);
            out.pack_array(2).pack(std::to_string(unit * 10 + 1) + "-" + std::to_string(unit * 10 + 10));
            out.pack_array(tries);
            for (uint32_t run = 0; run < tries; ++run) {
                uint32_t const elements = 1 + Below(4);
                out.pack_array(3).pack(Id()).pack(Id()).pack_array(elements);
                for (uint32_t i = 0; i < elements; ++i) {
                    static constexpr int k_Life[] = {1, 2, 7, 3};
                    time += 1 + Below(100'000);
                    out.pack_array(3).pack(k_Life[i]).pack(time).pack(Text());
                }
            }
        }
    }

    void Map(Packer& out, std::string_view keyType, std::string_view valueType) {
        uint32_t const items = Below(8) == 0 ? 20 : Below(5);
        out.pack_map(items);
        for (uint32_t i = 0; i < items; ++i) {
            // Keys that differ whatever the case.
            if (keyType == "text")
                out.pack("Key " + std::to_string(i));
            else if (keyType == "id")
                out.pack(Id());
            else
                out.pack(int64_t{i} * 1000 - 3000);
            Value(out, valueType);
        }
    }

    void List(Packer& out, uint32_t items, std::string_view type) {
        out.pack_array(items);
        for (uint32_t i = 0; i < items; ++i)
            Value(out, type);
    }

    void Value(Packer& out, std::string_view type) {
        auto const bits = [&](size_t prefix) { return std::stoi(std::string(type.substr(prefix))); };
        std::map<std::string_view, std::function<void()>> const kinds = {
            {"bool", [&] { out.pack(Below(2) == 0); }},
            {"number", [&] { out.pack(static_cast<double>(Number(40, true)) / (Below(2) ? 1 : 7)); }},
            {"text", [&] { out.pack(Text()); }},
            {"id", [&] { out.pack(Id()); }},
            {"time", [&] { out.pack(Number(62, true)); }},
            {"Job", [&] { Object(out, Below(2) == 0); }},
            {"Engine", [&] { Object(out, false); }},
            {"JobHistory", [&] { JobHistoryValue(out); }},
            {"EngineHistory", [&] { EngineHistoryValue(out); }},
        };
        if (auto const kind = kinds.find(type); kind != kinds.end()) {
            kind->second();
        } else if (type.starts_with("int")) {
            out.pack(Number(bits(3), true));
        } else if (type.starts_with("uint")) {
            out.pack(static_cast<uint64_t>(Number(bits(4), false)));
        } else if (type.starts_with("list of ")) {
            List(out, Below(8) == 0 ? 20 : Below(5), type.substr(8));
        } else if (type.starts_with("map of ")) {
            size_t const to = type.find(" to ");
            Map(out, type.substr(7, to - 7), type.substr(to + 4));
        } else {
            auto const record = std::find_if(m_known.begin(), m_known.end(),
                                             [&](MessageDescription const& known) { return known.name == type; });
            if (record == m_known.end())
                throw std::runtime_error("no values for the type " + std::string(type));
            Record(out, *record, Fields::All);
        }
    }

    void Record(Packer& out, MessageDescription const& record, Fields fields) {
        std::vector<FieldDescription> chosen = record.fields;
        // A Job must be there.
        if (fields == Fields::Some)
            std::erase_if(chosen, [&](FieldDescription const& field) { return field.type != "Job" && Below(2) == 0; });
        bool const strangers = fields == Fields::AllAndStrangers;
        out.pack_map(static_cast<uint32_t>(strangers ? chosen.size() * 2 + 1 : chosen.size()));
        for (FieldDescription const& field : chosen) {
            if (strangers) {
                out.pack("X" + field.name.Str());
                Stranger(out);
            }
            out.pack(field.name.Str());
            Value(out, std::string_view(field.type));
        }
        if (strangers) {
            out.pack("");
            Stranger(out);
        }
    }

    std::mt19937 m_random;
    std::vector<MessageDescription> const m_known = MessageFactory::Describe();
};

inline msgpack::object_handle Unpacked(std::string_view body) {
    return msgpack::unpack(body.data(), body.size(), nullptr, nullptr,
                           msgpack::unpack_limit(1u << 20, 1u << 20, 1u << 26, 1u << 26, 1u << 20, 64));
}

// Maps have an order of their own. Lists that could be sets get one, and a number is
// the same whatever its form.
inline msgpack::type::variant InOrder(msgpack::type::variant value) {
    if (value.is_vector()) {
        for (msgpack::type::variant& item : value.as_vector())
            item = InOrder(item);
        std::sort(value.as_vector().begin(), value.as_vector().end());
    } else if (value.is_multimap()) {
        for (auto& [key, item] : value.as_multimap())
            item = InOrder(item);
    } else if (value.is_double() && std::abs(value.as_double()) < 1e15 &&
               value.as_double() == std::trunc(value.as_double())) {
        return static_cast<int64_t>(value.as_double());
    }
    return value;
}

// Whether two bodies say the same: the order of maps, and of lists of values that
// could be sets, does not count.
inline bool SameContent(std::string_view a, std::string_view b) {
    return InOrder(Unpacked(a)->as<msgpack::type::variant>()) == InOrder(Unpacked(b)->as<msgpack::type::variant>());
}

// A body as text for failures.
inline std::string Shown(std::string_view body) {
    std::ostringstream text;
    text << Unpacked(body).get();
    return text.str().substr(0, 2000);
}

} // namespace vorlan::test
