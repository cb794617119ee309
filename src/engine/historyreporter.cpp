#include "engine/historyreporter.h"

#include <corekit/log.h>
#include <corekit/sformat.h>
#include <vorlan/messages_engines.h>

#include <algorithm>

namespace vorlan {

void HistoryReporter::Note(String const& text) {
    LogInfo(text);
    if (!MaySend()) {
        ++m_leftOut;
        return;
    }
    EngineHistoryElement element{m_clock.Now(), text};
    if (size_t const leftOut = std::exchange(m_leftOut, 0); leftOut > 0)
        element.message += SFormat(" (before that %zu lines that only the Engine's own log has)", leftOut);
    if (m_sink) {
        Send(element);
        return;
    }
    m_waiting.push_back(std::move(element));
    if (m_waiting.size() > k_Kept)
        m_waiting.pop_front();
}

bool HistoryReporter::MaySend() {
    int64_t const now = m_clock.SteadyMs();
    double const gained = static_cast<double>(now - m_last) * k_LinesPerSecond / 1000.0;
    m_allowed = std::min<double>(k_Burst, m_allowed + gained);
    m_last = now;
    if (m_allowed < 1)
        return false;
    m_allowed -= 1;
    return true;
}

void HistoryReporter::SetSink(SinkPtr sink) {
    m_sink = std::move(sink);
    for (; m_sink && !m_waiting.empty(); m_waiting.pop_front())
        Send(m_waiting.front());
}

void HistoryReporter::Send(EngineHistoryElement const& element) {
    auto message = EngineHistoryElementMsg::New();
    message->engine = m_engine;
    message->element = element;
    m_sink->Send(message);
}

} // namespace vorlan
