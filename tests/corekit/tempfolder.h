#pragma once

#include <corekit/file.h>
#include <corekit/log.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace corekit {

// A folder of one test, deleted with all that is in it.
class TempFolder {
public:
    TempFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "corekit-test-XXXXXX").native();
        if (!mkdtemp(name.data()))
            throw std::runtime_error("no temporary folder");
        m_path = Path(name);
    }
    ~TempFolder() {
        std::error_code error;
        std::filesystem::remove_all(m_path.Native(), error);
    }
    Path operator/(Path const& leaf) const { return m_path / leaf; }
    Path const& Folder() const { return m_path; }
    std::vector<String> Names() const {
        std::vector<String> names;
        for (auto const& entry : std::filesystem::directory_iterator(m_path.Native()))
            names.push_back(entry.path().filename().native());
        return names;
    }

private:
    Path m_path;
};

// Stands between the tests and the disk: counts what is written and makes one
// kind of call fail from now on. Puts the former layer back when it dies.
class FaultyLayer : public FileLayer {
public:
    enum class Fault { None, Open, FullDisk, Sync, Close, Rename };

    FaultyLayer() : m_former(std::exchange(s_Layer, this)) {}
    ~FaultyLayer() override { s_Layer = m_former; }

    int Open(char const* path, int flags, mode_t mode) override {
        return Fails(Fault::Open, EACCES) ? -1 : FileLayer::Open(path, flags, mode);
    }
    // A full disk still takes a part of the bytes, as a real one does.
    ssize_t Write(int fd, void const* data, size_t bytes) override {
        if (fault == Fault::FullDisk && roomBytes < bytes) {
            bytes = std::exchange(roomBytes, 0);
            if (bytes == 0) {
                errno = ENOSPC;
                return -1;
            }
        } else if (fault == Fault::FullDisk) {
            roomBytes -= bytes;
        }
        return FileLayer::Write(fd, data, bytes);
    }
    int Sync(int fd) override { return Fails(Fault::Sync, EIO) ? -1 : FileLayer::Sync(fd); }
    int Close(int fd) override {
        int const result = FileLayer::Close(fd);
        return Fails(Fault::Close, EDQUOT) ? -1 : result;
    }
    int Rename(char const* from, char const* to) override {
        if (Fails(Fault::Rename, EACCES))
            return -1;
        ++renames;
        return FileLayer::Rename(from, to);
    }

    Fault fault = Fault::None;
    size_t roomBytes = 0;
    std::atomic<int> renames{0};

private:
    bool Fails(Fault which, int systemError) {
        if (fault != which)
            return false;
        errno = systemError;
        return true;
    }

    FileLayer* const m_former;
};

// The log lines from a level up, while it lives.
class LogLines {
public:
    explicit LogLines(LogLevel from = LogLevel::Warning)
        : m_handle(Log::AddSink([this, from](LogLevel level, String const& text) {
              std::lock_guard const lock(m_mutex);
              if (level >= from)
                  m_lines.push_back(text);
          })) {}
    std::vector<String> Get() {
        std::lock_guard const lock(m_mutex);
        return m_lines;
    }
    bool Has(std::string_view part) {
        std::vector<String> const lines = Get();
        return std::any_of(lines.begin(), lines.end(), [&](String const& line) { return line.Contains(part); });
    }

private:
    std::mutex m_mutex;
    std::vector<String> m_lines;
    Log::SinkHandle m_handle;
};

// Sets a variable of the environment, and puts the former value back.
class EnvironmentValue {
public:
    EnvironmentValue(char const* name, char const* value) : m_name(name) {
        if (char const* former = std::getenv(name)) {
            m_former = former;
            m_wasSet = true;
        }
        value ? setenv(name, value, 1) : unsetenv(name);
    }
    ~EnvironmentValue() { m_wasSet ? setenv(m_name, m_former.c_str(), 1) : unsetenv(m_name); }
    EnvironmentValue(EnvironmentValue const&) = delete;
    EnvironmentValue& operator=(EnvironmentValue const&) = delete;

private:
    char const* const m_name;
    std::string m_former;
    bool m_wasSet = false;
};

} // namespace corekit
