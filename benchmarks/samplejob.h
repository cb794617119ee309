#pragma once

#include <boost/make_shared.hpp>
#include <corekit/sformat.h>
#include <vorlan/job.h>
#include <vorlan/keys.h>
#include <vorlan/valueblock.h>

#include <string>
#include <utility>
#include <vector>

namespace bench {

// A Job as people submit it: 40 parameters, 1.34 KB of names and values.
//
// `number` makes one Job differ from the next where real ones do: id, name, times,
// frames and paths.
inline std::vector<std::pair<std::string, std::string>> SampleValues(unsigned number) {
    using corekit::SFormat;
    using namespace vorlan;
    std::string const shot = SFormat("sq%03u_sh%04u", number % 400, number % 9973).Str();
    std::vector<std::pair<std::string, std::string>> values = {
        {p_Name, "Lighting " + shot + " v" + std::to_string(number % 90 + 10)},
        {p_Note, "Beauty, crypto and shadow passes for the review on Thursday"},
        {p_Type, "df6e29ba-ccac-4414-9cf9-a2a92aaa50f9"},
        {p_Status, "0"},
        {p_Created, std::to_string(63'900'000'000'000LL + number * 1000LL)},
        {p_Creator, "artist" + std::to_string(number % 120)},
        {p_Range, "1-" + std::to_string(100 + number % 300)},
        {p_PacketSize, "4"},
        {p_Priority, std::to_string(number % 100)},
        {p_PriorityBoost, "2"},
        {p_CPUs, "8"},
        {p_RAM, "16384"},
        {p_Pool, "0e7bb2b2-7f4e-4f0b-9a4e-0b7d6b0d91c" + std::to_string(number % 10)},
        {p_UsageLimit, "0"},
        {p_FailureLimit, "3"},
        {p_OvertimeKill, "15"},
        {p_StaggerCount, "0"},
        {p_StaggerMode, "0"},
        {p_StaggerStart, "0"},
        {p_FinishDisposition, "-1"},
        {p_PercentDone, "12.5"},
        {p_JobSummary, shot + ".pov, 1920 x 1080, frames 1-" + std::to_string(100 + number % 300)},
    };
    std::string const folder = "/projects/northlight/sequences/" + shot.substr(0, 5) + "/" + shot + "/lighting/";
    char const* const names[] = {"SceneFile",   "OutputFolder", "OutputName", "Format",   "Width",        "Height",
                                 "Quality",     "Antialias",    "ClockStart", "ClockEnd", "LibraryPaths", "Declare",
                                 "WorkThreads", "Options",      "Alpha",      "Viewer",   "Comment",      "Department"};
    for (char const* name : names) {
        std::string const key = name;
        std::string value = "1";
        if (key == "SceneFile" || key == "OutputFolder")
            value = folder + (key == "SceneFile" ? "scenes/" + shot + "_beauty.pov" : "images/v012");
        else if (key == "LibraryPaths")
            value = "/projects/northlight/library/textures;/projects/northlight/library/includes;" + folder + "maps";
        else if (key == "Comment")
            value = std::string(380, 'c') + std::to_string(number);
        else if (key == "Options")
            value = "\"+J\" = \"-J\"; \"+BS\" = \"32\"; \"File_Gamma=\" = \"2.2\"; \"+C\" = \"1\"";
        values.emplace_back(key, std::move(value));
    }
    return values;
}

inline boost::shared_ptr<vorlan::Job> SampleJob(unsigned number) {
    auto job = boost::make_shared<vorlan::Job>(corekit::UID(true));
    vorlan::ValueBlockBuilder builder;
    auto const values = SampleValues(number);
    for (auto const& [name, value] : values)
        builder.Add(name, value);
    job->SetSnapshot(builder.Build());
    return job;
}

} // namespace bench
