// What each type of parameter is, in one table.

#include <vorlan/parameter.h>

#include "values/numbertext.h"

#include <corekit/uid.h>

#include <array>

namespace vorlan {

namespace {

enum ParameterTrait : unsigned { k_Heading = 1, k_Switch = 2, k_Number = 4, k_Path = 8, k_List = 16 };

// A type: its label, its traits, the value without a Default setting, whether two texts mean the same to it,
// whether one counts as true, and what a text must be, empty for one that is. Null: empty, only the same text, what
// is not empty and not No, any text.
struct ParameterKind {
    char const* label;
    unsigned traits = 0;
    String (*initial)(Parameter const& parameter) = nullptr;
    bool (*isSame)(Parameter const& parameter, String const& a, String const& b) = nullptr;
    bool (*isTrue)(Parameter const& parameter, String const& value) = nullptr;
    String (*wanted)(Parameter const& parameter, String const& value) = nullptr;
};

bool IsSameInt(Parameter const&, String const& a, String const& b) { return !b.Empty() && a.Int() == b.Int(); }
bool IsSameUint(Parameter const&, String const& a, String const& b) { return !b.Empty() && a.Uint() == b.Uint(); }
bool IsSameFloat(Parameter const&, String const& a, String const& b) {
    return !b.Empty() && !(a.Float() < b.Float()) && !(a.Float() > b.Float());
}

bool IsTruth(String const& value) { return value.Bool(true) == value.Bool(false); }

String WantedOf(Parameter const& parameter, String const& value, bool whole, bool isUnsigned) {
    if (parameter.Number_GetSpecial().contains(value))
        return {};
    NumberBounds bounds;
    parameter.Number_GetRange(bounds.low, bounds.high);
    if (bounds.low >= bounds.high && isUnsigned)
        return WantedNumber(value, whole, {}).Empty() && !value.StartsWith("-") ? "" : "a whole number, 0 or more";
    return WantedNumber(value, whole, bounds);
}

String WantedTruth(Parameter const& parameter, String const& value) {
    String const yes = parameter.Bool_GetValue(true);
    String const no = parameter.Bool_GetValue(false);
    bool const is = IsTruth(value) || value.CompareNoCase(yes) == 0 || value.CompareNoCase(no) == 0;
    return is ? String() : yes + " or " + no;
}

String WantedTruthOrNeither(Parameter const& parameter, String const& value) {
    String const neither = parameter.BoolOverride_GetOverrideText();
    if (value == "-1" || value.CompareNoCase(neither) == 0 || parameter.BoolOverride_FromString(value) >= 0)
        return {};
    return "1 or " + parameter.Bool_GetValue(true) + ", 0 or " + parameter.Bool_GetValue(false) + ", -1 or \"" +
           neither + "\"";
}

String WantedChoice(Parameter const& parameter, String const& value) {
    constexpr size_t k_MostNamed = 20;
    String names;
    for (size_t i = 0; i < parameter.GetChoicesCount(); ++i) {
        String const& choice = parameter.GetChoice(i);
        if (choice == value)
            return {};
        if (i < k_MostNamed)
            names += (i == 0 ? "" : ", ") + choice +
                     (parameter.GetDisplay(i) == choice ? String() : " (" + parameter.GetDisplay(i) + ")");
    }
    return names.Empty() ? String() : "one of " + names + (parameter.GetChoicesCount() > k_MostNamed ? ", ..." : "");
}

// In the order of Parameter::TYPE.
constexpr std::array<ParameterKind, Parameter::t_Count> k_ParameterKinds{{
    {"None", k_Switch, [](Parameter const&) { return String("0"); },
     [](Parameter const&, String const& a, String const& b) { return a.Bool() == b.Bool(); },
     [](Parameter const&, String const& value) { return value.Bool(); },
     [](Parameter const&, String const& value) { return String(IsTruth(value) ? "" : "1 or 0"); }},
    {"Text"},
    {"Signed Integer", k_Number, nullptr, IsSameInt, nullptr,
     [](Parameter const& parameter, String const& value) { return WantedOf(parameter, value, true, false); }},
    {"Unsigned Integer", k_Number, nullptr, IsSameUint, nullptr,
     [](Parameter const& parameter, String const& value) { return WantedOf(parameter, value, true, true); }},
    {"Floating Point", k_Number, nullptr, IsSameFloat, nullptr,
     [](Parameter const& parameter, String const& value) { return WantedOf(parameter, value, false, false); }},
    {"Time", 0, nullptr, IsSameInt, nullptr,
     [](Parameter const&, String const& value) {
         return String(WantedNumber(value, true, {}).Empty() ? "" : "a time in milliseconds");
     }},
    {"ID", 0, nullptr, nullptr, nullptr,
     [](Parameter const&, String const& value) {
         UID id;
         return String(UID::FromString(value, id) ? "" : "an ID");
     }},
    {"Password"},
    {"Multiple Texts"},
    {"Boolean", 0, [](Parameter const& parameter) { return parameter.Bool_GetValue(false); },
     [](Parameter const& parameter, String const& a, String const& b) {
         return parameter.Bool_IsTrue(a) == parameter.Bool_IsTrue(b);
     },
     [](Parameter const& parameter, String const& value) { return parameter.Bool_IsTrue(value); }, WantedTruth},
    {"Overridable Boolean", 0, nullptr,
     [](Parameter const& parameter, String const& a, String const& b) {
         return parameter.BoolOverride_FromString(a) == parameter.BoolOverride_FromString(b);
     },
     [](Parameter const& parameter, String const& value) { return parameter.BoolOverride_FromString(value) == 1; },
     WantedTruthOrNeither},
    {"Choice", 0, [](Parameter const& parameter) { return parameter.GetChoice(0); },
     [](Parameter const& parameter, String const& a, String const& b) { return parameter.GetChoice(a) == b; }, nullptr,
     WantedChoice},
    {"Path to a File", k_Path},
    {"Path to a Folder", k_Path},
    {"Parameters"},
    {"Separator", k_Heading},
    {"Text List", k_List},
    {"Folder Path List", k_Path | k_List},
    {"File Path List", k_Path | k_List},
    {"Help Text", k_Heading},
    {"Alternate Switch", k_Switch, [](Parameter const& parameter) { return parameter.GetName(); }, nullptr,
     [](Parameter const& parameter, String const& value) { return value.CompareNoCase(parameter.GetName()) == 0; },
     [](Parameter const& parameter, String const& value) {
         bool const is =
             value.CompareNoCase(parameter.GetName()) == 0 || value.CompareNoCase(parameter.GetAlternate()) == 0;
         return is ? String() : parameter.GetName() + " or " + parameter.GetAlternate();
     }},
    {"Last Error Message"},
}};

ParameterKind const& KindOf(Parameter::TYPE type) { return k_ParameterKinds[static_cast<size_t>(type)]; }

// A label without blanks and case.
String Folded(String const& label) {
    String folded;
    for (char c : label) {
        if (c != ' ')
            folded += String::FoldCase(c);
    }
    return folded;
}

} // namespace

char const* Parameter::TypeLabel(TYPE type) { return type >= 0 && type < t_Count ? KindOf(type).label : ""; }

bool Parameter::TypeFromLabel(String const& label, TYPE& type) {
    String const wanted = Folded(label);
    for (size_t i = 0; i < k_ParameterKinds.size(); ++i) {
        if (Folded(k_ParameterKinds[i].label) == wanted) {
            type = static_cast<TYPE>(i);
            return true;
        }
    }
    return false;
}

bool Parameter::IsHeading() const { return (KindOf(m_type).traits & k_Heading) != 0; }
bool Parameter::IsSwitch() const { return (KindOf(m_type).traits & k_Switch) != 0; }
bool Parameter::IsNumber() const { return (KindOf(m_type).traits & k_Number) != 0; }
bool Parameter::IsPath() const { return (KindOf(m_type).traits & k_Path) != 0; }
bool Parameter::IsList() const { return (KindOf(m_type).traits & k_List) != 0; }

String Parameter::GetDefault() const {
    auto const found = m_settings.find(std::string_view(k_SettingDefault));
    if (found != m_settings.end())
        return found->second;
    auto const initial = KindOf(m_type).initial;
    return initial ? initial(*this) : String();
}

bool Parameter::IsDefault(String const& value) const {
    String const standard = GetDefault();
    if (value.Empty() || value == standard)
        return true;
    auto const isSame = KindOf(m_type).isSame;
    return isSame && isSame(*this, value, standard);
}

bool Parameter::IsTrue(String const& value) const {
    auto const isTrue = KindOf(m_type).isTrue;
    return isTrue ? isTrue(*this, value) : !value.Empty() && value.Bool(true);
}

String Parameter::Check(String const& value) const {
    String const text = value.Trim();
    auto const wanted = KindOf(m_type).wanted;
    String const must = wanted && !text.Empty() ? wanted(*this, text) : String();
    return must.Empty() ? String() : GetName() + " must be " + must + ", not \"" + value.Mid(0, 100) + "\".";
}

} // namespace vorlan
