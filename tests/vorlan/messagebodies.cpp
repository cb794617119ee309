#include "messagebodies.h"

#include <algorithm>
#include <sstream>

namespace vorlan::test {

BodyMaker::BodyMaker(unsigned seed) : m_random(seed) {
    for (MessageDescription& description : MessageFactory::Describe()) {
        if (description.type.IsNull())
            m_records.push_back(std::move(description));
    }
}

UID BodyMaker::Id() {
    std::array<uint8_t, UID::k_Size> bytes;
    for (uint8_t& byte : bytes)
        byte = static_cast<uint8_t>(m_random());
    return UID(bytes);
}

std::string BodyMaker::Text() {
    // Around the lengths at which the form changes.
    static constexpr size_t k_Lengths[] = {0, 1, 5, 31, 32, 33, 255, 256, 700, 65'535, 65'536};
    size_t const odds = Below(40);
    size_t const length = odds < 32 ? Below(40) : k_Lengths[Below(std::size(k_Lengths))];
    std::string text(length, ' ');
    for (char& c : text)
        c = static_cast<char>(Below(20) == 0 ? m_random() : 'a' + Below(26));
    return text;
}

int64_t BodyMaker::Number(int bits, bool isSigned) {
    // Of all sizes, the ends of the range among them.
    uint64_t const random = (uint64_t{m_random()} << 32 | m_random()) >> Below(64);
    uint64_t const mask = bits == 64 ? ~uint64_t{0} : (uint64_t{1} << bits) - 1;
    if (!isSigned)
        return static_cast<int64_t>((Below(10) == 0 ? mask : random & mask));
    int64_t const largest = static_cast<int64_t>(mask >> 1);
    int64_t const value = Below(10) == 0 ? largest : static_cast<int64_t>(random & (mask >> 1));
    return Below(2) == 0 ? value : -value - 1;
}

void BodyMaker::PackText(Packer& out, std::string const& text) {
    out.pack_str(static_cast<uint32_t>(text.size()));
    out.pack_str_body(text.data(), static_cast<uint32_t>(text.size()));
}

void BodyMaker::PackId(Packer& out) {
    UID const id = Id();
    out.pack_bin(UID::k_Size);
    out.pack_bin_body(reinterpret_cast<char const*>(id.Bytes()), UID::k_Size);
}

void BodyMaker::Stranger(Packer& out) {
    switch (Below(8)) {
    case 0:
        out.pack_nil();
        break;
    case 1:
        out.pack_array(3).pack(1).pack(2.5f).pack(std::map<std::string, bool>{{"deep", true}});
        break;
    case 2:
        out.pack_ext(5, 3);
        out.pack_ext_body("abcde", 5);
        break;
    case 3:
        out.pack_ext(300, 3);
        out.pack_ext_body(std::string(300, 'x').data(), 300);
        break;
    case 4:
        out.pack_ext(8, 1);
        out.pack_ext_body("12345678", 8);
        break;
    case 5:
        PackText(out, Text());
        break;
    case 6:
        out.pack_map(2).pack(1).pack_nil().pack(-70000).pack(std::vector<int>(20, -300));
        break;
    default:
        out.pack(Number(64, true));
    }
}

void BodyMaker::Object(Packer& out, bool parent) {
    out.pack_map(parent ? 3 : 2);
    PackText(out, "ID");
    PackId(out);
    if (parent) {
        PackText(out, "Parent");
        PackId(out);
    }
    PackText(out, "Values");
    size_t const values = Below(50);
    out.pack_map(static_cast<uint32_t>(values));
    for (size_t i = 0; i < values; ++i) {
        PackText(out, "Value" + std::to_string(i));
        PackText(out, Text());
    }
}

void BodyMaker::JobHistoryValue(Packer& out) {
    out.pack_map(2);
    PackText(out, "Job");
    PackId(out);
    PackText(out, "Units");
    uint32_t const units = static_cast<uint32_t>(1 + Below(6));
    out.pack_array(units);
    int64_t time = 63'000'000'000'000;
    for (uint32_t unit = 0; unit < units; ++unit) {
        uint32_t const tries = static_cast<uint32_t>(1 + Below(3));
        out.pack_array(2);
        PackText(out, std::to_string(unit * 10 + 1) + "-" + std::to_string(unit * 10 + 10));
        out.pack_array(tries);
        for (uint32_t run = 0; run < tries; ++run) {
            out.pack_array(3);
            PackId(out);
            PackId(out);
            uint32_t const elements = static_cast<uint32_t>(1 + Below(4));
            out.pack_array(elements);
            for (uint32_t i = 0; i < elements; ++i) {
                static constexpr int k_Life[] = {1, 2, 7, 3};
                time += static_cast<int64_t>(1 + Below(100'000));
                out.pack_array(3).pack(k_Life[i]).pack(time);
                PackText(out, Text());
            }
        }
    }
}

void BodyMaker::Value(Packer& out, std::string_view type) {
    auto const starts = [&](std::string_view prefix) { return type.starts_with(prefix); };
    if (type == "bool") {
        Below(2) ? out.pack_true() : out.pack_false();
    } else if (type == "number") {
        out.pack(static_cast<double>(Number(40, true)) / 7);
    } else if (starts("int")) {
        out.pack(Number(std::stoi(std::string(type.substr(3))), true));
    } else if (starts("uint")) {
        out.pack(static_cast<uint64_t>(Number(std::stoi(std::string(type.substr(4))), false)));
    } else if (type == "text") {
        PackText(out, Text());
    } else if (type == "id") {
        PackId(out);
    } else if (type == "time") {
        out.pack(Number(62, true));
    } else if (type == "Job") {
        Object(out, Below(2) == 0);
    } else if (type == "Engine") {
        Object(out, false);
    } else if (type == "JobHistory") {
        JobHistoryValue(out);
    } else if (type == "EngineHistory") {
        size_t const lines = Below(20);
        out.pack_array(static_cast<uint32_t>(lines));
        for (size_t i = 0; i < lines; ++i) {
            out.pack_array(2).pack(Number(50, true));
            PackText(out, Text());
        }
    } else if (starts("list of ")) {
        size_t const items = Below(8) == 0 ? 20 : Below(5);
        out.pack_array(static_cast<uint32_t>(items));
        for (size_t i = 0; i < items; ++i)
            Value(out, type.substr(8));
    } else if (starts("map of ")) {
        size_t const to = type.find(" to ");
        std::string_view const key = type.substr(7, to - 7);
        size_t const items = Below(8) == 0 ? 20 : Below(5);
        out.pack_map(static_cast<uint32_t>(items));
        for (size_t i = 0; i < items; ++i) {
            // Keys that differ whatever the case.
            if (key == "text")
                PackText(out, "Key " + std::to_string(i));
            else if (key == "id")
                PackId(out);
            else
                out.pack(static_cast<int64_t>(i) * 1000 - 3000);
            Value(out, type.substr(to + 4));
        }
    } else {
        auto const record = std::find_if(m_records.begin(), m_records.end(),
                                         [&](MessageDescription const& known) { return known.name == type; });
        if (record == m_records.end())
            throw std::runtime_error("no values for the type " + std::string(type));
        Record(out, *record, Fields::All);
    }
}

void BodyMaker::Record(Packer& out, MessageDescription const& record, Fields fields) {
    corekit::vector<FieldDescription> chosen;
    for (FieldDescription const& field : record.fields) {
        // A Job must be there.
        if (fields != Fields::Some || field.type == "Job" || Below(2) == 0)
            chosen.push_back(field);
    }
    bool const strangers = fields == Fields::AllAndStrangers;
    out.pack_map(static_cast<uint32_t>(chosen.size() * (strangers ? 2 : 1) + strangers));
    for (FieldDescription const& field : chosen) {
        if (strangers) {
            PackText(out, "X" + field.name.Str());
            Stranger(out);
        }
        PackText(out, field.name.Str());
        Value(out, std::string_view(field.type));
    }
    if (strangers) {
        PackText(out, "");
        Stranger(out);
    }
}

std::string BodyMaker::Body(MessageDescription const& message, Fields fields) {
    msgpack::sbuffer buffer;
    Packer packer(buffer);
    Record(packer, message, fields);
    return {buffer.data(), buffer.size()};
}

namespace {

msgpack::unpack_limit Limits() { return {1u << 20, 1u << 20, 1u << 26, 1u << 26, 1u << 20, 64}; }

// One text for all bodies that say the same.
std::string Canonical(msgpack::object const& object) {
    if (object.type == msgpack::type::MAP || object.type == msgpack::type::ARRAY) {
        std::vector<std::string> items;
        if (object.type == msgpack::type::MAP) {
            for (auto const& pair : object.via.map)
                items.push_back(Canonical(pair.key) + "=>" + Canonical(pair.val));
        } else {
            for (auto const& item : object.via.array)
                items.push_back(Canonical(item));
        }
        std::sort(items.begin(), items.end());
        std::string text = object.type == msgpack::type::MAP ? "{" : "[";
        for (std::string const& item : items)
            text += std::to_string(item.size()) + ":" + item + ",";
        return text + "}";
    }
    std::ostringstream text;
    text.precision(17);
    if (object.type == msgpack::type::STR)
        text << "s" << std::string(object.via.str.ptr, object.via.str.size);
    else if (object.type == msgpack::type::BIN)
        text << "b" << std::string(object.via.bin.ptr, object.via.bin.size);
    else
        text << object;
    return text.str();
}

} // namespace

bool SameContent(std::string_view a, std::string_view b) {
    auto const first = msgpack::unpack(a.data(), a.size(), nullptr, nullptr, Limits());
    auto const second = msgpack::unpack(b.data(), b.size(), nullptr, nullptr, Limits());
    return Canonical(first.get()) == Canonical(second.get());
}

std::string Shown(std::string_view body) {
    std::ostringstream text;
    text << msgpack::unpack(body.data(), body.size(), nullptr, nullptr, Limits()).get();
    return text.str().substr(0, 2000);
}

} // namespace vorlan::test
