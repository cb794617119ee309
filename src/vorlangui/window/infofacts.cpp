#include "infofacts.h"

#include "client/farmclient.h"
#include "model/joblist.h"
#include "model/pooltable.h"
#include "rows/jobcolumns.h"
#include "rows/workcolumns.h"

#include <corekit/sformat.h>
#include <vorlan/keys.h>
#include <wx/translation.h>

namespace vorlan {

namespace {

// Facts without a value are nothing to show.
class Collector {
public:
    explicit Collector(InfoFacts& facts) : m_facts(facts) {}

    void Add(char const* name, String const& value) {
        if (!value.Empty())
            m_facts.facts.push_back({name, value});
    }

private:
    InfoFacts& m_facts;
};

String Moment(Time const& time) { return time.IsZero() ? String() : time.Format(k_DateTimeNicer); }

String Span(Time const& span) {
    return span.Milliseconds() < 0 ? String()
                                   : span.FormatDuration(Time::k_UnitMinutes, Time::k_UnitDays, Time::k_UnitSeconds);
}

String Progress(Job const& job) {
    String text = ProgressBarText(job.PercentDone());
    if (int64_t const frames = job.GetParameterString(p_RangeCount).Int(); frames > 0)
        text += SFormat(" of %lld frame%s", static_cast<long long>(frames), frames == 1 ? "" : "s");
    return text;
}

ColorName JobColor(JobInfo const& info) {
    if (info.job->IsFailed())
        return ColorName::TextRed;
    switch (info.StatusClass()) {
    case 1:
        return ColorName::TextGrey;
    case 2:
        return info.job->IsPaused() ? ColorName::TextCyan : ColorName::TextGreen;
    case 3:
        return ColorName::TextBlue;
    default:
        return ColorName::Text;
    }
}

ColorName WorkColor(Job const& unit) {
    if (unit.IsFailed())
        return ColorName::TextRed;
    return unit.IsFinished() ? ColorName::TextBlue : ColorName::TextGreen;
}

ColorName EngineColor(EngineInfo const& engine) {
    if (!engine.Online())
        return ColorName::TextGrey;
    int const status = engine.Status();
    if (status < 0 || !engine.Enabled())
        return ColorName::TextOrange;
    return status > 0 ? ColorName::TextGreen : ColorName::Text;
}

String PoolNames(std::vector<UID> const& pools) {
    String names;
    for (UID const& pool : pools)
        names += (names.Empty() ? "" : ", ") + PoolName(pool);
    return names;
}

} // namespace

InfoFacts FactsOf(JobInfo const& info, Time const& now) {
    InfoFacts facts;
    if (!info.job)
        return facts;
    Job const& job = *info.job;
    facts.heading = job.Name();
    facts.state = info.Status();
    facts.stateColor = JobColor(info);
    Collector collect(facts);
    collect.Add(wxTRANSLATE("Percent Done"), Progress(job));
    collect.Add(wxTRANSLATE("Product"), job.TypeString());
    collect.Add(wxTRANSLATE("Summary"), info.Summary());
    collect.Add(wxTRANSLATE("Priority"), String::From(job.Priority()));
    collect.Add(wxTRANSLATE("Pool"), info.Pool());
    if (!job.GetDependencies().empty())
        collect.Add(wxTRANSLATE("Depends"), info.WaitForString());
    collect.Add(wxTRANSLATE("Creator"), job.Creator());
    collect.Add(wxTRANSLATE("Created"), Moment(job.Created()));
    if (job.IsFinished())
        collect.Add(wxTRANSLATE("Finished"), Moment(job.FinishedTime()));
    else if (!job.Created().IsZero())
        collect.Add(wxTRANSLATE("Age"), Span(now - job.Created()));
    collect.Add(wxTRANSLATE("Note"), job.Note());
    return facts;
}

InfoFacts FactsOf(EngineInfo const& engine) {
    InfoFacts facts;
    facts.heading = engine.Name();
    facts.state = engine.StatusString();
    facts.stateColor = EngineColor(engine);
    Collector collect(facts);
    collect.Add(wxTRANSLATE("Machine"), engine.Hostname());
    collect.Add(wxTRANSLATE("System"), engine.OperatingSystem());
    collect.Add(wxTRANSLATE("Hardware"), engine.Hardware());
    collect.Add(wxTRANSLATE("Memory"), engine.Memory());
    if (engine.MaxCores() != 0)
        collect.Add(wxTRANSLATE("Cores"), String::From(engine.MaxCores()));
    collect.Add(wxTRANSLATE("Restrictions"), engine.Restrictions());
    collect.Add(wxTRANSLATE("Pools"), PoolNames(engine.GetAllPools()));
    collect.Add(wxTRANSLATE("Failures"), engine.DisplayFailures());
    collect.Add(wxTRANSLATE("Started"), Moment(engine.StartTime()));
    collect.Add(wxTRANSLATE("Note"), engine.Note());
    return facts;
}

InfoFacts FactsOf(WorkInfo const& work, Time const& now) {
    InfoFacts facts;
    if (!work.work)
        return facts;
    facts.heading = work.work->Name();
    facts.state = work.work->StatusAsString();
    facts.stateColor = WorkColor(*work.work);
    Collector collect(facts);
    if (work.job && work.job->job)
        collect.Add(wxTRANSLATE("Job"), work.job->job->Name());
    if (work.engine)
        collect.Add(wxTRANSLATE("Engine"), work.engine->Name());
    collect.Add(wxTRANSLATE("Elapsed"), Span(work.Elapsed(now)));
    if (!work.work->IsFinished())
        collect.Add(wxTRANSLATE("Percent Done"), WorkProgressText(work.work->PercentDone()));
    collect.Add(wxTRANSLATE("Pool"), work.Pool());
    collect.Add(wxTRANSLATE("Note"), work.work->Note());
    return facts;
}

} // namespace vorlan
