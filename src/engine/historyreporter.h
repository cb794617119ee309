#pragma once

// The Engine's own history: lines for the Master and for the log.

#include "engine/engineclock.h"
#include "engine/report/messagesink.h"

#include <corekit/uid.h>
#include <vorlan/enginehistory.h>

#include <deque>

namespace vorlan {

// Writes each line into the log and sends it to the Master, a few a second: a burst of
// short units would fill the history with what nobody reads. Lines that were left out
// are counted in the next one that goes. Without a Master the last lines wait.
//
// Owned by the WorkDesk; its thread.
class HistoryReporter {
public:
    static constexpr int k_LinesPerSecond = 10;
    static constexpr int k_Burst = 30;
    static constexpr size_t k_Kept = 200;

    HistoryReporter(UID const& engine, EngineClock const& clock) : m_engine(engine), m_clock(clock) {}

    void Note(String const& text);
    // The Master is there, or with null it is not.
    void SetSink(SinkPtr sink);

private:
    bool MaySend();
    void Send(EngineHistoryElement const& element);

    UID const m_engine;
    EngineClock const& m_clock;
    SinkPtr m_sink;
    std::deque<EngineHistoryElement> m_waiting;
    double m_allowed = k_Burst;
    int64_t m_last = 0;
    size_t m_leftOut = 0;
};

} // namespace vorlan
