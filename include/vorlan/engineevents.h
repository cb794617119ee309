#pragma once

// What happens to Engines and Pools inside a program.

#include <vorlan/engine.h>
#include <vorlan/event.h>

namespace vorlan {

// Base of the events about one Engine; a copy of it.
template <class T>
struct EngineEventOf : EventOf<T> {
    EngineEventOf() = default;
    explicit EngineEventOf(Engine const& subject) : engine(subject) {}
    Engine engine;
};

struct EngineConnectedEvt : EngineEventOf<EngineConnectedEvt> {
    using EngineEventOf::EngineEventOf;
};
struct EngineUpdatedEvt : EngineEventOf<EngineUpdatedEvt> {
    using EngineEventOf::EngineEventOf;
};
struct EngineRemovedEvt : EngineEventOf<EngineRemovedEvt> {
    using EngineEventOf::EngineEventOf;
};

struct EngineDefaultChangedEvt : EventOf<EngineDefaultChangedEvt> {};

// A Pool is new or has another name.
struct ChangePoolEvt : EventOf<ChangePoolEvt> {
    ChangePoolEvt() = default;
    ChangePoolEvt(UID const& poolID, String poolName) : pool(poolID), name(std::move(poolName)) {}
    UID pool;
    String name;
};

struct DeletePoolEvt : EventOf<DeletePoolEvt> {
    DeletePoolEvt() = default;
    DeletePoolEvt(UID const& poolID, String poolName, bool wasKnown = true)
        : pool(poolID), name(std::move(poolName)), known(wasKnown) {}
    UID pool;
    String name;
    bool known = true; // the Pool was in the table of this program
};

} // namespace vorlan
