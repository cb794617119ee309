#include "historysink.h"

#include <corekit/log.h>
#include <corekit/string.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <fcntl.h>
#include <spdlog/async.h>
#include <string>
#include <sys/stat.h>

namespace corekit {

namespace {

// What is started does not get it, and others may not read it.
spdlog::file_event_handlers OnOpened() {
    spdlog::file_event_handlers handlers;
    handlers.before_open = [](spdlog::filename_t const& name) {
        struct stat info {};
        // Opening it would wait for its other end.
        if (::stat(name.c_str(), &info) == 0 && S_ISFIFO(info.st_mode))
            throw spdlog::spdlog_ex(name + " is a pipe");
    };
    handlers.after_open = [](spdlog::filename_t const&, std::FILE* file) {
        ::fcntl(::fileno(file), F_SETFD, FD_CLOEXEC);
        ::fchmod(::fileno(file), k_LogMode);
    };
    return handlers;
}

} // namespace

HistorySink::HistorySink(Path const& file, size_t maxBytes, size_t keep)
    : m_file(file.Str(), maxBytes, keep, false, OnOpened()) {
    m_file.set_pattern("%Y-%m-%d %H:%M:%S.%e %t %v");
}

void HistorySink::sink_it_(spdlog::details::log_msg const& record) {
    try {
        if (m_lost)
            WriteLost(record);
        m_file.log(record);
        if (record.level >= spdlog::level::warn || (m_queue && m_queue->queue_size() == 0))
            m_file.flush();
    } catch (std::exception const&) {
        ++m_lost;
    }
}

void HistorySink::WriteLost(spdlog::details::log_msg const& record) {
    std::string text = "Warning  " + std::to_string(m_lost) + " records were lost: the log could not be written";
    m_file.log(spdlog::details::log_msg(record.time, {}, {}, record.level, text));
    m_file.flush();
    m_lost = 0;
}

void HistorySink::flush_() {
    try {
        m_file.flush();
    } catch (std::exception const&) {
        ++m_lost;
    }
    CommonMutex::Lock const lock(m_guard);
    ++m_served;
    m_flushed.notify_all();
}

uint64_t HistorySink::AskForFlush() {
    CommonMutex::Lock const lock(m_guard);
    return ++m_asked;
}

void HistorySink::WaitForFlush(uint64_t ticket, int timeoutMs) {
    CommonMutex::Lock lock(m_guard);
    bool served = m_flushed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                     [&]() CK_REQUIRES(m_guard) { return m_served >= ticket; });
    // A full queue may have dropped the flush: count it, or all later ones would wait.
    if (!served)
        m_served = std::max(m_served, ticket);
}

} // namespace corekit
