#pragma once

#include "enginecolumns.h"
#include "jobcolumns.h"
#include "model/listlist.h"
#include "rowset.h"
#include "workcolumns.h"

#include <vector>

namespace vorlan {

// The kinds of lists, for RowSet and the list controls: where the objects come from, what
// their columns are.

struct JobRows {
    using Info = JobInfo;
    // Gets all objects in pieces, by their maps' numbers and in each by their ids.
    using Visitor = std::function<void(std::vector<ListedObject<Info>> const&)>;
    // An object counts its changes.
    static constexpr bool k_CountsChanges = true;

    static void Visit(Visitor const& visitor);
    // The same number as before: no object has come, gone or moved. 0: nobody counts.
    static uint64_t Moves();
    static uint32_t Changes(Info const& info) { return info.changes.load(std::memory_order_acquire); }
    // The object with the values; null: it is no row.
    static VorlanObject const* Values(Info const& info) { return info.job.get(); }
    static boost::shared_ptr<Info> FindObject(UID const& id);
    static size_t Count();
    // All objects are on their way.
    static bool IsLoading();

    static RowColumn<Info> const* Find(int type) { return JobColumns::Find(type); }
    static std::span<int const> Defaults() { return JobColumns::Defaults(); }
    static RowColor Color(Info const& info, Time) { return JobColumns::Color(info); }
    static bool IsTinted(Info const& info) { return JobColumns::IsTinted(info); }
};

struct EngineRows {
    using Info = EngineInfo;
    using Visitor = std::function<void(std::vector<ListedObject<Info>> const&)>;
    static constexpr bool k_CountsChanges = false;

    static void Visit(Visitor const& visitor);
    static uint64_t Moves() { return 0; }
    static uint32_t Changes(Info const&) { return 0; }
    static VorlanObject const* Values(Info const& info) { return &info; }
    static boost::shared_ptr<Info> FindObject(UID const& id);
    static size_t Count();
    static bool IsLoading();

    static RowColumn<Info> const* Find(int type) { return EngineColumns::Find(type); }
    static std::span<int const> Defaults() { return EngineColumns::Defaults(); }
    static RowColor Color(Info const& info, Time now) { return EngineColumns::Color(info, now); }
    static bool IsTinted(Info const& info) { return EngineColumns::IsTinted(info); }
};

struct WorkRows {
    using Info = WorkInfo;
    using Visitor = std::function<void(std::vector<ListedObject<Info>> const&)>;
    static constexpr bool k_CountsChanges = false;

    static void Visit(Visitor const& visitor);
    static uint64_t Moves() { return 0; }
    static uint32_t Changes(Info const&) { return 0; }
    static VorlanObject const* Values(Info const& info) { return info.work.get(); }
    static boost::shared_ptr<Info> FindObject(UID const& id);
    static size_t Count();
    static bool IsLoading();

    static RowColumn<Info> const* Find(int type) { return WorkColumns::Find(type); }
    static std::span<int const> Defaults() { return WorkColumns::Defaults(); }
    static RowColor Color(Info const&, Time) { return RowColor::Base; }
    static bool IsTinted(Info const&) { return false; }
};

// Counts what changes the texts of many rows at once: the names of Pools and Products.
// Lists are told, too. Any thread.
uint32_t CountNameChanges();

extern template class RowSet<JobRows>;
extern template class RowSet<EngineRows>;
extern template class RowSet<WorkRows>;

} // namespace vorlan
