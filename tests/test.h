#pragma once

// What every test reads: the test library, tables of cases, folders that go with the test,
// and the headers that most of them need. It is precompiled.

#include "corekit/tempfolder.h"
#include "rows.h"
#include "testpaths.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <numeric>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/path.h>
#include <corekit/platform.h>
#include <corekit/process.h>
#include <corekit/sformat.h>
#include <corekit/string.h>
#include <corekit/time.h>
#include <corekit/uid.h>

// Whether the long runs are asked for: VORLAN_SOAK=full.
inline bool IsFullSoak() {
    char const* const soak = std::getenv("VORLAN_SOAK");
    return soak && corekit::String(soak).CompareNoCase("full") == 0;
}

// Looks again and again until the condition holds; false when the time is over.
inline bool WaitFor(std::function<bool()> const& condition, int timeoutMs = 20'000, int everyMs = 1) {
    auto const until = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(everyMs));
    }
    return true;
}
