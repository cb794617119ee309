#pragma once

// The listings for machines. Their fields are tables: what is printed and what docs/json.md
// promises are made of the same rows. Times are UTC in ISO 8601, null where there is none;
// durations are seconds.

#include "cli/farmview.h"

#include <nlohmann/json_fwd.hpp>

#include <utility>
#include <vector>

namespace vorlan::cli {

using Json = nlohmann::ordered_json;

enum class JobDetail {
    Summary,
    Ended,      // and the frames that failed, of a Job whose history is loaded
    Everything, // all values, active work, all runs of the history
};

Json JobToJson(Job const& job, FarmView const& view, JobDetail detail);
Json UnitToJson(FarmView::Unit const& unit, FarmView const& view);
Json RunToJson(WorkRun const& run, FarmView const& view);
Json EngineToJson(Engine const& engine, FarmView const& view);
Json PoolToJson(UID const& id, FarmView const& view);
Json ProductToJson(Product const& product);

// The output of one run.
struct RunOutput {
    WorkRun run;
    String text;
    String error;
};
Json OutputToJson(RunOutput const& output, FarmView const& view);
// A line that a run has just written; in one line itself.
struct OutputLine {
    UID id;
    String frames;
    String line;
};
String OutputLineToJson(OutputLine const& line);

// Why something gets work or does not.
struct WhyReport {
    UID id;
    String kind; // "Job" or "Engine"
    String name;
    String text;
};
Json ReportToJson(WhyReport const& report);

struct KeyFacts {
    String key;
    String fingerprint;
    bool joined = false;
};
Json KeyToJson(KeyFacts const& facts);

// Indented, with a line feed at the end. Bytes that are no UTF-8 become U+FFFD.
String JsonText(Json const& json);

// All of it, for the page that promises it.
struct JsonTable {
    String title;
    String about;
    std::vector<std::pair<String, String>> fields; // name and meaning
};
std::vector<JsonTable> DescribeJson();

} // namespace vorlan::cli
