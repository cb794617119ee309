#include <corekit/log.h>

#include "historysink.h"

#include <corekit/commonmutex.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <spdlog/async.h>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace corekit {

struct Log::SinkHandle::Entry {
    RecursiveMutex guard;           // held through a call; a sink may log
    Sink sink CK_GUARDED_BY(guard); // empty once ended
};

namespace {

constexpr size_t k_QueueSize = 4096;
constexpr size_t k_MaxText = 64 * 1024;
constexpr int k_FlushWaitMs = 2000;

// One open file and the thread that writes it.
struct LogFile {
    Path name;
    std::shared_ptr<HistorySink> sink;
    std::shared_ptr<spdlog::async_logger> logger;
    std::shared_ptr<spdlog::details::thread_pool> queue; // last, so that its thread ends first
};

struct LogState {
    std::atomic<LogLevel> level{LogLevel::Info};
    std::atomic<bool> console{false};
    std::atomic<bool> hasSinks{false};

    CommonMutex lifecycle; // one Open or Close at a time; taken before guard

    CommonMutex guard;
    std::shared_ptr<LogFile> file CK_GUARDED_BY(guard);
    std::vector<std::shared_ptr<Log::SinkHandle::Entry>> sinks CK_GUARDED_BY(guard);
};

// Never destroyed: statics log while they die.
LogState& State() {
    static LogState* s_state = new LogState;
    return *s_state;
}

std::shared_ptr<LogFile> CurrentFile() {
    CommonMutex::Lock const lock(State().guard);
    return State().file;
}

void AppendHex(std::string& out, unsigned char c) {
    static constexpr char k_Digits[] = "0123456789abcdef";
    out += "\\x";
    out += k_Digits[c >> 4];
    out += k_Digits[c & 15];
}

// The level and the text as one record: continuation lines are indented, and
// control characters, which could drive a terminal, are spelt out.
std::string RecordText(LogLevel level, std::string_view text) {
    std::string out = LogLevelName(level);
    out.resize(9, ' ');
    size_t cut = text.size();
    while (cut > 0 && (text[cut - 1] == '\n' || text[cut - 1] == '\r'))
        --cut;
    bool tooLong = cut > k_MaxText;
    out.reserve(out.size() + std::min(cut, k_MaxText) + 32);
    for (char c : text.substr(0, std::min(cut, k_MaxText))) {
        auto byte = static_cast<unsigned char>(c);
        if (c == '\n')
            out += "\n    ";
        else if ((byte < 0x20 && c != '\t' && c != '\r') || byte == 0x7f)
            AppendHex(out, byte);
        else if (c != '\r')
            out += c;
    }
    if (tooLong)
        out += "\n    (" + std::to_string(cut - k_MaxText) + " more bytes)";
    return out;
}

spdlog::level::level_enum SpdLevel(LogLevel level) {
    if (level == LogLevel::Error)
        return spdlog::level::err;
    return level == LogLevel::Warning ? spdlog::level::warn : spdlog::level::info;
}

void WriteToConsole(std::string text) {
    text += '\n';
    // One call, so that records of several threads don't mix. A console that
    // takes no text is nobody's concern.
    [[maybe_unused]] ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
}

void WriteToSinks(LogLevel level, String const& text) {
    std::vector<std::shared_ptr<Log::SinkHandle::Entry>> sinks;
    {
        CommonMutex::Lock const lock(State().guard);
        sinks = State().sinks;
    }
    for (auto const& entry : sinks) {
        RecursiveMutex::Lock const lock(entry->guard);
        if (!entry->sink)
            continue;
        try {
            entry->sink(level, text);
        } catch (...) {
            // Logging must not fail, and this cannot be logged.
        }
    }
}

std::shared_ptr<LogFile> OpenFile(Path const& name, Log::Limits const& limits) {
    auto file = std::make_shared<LogFile>();
    file->name = name;
    file->sink = std::make_shared<HistorySink>(name, std::max<size_t>(limits.maxBytes, 1024), limits.keep);
    file->queue = std::make_shared<spdlog::details::thread_pool>(k_QueueSize, 1);
    file->sink->SetQueue(file->queue.get());
    // A full queue drops its oldest records: the program never waits for the disk.
    file->logger = std::make_shared<spdlog::async_logger>("History", file->sink, file->queue,
                                                          spdlog::async_overflow_policy::overrun_oldest);
    file->logger->set_level(spdlog::level::trace);
    file->logger->set_error_handler([](std::string const&) {});
    return file;
}

void FlushFile(LogFile& file) {
    uint64_t ticket = file.sink->AskForFlush();
    auto logger = file.logger;
    file.queue->post_flush(std::move(logger), spdlog::async_overflow_policy::block);
    file.sink->WaitForFlush(ticket, k_FlushWaitMs);
}

} // namespace

char const* LogLevelName(LogLevel level) {
    static constexpr std::array<char const*, 6> k_Names = {"Debug", "Info", "Status", "System", "Warning", "Error"};
    auto index = static_cast<size_t>(level);
    return index < k_Names.size() ? k_Names[index] : "unknown";
}

void LogDebug(String const& text) { Log::Write(LogLevel::Debug, text); }
void LogInfo(String const& text) { Log::Write(LogLevel::Info, text); }
void LogStatus(String const& text) { Log::Write(LogLevel::Status, text); }
void LogSystem(String const& text) { Log::Write(LogLevel::System, text); }
void LogWarning(String const& text) { Log::Write(LogLevel::Warning, text); }
void LogError(String const& text) { Log::Write(LogLevel::Error, text); }

bool Log::IsWanted(LogLevel level) {
    LogState const& state = State();
    return level >= state.level.load(std::memory_order_relaxed) || state.hasSinks;
}

void Log::Write(LogLevel level, String const& text) {
    LogState& state = State();
    if (state.hasSinks)
        WriteToSinks(level, text);
    if (level < state.level)
        return;
    try {
        auto file = CurrentFile();
        bool toConsole = state.console || (!file && level >= LogLevel::Warning);
        if (!file && !toConsole)
            return;
        std::string record = RecordText(level, text);
        if (file)
            file->logger->log(SpdLevel(level), spdlog::string_view_t(record.data(), record.size()));
        if (toConsole)
            WriteToConsole(std::move(record));
    } catch (...) {
        // Out of memory, or a logger that fails: the program goes on without it.
    }
}

bool Log::Open(Path const& folder, String const& program) { return Open(folder, program, Limits()); }

bool Log::Open(Path const& folder, String const& program, Limits const& limits) {
    Close();
    std::shared_ptr<LogFile> file;
    {
        CommonMutex::Lock const lifecycle(State().lifecycle);
        try {
            file = OpenFile(folder / Path("History.log"), limits);
        } catch (std::exception const& error) {
            LogError("Cannot write the log in \"" + folder + "\": " + error.what() +
                     ". Make room there or change the rights of the folder; nothing is logged meanwhile");
            return false;
        }
        CommonMutex::Lock const lock(State().guard);
        State().file = file;
    }
    LogSystem("----- " + program + " started, process " + String::From(::getpid()) + " -----");
    return true;
}

void Log::Close() {
    CommonMutex::Lock const lifecycle(State().lifecycle);
    std::shared_ptr<LogFile> file;
    {
        CommonMutex::Lock const lock(State().guard);
        file.swap(State().file);
    }
    if (!file)
        return;
    // Records that other threads log at this moment keep the file alive until
    // they are queued; the last one out writes what is pending.
    size_t lost = file->queue->overrun_counter();
    if (lost > 0)
        file->logger->warn("Warning  {} records were lost: they came faster than they could be written", lost);
    FlushFile(*file);
}

void Log::Flush() {
    if (auto file = CurrentFile())
        FlushFile(*file);
}

Path Log::FileName() {
    auto file = CurrentFile();
    return file ? file->name : Path();
}

bool Log::IsConsole() { return State().console; }
void Log::SetConsole(bool on) { State().console = on; }
void Log::SetLevel(LogLevel level) { State().level = level; }
LogLevel Log::GetLevel() { return State().level; }

Log::SinkHandle Log::AddSink(Sink sink) {
    auto entry = std::make_shared<SinkHandle::Entry>();
    {
        RecursiveMutex::Lock const lock(entry->guard);
        entry->sink = std::move(sink);
    }
    CommonMutex::Lock const lock(State().guard);
    State().sinks.push_back(entry);
    State().hasSinks = true;
    return SinkHandle(std::move(entry));
}

Log::SinkHandle::SinkHandle(std::shared_ptr<Entry> entry) : m_entry(std::move(entry)) {}

Log::SinkHandle& Log::SinkHandle::operator=(SinkHandle&& other) noexcept {
    std::swap(m_entry, other.m_entry);
    return *this;
}

Log::SinkHandle::~SinkHandle() {
    if (!m_entry)
        return;
    {
        CommonMutex::Lock const lock(State().guard);
        std::erase_if(State().sinks, [&](auto const& sink) { return sink == m_entry; });
        State().hasSinks = !State().sinks.empty();
    }
    RecursiveMutex::Lock const lock(m_entry->guard);
    m_entry->sink = nullptr;
}

} // namespace corekit
