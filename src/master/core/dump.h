#pragma once

// The whole state of the farm as text, for whoever looks for a fault.

#include "master/core/entries.h"
#include "master/core/farm.h"

#include <functional>
#include <map>
#include <string_view>
#include <vector>

namespace farm {

// The state of the farm at one moment.
//
// Made by the Core, shared by those who write it. Constant; any thread. Jobs, units and
// Engines are held by the pointers that the farm has itself, which point to what never
// changes: one with 100,000 Jobs is taken in some 20 milliseconds, whatever their
// values, and costs no memory for them.
class StateSnapshot {
public:
    explicit StateSnapshot(Farm const& farm);

    // Gives the state as lines of JSON, without their line feeds: first one of the kind
    // "Master", which counts the others. A line is at most a few times as long as the
    // values that it tells of. A password is told as "***". Stops when `take` gives false.
    void Write(std::function<bool(std::string_view line)> const& take) const;

    size_t JobCount() const { return m_jobs.size(); }

private:
    struct JobState {
        boost::shared_ptr<Job const> job;
        std::array<uint64_t, 6> frames{}; // as k_FrameNames in dump.cpp
        size_t activeWork = 0;
        size_t runs = 0; // that have ended
        unsigned failures = 0;
        bool waiting = false;
        bool deleting = false;
    };
    struct EngineState {
        boost::shared_ptr<Engine const> engine;
        std::vector<std::pair<UID, OptionMap>> products;
        unsigned cores = 0;
        unsigned used = 0;
        bool online = false;
    };
    struct WorkState {
        UID work;
        UID job; // null: only its Engine has it still
        UID engine;
        boost::shared_ptr<Job const> unit; // null as long as `job` is
        unsigned cores = 0;
        bool stopping = false;
        Time assigned;
        Time started;
    };

    Time m_now;
    CoreConfig m_config; // without its Products
    std::vector<std::pair<String, OptionMap>> m_sections;
    std::map<UID, int> m_limits;
    std::map<String, bool, String::ciless> m_restrictions;
    std::map<int, int> m_startup;
    std::vector<std::map<String, String>> m_translations;
    std::vector<std::pair<UID, String>> m_pools;
    std::vector<boost::shared_ptr<Product const>> m_products;
    EngineState m_defaultEngine;
    std::vector<EngineState> m_engines;
    std::vector<JobState> m_jobs;
    std::vector<WorkState> m_work;
    std::vector<FailureItem> m_failures;
};

} // namespace farm
