#pragma once

// The writer of "History.log", behind the log's queue.

#include <corekit/commonmutex.h>
#include <corekit/path.h>

#include <cstdint>
#include <spdlog/details/null_mutex.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>

namespace spdlog::details {
class thread_pool;
}

namespace corekit {

// HistorySink writes records to a file that is rotated by size.
// Owner: the log's spdlog logger. Thread: the log's writer thread alone, except
// AskForFlush and WaitForFlush.
// Always: a record that cannot be written is counted, and the count is written
// as a record once writing works again. Nothing is thrown.
class HistorySink : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
public:
    // Throws spdlog_ex when the file cannot be opened.
    HistorySink(Path const& file, size_t maxBytes, size_t keep);

    // The queue that feeds this sink: with nothing queued each record is flushed,
    // under load they are flushed together.
    // It outlives the writer thread.
    void SetQueue(spdlog::details::thread_pool* queue) { m_queue = queue; }

    // A number for a flush that the caller puts into the queue right after.
    uint64_t AskForFlush();
    // Waits until that flush has been served, or the time is over.
    void WaitForFlush(uint64_t ticket, int timeoutMs);

protected:
    void sink_it_(spdlog::details::log_msg const& record) override;
    void flush_() override;

private:
    void WriteLost(spdlog::details::log_msg const& record);

    // Writer thread only.
    spdlog::sinks::rotating_file_sink_st m_file;
    spdlog::details::thread_pool* m_queue = nullptr;
    uint64_t m_lost = 0;

    CommonMutex m_guard;
    CommonCondition m_flushed;
    uint64_t m_asked CK_GUARDED_BY(m_guard) = 0;
    uint64_t m_served CK_GUARDED_BY(m_guard) = 0;
};

} // namespace corekit
