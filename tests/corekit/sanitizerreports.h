#pragma once

#include "test.h"

namespace corekit {

// Makes the test fail when a program that it starts has something to report to a
// sanitizer. While it lives, programs write their reports to files of its own: nobody
// reads their outputs, and a report may come from one that is killed a moment later.
// Owner: a fixture, beside the variables of the environment. Thread: the test's.
class SanitizerReports {
public:
    SanitizerReports() {
        for (char const* const name : {"TSAN_OPTIONS", "ASAN_OPTIONS", "UBSAN_OPTIONS"}) {
            char const* const given = std::getenv(name);
            std::string const options = given ? std::string(given) + ":" : std::string();
            std::string const prefix = (m_folder / "report").Str();
            m_options.push_back(std::make_unique<EnvironmentValue>(name, (options + "log_path=" + prefix).c_str()));
        }
    }
    ~SanitizerReports() {
        for (String const& name : m_folder.Names())
            ADD_FAILURE() << "a program of the test reports:\n" << File::Read(m_folder / name);
    }

private:
    TempFolder m_folder;
    std::vector<std::unique_ptr<EnvironmentValue>> m_options;
};

} // namespace corekit
