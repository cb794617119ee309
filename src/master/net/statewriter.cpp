#include "master/net/statewriter.h"

#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/sformat.h>
#include <corekit/uniquefd.h>

#include <cerrno>
#include <chrono>
#include <fcntl.h>

namespace farm {

using namespace corekit;

namespace {

constexpr size_t k_WriteBytes = 256 * 1024;
// It names paths and people: for the farm's own user alone.
constexpr mode_t k_FileMode = 0600;

void WriteAll(int fd, std::string const& text, Path const& path) {
    for (size_t done = 0; done < text.size();) {
        ssize_t const written = FileLayer::s_Layer->Write(fd, text.data() + done, text.size() - done);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            throw File::Failure("write", path, errno);
        done += static_cast<size_t>(written);
    }
}

} // namespace

StateWriter::StateWriter(Path file) : Thread("State writer"), m_file(std::move(file)) {}

StateWriter::~StateWriter() { Stop(); }

void StateWriter::Write(std::shared_ptr<StateSnapshot const> snapshot) {
    if (m_isWriting && IsRunning()) {
        LogWarning("The state of the farm is being written already.");
        return;
    }
    Join();
    m_isWriting = true;
    m_snapshot = std::move(snapshot);
    Start();
}

bool StateWriter::Execute() {
    auto const start = std::chrono::steady_clock::now();
    auto const snapshot = std::exchange(m_snapshot, nullptr);
    Path const unfinished(m_file + ".new");
    try {
        WriteFile(unfinished, *snapshot);
        if (IsStopping()) {
            File::Delete(unfinished);
            return false;
        }
        if (FileLayer::s_Layer->Rename(unfinished.c_str(), m_file.c_str()) != 0)
            throw File::Failure("replace", m_file, errno);
        m_isWriting = false;
        std::chrono::duration<double> const seconds = std::chrono::steady_clock::now() - start;
        LogSystem(SFormat("The state of the farm, %zu Jobs, was written to %s in %.1f seconds.", snapshot->JobCount(),
                          m_file.c_str(), seconds.count()));
    } catch (FileException const& error) {
        ::unlink(unfinished.c_str());
        m_isWriting = false;
        LogError("The state of the farm was not written. " + error.Message());
    }
    return false;
}

void StateWriter::WriteFile(Path const& path, StateSnapshot const& snapshot) const {
    UniqueFd const fd(FileLayer::s_Layer->Open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, k_FileMode));
    if (!fd)
        throw File::Failure("write", path, errno);
    std::string text;
    text.reserve(2 * k_WriteBytes);
    snapshot.Write([&](std::string_view line) {
        text.append(line).push_back('\n');
        if (text.size() >= k_WriteBytes) {
            WriteAll(fd.Get(), text, path);
            text.clear();
        }
        return !IsStopping();
    });
    WriteAll(fd.Get(), text, path);
}

} // namespace farm
