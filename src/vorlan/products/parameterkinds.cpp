// What each type of parameter is, in one table.

#include <vorlan/parameter.h>

#include <array>

namespace vorlan {

namespace {

enum ParameterTrait : unsigned { k_Heading = 1, k_Switch = 2, k_Number = 4, k_Path = 8, k_List = 16 };

// A type: its label, its traits, the value without a Default setting, whether two texts mean the same to it, and
// whether one counts as true. Null: empty, only the same text, what is not empty and not No.
struct ParameterKind {
    char const* label;
    unsigned traits = 0;
    String (*initial)(Parameter const& parameter) = nullptr;
    bool (*isSame)(Parameter const& parameter, String const& a, String const& b) = nullptr;
    bool (*isTrue)(Parameter const& parameter, String const& value) = nullptr;
};

bool IsSameInt(Parameter const&, String const& a, String const& b) { return !b.Empty() && a.Int() == b.Int(); }
bool IsSameUint(Parameter const&, String const& a, String const& b) { return !b.Empty() && a.Uint() == b.Uint(); }
bool IsSameFloat(Parameter const&, String const& a, String const& b) {
    return !b.Empty() && !(a.Float() < b.Float()) && !(a.Float() > b.Float());
}

// In the order of Parameter::TYPE.
constexpr std::array<ParameterKind, Parameter::t_Count> k_ParameterKinds{{
    {"None", k_Switch, [](Parameter const&) { return String("0"); },
     [](Parameter const&, String const& a, String const& b) { return a.Bool() == b.Bool(); },
     [](Parameter const&, String const& value) { return value.Bool(); }},
    {"Text"},
    {"Signed Integer", k_Number, nullptr, IsSameInt},
    {"Unsigned Integer", k_Number, nullptr, IsSameUint},
    {"Floating Point", k_Number, nullptr, IsSameFloat},
    {"Time", 0, nullptr, IsSameInt},
    {"ID"},
    {"Password"},
    {"Multiple Texts"},
    {"Boolean", 0, [](Parameter const& parameter) { return parameter.Bool_GetValue(false); },
     [](Parameter const& parameter, String const& a, String const& b) {
         return parameter.Bool_IsTrue(a) == parameter.Bool_IsTrue(b);
     },
     [](Parameter const& parameter, String const& value) { return parameter.Bool_IsTrue(value); }},
    {"Overridable Boolean", 0, nullptr,
     [](Parameter const& parameter, String const& a, String const& b) {
         return parameter.BoolOverride_FromString(a) == parameter.BoolOverride_FromString(b);
     },
     [](Parameter const& parameter, String const& value) { return parameter.BoolOverride_FromString(value) == 1; }},
    {"Choice", 0, [](Parameter const& parameter) { return parameter.GetChoice(0); },
     [](Parameter const& parameter, String const& a, String const& b) { return parameter.GetChoice(a) == b; }},
    {"Path to a File", k_Path},
    {"Path to a Folder", k_Path},
    {"Parameters"},
    {"Separator", k_Heading},
    {"Text List", k_List},
    {"Folder Path List", k_Path | k_List},
    {"File Path List", k_Path | k_List},
    {"Help Text", k_Heading},
    {"Alternate Switch", k_Switch, [](Parameter const& parameter) { return parameter.GetName(); }, nullptr,
     [](Parameter const& parameter, String const& value) { return value.CompareNoCase(parameter.GetName()) == 0; }},
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

} // namespace vorlan
