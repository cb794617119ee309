#include <vorlan/parameter.h>

#include <corekit/path.h>
#include <corekit/time.h>
#include <vorlan/vorlanobject.h>

#include <algorithm>

namespace vorlan {

namespace {

boost::shared_ptr<Parameter> Copy(boost::shared_ptr<Parameter> const& parameter) {
    return boost::make_shared<Parameter>(*parameter);
}

} // namespace

Parameter& Parameter::operator=(Parameter const& other) {
    if (this == &other)
        return *this;
    m_type = other.m_type;
    m_flags = other.m_flags;
    m_settings = other.m_settings;
    m_choices = other.m_choices;
    m_extra = other.m_extra;
    std::vector<boost::shared_ptr<Parameter>> copies;
    copies.reserve(other.m_subParams.size());
    std::transform(other.m_subParams.begin(), other.m_subParams.end(), std::back_inserter(copies), Copy);
    m_subParams = std::move(copies);
    return *this;
}

std::vector<Parameter::FlagLabel> const& Parameter::FlagLabels() {
    static std::vector<FlagLabel> const labels = {{f_JobParameter, "Job Parameter"},
                                                  {f_Option, "Option"},
                                                  {f_Advanced, "Advanced"},
                                                  {f_Required, "Required"},
                                                  {f_ForMaster, "For Master"},
                                                  {f_ForEngine, "For Engine"},
                                                  {f_ForShell, "For Shell"},
                                                  {f_NoParameterDefault, "No Parameter Default"},
                                                  {f_HideOnInput, "Hide on Input"},
                                                  {f_HideOnOutput, "Hide on Output"},
                                                  {f_Enquote, "Enquote"},
                                                  {f_AlwaysAtDefault, "Always at Default"},
                                                  {f_NoParentUpdate, "No Parent Update"},
                                                  {f_EventCommand, "Event Command"}};
    return labels;
}

String Parameter::GetSetting(char const* name, String const& missing) const {
    auto const found = m_settings.find(std::string_view(name));
    return found == m_settings.end() ? missing : found->second;
}

String Parameter::GetNiceName() const {
    String const nice = GetSetting(k_SettingNiceName);
    return nice.Empty() ? GetName() : nice;
}

String Parameter::GetPrompt() const {
    String const prompt = GetSetting(k_SettingPrompt);
    return prompt.Empty() ? GetNiceName() : prompt;
}

String Parameter::GetFilter() const { return GetSetting(k_SettingFilter, m_type == t_FilePath ? "{All Files}" : ""); }

String Parameter::Get(VorlanObject const& object, String const& name) { return object.Get(name, true); }

String const& Parameter::GetChoice(size_t index) const {
    return index < m_choices.size() ? m_choices[index].value : String::Null;
}

String const& Parameter::GetDisplay(size_t index) const {
    if (index >= m_choices.size())
        return String::Null;
    return m_choices[index].display.Empty() ? m_choices[index].value : m_choices[index].display;
}

String Parameter::GetChoice(String const& display) const {
    for (size_t i = 0; i < m_choices.size(); ++i) {
        if (GetDisplay(i) == display)
            return m_choices[i].value;
    }
    return display;
}

String Parameter::GetDisplay(String const& value) const {
    for (size_t i = 0; i < m_choices.size(); ++i) {
        if (m_choices[i].value.CompareNoCase(value) == 0)
            return GetDisplay(i);
    }
    return value;
}

boost::shared_ptr<Parameter const> Parameter::GetSubParam(size_t index) const {
    return index < m_subParams.size() ? m_subParams[index] : nullptr;
}

boost::shared_ptr<Parameter const> Parameter::GetSubParam(String const& name) const {
    for (auto const& parameter : m_subParams) {
        if (parameter->GetName().CompareNoCase(name) == 0)
            return parameter;
    }
    return nullptr;
}

bool Parameter::SplitRange(String& low, String& high) const {
    String const range = Number_GetRange();
    if (!range.Contains(".."))
        return false;
    low = range.LeftFirst("..").Trim();
    high = range.RightFirst("..").Trim();
    return true;
}

void Parameter::Number_GetRange(int& low, int& high) const {
    String from;
    String to;
    SplitRange(from, to);
    auto const bounded = [](String const& text) {
        return static_cast<int>(std::clamp<int64_t>(text.Int(), INT32_MIN, INT32_MAX));
    };
    low = std::min(bounded(from), bounded(to));
    high = std::max(bounded(from), bounded(to));
}

void Parameter::Number_GetRange(double& low, double& high) const {
    String from;
    String to;
    SplitRange(from, to);
    low = std::min(from.Float(), to.Float());
    high = std::max(from.Float(), to.Float());
}

String Parameter::Number_GetCustom() const { return GetSetting(k_SettingCustom, "Custom"); }

String Parameter::Number_GetCustomDefault() const { return GetSetting(k_SettingCustomDefault, "1"); }

String Parameter::Number_GetNegativeCustom() const { return GetSetting(k_SettingNegativeCustom); }

String Parameter::Number_GetNegativeCustomDefault() const {
    return GetSetting(k_SettingNegativeCustomDefault, Number_GetNegativeCustom().Empty() ? "" : "-1");
}

OptionMap Parameter::Number_GetSpecial() const {
    std::string_view const prefix = k_SettingSpecial;
    OptionMap specials;
    for (auto entry = m_settings.lower_bound(prefix); entry != m_settings.end(); ++entry) {
        if (String::CompareNoCase(std::string_view(entry->first).substr(0, prefix.size()), prefix) != 0)
            break;
        String const number = entry->first.Mid(prefix.size()).Trim();
        if (!number.Empty())
            specials[number] = entry->second;
    }
    return specials;
}

String Parameter::Bool_GetValue(bool value) const {
    return value ? GetSetting(k_SettingTrue, k_Yes) : GetSetting(k_SettingFalse, k_No);
}

bool Parameter::Bool_IsTrue(String const& value) const {
    if (value.CompareNoCase(Bool_GetValue(true)) == 0)
        return true;
    if (value.CompareNoCase(Bool_GetValue(false)) == 0)
        return false;
    return value.Bool();
}

int Parameter::BoolOverride_FromString(String const& value) const {
    String const text = value.Trim();
    if (text.Empty() || text == "-1" || text.CompareNoCase(BoolOverride_GetOverrideText()) == 0)
        return -1;
    if (text.CompareNoCase(Bool_GetValue(true)) == 0)
        return 1;
    if (text.CompareNoCase(Bool_GetValue(false)) == 0)
        return 0;
    // What is neither yes nor no in any form is not for us to decide.
    return text.Bool(true) == text.Bool(false) ? (text.Bool() ? 1 : 0) : -1;
}

String Parameter::BoolOverride_ToString(int value) const {
    return value < 0 ? BoolOverride_GetOverrideText() : Bool_GetValue(value != 0);
}

String Parameter::BoolOverride_GetOverrideText() const { return GetSetting(k_SettingOverride, "Default"); }

std::vector<String> Parameter::Multi_GetFields() const {
    std::vector<String> fields;
    String rest = GetSetting(k_SettingFields);
    while (!rest.Empty()) {
        size_t const comma = rest.Find(',');
        fields.push_back(rest.Mid(0, comma).Trim());
        rest = comma == String::npos ? String() : rest.Mid(comma + 1);
    }
    return fields;
}

std::vector<String> Parameter::Multi_Disassemble(String const& value) const {
    String const separator = GetSetting(k_SettingSeparator, ",");
    std::vector<String> texts(1);
    for (size_t i = 0; i < value.size();) {
        if (value[i] == '\\' && i + 1 < value.size()) {
            texts.back() += value[i + 1];
            i += 2;
        } else if (!separator.Empty() && value.Mid(i, separator.size()) == separator) {
            texts.emplace_back();
            i += separator.size();
        } else {
            texts.back() += value[i++];
        }
    }
    texts.resize(std::max<size_t>(Multi_GetFields().size(), 1));
    return texts;
}

String Parameter::Multi_Assemble(std::vector<String> const& values) const {
    String const separator = GetSetting(k_SettingSeparator, ",");
    String value;
    bool anything = false;
    for (size_t field = 0; field < values.size(); ++field) {
        anything = anything || !values[field].Empty();
        if (field > 0)
            value += separator;
        for (char c : values[field]) {
            if (c == '\\' || separator.Contains(std::string_view(&c, 1)))
                value += '\\';
            value += c;
        }
    }
    return anything ? value : String();
}

String Parameter::Time_Format() const { return GetSetting(k_SettingTimeFormat, k_DateTimeNoMS); }

} // namespace vorlan
