#include "engine/report/resultjournal.h"

#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/sformat.h>
#include <vorlan/status.h>

#include <fcntl.h>
#include <unistd.h>

#include <charconv>
#include <cstring>
#include <vector>

namespace vorlan {

namespace {

constexpr char k_Separator = '\t';
// Losing a shorter run in a power cut costs less than waiting for the disk.
constexpr Time k_WorthSync = Time::Seconds(1);
constexpr char const* k_CutOffNote = "VorlanEngine ended while this ran";

uint32_t Checksum(std::string_view text) {
    uint32_t sum = 2166136261U;
    for (char const c : text)
        sum = (sum ^ static_cast<uint8_t>(c)) * 16777619U;
    return sum;
}

void AppendEscaped(std::string_view text, std::string& out) {
    for (char const c : text) {
        switch (c) {
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case k_Separator:
            out += "\\t";
            break;
        default:
            out += c;
        }
    }
}

String Unescaped(std::string_view text) {
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            plain += text[i];
            continue;
        }
        char const next = text[++i];
        plain += next == 'n' ? '\n' : next == 't' ? k_Separator : next;
    }
    return String(plain);
}

std::vector<std::string_view> Split(std::string_view line) {
    std::vector<std::string_view> fields;
    for (size_t from = 0; from <= line.size();) {
        size_t const end = std::min(line.find(k_Separator, from), line.size());
        fields.push_back(line.substr(from, end - from));
        from = end + 1;
    }
    return fields;
}

template <class T>
bool ReadNumber(std::string_view text, T& number, int base = 10) {
    auto const parsed = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return parsed.ec == std::errc() && parsed.ptr == text.data() + text.size();
}

// What a field of an owed command is, by its first letter.
constexpr char k_Argument = 'a';
constexpr char k_Variable = 'e';
constexpr char k_Folder = 'f';
constexpr char k_OwnFolder = 'o'; // one that is made when it is not there
constexpr char k_User = 'u';

template <class Add>
void AddOwed(OwedCommand const& command, Add const& add) {
    auto const addPart = [&](char kind, std::string_view text) { add(std::string(1, kind).append(text)); };
    add(command.job.ToString());
    add(command.label);
    addPart(command.spec.ownFolder ? k_OwnFolder : k_Folder, command.spec.folder.Text());
    addPart(k_User, command.spec.user);
    for (String const& argument : command.spec.arguments)
        addPart(k_Argument, argument);
    for (auto const& [name, value] : command.spec.environment)
        addPart(k_Variable, name + "=" + value);
}

bool ReadOwed(std::vector<std::string_view> const& fields, OwedCommand& command) {
    if (fields.size() < 4 || !UID::FromString(fields[2], command.job))
        return false;
    command.label = Unescaped(fields[3]);
    for (size_t i = 4; i < fields.size(); ++i) {
        String const text = Unescaped(fields[i].substr(std::min<size_t>(1, fields[i].size())));
        char const kind = fields[i].empty() ? '\0' : fields[i][0];
        command.spec.ownFolder |= kind == k_OwnFolder;
        if (kind == k_Folder || kind == k_OwnFolder)
            command.spec.folder = Path(text);
        else if (kind == k_User)
            command.spec.user = text;
        else if (kind == k_Argument)
            command.spec.arguments.push_back(text);
        else if (kind == k_Variable)
            command.spec.environment[text.LeftFirst("=")] = text.RightFirst("=");
    }
    return !command.spec.arguments.empty();
}

} // namespace

std::string JournalLine(JournalRecord const& record) {
    std::string line(1, static_cast<char>(record.kind));
    auto const add = [&line](std::string_view field) {
        line += k_Separator;
        AppendEscaped(field, line);
    };
    bool const owed = record.kind == JournalRecord::Kind::Owed;
    add((owed ? record.owed.spec.work : record.ended.work).ToString());
    if (owed) {
        AddOwed(record.owed, add);
    } else if (record.kind != JournalRecord::Kind::Done) {
        add(record.ended.job.ToString());
        add(String::From(record.ended.time.Milliseconds()));
    }
    if (record.kind == JournalRecord::Kind::Ended) {
        add(String::From(record.ended.status));
        add(String::From(record.ended.exitCode));
        add(record.ended.note);
        add(String::From(record.ended.ranMs));
    }
    add(SFormat("%08x", Checksum(line)));
    line += '\n';
    return line;
}

std::optional<JournalRecord> ReadJournalLine(std::string_view line) {
    size_t const last = line.rfind(k_Separator);
    uint32_t sum = 0;
    if (last == std::string_view::npos || !ReadNumber(line.substr(last + 1), sum, 16) ||
        sum != Checksum(line.substr(0, last))) {
        return std::nullopt;
    }
    auto const fields = Split(line.substr(0, last));
    JournalRecord record;
    record.kind = fields[0].size() == 1 ? static_cast<JournalRecord::Kind>(fields[0][0]) : JournalRecord::Kind{};
    bool const begun = record.kind == JournalRecord::Kind::Begun && fields.size() == 4;
    bool const ended = record.kind == JournalRecord::Kind::Ended && (fields.size() == 7 || fields.size() == 8);
    bool const done = record.kind == JournalRecord::Kind::Done && fields.size() == 2;
    bool const owed = record.kind == JournalRecord::Kind::Owed;
    if (!(begun || ended || done || owed) || !UID::FromString(fields[1], record.ended.work))
        return std::nullopt;
    if (owed) {
        record.owed.spec.work = record.ended.work;
        return ReadOwed(fields, record.owed) ? std::optional(record) : std::nullopt;
    }
    if (!done) {
        int64_t ms = 0;
        if (!UID::FromString(fields[2], record.ended.job) || !ReadNumber(fields[3], ms))
            return std::nullopt;
        record.ended.time = Time(ms);
    }
    if (ended) {
        if (!ReadNumber(fields[4], record.ended.status) || !ReadNumber(fields[5], record.ended.exitCode))
            return std::nullopt;
        record.ended.note = Unescaped(fields[6]);
        // Lines of old end here.
        if (fields.size() == 8 && !ReadNumber(fields[7], record.ended.ranMs))
            return std::nullopt;
    }
    return record;
}

ResultJournal::ResultJournal(Path file, Time now) : m_file(std::move(file)) {
    Load(now);
    Compact();
}

void ResultJournal::Load(Time now) {
    if (!m_file.Exists())
        return;
    String text;
    try {
        text = File::Read(m_file);
    } catch (Exception const& error) {
        LogError(SFormat("%s. Results of an earlier run of VorlanEngine may be lost.", error.what()));
        return;
    }
    size_t damaged = 0;
    std::string_view const all(text);
    for (size_t from = 0; from < all.size();) {
        size_t const end = std::min(all.find('\n', from), all.size());
        auto const record = ReadJournalLine(all.substr(from, end - from));
        from = end + 1;
        if (!record) {
            ++damaged;
            continue;
        }
        UID const& work = record->ended.work;
        m_begun.erase(work);
        m_ended.erase(work);
        m_owed.erase(work);
        if (record->kind == JournalRecord::Kind::Owed)
            m_owed[work] = record->owed;
        else if (record->kind == JournalRecord::Kind::Begun)
            m_begun[work] = *record;
        else if (record->kind == JournalRecord::Kind::Ended)
            m_ended[work] = record->ended;
    }
    if (damaged > 0)
        LogWarning(SFormat("Passed over %zu damaged lines of \"%s\".", damaged, m_file.c_str()));
    m_cutOff = m_begun.size();
    for (auto& [work, record] : m_begun) {
        record.ended.status = Lost;
        record.ended.note = k_CutOffNote;
        record.ended.time = now;
        m_ended[work] = record.ended;
    }
    m_begun.clear();
}

void ResultJournal::Add(JournalRecord const& record) { m_waiting += JournalLine(record); }

void ResultJournal::Begun(RunState const& run) {
    JournalRecord record;
    record.ended.work = run.work;
    record.ended.job = run.job;
    record.ended.time = run.started;
    m_begun[run.work] = record;
    Add(record);
}

void ResultJournal::Ended(WorkEnded const& ended, Time worth) {
    JournalRecord const record{JournalRecord::Kind::Ended, ended, {}};
    m_begun.erase(ended.work);
    m_ended[ended.work] = ended;
    m_wantSync = m_wantSync || worth >= k_WorthSync;
    Add(record);
}

void ResultJournal::Acknowledged(UID const& work) {
    if (m_ended.erase(work) > 0)
        AddDone(work);
}

void ResultJournal::AddDone(UID const& id) {
    JournalRecord record;
    record.kind = JournalRecord::Kind::Done;
    record.ended.work = id;
    Add(record);
}

void ResultJournal::Owe(OwedCommand const& command) {
    JournalRecord record;
    record.kind = JournalRecord::Kind::Owed;
    record.owed = command;
    m_owed[command.spec.work] = command;
    Add(record);
}

void ResultJournal::Settled(UID const& command) {
    if (m_owed.erase(command) > 0)
        AddDone(command);
}

WorkEnded const* ResultJournal::FindPending(UID const& work) const {
    auto const found = m_ended.find(work);
    return found == m_ended.end() ? nullptr : &found->second;
}

void ResultJournal::Flush() {
    if (m_waiting.empty())
        return;
    if (m_written + m_waiting.size() > k_CompactBytes + 2 * m_compacted) {
        Compact();
        return;
    }
    if ((!m_fd && !Open()) || !Write())
        return;
    if (std::exchange(m_wantSync, false))
        FileLayer::s_Layer->Sync(m_fd.Get());
    m_failing = false;
}

bool ResultJournal::Open() {
    m_fd.Reset(FileLayer::s_Layer->Open(m_file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600));
    if (!m_fd) {
        Fail("open", errno);
        return false;
    }
    m_written = static_cast<size_t>(std::max<int64_t>(File::Size(m_file), 0));
    return true;
}

// What could not be written stays in m_waiting. A piece of a line that did reach the
// disk is damaged for the reader, and the next try begins on a new line.
bool ResultJournal::Write() {
    size_t done = 0;
    while (done < m_waiting.size()) {
        ssize_t const count = FileLayer::s_Layer->Write(m_fd.Get(), m_waiting.data() + done, m_waiting.size() - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0) {
            int const error = errno;
            size_t const whole = done == 0 ? 0 : m_waiting.rfind('\n', done - 1) + 1;
            bool const torn = whole != done;
            m_waiting.erase(0, whole);
            if (torn)
                m_waiting.insert(0, 1, '\n');
            m_written += done;
            Fail("write", error);
            return false;
        }
        done += static_cast<size_t>(count);
    }
    m_written += done;
    m_waiting.clear();
    return true;
}

// Writes the file anew with what still counts.
void ResultJournal::Compact() {
    std::string text;
    for (auto const& [work, record] : m_begun)
        text += JournalLine(record);
    for (auto const& [work, ended] : m_ended)
        text += JournalLine({JournalRecord::Kind::Ended, ended, {}});
    for (auto const& [id, command] : m_owed)
        text += JournalLine({JournalRecord::Kind::Owed, {}, command});
    try {
        m_fd.Reset();
        File::WriteWhole(m_file, text, 0600);
        m_written = m_compacted = text.size();
        m_waiting.clear();
        m_wantSync = false;
        m_failing = false;
    } catch (FileException const& error) {
        Fail("rewrite", error.SystemError());
    }
}

void ResultJournal::Fail(char const* action, int systemError) {
    if (!std::exchange(m_failing, true)) {
        LogError(SFormat("Cannot %s \"%s\": %s. Until that is mended, results are lost if VorlanEngine is killed "
                         "before the Master has them.",
                         action, m_file.c_str(), std::strerror(systemError)));
    }
}

} // namespace vorlan
