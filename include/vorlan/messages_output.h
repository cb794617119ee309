#pragma once

#include <corekit/string.h>
#include <tuple>
#include <vorlan/message.h>

namespace vorlan {

// Output of runs and hardware figures, asked of an Engine by way of the Master or
// on its own port.

struct GetOutputMsg : MessageOf<GetOutputMsg> {
    static constexpr char const* k_Name = "GetOutputMsg";
    static constexpr char const* k_About = "To an Engine: send the output of a run.";

    UID request;
    UID work;
    UID engine;
    int64_t offset = 0;
    bool follow = false;

    static constexpr auto Fields() {
        return std::tuple{Field{"Request", &GetOutputMsg::request, "a fresh id that the answers carry"},
                          Field{"Work", &GetOutputMsg::work, "the run"},
                          Field{"Engine", &GetOutputMsg::engine, "where it ran"},
                          Field{"Offset", &GetOutputMsg::offset, "the first byte that is wanted"},
                          Field{"Follow", &GetOutputMsg::follow, "go on with what is written from now on"}};
    }
};

struct OutputDataMsg : MessageOf<OutputDataMsg> {
    static constexpr char const* k_Name = "OutputDataMsg";
    static constexpr char const* k_About = "From an Engine: a piece of the output of a run.";

    UID request;
    int64_t offset = 0;
    String data;
    bool end = false;
    String error;

    static constexpr auto Fields() {
        return std::tuple{Field{"Request", &OutputDataMsg::request, "the id of the request"},
                          Field{"Offset", &OutputDataMsg::offset, "where the piece stands"},
                          Field{"Data", &OutputDataMsg::data, "its bytes"},
                          Field{"End", &OutputDataMsg::end, "nothing more will come"},
                          Field{"Error", &OutputDataMsg::error, "text for people: why there is no output"}};
    }
};

struct CloseOutputMsg : MessageOf<CloseOutputMsg> {
    static constexpr char const* k_Name = "CloseOutputMsg";
    static constexpr char const* k_About = "To an Engine: the output is no longer wanted.";

    UID request;

    static constexpr auto Fields() {
        return std::tuple{Field{"Request", &CloseOutputMsg::request, "the id of the request"}};
    }
};

struct GetHardwareMsg : MessageOf<GetHardwareMsg> {
    static constexpr char const* k_Name = "GetHardwareMsg";
    static constexpr char const* k_About = "To an Engine: send hardware figures from now on.";

    static constexpr auto Fields() { return std::tuple<>{}; }
};

struct HardwareMsg : MessageOf<HardwareMsg> {
    static constexpr char const* k_Name = "HardwareMsg";
    static constexpr char const* k_About = "From an Engine, once a second: hardware figures.";

    int64_t totalPhysicalMB = 0;
    int64_t freePhysicalMB = 0;
    int64_t totalVirtualMB = 0;
    int64_t freeVirtualMB = 0;
    double cpuPercent = 0;

    static constexpr auto Fields() {
        return std::tuple{Field{"TotalPhysicalMB", &HardwareMsg::totalPhysicalMB, "memory"},
                          Field{"FreePhysicalMB", &HardwareMsg::freePhysicalMB, "free memory"},
                          Field{"TotalVirtualMB", &HardwareMsg::totalVirtualMB, "memory with swap space"},
                          Field{"FreeVirtualMB", &HardwareMsg::freeVirtualMB, "of that, free"},
                          Field{"CpuPercent", &HardwareMsg::cpuPercent, "how busy the processors are"}};
    }
};

} // namespace vorlan
