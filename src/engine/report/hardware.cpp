#include "engine/report/hardware.h"

#include <corekit/log.h>

#include <statgrab.h>

#include <algorithm>
#include <cmath>

namespace vorlan {

namespace {

int64_t ToMB(unsigned long long bytes) { return static_cast<int64_t>(bytes >> 20); }

} // namespace

HardwareSampler::HardwareSampler() : m_ready(sg_init(1) == SG_ERROR_NONE) {
    if (!m_ready)
        LogWarning("The figures of this machine's memory and processors cannot be measured.");
}

HardwareSampler::~HardwareSampler() {
    if (m_ready)
        sg_shutdown();
}

HardwareMsg HardwareSampler::Sample() {
    HardwareMsg figures;
    if (!m_ready)
        return figures;
    size_t entries = 0;
    if (sg_mem_stats const* const memory = sg_get_mem_stats(&entries)) {
        figures.totalPhysicalMB = ToMB(memory->total);
        figures.freePhysicalMB = ToMB(memory->free + memory->cache); // what is cached is given up on demand
    }
    figures.totalVirtualMB = figures.totalPhysicalMB;
    figures.freeVirtualMB = figures.freePhysicalMB;
    if (sg_swap_stats const* const swap = sg_get_swap_stats(&entries)) {
        figures.totalVirtualMB += ToMB(swap->total);
        figures.freeVirtualMB += ToMB(swap->free);
    }
    if (sg_cpu_percents const* const percents = sg_get_cpu_percents_of(sg_new_diff_cpu_percent, &entries)) {
        double const busy = 100.0 - percents->idle - percents->iowait;
        figures.cpuPercent = std::isfinite(busy) ? std::clamp(busy, 0.0, 100.0) : 0; // two calls at one moment
    }
    return figures;
}

} // namespace vorlan
