// The parameters that Products take by the name of their group, and new Products made of them.

#include "productjson.h"

#include <vorlan/keys.h>
#include <vorlan/values.h>

#include <algorithm>

namespace vorlan {

namespace {

// What tells a Job from others, where it waits and how urgent it is; then its frames.
constexpr char const k_BasicText[] = R"json({
"Identity": [
  {"Name": "Name", "Flags": ["Job Parameter", "Required", "Always at Default"]},
  {"Name": "Status",
   "Flags": ["Job Parameter", "Always at Default"]},
  {"Name": "Priority",
   "Flags": ["Job Parameter"]},
  {"Name": "Pool", "Flags": ["Job Parameter"]}
],
"Frames": [
  {"Name": "Range", "Default": "1", "Flags": ["Job Parameter", "Required"]},
  {"Name": "PacketSize", "NiceName": "Packet Size",
   "Flags": ["Job Parameter"]}
],
"Record": [
  {"Name": "Creator", "Flags": ["Job Parameter", "Hide on Input", "Always at Default"]},
  {"Name": "Created", "Flags": ["Job Parameter", "Hide on Input", "Always at Default"]},
  {"Name": "FinishedTime", "NiceName": "Finished", "Flags": ["Job Parameter", "Hide on Input", "Always at Default"]},
  {"Name": "ID", "Flags": ["Job Parameter", "Advanced", "Hide on Input", "Always at Default"]}
],
)json";

constexpr char const k_SchedulingText[] = R"json(
"Scheduling": [
  {"Type": "Separator", "Name": "Machine", "Flags": ["Job Parameter", "Advanced"]},
  {"Name": "CPUs", "NiceName": "Cores", "Flags": ["Job Parameter", "Advanced"],
   "Specials": {"0": "All of the Engine"}, "Custom": "Cores", "CustomDefault": 1},
  {"Name": "RAM", "NiceName": "Memory (MB)", "Flags": ["Job Parameter", "Advanced"],
   "Specials": {"0": "Any"}, "Custom": "MB", "CustomDefault": 1024, "Restriction": "RAM Distribution"},
  {"Name": "GPUs", "Flags": ["Job Parameter", "Advanced"],
   "Specials": {"0": "None"}, "Custom": "GPUs", "CustomDefault": 1, "Restriction": "GPU Distribution"},
  {"Name": "UseGPUs", "NiceName": "Use GPUs", "Flags": ["Job Parameter", "Advanced"], "Restriction": "GPU Distribution"},
  {"Name": "Resources", "Flags": ["Job Parameter", "Advanced"]},
  {"Name": "Username", "NiceName": "User Name", "Flags": ["Job Parameter", "Advanced"]},
  {"Name": "Password", "Flags": ["Job Parameter", "Advanced"]},
  {"Type": "Separator", "Name": "Distribution", "Flags": ["Job Parameter", "Advanced"]},
  {"Name": "UsageLimit", "NiceName": "Usage Limit", "Flags": ["Job Parameter", "Advanced"],
   "Specials": {"0": "No limit"}, "Custom": "Work units", "CustomDefault": 10,
   "NegativeCustom": "Engines", "NegativeCustomDefault": -10},
  {"Name": "PriorityBoost", "NiceName": "Priority Boost", "Flags": ["Job Parameter", "Advanced"],
   "Specials": {"0": "None"}, "Custom": "Packets", "CustomDefault": 1},
  {"Name": "WaitForJobID", "NiceName": "Wait for Jobs", "Flags": ["Job Parameter", "Advanced"]},
  {"Name": "WaitForWholeJob", "NiceName": "Wait for Whole Job", "Flags": ["Job Parameter", "Advanced"]},
  {"Type": "Choice", "Name": "StaggerMode", "NiceName": "Stagger", "Flags": ["Job Parameter", "Advanced", "Option", "For Engine"],
   "Choices": [{"Value": "0", "Display": "Work"}, {"Value": "1", "Display": "Work on one Engine"}, {"Value": "2", "Display": "Engines"}]},
  {"Name": "StaggerCount", "NiceName": "Stagger Count", "Flags": ["Job Parameter", "Advanced", "Option", "For Engine"]},
  {"Name": "StaggerStart", "NiceName": "Stagger Seconds", "Flags": ["Job Parameter", "Advanced", "Option", "For Engine"],
   "Specials": {"0": "Off"}, "Custom": "Seconds", "CustomDefault": 10},
  {"Type": "Separator", "Name": "Failures and End", "Flags": ["Job Parameter", "Advanced"]},
  {"Name": "FailureLimit", "NiceName": "Failure Limit", "Flags": ["Job Parameter", "Advanced"],
   "Specials": {"0": "No limit"}, "Custom": "Tries", "CustomDefault": 3},
  {"Name": "OvertimeKill", "NiceName": "Overtime Kill", "Flags": ["Job Parameter", "Advanced"],
   "Specials": {"0": "Never"}, "Custom": "Times the average", "CustomDefault": 5},
  {"Type": "Choice", "Name": "FinishDisposition", "NiceName": "When Finished", "Flags": ["Job Parameter", "Advanced"],
   "Choices": [{"Value": "-1", "Display": "As the Master does"}, {"Value": "0", "Display": "Keep"}, {"Value": "1", "Display": "Delete"}]},
  {"Name": "Note", "Flags": ["Job Parameter", "Advanced", "Always at Default"]}
],
)json";

constexpr char const k_EventsText[] = R"json(
"Events": [
  {"Name": "JobFirstStartedEvt", "NiceName": "Job First Started", "Flags": ["Job Parameter", "Advanced", "Event Command"]},
  {"Name": "JobAssignWorkEvt", "NiceName": "Job Assigns Work", "Flags": ["Job Parameter", "Advanced", "Event Command"]},
  {"Name": "JobFinishedEvt", "NiceName": "Job Finished", "Flags": ["Job Parameter", "Advanced", "Event Command"]},
  {"Name": "DeleteJobEvt", "NiceName": "Job Deleted", "Flags": ["Job Parameter", "Advanced", "Event Command"]},
  {"Name": "FirstWorkEvt", "NiceName": "First Work on an Engine", "Flags": ["Job Parameter", "Advanced", "Event Command"]},
  {"Name": "WorkAssignedEvt", "NiceName": "Work Assigned", "Flags": ["Job Parameter", "Advanced", "Event Command"]},
  {"Name": "WorkStartedEvt", "NiceName": "Work Started", "Flags": ["Job Parameter", "Advanced", "Event Command"]},
  {"Name": "WorkParameterChangedEvt", "NiceName": "Work Parameter Changed", "Flags": ["Job Parameter", "Advanced", "Event Command"]},
  {"Name": "WorkPostExecuteEvt", "NiceName": "Work Process Ended", "Flags": ["Job Parameter", "Advanced", "Event Command"]},
  {"Name": "WorkPostExecuteSuccessfulEvt", "NiceName": "Work Process Ended Well", "Flags": ["Job Parameter", "Advanced", "Event Command"]},
  {"Name": "WorkPostExecuteUnsuccessfulEvt", "NiceName": "Work Process Failed", "Flags": ["Job Parameter", "Advanced", "Event Command"]},
  {"Name": "WorkFinishedEvt", "NiceName": "Work Finished", "Flags": ["Job Parameter", "Advanced", "Event Command"]},
  {"Name": "WorkFinishedSuccessfulEvt", "NiceName": "Work Finished Well", "Flags": ["Job Parameter", "Advanced", "Event Command"]},
  {"Name": "WorkFinishedUnsuccessfulEvt", "NiceName": "Work Failed", "Flags": ["Job Parameter", "Advanced", "Event Command"]}
],
"Engine": [
  {"Name": "Limit", "NiceName": "Work at a Time", "Flags": ["Option", "For Engine", "For Master"],
   "Specials": {"0": "No limit"}, "Custom": "Work units", "CustomDefault": 1}
],
)json";

// An Engine's own form: what people set, then what its machine is.
constexpr char const k_EngineText[] = R"json(
"Engine Settings": [
  {"Name": "Name", "Flags": ["Option", "For Engine"], "Help": "Name of the Engine"},
  {"Name": "Note", "Flags": ["Option", "For Engine"], "Help": "What people should know of the Engine"},
  {"Name": "Enabled", "Flags": ["Option", "For Engine"]},
  {"Name": "Priority", "Flags": ["Option", "For Engine"], "Help": "Engines with a higher priority get work first"},
  {"Name": "UseCores", "NiceName": "Use Cores", "Flags": ["Option", "For Engine"]},
  {"Name": "ForceCores", "NiceName": "Override Cores", "Flags": ["Option", "For Engine"]},
  {"Name": "UseGPUs", "NiceName": "Use GPUs", "Flags": ["Option", "For Engine"],
   "Help": "A count (\"4\" for 4 GPU devices) or device ids separated by commas"},
  {"Type": "Choice", "Name": "GPUDistribution", "NiceName": "GPU Distribution", "Flags": ["Option", "For Engine"],
   "Restriction": "GPU Distribution",
   "Choices": [{"Value": "", "Display": "As the Job says"}, {"Value": "Shared", "Display": "All work shares all GPUs"}, {"Value": "Exclusive", "Display": "Each work gets GPUs of its own"}]},
  {"Name": "Restricted", "Flags": ["Option", "For Engine"]},
  {"Name": "RestrictedCores", "NiceName": "Restricted Cores", "Flags": ["Option", "For Engine"]}
],
"Engine Machine": [
  {"Name": "Hostname", "NiceName": "Host", "Flags": ["Option", "For Engine", "Hide on Input"]},
  {"Name": "OperatingSystem", "NiceName": "Operating System", "Flags": ["Option", "For Engine", "Hide on Input"]},
  {"Name": "Hardware", "Flags": ["Option", "For Engine", "Hide on Input"]},
  {"Name": "Memory", "Flags": ["Option", "For Engine", "Hide on Input"]},
  {"Name": "Cores", "NiceName": "Max Cores", "Flags": ["Option", "For Engine", "Hide on Input"]},
  {"Name": "GPUs", "Flags": ["Option", "For Engine", "Hide on Input"], "Help": "GPUs of the machine"}
]
})json";

// The type that a form offers for a value of the table.
Parameter::TYPE TypeOf(ValueInfo const& info) {
    switch (info.kind) {
    case ValueKind::Bool:
        return Parameter::t_Bool;
    case ValueKind::Whole:
        return info.low < 0 ? Parameter::t_Signed : Parameter::t_Unsigned;
    case ValueKind::Real:
        return Parameter::t_Float;
    case ValueKind::Moment:
        return Parameter::t_Time;
    case ValueKind::ID:
        return Parameter::t_ID;
    case ValueKind::Secret:
        return Parameter::t_Password;
    default:
        return Parameter::t_Text;
    }
}

// Completes a parameter by what the table says of its value.
void TakeFromTable(Json& parameter) {
    ValueInfo const* const info = FindValue(parameter[k_SettingName].get_ref<std::string const&>());
    if (!info || parameter.value("Type", "") == Parameter::TypeLabel(Parameter::t_Separator))
        return;
    auto const complete = [&parameter](char const* key, String const& text) {
        if (!text.Empty() && !parameter.contains(key))
            parameter[key] = text.Str();
    };
    complete("Type", Parameter::TypeLabel(TypeOf(*info)));
    complete(k_SettingDefault, info->fallback);
    complete(k_SettingHelp, info->help);
    if (info->Has(v_Slider))
        complete(k_SettingRange,
                 String::From(static_cast<int>(info->low)) + ".." + String::From(static_cast<int>(info->high)));
    Json& flags = parameter["Flags"];
    if (info->Has(v_UnitsOwn) && std::find(flags.begin(), flags.end(), "Job Parameter") != flags.end())
        flags.push_back("No Parent Update");
}

// Their JSON is this program's own and always reads; made once.
Json const& StandardGroups() {
    static Json const groups = [] {
        Json all = Json::parse(std::string(k_BasicText) + k_SchedulingText + k_EventsText + k_EngineText);
        for (auto& [group, parameters] : all.items()) {
            for (Json& parameter : parameters)
                TakeFromTable(parameter);
        }
        return all;
    }();
    return groups;
}

} // namespace

OptionMap const& StandardHelp() {
    static OptionMap const help = [] {
        OptionMap texts;
        for (auto const& [group, parameters] : StandardGroups().items()) {
            for (auto const& parameter : parameters) {
                if (parameter.contains(k_SettingHelp))
                    texts.emplace(parameter[k_SettingName].get<std::string>(),
                                  parameter[k_SettingHelp].get<std::string>());
            }
        }
        return texts;
    }();
    return help;
}

std::vector<boost::shared_ptr<Parameter>> ProductReader::StandardGroup(String const& group) {
    std::vector<boost::shared_ptr<Parameter>> parameters;
    if (!StandardGroups().contains(group.Str()))
        return parameters;
    JsonPlace const list(StandardGroups().at(group.Str()), group);
    for (size_t i = 0; i < list.Value().size(); ++i)
        parameters.push_back(ReadParameter(list.Item(i), true, 0));
    return parameters;
}

void ProductReader::AddStandardGroup(Product& product, String const& group) {
    for (auto const& parameter : StandardGroup(group)) {
        if (!product.GetParam(parameter->GetName()) || parameter->Type() == Parameter::t_Separator)
            product.m_params.push_back(parameter);
    }
    product.ClearCache();
}

boost::shared_ptr<Product> Product::CreateDefault(ProductClass productClass) {
    UID const type(true);
    auto product = boost::make_shared<Product>("New Product", type, true);
    product->SetClass(productClass);
    ProductReader::AddStandardGroup(*product, "Identity");
    if (productClass == ProductClass::Sequence || productClass == ProductClass::VirtualModule)
        ProductReader::AddStandardGroup(*product, "Frames");
    MutableParameterInfo commandLine = product->NewParam(Parameter::t_Text);
    commandLine.SetName("CommandLine", "Command Line");
    commandLine.SetFlags(Parameter::f_JobParameter | Parameter::f_Required);
    commandLine.SetSetting(k_SettingHelp, "The program to run and its arguments. $(First), $(Last) and every other "
                                          "parameter's name in $(...) stand for the values of the work unit.");
    for (char const* group : {"Scheduling", "Events", "Record", "Engine"})
        ProductReader::AddStandardGroup(*product, group);
    LaunchTemplate launch;
    launch.arguments.push_back({ArgumentTemplate::Kind::CommandLine, "CommandLine", {}});
    product->SetLaunch(launch);
    auto const output = product->AddCommand(Command::f_ForWork | Command::f_ForHistory);
    output->SetName(c_Output);
    output->SetLabel("View Output");
    output->SetHelp("Show what the work wrote");
    return product;
}

} // namespace vorlan
