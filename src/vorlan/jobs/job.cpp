#include <vorlan/job.h>

#include "jobvalues.h"
#include "values/limits.h"

#include <corekit/log.h>
#include <corekit/process.h>
#include <corekit/stream.h>
#include <vorlan/jobfactory.h>
#include <vorlan/jobtemplate.h>
#include <vorlan/keys.h>
#include <vorlan/launch.h>
#include <vorlan/product.h>
#include <vorlan/range.h>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <array>

namespace vorlan {

namespace {

struct BuiltInDefault {
    char const* name;
    char const* text;
};

// What counts where neither the Job nor its Product has a value.
constexpr BuiltInDefault k_BuiltIn[] = {
    {p_Status, "0"},       {p_Priority, "50"},          {p_CPUs, "1"},
    {p_RAM, "0"},          {p_FailureLimit, "3"},       {p_UsageLimit, "0"},
    {p_PacketSize, "1"},   {p_FinishDisposition, "-1"}, {p_StaggerMode, "0"},
    {p_StaggerCount, "0"}, {p_StaggerStart, "0"},       {p_OvertimeKill, "0"},
    {p_PercentDone, "0"},  {p_PriorityBoost, "0"},      {p_WaitForWholeJob, k_Yes},
};

// A work unit's own values.
constexpr char const* k_UnitsOwn[] = {p_Name, p_SubRange, p_Status, p_Created, p_FinishedTime, p_PercentDone};

bool IsName(String const& name, char const* other) { return name.CompareNoCase(other) == 0; }

shared_ptr<Product const> ProductOf(Job const& job) { return JobFactory::s_JobFactory->GetProduct(job.Type()); }

// What a text for people may refer to: all that a launch may, and whatever else
// GetParameterString knows. Lives on the stack for one expansion.
class TextValues : public TemplateValues {
public:
    TextValues(Job const& job, Product const* product, char const* withoutName)
        : m_job(job), m_values(job, product), m_withoutName(withoutName) {}

    bool Find(std::string_view name, String& value) const override {
        if (m_withoutName && IsName(String(name), m_withoutName))
            return false;
        try {
            bool const isSummary = IsName(String(name), p_JobSummary);
            if (!isSummary && m_values.Find(name, value))
                return true;
        } catch (ArgumentException const&) {
            return false; // a range that is none: the text stays readable without it
        }
        value = m_job.GetParameterString(String(name));
        return !value.Empty();
    }
    bool IsTrue(std::string_view name, String const& value) const override { return m_values.IsTrue(name, value); }

private:
    Job const& m_job;
    JobValues const m_values;
    char const* const m_withoutName;
};

template <class Container>
Container UIDs(String const& text) {
    std::vector<UID> const ids = StringToUIDs(text);
    return Container(ids.begin(), ids.end());
}

} // namespace

void Job::Clone(VorlanObject const& other) {
    VorlanObject::Clone(other);
    auto const* const job = dynamic_cast<Job const*>(&other);
    if (job && parentID != job->parentID)
        parentID = job->parentID;
}

String Job::Get(String const& name, bool useDefault) const {
    if (useDefault)
        return GetParameterString(name);
    if (IsName(name, p_ParentID))
        return parentID.IsNull() ? String() : parentID.ToString();
    return VorlanObject::Get(name, false);
}

bool Job::Set(String const& name, String const& value) {
    return !IsName(name, p_ParentID) && VorlanObject::Set(name, value);
}

bool Job::IsOwnField(String const& name) const { return IsName(name, p_ParentID) || VorlanObject::IsOwnField(name); }

void Job::Send(OutStream& stream) const {
    stream.Write(parentID);
    VorlanObject::Send(stream);
}

void Job::Read(InStream& stream) {
    UID parent;
    if (!stream.Read(parent))
        return;
    VorlanObject::Read(stream);
    if (!stream.Failed() && parentID != parent)
        parentID = parent;
}

bool Job::RunCommand(String const& name, String const& item) const {
    shared_ptr<Product const> const product = ProductOf(*this);
    if (!product) {
        LogWarning("Cannot run command '" + name + "': the Product of Job '" + Name() + "' is not known here.");
        return false;
    }
    Launch launch;
    try {
        if (!BuildCommandLaunch(*product, *this, name, item, launch))
            return false;
    } catch (Exception const& exception) {
        LogWarning("Cannot run command '" + name + "' of Job '" + Name() + "': " + exception.Message());
        return false;
    }
    ProcessOptions options;
    options.args.assign(launch.arguments.begin() + 1, launch.arguments.end());
    options.env = launch.environment;
    options.folder = launch.folder;
    options.group = ProcessGroup::Session;
    options.stdoutFd = ProcessOptions::k_Null;
    options.stderrFd = ProcessOptions::k_Null;
    String error;
    auto const process = Process::Start(launch.arguments.front(), options, &error);
    if (!process) {
        LogWarning("Cannot run command '" + name + "' of Job '" + Name() + "': " + error);
        return false;
    }
    process->Detach();
    return true;
}

bool Job::IsActiveStatus(int status) const { return vorlan::IsActiveStatus(status); }
bool Job::IsFinishedStatus(int status) const { return vorlan::IsFinishedStatus(status); }
bool Job::IsFailedStatus(int status) const { return vorlan::IsFailedStatus(status); }
bool Job::IsCanceledStatus(int status) const { return vorlan::IsCanceledStatus(status); }
bool Job::IsHeldStatus(int status) const { return vorlan::IsHeldStatus(status); }
String Job::StatusName(int status) const { return vorlan::StatusName(status); }

bool Job::GetParameter(String const& name, String& out) const {
    out = Get(name, false);
    return !out.Empty() || Has(name);
}

bool Job::SetParameter(String const& name, String const& value) { return Set(name, value); }

void Job::UpdateFrom(Job const& other, bool keepMissing) {
    if (keepMissing)
        Merge(other);
    else
        SetSnapshot(other.Snapshot());
}

void Job::UpdateFromParent(Job const& parent) {
    auto const theirs = parent.Snapshot();
    shared_ptr<Product const> const product = ProductOf(parent);
    auto const isUnitsOwn = [&](std::string_view name) {
        if (std::any_of(std::begin(k_UnitsOwn), std::end(k_UnitsOwn), [&](char const* own) { return name == own; }))
            return true;
        auto const parameter = product ? product->GetParam(String(name)) : nullptr;
        return parameter && parameter->HasFlag(Parameter::f_NoParentUpdate);
    };
    Change([&](boost::shared_ptr<ValueBlock const> const& mine) {
        ValueBlockBuilder builder;
        builder.AddAll(*mine);
        for (ValueBlock::Value const value : *theirs) {
            if (!isUnitsOwn(value.Name()))
                builder.Add(value.number, value.text);
        }
        return builder.Build();
    });
}

// -------------------------------------------------------------- typed values

int Job::Status() const {
    static uint32_t const s_number = NameTable::Number(p_Status);
    return ToInt(IntOf(s_number, Queued));
}

void Job::SetStatus(int status) { Set(p_Status, String::From(status)); }

String Job::StatusAsString() const { return StatusName(Status()); }
bool Job::IsStarted() const { return Status() == Started; }
bool Job::IsPaused() const { return IsHeldStatus(Status()); }
bool Job::IsFinished() const { return IsFinishedStatus(Status()); }
bool Job::IsFailed() const { return IsFailedStatus(Status()); }
bool Job::IsCanceled() const { return IsCanceledStatus(Status()); }

UID Job::Type() const {
    static uint32_t const s_number = NameTable::Number(p_Type);
    return UIDOf(s_number);
}

String Job::TypeString() const {
    shared_ptr<Product const> const product = ProductOf(*this);
    return product ? product->Name() : Type().ToString();
}

UID Job::Pool() const {
    static uint32_t const s_number = NameTable::Number(p_Pool);
    return UIDOf(s_number);
}

String Job::Creator() const {
    static uint32_t const s_number = NameTable::Number(p_Creator);
    return TextOf(s_number);
}

void Job::SetCreator(String const& creator) { Set(p_Creator, creator); }

Time Job::Created() const {
    static uint32_t const s_number = NameTable::Number(p_Created);
    return Time(IntOf(s_number, 0));
}

void Job::SetCreated(Time const& time) { Set(p_Created, String::From(time.Milliseconds())); }

Time Job::FinishedTime() const {
    static uint32_t const s_number = NameTable::Number(p_FinishedTime);
    return Time(IntOf(s_number, 0));
}

void Job::SetFinishedTime(Time const& time) { Set(p_FinishedTime, String::From(time.Milliseconds())); }

int Job::Priority() const {
    static uint32_t const s_number = NameTable::Number(p_Priority);
    return ToInt(IntOf(s_number, p_PriorityDefault));
}

int Job::CPUs() const {
    static uint32_t const s_number = NameTable::Number(p_CPUs);
    return ToInt(IntOf(s_number, p_CPUsDefault));
}

int Job::RAM() const {
    static uint32_t const s_number = NameTable::Number(p_RAM);
    return ToInt(IntOf(s_number, p_RAMDefault));
}

int Job::FailureLimit() const {
    static uint32_t const s_number = NameTable::Number(p_FailureLimit);
    return ToInt(IntOf(s_number, p_FailureLimitDefault));
}

int Job::UsageLimit() const {
    static uint32_t const s_number = NameTable::Number(p_UsageLimit);
    return ToInt(IntOf(s_number, p_UsageLimitDefault));
}

int Job::FinishDisposition() const {
    static uint32_t const s_number = NameTable::Number(p_FinishDisposition);
    return ToInt(IntOf(s_number, p_FinishDispositionDefault));
}

int Job::StaggerMode() const {
    static uint32_t const s_number = NameTable::Number(p_StaggerMode);
    return ToInt(IntOf(s_number, 0));
}

unsigned Job::StaggerCount() const {
    static uint32_t const s_number = NameTable::Number(p_StaggerCount);
    return ToUnsigned(IntOf(s_number, 0));
}

float Job::StaggerStart() const {
    static uint32_t const s_number = NameTable::Number(p_StaggerStart);
    return static_cast<float>(FloatOf(s_number, 0));
}

float Job::OvertimeKill() const {
    static uint32_t const s_number = NameTable::Number(p_OvertimeKill);
    return static_cast<float>(FloatOf(s_number, 0));
}

float Job::PercentDone() const {
    static uint32_t const s_number = NameTable::Number(p_PercentDone);
    double const percent = FloatOf(s_number, 0);
    return percent > 0 ? static_cast<float>(std::min(percent, 100.0)) : 0.0F;
}

int Job::PacketSize() const {
    static uint32_t const s_number = NameTable::Number(p_PacketSize);
    return std::max(1, ToInt(IntOf(s_number, p_PacketSizeDefault)));
}

std::set<UID> Job::IncludeEngines() const { return UIDs<std::set<UID>>(Get(p_IncludeEngines, false)); }

std::set<UID> Job::ExcludeEngines() const { return UIDs<std::set<UID>>(Get(p_ExcludeEngines, false)); }

std::map<UID, Job::DependencyType> Job::GetDependencies() const {
    static uint32_t const s_wholeJob = NameTable::Number(p_WaitForWholeJob);
    DependencyType const type = BoolOf(s_wholeJob, true) ? DependencyType::WholeJob : DependencyType::Frame;
    std::map<UID, DependencyType> dependencies;
    for (UID const& job : StringToUIDs(Get(p_WaitForJobID, false)))
        dependencies[job] = type;
    return dependencies;
}

// ---------------------------------------------------------------------- text

String Job::GetParameterString(String const& name) const {
    String value;
    // A summary with a template is always made anew: a stored one may tell of an older range.
    if (Derive(name, value) || GetParameter(name, value))
        return value;
    return DefaultOf(name);
}

bool Job::Derive(String const& name, String& out) const {
    if (IsName(name, p_RangeCount)) {
        FrameRange range;
        if (!FrameRange::Parse(GetParameterString(p_Range), range))
            return false;
        out = String::From(range.Count());
        return true;
    }
    if (!IsName(name, p_JobSummary))
        return false;
    shared_ptr<Product const> const product = ProductOf(*this);
    if (!product || product->SummaryTemplate().Empty())
        return false;
    out = Expand(product->SummaryTemplate(), p_JobSummary);
    return true;
}

String Job::DefaultOf(String const& name) const {
    if (shared_ptr<Product const> const product = ProductOf(*this)) {
        if (auto const parameter = product->GetParam(name))
            return parameter->GetDefault();
    }
    for (BuiltInDefault const& entry : k_BuiltIn) {
        if (IsName(name, entry.name))
            return entry.text;
    }
    return String();
}

String Job::FormatStringWithParameters(String const& format) const { return Expand(format, nullptr); }

String Job::Expand(String const& format, char const* withoutName) const {
    ReadingScope const reading(*this);
    shared_ptr<Product const> const product = ProductOf(*this);
    try {
        return ExpandTemplate(format, TextValues(*this, product.get(), withoutName));
    } catch (ArgumentException const& exception) {
        LogWarning("A text of Job '" + Name() + "' cannot be expanded: " + exception.Message());
        return format;
    }
}

boost::shared_ptr<Job> SDuplicateJob(Job const& job, bool newID) {
    auto copy = boost::make_shared<Job>(job);
    if (newID)
        copy->id = UID(true);
    return copy;
}

} // namespace vorlan
