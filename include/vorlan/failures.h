#pragma once

// The failure ledger that relates Jobs and Engines.

#include <corekit/time.h>
#include <corekit/uid.h>
#include <vorlan/field.h>
#include <vorlan/fwd.h>

#include <cstddef>
#include <map>
#include <tuple>
#include <vector>

namespace vorlan {

// How often units of Jobs failed on which Engine.
//
// Static: one ledger per process. Any thread; its own lock, LockRank::Failures, is
// held for table work only, and the counts of a Job or an Engine are kept ready: rows ask
// for them while they are painted. A reset count is not forgotten: it goes from the counts
// that still hold an Engine off a Job to those that are history.
class Failures {
public:
    // The units of one Job that failed on one Engine; also the record that travels.
    struct FailureItem {
        static constexpr char const* k_Name = "FailureItem";

        UID job;
        UID engine;
        UID product;
        unsigned count = 0; // since the last reset
        Time time;          // of the last failure
        unsigned total = 0; // resets included; at least count
        bool operator==(FailureItem const&) const = default;

        static constexpr auto Fields() {
            return std::tuple{Field{"Job", &FailureItem::job, "the Job"},
                              Field{"Engine", &FailureItem::engine, "the Engine"},
                              Field{"Product", &FailureItem::product, "the Product"},
                              Field{"Count", &FailureItem::count, "how many runs failed since the last reset"},
                              Field{"Time", &FailureItem::time, "when the last one did"},
                              Field{"Total", &FailureItem::total, "how many failed in all"}};
        }
    };

    // One failure of a work unit (or of a Job as a whole) on an Engine, now.
    static void Add(Job const& work, UID const& engine);
    static void Add(UID const& job, UID const& product, UID const& engine, Time const& time);

    // A Job's or an Engine's counts start anew.
    static void ResetJobFailures(UID const& job);
    static void ResetEngineFailures(UID const& engine);

    // The Job is gone. What counts against an Engine stays until it is reset there; the
    // rest is forgotten.
    static void RemoveJob(UID const& job);
    // Forgets an Engine, history included.
    static void RemoveEngine(UID const& engine);

    // Failures of a Job that count.
    static size_t JobFailureCount(UID const& job);
    // Failures that count, and those before the last reset.
    static void JobFailureCounts(UID const& job, size_t& current, size_t& reset);
    // What counts against an Engine: on how many Products, on how many Jobs, how often.
    static void EngineFailureCounts(UID const& engine, size_t& products, size_t& jobs, size_t& failures);
    static size_t CountOn(UID const& job, UID const& engine);
    static size_t ProductCountOn(UID const& product, UID const& engine);

    static void EnginesFailedOnJob(UID const& job, std::vector<UID>& engines);
    static void JobsFailedOnEngine(UID const& engine, std::vector<UID>& jobs);
    // By Product, then in the order of the Jobs' ids.
    static void AllEngineFailures(UID const& engine, std::map<UID, std::vector<FailureItem>>& products);

    // The whole ledger, as it travels.
    static std::vector<FailureItem> All();
    static void ReplaceAll(std::vector<FailureItem> const& items);
    static void Clear();
};

} // namespace vorlan
