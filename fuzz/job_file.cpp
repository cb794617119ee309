// The text of Job files.

#include <vorlan/job.h>
#include <vorlan/jobfile.h>

#include <corekit/exception.h>

#include <cstdint>
#include <cstdlib>

using namespace vorlan;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    std::vector<boost::shared_ptr<Job>> jobs;
    try {
        jobs = JobFile::FromText(String(reinterpret_cast<char const*>(data), size));
    } catch (Exception const&) {
        return 0;
    }
    // What was read is written so that it reads back.
    auto const again = JobFile::FromText(JobFile::ToText(jobs));
    if (again.size() != jobs.size())
        std::abort();
    for (size_t i = 0; i < jobs.size(); ++i) {
        if (again[i]->Values() != jobs[i]->Values())
            std::abort();
    }
    return 0;
}
