// Reading the parameters of a Product's JSON text.

#include "productjson.h"

#include <vorlan/productfile.h>

#include <algorithm>

namespace vorlan {

namespace {

constexpr int k_SubParameterDepthLimit = 8;

bool IsKnownSetting(std::string_view key) {
    static std::set<std::string_view, String::ciless> const known = {k_SettingName,
                                                                     k_SettingNiceName,
                                                                     k_SettingPrompt,
                                                                     k_SettingHelp,
                                                                     k_SettingDefault,
                                                                     k_SettingAlternate,
                                                                     k_SettingFilter,
                                                                     k_SettingRestriction,
                                                                     k_SettingRange,
                                                                     k_SettingCustom,
                                                                     k_SettingCustomDefault,
                                                                     k_SettingNegativeCustom,
                                                                     k_SettingNegativeCustomDefault,
                                                                     k_SettingTrue,
                                                                     k_SettingFalse,
                                                                     k_SettingOverride,
                                                                     k_SettingFields,
                                                                     k_SettingSeparator,
                                                                     k_SettingTimeFormat,
                                                                     k_SettingJoin};
    return known.count(key) != 0;
}

String TypeNames() {
    String names;
    for (int i = 0; i < Parameter::t_Count; ++i)
        names += (i > 0 ? ", \"" : "\"") + String(Parameter::TypeLabel(static_cast<Parameter::TYPE>(i))) + "\"";
    return names;
}

} // namespace

boost::shared_ptr<Parameter> ProductReader::ReadParameter(JsonPlace const& place, bool isTop, int depth) {
    place.ExpectObject();
    if (depth > k_SubParameterDepthLimit)
        place.Fail("nests deeper than " + String::From(k_SubParameterDepthLimit) + " levels");
    if (!place.Has("Type"))
        place.Fail("\"Type\" is missing. Expected one of " + TypeNames());
    auto parameter = boost::make_shared<Parameter>(Parameter::t_Text, isTop ? Parameter::f_JobParameter : 0U);
    if (!Parameter::TypeFromLabel(place.Member("Type").Text(), parameter->m_type))
        place.Member("Type").Fail("\"" + place.Member("Type").Text() + "\" is no type of parameter. Expected one of " +
                                  TypeNames());
    if (place.Has("Flags"))
        parameter->m_flags = ReadFlags(place.Member("Flags"));
    ReadSettings(place, *parameter);
    if (place.Has("Choices"))
        ReadChoices(place.Member("Choices"), *parameter);
    if (place.Has("Parameters")) {
        JsonPlace const list = place.Member("Parameters");
        list.ExpectList();
        for (size_t i = 0; i < list.Value().size(); ++i)
            parameter->m_subParams.push_back(ReadParameter(list.Item(i), false, depth + 1));
    }
    CheckParameter(place, *parameter, isTop);
    return parameter;
}

unsigned ProductReader::ReadFlags(JsonPlace const& list) {
    list.ExpectList();
    unsigned flags = 0;
    for (size_t i = 0; i < list.Value().size(); ++i) {
        JsonPlace const place = list.Item(i);
        // Bits that only a newer version has a name for.
        if (place.Value().is_number_unsigned()) {
            flags |= static_cast<unsigned>(place.Int(0, INT32_MAX));
            continue;
        }
        auto const& labels = Parameter::FlagLabels();
        auto const found = std::find_if(labels.begin(), labels.end(), [&place](Parameter::FlagLabel const& flag) {
            return place.Text().CompareNoCase(flag.label) == 0;
        });
        if (found == labels.end()) {
            String names;
            for (Parameter::FlagLabel const& flag : labels)
                names += (names.Empty() ? "\"" : ", \"") + String(flag.label) + "\"";
            place.Fail("\"" + place.Text() + "\" is no flag. Expected " + names);
        }
        flags |= found->bit;
    }
    return flags;
}

// Every member with a plain value is a setting; what else is unknown is kept aside.
void ProductReader::ReadSettings(JsonPlace const& place, Parameter& parameter) {
    Json extra = Json::object();
    for (auto const& [key, value] : place.Value().items()) {
        if (key == "Type" || key == "Flags" || key == "Choices" || key == "Parameters")
            continue;
        JsonPlace const member = place.Member(key);
        if (key == "Specials") {
            for (auto const& [number, text] : ReadTexts(member))
                parameter.m_settings[k_SettingSpecial + number] = text;
        } else if (key == k_SettingHelp) {
            parameter.m_settings[key] = member.Lines();
        } else if (key == k_SettingFields && value.is_array()) {
            String fields = member.Lines();
            fields.Replace(k_NL, ",");
            parameter.m_settings[key] = fields;
        } else if (value.is_boolean() && key == k_SettingDefault) {
            parameter.m_settings[key] =
                parameter.Type() == Parameter::t_BoolOverride ? (value.get<bool>() ? "1" : "0") : member.Text();
        } else if (IsKnownSetting(key) || (value.is_primitive() && !value.is_null())) {
            parameter.m_settings[key] = member.Text();
        } else {
            extra[key] = value;
        }
    }
    if (!extra.empty())
        parameter.m_extra = extra.dump();
    // Yes and No as the default of a Boolean with texts of its own.
    if (parameter.m_type == Parameter::t_Bool && parameter.m_settings.count(k_SettingDefault) != 0)
        parameter.m_settings[k_SettingDefault] = parameter.Bool_GetValue(parameter.Bool_IsTrue(parameter.GetDefault()));
}

void ProductReader::ReadChoices(JsonPlace const& list, Parameter& parameter) {
    list.ExpectList();
    for (size_t i = 0; i < list.Value().size(); ++i) {
        JsonPlace const place = list.Item(i);
        if (!place.Value().is_object()) {
            parameter.m_choices.push_back({place.Text(), {}});
            continue;
        }
        if (!place.Has("Value"))
            place.Fail(R"(expected a text, or {"Value": "...", "Display": "..."})");
        parameter.m_choices.push_back(
            {place.Member("Value").Text(), place.Has("Display") ? place.Member("Display").Text() : String()});
    }
}

void ProductReader::CheckParameter(JsonPlace const& place, Parameter const& parameter, bool isTop) {
    if (parameter.GetName().Empty() && !parameter.IsHeading())
        place.Fail("\"Name\" is missing. A parameter has a name");
    if (isTop && parameter.GetName().FindOneOf("$()[]:=!?|~") != String::npos && !parameter.IsHeading())
        place.Member("Name").Fail("\"" + parameter.GetName() +
                                  "\" cannot be referred to as $(...). A name has none of " + "$()[]:=!?|~");
    String low;
    String high;
    if (parameter.IsNumber() && !parameter.Number_GetRange().Empty() && !parameter.SplitRange(low, high))
        place.Member(k_SettingRange)
            .Fail("\"" + parameter.Number_GetRange() +
                  "\" is no range of numbers. Expected lowest..highest, such as \"0..100\"");
    String const standard = parameter.GetSetting(k_SettingDefault);
    auto const isDefault = [&standard](Parameter::Choice const& choice) { return choice.value == standard; };
    auto const& choices = parameter.Choices();
    if (parameter.Type() == Parameter::t_Choice && !standard.Empty() && !choices.empty() &&
        std::none_of(choices.begin(), choices.end(), isDefault))
        place.Member(k_SettingDefault).Fail("\"" + standard + "\" is none of the choices");
    if (parameter.Type() == Parameter::t_Multi && parameter.Multi_GetFields().empty())
        place.Fail("\"Fields\" is missing. Multiple Texts have the names of their fields");
}

} // namespace vorlan
