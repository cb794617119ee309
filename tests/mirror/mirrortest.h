// What the tests of the mirror share: a Mirror that hears the messages, an outside that
// only takes notes, and the Jobs, Engines and units to feed it with.
#pragma once

#include "corekit/tempfolder.h"
#include "fakeoutside.h"
#include "mirror/mirror.h"
#include "mirror/options.h"
#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/worklist.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>
#include <memory>
#include <vorlan/messages.h>
#include <vorlan/version.h>
#include <vorlan/vorlanapp.h>

#include <algorithm>

namespace vorlan {

// MirrorTester reaches what the Mirror keeps to itself.
class MirrorTester {
public:
    // As it was before it heard of anything.
    static void Forget(Mirror& mirror) {
        mirror.SetCommandLine(nullptr);
        mirror.ForgetMasterDefaultStartup();
        mirror.m_master.Clear();
        CommonMutex::Lock const lock(mirror.m_poolMutex);
        mirror.m_pools.clear();
    }
};

// Records of the log that hold the text.
inline size_t CountLines(corekit::LogLines& log, char const* part) {
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

// The mirror of a program in its first start: no options, empty lists.
class MirrorTest : public ::testing::Test {
protected:
    MirrorTest() {
        Outside::Set(&outside);
        Options().Clear();
        Options().SetSection(String());
        mirror.ConnectMessages();
    }
    ~MirrorTest() override {
        EngineList::Get().Clear();
        JobList::Get().Clear();
        WorkList::Get().Clear();
        Outside::Set(nullptr);
    }

    OptionsFile& Options() { return VorlanApp::GetOptions(); }
    // Not the first run of the program on this machine.
    void HasRunBefore() { Options().SetValue(k_Configuration, k_OptionVersion, k_VorlanVersion); }
    int Option(char const* key, int missing = -99) { return Options().GetValue("Configuration", key, missing); }

    static boost::shared_ptr<Job> NewJob(char const* name, int status = Queued) {
        auto job = boost::make_shared<Job>(UID::FromName(name));
        job->SetName(name);
        job->SetStatus(status);
        return job;
    }
    static boost::shared_ptr<Job> Unit(char const* name, boost::shared_ptr<Job> const& parent, int status = Assigned) {
        auto unit = NewJob(name, status);
        unit->parentID = parent->id;
        return unit;
    }
    static UID AddEngine(char const* name, bool enabled = true, bool online = true) {
        Engine engine(UID::FromName(name));
        engine.SetName(name);
        engine.SetEnabled(enabled);
        engine.SetOnline(online);
        EngineList::Get().InsertEngine(engine);
        return engine.id;
    }
    static void Assign(boost::shared_ptr<Job> const& unit, UID const& engine) {
        auto message = AssignedWorkMsg::New();
        message->work = unit;
        message->engine = engine;
        AssignedWorkMsg::s_Signal.Emit(message);
    }
    static void Finish(UID const& unit, int status) {
        auto message = FinishedWorkMsg::New();
        message->work = unit;
        message->status = status;
        FinishedWorkMsg::s_Signal.Emit(message);
    }
    static void Element(String const& unit, UID const& job, int status = Started, Time time = Time(1'000'000),
                        String const& subRange = "7") {
        auto message = WorkHistoryElementMsg::New();
        message->element.status = status;
        message->element.time = time;
        message->element.subRange = subRange;
        message->element.work = UID::FromName(unit.c_str());
        message->element.job = job;
        message->element.engine = UID::FromName("engine");
        WorkHistoryElementMsg::s_Signal.Emit(message);
    }

    FakeOutside outside;
    Mirror mirror;
};

} // namespace vorlan
