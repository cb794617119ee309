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
#include <cmath>
#include <limits>

namespace vorlan {

namespace {

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

std::set<UID> UIDSet(String const& text) {
    std::vector<UID> const ids = StringToUIDs(text);
    return {ids.begin(), ids.end()};
}

// What counts for a value that the Job has not got.
String DefaultOf(Job const& job, KnownValue value, Product const* product) {
    shared_ptr<Product const> const known = product ? nullptr : ProductOf(job);
    Product const* const used = product ? product : known.get();
    String const* const text = used ? used->DefaultOf(value) : nullptr;
    return text && !text->Empty() ? *text : String(value.Info().fallback);
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

bool Job::FollowsParent(String const& name, Product const* product) {
    if (ValueInfo const* const info = FindValue(name); info && info->Has(v_UnitsOwn))
        return false;
    auto const parameter = product ? product->GetParam(name) : nullptr;
    return !parameter || !parameter->HasFlag(Parameter::f_NoParentUpdate);
}

void Job::UpdateFromParent(Job const& parent) {
    auto const theirs = parent.Snapshot();
    shared_ptr<Product const> const product = ProductOf(parent);
    Change([&](boost::shared_ptr<ValueBlock const> const& mine) {
        ValueBlockBuilder builder;
        builder.AddAll(*mine);
        for (ValueBlock::Value const value : *theirs) {
            if (FollowsParent(String(value.Name()), product.get()))
                builder.Add(value.number, value.text);
        }
        return builder.Build();
    });
}

// -------------------------------------------------------------- typed values

int Job::Status() const { return ToInt(IntOf(Known(p_Status))); }
void Job::SetStatus(int status) { Set(p_Status, String::From(status)); }

String Job::StatusAsString() const { return StatusName(Status()); }
bool Job::IsStarted() const { return Status() == Started; }
bool Job::IsPaused() const { return IsHeldStatus(Status()); }
bool Job::IsFinished() const { return IsFinishedStatus(Status()); }
bool Job::IsFailed() const { return IsFailedStatus(Status()); }
bool Job::IsCanceled() const { return IsCanceledStatus(Status()); }

UID Job::Type() const { return UIDOf(Known(p_Type)); }

String Job::TypeString() const {
    shared_ptr<Product const> const product = ProductOf(*this);
    return product ? product->Name() : Type().ToString();
}

String Job::Creator() const { return TextOf(Known(p_Creator)); }
void Job::SetCreator(String const& creator) { Set(p_Creator, creator); }
Time Job::Created() const { return Time(IntOf(Known(p_Created))); }
void Job::SetCreated(Time const& time) { Set(p_Created, String::From(time.Milliseconds())); }
Time Job::FinishedTime() const { return Time(IntOf(Known(p_FinishedTime))); }
void Job::SetFinishedTime(Time const& time) { Set(p_FinishedTime, String::From(time.Milliseconds())); }

float Job::PercentDone() const {
    double const percent = FloatOf(Known(p_PercentDone).number, 0);
    return percent > 0 ? static_cast<float>(std::min(percent, 100.0)) : 0.0F;
}

int64_t Job::WholeOf(KnownValue value, Product const* product) const {
    constexpr int64_t k_None = std::numeric_limits<int64_t>::min();
    int64_t const own = IntOf(value.number, k_None);
    return own != k_None ? own : DefaultOf(*this, value, product).Int(value.fallback);
}

double Job::RealOf(KnownValue value, Product const* product) const {
    double const own = FloatOf(value.number, std::numeric_limits<double>::quiet_NaN());
    return std::isfinite(own) ? own : DefaultOf(*this, value, product).Float(static_cast<double>(value.fallback));
}

bool Job::TruthOf(KnownValue value, Product const* product) const {
    bool const own = BoolOf(value.number, false);
    return own == BoolOf(value.number, true) ? own : DefaultOf(*this, value, product).Bool(value.fallback != 0);
}

String Job::StringOf(KnownValue value, Product const* product) const {
    String const own = TextOf(value);
    return own.Empty() ? DefaultOf(*this, value, product) : own;
}

UID Job::Pool(Product const* product) const {
    UID pool;
    return UID::FromString(StringOf(Known(p_Pool), product), pool) ? pool : UID::Null;
}

String Job::Range(Product const* product) const { return StringOf(Known(p_Range), product); }
int Job::Priority(Product const* product) const { return ToInt(WholeOf(Known(p_Priority), product)); }
int Job::PriorityBoost(Product const* product) const { return ToInt(WholeOf(Known(p_PriorityBoost), product)); }
int Job::CPUs(Product const* product) const { return ToInt(WholeOf(Known(p_CPUs), product)); }
int Job::RAM(Product const* product) const { return ToInt(WholeOf(Known(p_RAM), product)); }
int Job::FailureLimit(Product const* product) const { return ToInt(WholeOf(Known(p_FailureLimit), product)); }
int Job::UsageLimit(Product const* product) const { return ToInt(WholeOf(Known(p_UsageLimit), product)); }
int Job::StaggerMode(Product const* product) const { return ToInt(WholeOf(Known(p_StaggerMode), product)); }
int Job::PacketSize(Product const* product) const { return std::max(1, ToInt(WholeOf(Known(p_PacketSize), product))); }
int Job::FinishDisposition(Product const* product) const { return ToInt(WholeOf(Known(p_FinishDisposition), product)); }
unsigned Job::StaggerCount(Product const* product) const { return ToUnsigned(WholeOf(Known(p_StaggerCount), product)); }
float Job::StaggerStart(Product const* product) const {
    return static_cast<float>(RealOf(Known(p_StaggerStart), product));
}
float Job::OvertimeKill(Product const* product) const {
    return static_cast<float>(RealOf(Known(p_OvertimeKill), product));
}

std::set<UID> Job::IncludeEngines(Product const* product) const {
    return UIDSet(StringOf(Known(p_IncludeEngines), product));
}

std::set<UID> Job::ExcludeEngines(Product const* product) const {
    return UIDSet(StringOf(Known(p_ExcludeEngines), product));
}

std::map<UID, Job::DependencyType> Job::GetDependencies(Product const* product) const {
    std::map<UID, DependencyType> dependencies;
    std::vector<UID> const jobs = StringToUIDs(StringOf(Known(p_WaitForJobID), product));
    if (jobs.empty())
        return dependencies;
    DependencyType const type =
        TruthOf(Known(p_WaitForWholeJob), product) ? DependencyType::WholeJob : DependencyType::Frame;
    for (UID const& job : jobs)
        dependencies[job] = type;
    return dependencies;
}

bool Job::WaitsForAnyEnd(Product const* product) const { return TruthOf(Known(p_WaitForAnyEnd), product); }

String Job::Standstill() const { return Get(p_Standstill, false); }

// ---------------------------------------------------------------------- text

String Job::GetParameterString(String const& name) const {
    String value;
    // A summary with a template is always made anew: a stored one may tell of an older range.
    if (Derive(name, value) || GetParameter(name, value))
        return value;
    return DefaultText(name, ProductOf(*this).get());
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

String Job::DefaultText(String const& name, Product const* product) {
    auto const parameter = product ? product->GetParam(name) : nullptr;
    String const text = parameter ? parameter->GetDefault() : String();
    if (!text.Empty())
        return text;
    ValueInfo const* const info = FindValue(name);
    return info && info->Has(v_OfJob) ? info->fallback : "";
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
