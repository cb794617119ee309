#pragma once

#include <corekit/rwlock.h>
#include <vorlan/engine.h>
#include <vorlan/enginehistory.h>

#include <map>

namespace vorlan {

// EngineInfo is an Engine with the client's extras: its log and its options for each
// Product. They survive a new copy of the Engine.
// Owner: the EngineList, and whoever holds the shared pointer. Thread: any.
class EngineInfo : public Engine {
public:
    explicit EngineInfo(UID const& engineID = UID::Null) : Engine(engineID) {}

    mutable RWLock lock{LockRank::JobInfo};
    EngineHistory history CK_GUARDED_BY(lock);
    std::map<UID, OptionMap> options CK_GUARDED_BY(lock);

    // Units that run here; negative: so many, and the Engine is disabled.
    int Status() const;
    // "2 Workers", "Disabled: 1 Worker", "Offline".
    String StatusString() const;
    // "2 cores:  -MTWTF-  09:00 - 18:00"; empty when there is no restriction.
    String Restrictions() const;
    // "3 Failures (2 Jobs 1 Product)".
    String DisplayFailures() const;
};

// The texts by themselves. `status` is as of EngineInfo::Status; `now` decides whether a
// restriction applies.
String EngineStatusTextOf(Engine const& engine, int status, Time now);
String EngineFailuresText(size_t products, size_t jobs, size_t failures);

} // namespace vorlan
