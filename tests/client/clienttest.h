#pragma once

// What the tests of the mirror share: a FarmClient that hears the messages, an outside that
// only takes notes, and the Jobs, Engines and units to feed it with.

#include "domain.h"

#include "client/farmclient.h"
#include "client/options.h"
#include "fakeoutside.h"
#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/pooltable.h"
#include "model/worklist.h"

#include <vorlan/vorlanapp.h>

namespace vorlan {

using corekit::LogLevel;
using corekit::LogLines;

// Makes it what it was before it heard of anything.
inline void Forget(FarmClient& client) {
    client.SetCommandLine(nullptr);
    client.ForgetMasterDefaultStartup();
    client.Master().Clear();
    PoolTable::Get().Clear();
    JobList::Get().Lists().ForgetRequests();
    EngineList::Get().Lists().ForgetRequests();
}

// Records of the log that hold the text.
inline size_t CountLines(LogLines& log, char const* part) {
    auto const lines = log.Get();
    return static_cast<size_t>(
        std::count_if(lines.begin(), lines.end(), [part](String const& line) { return line.Contains(part); }));
}

// A control without rows.
struct View : ListView {
    void OnListCleared() override { ++cleared; }
    bool HasSelection() const override { return selected; }
    int cleared = 0;
    bool selected = false;
};

// A display that counts its updates; Base is a watcher.
template <class Base>
struct Counting : Base {
    using Base::Base;
    void Update() override { ++updates; }
    int updates = 0;
};

// Lets everybody hear what the Master says.
template <class M>
void Say(boost::shared_ptr<M> const& message) {
    M::s_Signal.Emit(message);
}
// One of that kind with these first fields, or as a function fills it.
template <class M, class... Values>
void Say(Values const&... values) {
    auto message = M::New();
    if constexpr ((std::is_invocable_v<Values const&, M&> && ...))
        (values(*message), ...);
    else
        message = M::Create(values...);
    Say(message);
}

// A client in the state of a first start: no options, empty lists.
class FarmTest : public ::testing::Test {
protected:
    FarmTest() {
        Outside::Set(&outside);
        Options().Clear();
        Options().SetSection(String());
        ClearLists();
    }
    ~FarmTest() override {
        ClearLists();
        Outside::Set(nullptr);
    }

    OptionsFile& Options() { return VorlanApp::GetOptions(); }
    // Not the first run of the program on this machine.
    void HasRunBefore() { k_OptionVersion.Set(k_VorlanVersion); }
    int Option(char const* key, int missing = -99) { return Options().GetValue("Configuration", key, missing); }

    static boost::shared_ptr<Job> NewJob(char const* name, int status = Queued) {
        auto job = boost::make_shared<Job>(UID::FromName(name));
        job->SetName(name);
        job->SetStatus(status);
        return job;
    }
    // One that is in the list.
    static boost::shared_ptr<JobInfo> AddJob(char const* name, int status = Queued) {
        JobList::Get().InsertJob(NewJob(name, status));
        return Jobs::FindJobInfo(UID::FromName(name));
    }
    static UID AddEngine(char const* name, bool enabled = true, bool online = true) {
        Engine engine(UID::FromName(name));
        engine.SetName(name);
        engine.SetEnabled(enabled);
        engine.SetOnline(online);
        EngineList::Get().InsertEngine(engine);
        return engine.id;
    }
    static boost::shared_ptr<Job> Unit(char const* name, UID const& parent) {
        auto unit = NewJob(name, Assigned);
        unit->parentID = parent;
        return unit;
    }
    static void Assign(boost::shared_ptr<Job> const& unit, UID const& engine) { Say<AssignedWorkMsg>(unit, engine); }

    FakeOutside outside;

private:
    static void ClearLists() {
        EngineList::Get().Clear();
        JobList::Get().Clear();
        WorkList::Get().Clear();
        Failures::Clear();
    }
};

// The mirror of a program in its first start.
class MirrorTest : public FarmTest {
protected:
    MirrorTest() { mirror.ConnectMessages(); }

    static void Finish(UID const& unit, int status) { Say<FinishedWorkMsg>(unit, status); }
    static void Value(UID const& job, char const* name, String const& value) { Say<JobParameterMsg>(job, name, value); }
    static void RemoveEngine(UID const& engine) { Say<RemoveEngineMsg>(engine); }
    static void DeleteJob(UID const& job) { Say<DeleteJobMsg>(job); }
    static WorkHistoryElement NewElement(String const& unit, UID const& job, int status = Started,
                                         Time time = Time(1'000'000), String const& subRange = "7") {
        return {status, time, "", subRange, UID::FromName(unit.c_str()), job, UID::FromName("engine")};
    }
    template <class... Args>
    static void Element(Args const&... args) {
        Say<WorkHistoryElementMsg>(NewElement(args...));
    }

    FarmClient mirror;
};

} // namespace vorlan
