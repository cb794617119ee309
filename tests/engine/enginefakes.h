#pragma once

// Stand-ins for what the Engine works with.

#include "test.h"

#include "engine/engineclock.h"
#include "engine/report/messagesink.h"
#include "engine/runner/runner.h"
#include "engine/workdesk.h"

#include <vorlan/messages.h>

namespace vorlan {

struct FakeClock final : EngineClock {
    Time Now() const override { return Time::FromUnixMs(1'700'000'000'000 + ms); }
    int64_t SteadyMs() const override { return ms; }
    int64_t ms = 1'000'000;
};

// Keeps what was sent.
struct FakeSink final : MessageSink {
    void Send(boost::shared_ptr<Message const> const& message) override { sent.push_back(message); }
    size_t QueuedBytes() const override { return queued; }

    // All of one kind.
    template <class T>
    std::vector<T> Of() const {
        std::vector<T> found;
        for (auto const& message : sent) {
            if (message->Type() == T::s_Type)
                found.push_back(static_cast<T const&>(*message));
        }
        return found;
    }

    std::vector<boost::shared_ptr<Message const>> sent;
    size_t queued = 0;
};

// Runs nothing: the test says what the processes do.
struct FakeRunner final : Runner {
    void Start(RunSpec const& spec) override { started.push_back(spec); }
    void Stop(UID const& work, int) override { stopped.push_back(work); }

    std::vector<RunSpec> started;
    std::vector<UID> stopped;
};

} // namespace vorlan
