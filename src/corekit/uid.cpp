#include <corekit/uid.h>

#include <atomic>
#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/uuid.hpp>
#include <cerrno>
#include <ostream>
#include <pthread.h>
#include <random>
#include <sys/random.h>

namespace corekit {

namespace {

// Counts forks: a child must not hand out the bytes that its parent has fetched.
std::atomic<unsigned> s_forks{0};

// Random bytes of the system, fetched a block at a time for one thread.
class RandomBlock {
public:
    void TakeRandomBytes(uint8_t* to) {
        unsigned const forks = s_forks.load(std::memory_order_relaxed);
        if (m_used == m_bytes.size() || m_forks != forks) {
            Fetch();
            m_forks = forks;
        }
        std::memcpy(to, m_bytes.data() + m_used, UID::k_Size);
        m_used += UID::k_Size;
    }

private:
    void Fetch() {
        static int const atFork = pthread_atfork(nullptr, nullptr, [] { ++s_forks; });
        static_cast<void>(atFork);
        size_t have = 0;
        while (have < m_bytes.size()) {
            ssize_t const got = getrandom(m_bytes.data() + have, m_bytes.size() - have, 0);
            if (got > 0)
                have += static_cast<size_t>(got);
            else if (errno != EINTR)
                break;
        }
        // A kernel without the call: the C++ library knows other sources.
        for (std::random_device device; have < m_bytes.size(); ++have)
            m_bytes[have] = static_cast<uint8_t>(device());
        m_used = 0;
    }

    static constexpr size_t k_BlockBytes = 256 * UID::k_Size;
    std::array<uint8_t, k_BlockBytes> m_bytes;
    size_t m_used = k_BlockBytes;
    unsigned m_forks = 0;
};

int DigitOfID(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    c = String::FoldCase(c);
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

constexpr bool IsDashAt(size_t at) { return at == 8 || at == 13 || at == 18 || at == 23; }
constexpr size_t k_TextLength = 36;

void WriteText(UID const& id, char* to) {
    constexpr char digits[] = "0123456789abcdef";
    size_t byte = 0;
    for (size_t at = 0; at < k_TextLength;) {
        if (IsDashAt(at)) {
            to[at++] = '-';
            continue;
        }
        uint8_t const value = id.Bytes()[byte++];
        to[at++] = digits[value >> 4];
        to[at++] = digits[value & 15];
    }
}

} // namespace

UID::UID(bool fresh) {
    if (!fresh)
        return;
    static thread_local RandomBlock s_random;
    s_random.TakeRandomBytes(m_bytes.data());
    m_bytes[6] = static_cast<uint8_t>((m_bytes[6] & 0x0F) | 0x40);
    m_bytes[8] = static_cast<uint8_t>((m_bytes[8] & 0x3F) | 0x80);
}

UID UID::FromBytes(std::span<uint8_t const> bytes) noexcept {
    UID result;
    if (bytes.size() == k_Size)
        std::ranges::copy(bytes, result.m_bytes.begin());
    return result;
}

UID UID::FromName(std::string_view name) {
    // The system's own name space, so that no name of another system meets ours.
    static constexpr boost::uuids::uuid space = {
        {0x5e, 0x0b, 0x7c, 0x1d, 0x94, 0x3a, 0x4f, 0x62, 0xa8, 0x11, 0x3c, 0xd7, 0x20, 0x9e, 0x6b, 0xf4}};
    boost::uuids::uuid const made = boost::uuids::name_generator_sha1(space)(name.data(), name.size());
    return FromBytes({made.data, k_Size});
}

bool UID::FromString(std::string_view text, UID& out) noexcept {
    if (text.size() == k_TextLength + 2 && text.front() == '{' && text.back() == '}')
        text = text.substr(1, k_TextLength);
    if (text.size() != k_TextLength)
        return false;
    UID result;
    size_t byte = 0;
    for (size_t at = 0; at < k_TextLength;) {
        if (IsDashAt(at)) {
            if (text[at++] != '-')
                return false;
            continue;
        }
        int const high = DigitOfID(text[at++]);
        int const low = DigitOfID(text[at++]);
        if (high < 0 || low < 0)
            return false;
        result.m_bytes[byte++] = static_cast<uint8_t>(high * 16 + low);
    }
    out = result;
    return true;
}

String UID::ToString() const {
    char text[k_TextLength];
    WriteText(*this, text);
    return String(text, k_TextLength);
}

std::ostream& operator<<(std::ostream& out, UID const& id) { return out << id.ToString(); }

} // namespace corekit
