#include "repeatfile.h"

#include <corekit/callentry.h>
#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/time.h>
#include <vorlan/job.h>
#include <vorlan/jobfactory.h>
#include <vorlan/keys.h>
#include <vorlan/parameter.h>
#include <vorlan/product.h>
#include <wx/app.h>
#include <wx/ctrlsub.h>
#include <wx/intl.h>
#include <wx/wxvmessagedlg.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

constexpr char k_FileName[] = "RepeatJobs.ini";
// Writing for the owner alone, reading for all.
constexpr int k_FileMask = 22;

// Kept when the Job has them.
constexpr char const* k_OwnValues[] = {p_IncludeEngines,
                                       p_ExcludeEngines,
                                       p_WorkAssignedEvt,
                                       p_WorkStartedEvt,
                                       p_FirstWorkEvt,
                                       p_WorkParameterChangedEvt,
                                       p_WorkPostExecuteEvt,
                                       p_WorkPostExecuteSuccessfulEvt,
                                       p_WorkPostExecuteUnsuccessfulEvt,
                                       p_WorkFinishedEvt,
                                       p_WorkFinishedSuccessfulEvt,
                                       p_WorkFinishedUnsuccessfulEvt,
                                       p_JobFirstStartedEvt,
                                       p_JobAssignWorkEvt,
                                       p_JobFinishedEvt,
                                       p_DeleteJobEvt};

void ReportBadRepeat(Exception const& exception, UID const& product) {
    LogError("Cannot repeat the Job: " + exception.Message());
    wxString text = _("The selected Job could not be retrieved because ");
    if (exception.Code() == Exception::k_MissingProduct)
        text += _("the Product with ID\n\n") + wxvText(product.ToString()) + _("\n\ncould not be found.");
    else
        text += _("an error has occurred. Check the History.log file for more information.");
    text += _("\n\nPlease check with your system administrator to verify that the");
    text += _("Vorlan Modules have been configured correctly.");
    wxvMessageDlg::Tell(wxTheApp->GetTopWindow(), _("Bad Repeat"), text, MessageKind::Error);
}

} // namespace

void RepeatFile::PushJob(Job const& job) {
    CALL_ENTRY();
    String section;
    ResetSection();
    while (NextSection(section)) {
        if (CompareJob(job)) {
            ClearSection(section);
            break;
        }
    }
    AppendJob(job);
    if (SectionCount() > m_repeatCount)
        EraseFirstSection();
    SaveList();
}

void RepeatFile::SaveList() {
    File::SetMode(k_FileMask);
    Save(File::GetUserDir() / k_FileName);
}

void RepeatFile::AppendJob(Job const& job) {
    // Behind the newest entry, also when two pushes come within a millisecond or the
    // clock was set back.
    int64_t moment = Time::CurrentTime().Milliseconds();
    if (std::vector<String> const sections = Sections(); !sections.empty())
        moment = std::max(moment, sections.back().Int() + 1);
    Job::ReadingScope const scope(job);
    InsertSection(String::From(moment));
    SetValue(p_Name, job.Name());
    SetValue(p_Note, job.Note());
    SetValue(p_Type, job.Type().ToString());
    SetValue(p_Priority, job.Priority());
    SetValue(p_Pool, job.Pool().ToString());
    SetValue(p_UsageLimit, job.UsageLimit());
    SetValue(p_FailureLimit, job.FailureLimit());
    SetValue(p_CPUs, job.CPUs());
    SetValue(p_RAM, job.RAM());
    SetValue(p_Status, job.Status());
    SetValue(p_StaggerCount, job.StaggerCount());
    SetValue(p_StaggerStart, job.StaggerStart());
    SetValue(p_StaggerMode, job.Get(p_StaggerMode, true));
    SetValue(p_OvertimeKill, job.OvertimeKill());
    SetValue(p_WaitForJobID, job.Get(p_WaitForJobID, true));
    SetValue(p_WaitForWholeJob, job.Get(p_WaitForWholeJob, true));

    auto keepOwn = [&](String const& name) {
        String value;
        if (job.GetParameter(name, value))
            SetValue(name, value);
    };
    for (char const* name : k_OwnValues)
        keepOwn(name);
    SetValue(p_JobSummary, job.GetParameterString(p_JobSummary));
    if (auto const product = JobFactory::s_JobFactory->GetProduct(job.Type())) {
        for (size_t i = 0; i < product->GetParamCount(); ++i)
            keepOwn(product->GetParam(i)->GetName());
    }
}

bool RepeatFile::CompareParameter(Job const& job, char const* key) const {
    String kept;
    return GetValue(key, kept) && kept == job.GetParameterString(key);
}

bool RepeatFile::CompareJob(Job const& job) const {
    return CompareParameter(job, p_Name) && CompareParameter(job, p_JobSummary);
}

boost::shared_ptr<Job> RepeatFile::RepeatJob(RepeatIterator const& entry) {
    CALL_ENTRY();
    SetSection(entry.Section());
    String type;
    UID product;
    if (!GetValue(p_Type, type) || !UID::FromString(type, product))
        return nullptr;
    try {
        boost::shared_ptr<Job> const job = JobFactory::s_JobFactory->CreateJob(product);
        String key;
        String value;
        while (GetNextValue(key, value))
            job->SetParameter(key, value);
        return job;
    } catch (Exception const& exception) {
        ReportBadRepeat(exception, product);
    } catch (std::exception const& exception) {
        ReportBadRepeat(Exception(exception.what()), product);
    }
    return nullptr;
}

void RepeatFile::FillList(wxItemContainer& list) {
    std::vector<String> const sections = Sections();
    for (auto section = sections.rbegin(); section != sections.rend(); ++section) {
        if (!HasKey(*section, p_Name))
            continue;
        String label = GetValue(*section, p_Name, "");
        if (HasKey(*section, p_JobSummary))
            label += "  :  " + GetValue(*section, p_JobSummary, "");
        list.Append(wxvText(label), new RepeatIterator(*section));
    }
}

void RepeatFile::SetRepeatCount(unsigned count) {
    m_repeatCount = count;
    while (SectionCount() > count && EraseFirstSection()) {
    }
}

} // namespace vorlan
