#pragma once

// Memory and processor figures of this machine.

#include <vorlan/messages_output.h>

namespace vorlan {

// Measures this machine. One per program; all calls on one thread.
class HardwareSampler {
public:
    HardwareSampler();
    ~HardwareSampler();
    HardwareSampler(HardwareSampler const&) = delete;
    HardwareSampler& operator=(HardwareSampler const&) = delete;

    // The figures of now; the processor's use is that since the last call. What
    // cannot be measured is 0.
    HardwareMsg Sample();

private:
    bool m_ready = false;
};

} // namespace vorlan
