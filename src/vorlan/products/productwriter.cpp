#include "productjson.h"

namespace vorlan {

namespace {

Json TextsOf(OptionMap const& texts) {
    Json json = Json::object();
    for (auto const& [name, text] : texts)
        json[name.Str()] = text.Str();
    return json;
}

void AddText(Json& json, char const* key, String const& text) {
    if (!text.Empty())
        json[key] = text.Str();
}

} // namespace

Json ProductWriter::Write(Product const& product) {
    Json json = Json::object();
    json["Format"] = 1;
    json["ID"] = product.m_type.ToString().Str();
    json["Name"] = product.m_name.Str();
    json["Class"] = product.ClassName();
    json["Queue"] = k_QueueNames[static_cast<size_t>(product.m_queue)];
    if (product.m_customized)
        json["Customized"] = true;
    if (product.m_evenPackets)
        json["EvenPackets"] = true;
    for (String const& alias : product.m_aliases)
        json["Aliases"].push_back(alias.Str());
    for (String const& name : product.m_freeNames)
        json["FreeNames"].push_back(name.Str());
    AddText(json, "ShortHelp", product.m_shortHelp);
    AddText(json, "LongHelp", product.m_longHelp);
    AddText(json, "Summary", product.m_summary);
    if (!product.m_derivedValues.empty())
        json["Values"] = TextsOf(product.m_derivedValues);
    json["Parameters"] = Json::array();
    for (auto const& parameter : product.m_params)
        json["Parameters"].push_back(WriteParameter(*parameter));
    for (auto const& command : product.m_commands)
        json["Commands"].push_back(WriteCommand(*command));
    for (auto const& [key, updates] : product.m_autoDetect)
        json["AutoDetect"][key.Str()] = TextsOf(updates);
    Json launch = Json::object();
    WriteLaunch(product.m_launch, launch);
    if (!launch.empty())
        json["Launch"] = launch;
    json["Output"] = WriteOutput(product.m_outputRules);
    AddExtra(json, product.m_extra);
    return json;
}

Json ProductWriter::WriteParameter(Parameter const& parameter) {
    Json json = Json::object();
    json["Type"] = Parameter::TypeLabel(parameter.Type());
    Json flags = Json::array();
    unsigned left = parameter.Flags();
    for (Parameter::FlagLabel const& flag : Parameter::FlagLabels()) {
        if ((left & flag.bit) != 0)
            flags.push_back(flag.label);
        left &= ~flag.bit;
    }
    if (left != 0)
        flags.push_back(left);
    AddText(json, k_SettingName, parameter.GetName());
    json["Flags"] = flags;
    for (auto const& [name, value] : parameter.Settings()) {
        if (name.CompareNoCase(k_SettingName) != 0)
            json[name.Str()] = value.Str();
    }
    for (Parameter::Choice const& choice : parameter.Choices()) {
        if (choice.display.Empty())
            json["Choices"].push_back(choice.value.Str());
        else
            json["Choices"].push_back({{"Value", choice.value.Str()}, {"Display", choice.display.Str()}});
    }
    for (auto const& sub : parameter.m_subParams)
        json["Parameters"].push_back(WriteParameter(*sub));
    AddExtra(json, parameter.m_extra);
    return json;
}

Json ProductWriter::WriteCommand(Command const& command) {
    Json json = Json::object();
    AddText(json, "Name", command.m_name);
    AddText(json, "Label", command.m_label);
    AddText(json, "Help", command.m_help);
    AddText(json, "Restriction", command.m_restriction);
    AddText(json, "Itemizer", command.m_itemizer);
    Json where = Json::array();
    if (command.HasFlag(Command::f_ForJobs))
        where.push_back("Jobs");
    if (command.HasFlag(Command::f_ForWork))
        where.push_back("Work");
    if (command.HasFlag(Command::f_ForHistory))
        where.push_back("History");
    json["For"] = where;
    if (command.IsSeparator())
        json["Separator"] = true;
    WriteLaunch(command.m_launch, json);
    return json;
}

void ProductWriter::WriteLaunch(LaunchTemplate const& launch, Json& json) {
    for (ArgumentTemplate const& argument : launch.arguments)
        json["Arguments"].push_back(WriteArgument(argument));
    for (auto const& [name, value] : launch.environment)
        json["Environment"][name.Str()] = value.Str();
    AddText(json, "Folder", launch.folder);
    if (launch.createFolder)
        json["CreateFolder"] = true;
    AddText(json, "Shell", launch.shell);
    for (String const& file : launch.expectedFiles)
        json["ExpectedFiles"].push_back(file.Str());
    AddExtra(json, launch.extra);
}

Json ProductWriter::WriteArgument(ArgumentTemplate const& argument) {
    using Kind = ArgumentTemplate::Kind;
    if (argument.kind == Kind::Text)
        return argument.text.Str();
    if (argument.kind == Kind::CommandLine)
        return {{"CommandLine", argument.text.Str()}};
    Json items = Json::array();
    for (ArgumentTemplate const& item : argument.items)
        items.push_back(WriteArgument(item));
    if (argument.kind == Kind::Group)
        return items;
    Json json = Json::object();
    json[argument.kind == Kind::If ? "If" : "Each"] = argument.text.Str();
    json["Arguments"] = items;
    return json;
}

Json ProductWriter::WriteOutput(OutputRules const& rules) {
    Json json = Json::object();
    json["SuccessCodes"] = rules.successCodes;
    for (OutputRule const& rule : rules.rules) {
        Json entry = Json::object();
        entry["Kind"] = OutputRules::KindName(rule.kind);
        entry["Pattern"] = rule.pattern.Str();
        if (rule.valueGroup != OutputRule().valueGroup)
            entry["Value"] = rule.valueGroup;
        if (rule.totalGroup != OutputRule().totalGroup)
            entry["Total"] = rule.totalGroup;
        AddText(entry, "Text", rule.text);
        AddExtra(entry, rule.extra);
        json["Rules"].push_back(entry);
    }
    AddExtra(json, rules.extra);
    return json;
}

void ProductWriter::AddExtra(Json& json, String const& extra) {
    if (extra.Empty())
        return;
    Json const members = Json::parse(extra.Str(), nullptr, false);
    if (!members.is_object())
        return;
    for (auto const& [key, value] : members.items()) {
        if (!json.contains(key))
            json[key] = value;
    }
}

} // namespace vorlan
