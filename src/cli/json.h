#pragma once

// The listings for machines. Their keys are fixed: scripts count on them. Times are
// UTC in ISO 8601, null where there is none; durations are seconds.

#include "cli/farmview.h"

#include <nlohmann/json_fwd.hpp>

namespace vorlan::cli {

using Json = nlohmann::ordered_json;

enum class JobDetail {
    Summary,
    Everything, // all values, active work, all runs of the history
};

Json JobToJson(Job const& job, FarmView const& view, JobDetail detail);
Json UnitToJson(FarmView::Unit const& unit, FarmView const& view);
Json RunToJson(WorkRun const& run, FarmView const& view);
Json EngineToJson(Engine const& engine, FarmView const& view);
Json PoolToJson(UID const& id, FarmView const& view);
Json ProductToJson(Product const& product);

// Indented, with a line feed at the end. Bytes that are no UTF-8 become U+FFFD.
String JsonText(Json const& json);

} // namespace vorlan::cli
