#include <vorlan/values.h>

#include "numbertext.h"

#include <corekit/sformat.h>
#include <vorlan/optionstext.h>
#include <vorlan/range.h>
#include <vorlan/valueblock.h>

#include <cmath>
#include <limits>

namespace vorlan {

namespace {

// The whole text is one number, which a reader of the value takes as it stands.
bool IsNumberText(String const& text, bool whole) {
    if (text.FindOneNotOf(whole ? "+-0123456789" : "+-.eE0123456789") != String::npos)
        return false;
    if (whole)
        return text.Int(0) == text.Int(1);
    double const number = text.Float(std::numeric_limits<double>::quiet_NaN());
    return std::isfinite(number);
}

bool AreIDs(String const& text) {
    size_t const words = [&text] {
        size_t count = 0;
        bool inWord = false;
        for (char const c : text) {
            bool const isBlank = std::string_view(" \t\r\n,;").find(c) != std::string_view::npos;
            count += !isBlank && !inWord ? 1 : 0;
            inWord = !isBlank;
        }
        return count;
    }();
    return StringToUIDs(text).size() == words;
}

// What a text of the value must be; empty for one that is.
String Wanted(ValueInfo const& info, String const& text) {
    UID id;
    switch (info.kind) {
    case ValueKind::Bool:
        return text.Bool(true) == text.Bool(false) ? String() : "Yes or No";
    case ValueKind::Whole:
    case ValueKind::Real:
        return WantedNumber(text, info.kind == ValueKind::Whole, {info.low, info.high});
    case ValueKind::Moment:
        return IsNumberText(text, true) ? String() : "a time in milliseconds";
    case ValueKind::ID:
        return UID::FromString(text, id) ? String() : "an ID";
    case ValueKind::IDs:
        return AreIDs(text) ? String() : "IDs with commas between them";
    case ValueKind::Text:
    case ValueKind::Secret:
    case ValueKind::Frames:
        break;
    }
    return {};
}

} // namespace

String WantedNumber(String const& text, bool whole, NumberBounds const& bounds) {
    bool const isBounded = bounds.low < bounds.high;
    double const number = whole ? static_cast<double>(text.Int()) : text.Float();
    if (IsNumberText(text, whole) && (!isBounded || (number >= bounds.low && number <= bounds.high)))
        return {};
    String const kind = whole ? "a whole number" : "a number";
    return isBounded ? kind + SFormat(" from %.10g to %.10g", bounds.low, bounds.high) : kind;
}

ValueInfo const* FindValue(std::string_view name) {
    uint32_t const number = NameTable::Lookup(name);
    return number < k_Values.size() ? &k_Values[number] : nullptr;
}

String CheckValue(std::string_view name, String const& text) {
    ValueInfo const* const info = FindValue(name);
    String const trimmed = text.Trim();
    if (!info || trimmed.Empty())
        return {};
    if (info->kind == ValueKind::Frames) {
        FrameRange range;
        String error;
        return FrameRange::Parse(text, range, &error) ? String() : error;
    }
    String const wanted = Wanted(*info, trimmed);
    return wanted.Empty() ? String()
                          : String(info->name) + " must be " + wanted + ", not \"" + text.Mid(0, 100) + "\".";
}

} // namespace vorlan
