#pragma once

#include <unistd.h>
#include <utility>

namespace corekit {

// UniqueFd owns a file descriptor and closes it at the end.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : m_fd(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : m_fd(other.Release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    ~UniqueFd() { Reset(); }

    int Get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }
    // Gives the descriptor away.
    int Release() { return std::exchange(m_fd, -1); }
    void Reset(int fd = -1) {
        int old = std::exchange(m_fd, fd);
        if (old >= 0 && old != fd)
            ::close(old);
    }

private:
    int m_fd = -1;
};

} // namespace corekit
