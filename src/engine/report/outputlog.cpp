#include "engine/report/outputlog.h"

#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/sformat.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace vorlan {

namespace {

constexpr char const* k_Extension = ".log";

} // namespace

void OutputLog::Append(std::string_view bytes) {
    m_kept |= !bytes.empty();
    Add(bytes);
}

void OutputLog::Add(std::string_view bytes) {
    if (m_full || bytes.empty())
        return;
    if (m_total + bytes.size() > m_limit) {
        m_full = true;
        m_atLineStart = true;
        m_waiting +=
            SFormat("\n[VorlanEngine: the output is longer than %zu MB; the rest is not kept.]\n", m_limit >> 20);
        return;
    }
    m_total += bytes.size();
    m_atLineStart = bytes.back() == '\n';
    m_waiting.append(bytes);
    if (m_waiting.size() >= k_FlushBytes)
        Flush();
}

void OutputLog::AppendLine(std::string_view text) {
    std::string line(m_atLineStart ? "" : "\n");
    line += text;
    line += '\n';
    if (!m_full)
        return Add(line);
    // How it ended is told also where the output itself has no room any more.
    if (m_ownPastLimit + line.size() <= k_OwnPastLimit) {
        m_ownPastLimit += line.size();
        m_waiting += line;
        m_atLineStart = true;
    }
}

void OutputLog::Flush() {
    if (m_waiting.empty() || !m_kept)
        return;
    if (m_lost > 0)
        m_waiting.insert(0, SFormat("\n[VorlanEngine: %zu bytes could not be written here.]\n", m_lost).Str());
    size_t const size = m_waiting.size();
    if (Write()) {
        m_lost = 0;
    } else {
        m_lost += size;
        m_onError(m_file, errno);
    }
    m_waiting.clear();
}

bool OutputLog::Write() {
    if (!m_fd)
        m_fd.Reset(
            FileLayer::s_Layer->Open(m_file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, corekit::k_LogMode));
    if (!m_fd)
        return false;
    for (size_t done = 0; done < m_waiting.size();) {
        ssize_t const count = FileLayer::s_Layer->Write(m_fd.Get(), m_waiting.data() + done, m_waiting.size() - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        done += static_cast<size_t>(count);
    }
    return true;
}

OutputFolder::OutputFolder(Path folder) : m_folder(std::move(folder)) {
    try {
        File::MakeFolder(m_folder);
    } catch (Exception const& error) {
        LogError(SFormat("%s. The output of work is not kept until then.", error.what()));
    }
}

std::unique_ptr<OutputLog> OutputFolder::Create(UID const& work) {
    return std::make_unique<OutputLog>(PathOf(work), [this](Path const& file, int systemError) {
        if (!std::exchange(m_failing, true)) {
            LogError(SFormat("Cannot write \"%s\": %s. The work goes on, its output is lost. Make room on that disk.",
                             file.c_str(), std::strerror(systemError)));
        }
    });
}

Path OutputFolder::PathOf(UID const& work) const { return m_folder / Path(work.ToString() + k_Extension); }

size_t OutputFolder::Cleanup(Time before) const {
    size_t deleted = 0;
    std::error_code error;
    for (std::filesystem::directory_iterator at(m_folder.Native(), error), end; !error && at != end;
         at.increment(error)) {
        Path const file(at->path());
        struct stat status {};
        UID work;
        if (file.Extension() != k_Extension || !UID::FromString(file.Stem(), work) ||
            stat(file.c_str(), &status) != 0) {
            continue;
        }
        int64_t const changedMs = int64_t{status.st_mtim.tv_sec} * 1000;
        if (Time::FromUnixMs(changedMs) < before && unlink(file.c_str()) == 0)
            ++deleted;
    }
    return deleted;
}

} // namespace vorlan
