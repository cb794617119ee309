#include "productjson.h"

#include <corekit/exception.h>
#include <vorlan/productfile.h>

#include <algorithm>

namespace vorlan {

JsonPlace JsonPlace::Member(std::string const& key) const {
    return {m_value->at(key), m_path.Empty() ? String(key) : m_path + "." + key};
}

void JsonPlace::Fail(String const& what) const {
    throw ParseException((m_path.Empty() ? String() : m_path + ": ") + what);
}

void JsonPlace::ExpectObject() const {
    if (!m_value->is_object())
        Fail("expected an object, {\"...\": ...}");
}

void JsonPlace::ExpectList() const {
    if (!m_value->is_array())
        Fail("expected a list, [...]");
    if (m_value->size() > k_ProductListLimit)
        Fail("has " + String::From(m_value->size()) + " entries; at most " + String::From(k_ProductListLimit) +
             " are allowed");
}

String JsonPlace::Text() const {
    if (m_value->is_string())
        return String(m_value->get_ref<std::string const&>());
    if (m_value->is_boolean())
        return String::From(m_value->get<bool>());
    if (m_value->is_number())
        return String(m_value->dump());
    Fail("expected a text");
}

String JsonPlace::Lines() const {
    if (!m_value->is_array())
        return Text();
    String text;
    for (size_t i = 0; i < m_value->size(); ++i)
        text += (i > 0 ? k_NL : "") + Item(i).Text();
    return text;
}

bool JsonPlace::Bool() const {
    if (m_value->is_boolean())
        return m_value->get<bool>();
    if (m_value->is_string()) {
        String const text = Text();
        if (text.Bool(true) == text.Bool(false))
            return text.Bool();
    }
    Fail("expected true or false");
}

int JsonPlace::Int(int low, int high) const {
    String const expected = "expected a whole number from " + String::From(low) + " to " + String::From(high);
    if (!m_value->is_number_integer())
        Fail(expected);
    // A number beyond 64 bits signed reads as unsigned.
    if (m_value->is_number_unsigned() && m_value->get<uint64_t>() > static_cast<uint64_t>(INT64_MAX))
        Fail(expected);
    int64_t const number = m_value->get<int64_t>();
    if (number < low || number > high)
        Fail(expected);
    return static_cast<int>(number);
}

String JsonPlace::ExtraMembers(std::initializer_list<std::string_view> known) const {
    Json extra = Json::object();
    for (auto const& [key, value] : m_value->items()) {
        if (std::find(known.begin(), known.end(), key) == known.end())
            extra[key] = value;
    }
    return extra.empty() ? String() : String(extra.dump(-1, ' ', false, Json::error_handler_t::replace));
}

} // namespace vorlan
