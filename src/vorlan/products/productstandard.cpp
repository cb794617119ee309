// The parameters that Products take by the name of their group, and new Products made of them.

#include "productjson.h"

#include <vorlan/keys.h>

namespace vorlan {

namespace {

// What tells a Job from others, where it waits and how urgent it is; then its frames.
constexpr char const k_BasicText[] = R"json({
"Identity": [
  {"Type": "Text", "Name": "Name", "Flags": ["Job Parameter", "Required", "Always at Default"],
   "Help": "The Job's name, as all lists show it."},
  {"Type": "Signed Integer", "Name": "Status", "Default": 0,
   "Flags": ["Job Parameter", "Always at Default", "No Parent Update"],
   "Help": "Paused: the Job waits until somebody resumes it. Pending: it starts as soon as an Engine is free."},
  {"Type": "Unsigned Integer", "Name": "Priority", "Default": 50, "Range": "0..100",
   "Flags": ["Job Parameter"],
   "Help": "Jobs of higher priority are worked on first."},
  {"Type": "ID", "Name": "Pool", "Flags": ["Job Parameter"],
   "Help": "The Pool of Engines that may work on the Job. None: the whole system."}
],
"Frames": [
  {"Type": "Text", "Name": "Range", "Default": "1", "Flags": ["Job Parameter", "Required"],
   "Help": "The frames, such as 1-100 or 1-10,20,30-50x2. x2 takes every second one; numbers may be negative."},
  {"Type": "Unsigned Integer", "Name": "PacketSize", "NiceName": "Packet Size", "Default": 1,
   "Flags": ["Job Parameter"],
   "Help": "How many consecutive frames one Engine gets at a time. Small packets spread better, large ones save the time that the program needs to start."}
],
"Record": [
  {"Type": "Text", "Name": "Creator", "Flags": ["Job Parameter", "Hide on Input", "Always at Default"],
   "Help": "Who submitted the Job."},
  {"Type": "Time", "Name": "Created", "Flags": ["Job Parameter", "Hide on Input", "Always at Default"],
   "Help": "When the Job was submitted."},
  {"Type": "Time", "Name": "FinishedTime", "NiceName": "Finished", "Flags": ["Job Parameter", "Hide on Input", "Always at Default"],
   "Help": "When the Job was finished."},
  {"Type": "ID", "Name": "ID", "Flags": ["Job Parameter", "Advanced", "Hide on Input", "Always at Default"],
   "Help": "The Job's identity, which never changes."}
],
)json";

constexpr char const k_SchedulingText[] = R"json(
"Scheduling": [
  {"Type": "Separator", "Name": "Machine", "Flags": ["Job Parameter", "Advanced"]},
  {"Type": "Unsigned Integer", "Name": "CPUs", "NiceName": "Cores", "Default": 1, "Flags": ["Job Parameter", "Advanced"],
   "Specials": {"0": "All of the Engine"}, "Custom": "Cores", "CustomDefault": 1,
   "Help": "How many cores of an Engine one work unit takes up."},
  {"Type": "Unsigned Integer", "Name": "RAM", "NiceName": "Memory (MB)", "Default": 0, "Flags": ["Job Parameter", "Advanced"],
   "Specials": {"0": "Any"}, "Custom": "MB", "CustomDefault": 1024, "Restriction": "RAM Distribution",
   "Help": "The free memory that an Engine needs for one work unit."},
  {"Type": "Unsigned Integer", "Name": "GPUs", "Default": 0, "Flags": ["Job Parameter", "Advanced"],
   "Specials": {"0": "None"}, "Custom": "GPUs", "CustomDefault": 1, "Restriction": "GPU Distribution",
   "Help": "How many GPUs of an Engine one work unit takes up."},
  {"Type": "Text", "Name": "UseGPUs", "NiceName": "Use GPUs", "Flags": ["Job Parameter", "Advanced"], "Restriction": "GPU Distribution",
   "Help": "The numbers of the GPUs to use, such as 0,1. Empty: any that are free."},
  {"Type": "Text", "Name": "Resources", "Flags": ["Job Parameter", "Advanced"],
   "Help": "Network shares to connect before the work starts: local = remote, several joined by \" ; \"."},
  {"Type": "Text", "Name": "Username", "NiceName": "User Name", "Flags": ["Job Parameter", "Advanced"],
   "Help": "Whose rights the work has on its network shares."},
  {"Type": "Password", "Name": "Password", "Flags": ["Job Parameter", "Advanced"],
   "Help": "The password of that user."},
  {"Type": "Separator", "Name": "Distribution", "Flags": ["Job Parameter", "Advanced"]},
  {"Type": "Signed Integer", "Name": "UsageLimit", "NiceName": "Usage Limit", "Default": 0, "Flags": ["Job Parameter", "Advanced"],
   "Specials": {"0": "No limit"}, "Custom": "Work units", "CustomDefault": 10,
   "NegativeCustom": "Engines", "NegativeCustomDefault": -10,
   "Help": "How much of the farm the Job may use at a time: this many work units, or, below zero, this many Engines."},
  {"Type": "Signed Integer", "Name": "PriorityBoost", "NiceName": "Priority Boost", "Default": 0, "Flags": ["Job Parameter", "Advanced"],
   "Specials": {"0": "None"}, "Custom": "Packets", "CustomDefault": 1,
   "Help": "This many packets at the start of the Job go before all other Jobs, so that its results can be judged early."},
  {"Type": "Text", "Name": "WaitForJobID", "NiceName": "Wait for Jobs", "Flags": ["Job Parameter", "Advanced"],
   "Help": "The IDs of the Jobs that must be finished before this one starts."},
  {"Type": "Boolean", "Name": "WaitForWholeJob", "NiceName": "Wait for Whole Job", "Default": true, "Flags": ["Job Parameter", "Advanced"],
   "Help": "Wait until those Jobs are finished altogether. Otherwise each frame waits for the same frame of theirs."},
  {"Type": "Choice", "Name": "StaggerMode", "NiceName": "Stagger", "Default": "0", "Flags": ["Job Parameter", "Advanced", "Option", "For Engine"],
   "Choices": [{"Value": "0", "Display": "Work"}, {"Value": "1", "Display": "Work on one Engine"}, {"Value": "2", "Display": "Engines"}],
   "Help": "What is started little by little when staggering is on."},
  {"Type": "Unsigned Integer", "Name": "StaggerCount", "NiceName": "Stagger Count", "Default": 1, "Flags": ["Job Parameter", "Advanced", "Option", "For Engine"],
   "Help": "How many are started at once."},
  {"Type": "Floating Point", "Name": "StaggerStart", "NiceName": "Stagger Seconds", "Default": 0, "Flags": ["Job Parameter", "Advanced", "Option", "For Engine"],
   "Specials": {"0": "Off"}, "Custom": "Seconds", "CustomDefault": 10,
   "Help": "The seconds between one start and the next."},
  {"Type": "Separator", "Name": "Failures and End", "Flags": ["Job Parameter", "Advanced"]},
  {"Type": "Unsigned Integer", "Name": "FailureLimit", "NiceName": "Failure Limit", "Default": 3, "Flags": ["Job Parameter", "Advanced"],
   "Specials": {"0": "No limit"}, "Custom": "Tries", "CustomDefault": 3,
   "Help": "How often a work unit may fail before it counts as failed for good."},
  {"Type": "Floating Point", "Name": "OvertimeKill", "NiceName": "Overtime Kill", "Default": 0, "Flags": ["Job Parameter", "Advanced"],
   "Specials": {"0": "Never"}, "Custom": "Times the average", "CustomDefault": 5,
   "Help": "A work unit that runs longer than this many times the Job's average is stopped and tried again."},
  {"Type": "Choice", "Name": "FinishDisposition", "NiceName": "When Finished", "Default": "-1", "Flags": ["Job Parameter", "Advanced"],
   "Choices": [{"Value": "-1", "Display": "As the Master does"}, {"Value": "0", "Display": "Keep"}, {"Value": "1", "Display": "Delete"}],
   "Help": "What becomes of the Job in the queue once it is finished."},
  {"Type": "Text", "Name": "Note", "Flags": ["Job Parameter", "Advanced", "Always at Default", "No Parent Update"],
   "Help": "Anything that others should know of the Job."}
],
)json";

constexpr char const k_EventsText[] = R"json(
"Events": [
  {"Type": "Text", "Name": "JobFirstStartedEvt", "NiceName": "Job First Started", "Flags": ["Job Parameter", "Advanced", "Event Command"],
   "Help": "Run by the Master when the first work of the Job starts."},
  {"Type": "Text", "Name": "JobAssignWorkEvt", "NiceName": "Job Assigns Work", "Flags": ["Job Parameter", "Advanced", "Event Command"],
   "Help": "Run by the Master when it gives work of the Job to an Engine."},
  {"Type": "Text", "Name": "JobFinishedEvt", "NiceName": "Job Finished", "Flags": ["Job Parameter", "Advanced", "Event Command"],
   "Help": "Run by the Master when the Job is finished."},
  {"Type": "Text", "Name": "DeleteJobEvt", "NiceName": "Job Deleted", "Flags": ["Job Parameter", "Advanced", "Event Command"],
   "Help": "Run by the Master when the Job is deleted."},
  {"Type": "Text", "Name": "FirstWorkEvt", "NiceName": "First Work on an Engine", "Flags": ["Job Parameter", "Advanced", "Event Command"],
   "Help": "Run by each Engine before its first work of the Job."},
  {"Type": "Text", "Name": "WorkAssignedEvt", "NiceName": "Work Assigned", "Flags": ["Job Parameter", "Advanced", "Event Command"],
   "Help": "Run by the Engine when it gets a work unit."},
  {"Type": "Text", "Name": "WorkStartedEvt", "NiceName": "Work Started", "Flags": ["Job Parameter", "Advanced", "Event Command"],
   "Help": "Run by the Engine when a work unit has started."},
  {"Type": "Text", "Name": "WorkParameterChangedEvt", "NiceName": "Work Parameter Changed", "Flags": ["Job Parameter", "Advanced", "Event Command"],
   "Help": "Run by the Engine when a value of a running work unit changes."},
  {"Type": "Text", "Name": "WorkPostExecuteEvt", "NiceName": "Work Process Ended", "Flags": ["Job Parameter", "Advanced", "Event Command"],
   "Help": "Run by the Engine when the process of a work unit has ended, before the unit is reported."},
  {"Type": "Text", "Name": "WorkPostExecuteSuccessfulEvt", "NiceName": "Work Process Ended Well", "Flags": ["Job Parameter", "Advanced", "Event Command"],
   "Help": "The same, after success alone."},
  {"Type": "Text", "Name": "WorkPostExecuteUnsuccessfulEvt", "NiceName": "Work Process Failed", "Flags": ["Job Parameter", "Advanced", "Event Command"],
   "Help": "The same, after a failure alone."},
  {"Type": "Text", "Name": "WorkFinishedEvt", "NiceName": "Work Finished", "Flags": ["Job Parameter", "Advanced", "Event Command"],
   "Help": "Run by the Engine when a work unit is over and reported."},
  {"Type": "Text", "Name": "WorkFinishedSuccessfulEvt", "NiceName": "Work Finished Well", "Flags": ["Job Parameter", "Advanced", "Event Command"],
   "Help": "The same, after success alone."},
  {"Type": "Text", "Name": "WorkFinishedUnsuccessfulEvt", "NiceName": "Work Failed", "Flags": ["Job Parameter", "Advanced", "Event Command"],
   "Help": "The same, after a failure alone."}
],
"Engine": [
  {"Type": "Unsigned Integer", "Name": "Limit", "NiceName": "Work at a Time", "Default": 0, "Flags": ["Option", "For Engine", "For Master"],
   "Specials": {"0": "No limit"}, "Custom": "Work units", "CustomDefault": 1,
   "Help": "How many work units of this type may run at a time: on one Engine, or on the whole farm."}
]
})json";

// Their JSON is this program's own and always reads; made once.
Json const& StandardGroups() {
    static Json const groups =
        Json::parse(std::string(k_BasicText) + k_SchedulingText + k_EventsText, nullptr, true, false);
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
