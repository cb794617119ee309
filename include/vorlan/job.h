#pragma once

// A Job, or a work unit of one.

#include <boost/shared_ptr.hpp>
#include <corekit/time.h>
#include <vorlan/status.h>
#include <vorlan/vorlanobject.h>

#include <map>
#include <set>

namespace vorlan {

// Something to do for the farm, as named values.
//
// Shared by boost::shared_ptr between lists, messages and windows. A work unit is a
// Job whose parentID is its Job's id. Any thread, as VorlanObject says; both public
// ids are constant once the Job is shared. What the Master and the Engines give (status,
// type, creator and times) is read as it stands. Every other reader follows one rule: the
// Job's own value, else the default of its Product, else that of the table in values.h.
// `product`: the Job's Product where the caller holds it; null: as this program knows it.
class Job : public VorlanObject {
public:
    UID parentID;

    enum class DependencyType {
        WholeJob, // waits for the end of the other Job
        Frame,    // each frame waits for the same frame of the other Job
    };

    Job() = default;
    explicit Job(UID const& jobID) : VorlanObject(jobID) {}
    Job(Job const& other) = default;
    Job& operator=(Job const& other) = delete;

    void Clone(VorlanObject const& other) override;
    String Get(String const& name, bool useDefault) const override;
    bool Set(String const& name, String const& value) override;
    void Send(OutStream& stream) const override;
    void Read(InStream& stream) override;

    // Runs a Command of the Product by name, on this machine and without waiting
    // for it. `item` is the entry chosen from the Command's own list. False, with a line in the log, if there is none
    // or it cannot start.
    virtual bool RunCommand(String const& name, String const& item = String()) const;

    virtual bool IsActiveStatus(int status) const;
    virtual bool IsFinishedStatus(int status) const;
    virtual bool IsFailedStatus(int status) const;
    virtual bool IsCanceledStatus(int status) const;
    virtual bool IsHeldStatus(int status) const;
    virtual String StatusName(int status) const;

    // Whether the Job has a value of that name; `out` is it, or empty.
    virtual bool GetParameter(String const& name, String& out) const;

    // True when the stored value changed.
    virtual bool SetParameter(String const& name, String const& value);

    // Takes over the values of a newer copy. `keepMissing`: values that the copy has
    // not got stay, otherwise they go.
    virtual void UpdateFrom(Job const& other, bool keepMissing);

    // A work unit takes over all values of its Job that are not its own: name,
    // sub-range, status, progress and times stay.
    virtual void UpdateFromParent(Job const& parent);

    int Status() const;
    void SetStatus(int status);
    String StatusAsString() const;
    bool IsStarted() const;
    bool IsPaused() const;
    bool IsFinished() const;
    bool IsFailed() const;
    bool IsCanceled() const;

    // The Product.
    UID Type() const;
    // The Product's name; its UID as text if nobody knows it here.
    String TypeString() const;
    // Null: the whole system.
    UID Pool(Product const* product = nullptr) const;

    String Creator() const;
    void SetCreator(String const& creator);
    Time Created() const;
    void SetCreated(Time const& time);
    Time FinishedTime() const;
    void SetFinishedTime(Time const& time);

    // The frames; empty where the Product has none.
    String Range(Product const* product = nullptr) const;
    int Priority(Product const* product = nullptr) const;
    // Packets that go before all other Jobs; 0 as the farm says, negative none.
    int PriorityBoost(Product const* product = nullptr) const;
    int CPUs(Product const* product = nullptr) const;
    // MB that a unit needs; 0: unknown.
    int RAM(Product const* product = nullptr) const;
    // Tries that a unit may fail before it has failed for good; 0: no limit.
    int FailureLimit(Product const* product = nullptr) const;
    // Positive: units at a time. Negative: Engines at a time. 0: no limit.
    int UsageLimit(Product const* product = nullptr) const;
    // -1 the Master decides, 0 keep, 1 delete at once.
    int FinishDisposition(Product const* product = nullptr) const;
    // 0 units, 1 units on an Engine, 2 Engines.
    int StaggerMode(Product const* product = nullptr) const;
    unsigned StaggerCount(Product const* product = nullptr) const;
    // Seconds.
    float StaggerStart(Product const* product = nullptr) const;
    // Times the average finish time that a unit may take; 0: for ever.
    float OvertimeKill(Product const* product = nullptr) const;
    // 0 to 100.
    float PercentDone() const;
    // Consecutive frames that make a unit, at least 1.
    int PacketSize(Product const* product = nullptr) const;

    // Engines and Pools alike.
    std::set<UID> IncludeEngines(Product const* product = nullptr) const;
    std::set<UID> ExcludeEngines(Product const* product = nullptr) const;
    std::map<UID, DependencyType> GetDependencies(Product const* product = nullptr) const;

    // The Jobs that it waits for need to end only, however that is.
    bool WaitsForAnyEnd(Product const* product = nullptr) const;

    // Why nothing of it can run until somebody changes something; empty as long as it can.
    String Standstill() const;

    // What is derived from other values (RangeCount, JobSummary with a template); else the
    // stored value; else the default of the Product or the table; else empty.
    String GetParameterString(String const& name) const;

    // What counts for a value that no Job has: the Product's default, else the table's.
    static String DefaultText(String const& name, Product const* product);
    // A change of the Job's value is one of its work units' as well. The product may be null.
    static bool FollowsParent(String const& name, Product const* product);

    // `format` with each `$(Name)` replaced by GetParameterString.
    String FormatStringWithParameters(String const& format) const;

protected:
    bool IsOwnField(String const& name) const override;

private:
    // The text, `withoutName` standing for nothing in it.
    String Expand(String const& format, char const* withoutName) const;
    bool Derive(String const& name, String& out) const;
    // The readers' one rule, by kind.
    int64_t WholeOf(KnownValue value, Product const* product) const;
    double RealOf(KnownValue value, Product const* product) const;
    bool TruthOf(KnownValue value, Product const* product) const;
    String StringOf(KnownValue value, Product const* product) const;
};

// A copy with all values. `newID`: it is another Job, with a fresh id.
boost::shared_ptr<Job> SDuplicateJob(Job const& job, bool newID);

} // namespace vorlan
