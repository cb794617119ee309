#include <vorlan/discovery.h>

#include "frame.h"

#include <corekit/exception.h>
#include <corekit/log.h>
#include <corekit/thread.h>
#include <corekit/uniquefd.h>

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <openssl/rand.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

namespace vorlan {

using namespace corekit;

namespace {

// The question is the word, a nonce and a proof over both; the answer repeats the
// nonce, adds the port and the machine, and a proof over it all.
constexpr std::string_view k_Question = "VORLAN?1";
constexpr std::string_view k_Answer = "VORLAN!1";
constexpr size_t k_Nonce = 16;
constexpr size_t k_QuestionSize = k_Question.size() + k_Nonce + FarmKey::k_Size;
constexpr size_t k_AnswerSize = k_Answer.size() + k_Nonce + 2 + UID::k_Size + FarmKey::k_Size;
constexpr char k_QuestionPurpose[] = "vorlan question";
constexpr char k_AnswerPurpose[] = "vorlan answer";

// After the first answer others may still come, from a Master that stands by.
constexpr int k_AfterFirstMs = 30;
constexpr int k_LookMs = 20;
// A network card that came up later is joined too.
constexpr int k_RejoinMs = 60'000;

std::string WithProof(FarmKey const& key, char const* purpose, std::string text) {
    FarmKey::Bytes const proof = key.Proof(purpose, text);
    return text.append(reinterpret_cast<char const*>(proof.data()), proof.size());
}

bool HasProof(FarmKey const& key, char const* purpose, std::string_view packet) {
    size_t const covered = packet.size() - FarmKey::k_Size;
    return key.Verify(purpose, packet.substr(0, covered), packet.substr(covered));
}

// The addresses of the cards that can take part.
std::vector<in_addr> Interfaces(DiscoveryGroup const& group) {
    std::vector<in_addr> found;
    in_addr given{};
    if (!group.interfaceAddress.Empty()) {
        if (::inet_pton(AF_INET, group.interfaceAddress.c_str(), &given) == 1)
            found.push_back(given);
        return found;
    }
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0)
        return found;
    for (ifaddrs const* entry = list; entry; entry = entry->ifa_next) {
        constexpr unsigned k_Needed = IFF_UP | IFF_MULTICAST;
        if (entry->ifa_addr && entry->ifa_addr->sa_family == AF_INET && (entry->ifa_flags & k_Needed) == k_Needed) {
            sockaddr_in address{};
            std::memcpy(&address, entry->ifa_addr, sizeof address);
            found.push_back(address.sin_addr);
        }
    }
    ::freeifaddrs(list);
    return found;
}

sockaddr_in GroupAddress(DiscoveryGroup const& group) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(group.port);
    ::inet_pton(AF_INET, group.address.c_str(), &address.sin_addr);
    return address;
}

std::string Receive(int fd, sockaddr_in& from) {
    char buffer[512];
    socklen_t length = sizeof from;
    ssize_t const size =
        ::recvfrom(fd, buffer, sizeof buffer, MSG_DONTWAIT, reinterpret_cast<sockaddr*>(&from), &length);
    return size <= 0 ? std::string() : std::string(buffer, static_cast<size_t>(size));
}

bool Ask(int fd, DiscoveryGroup const& group, std::string const& question) {
    sockaddr_in const to = GroupAddress(group);
    bool sent = false;
    for (in_addr const& interface : Interfaces(group)) {
        if (::setsockopt(fd, IPPROTO_IP, IP_MULTICAST_IF, &interface, sizeof interface) != 0)
            continue;
        sent |= ::sendto(fd, question.data(), question.size(), 0, reinterpret_cast<sockaddr const*>(&to), sizeof to) ==
                static_cast<ssize_t>(question.size());
    }
    return sent;
}

int64_t NowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

std::vector<IPPeer> Discovery::Find(FarmKey const& key, Cancelled const& cancelled, int waitMs,
                                    DiscoveryGroup const& group) {
    std::vector<IPPeer> found;
    UniqueFd const socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    std::string nonce(k_Nonce, '\0');
    if (key.IsNull() || !socket ||
        RAND_bytes(reinterpret_cast<unsigned char*>(nonce.data()), static_cast<int>(k_Nonce)) != 1)
        return found;
    if (!Ask(socket.Get(), group, WithProof(key, k_QuestionPurpose, std::string(k_Question) + nonce))) {
        LogDebug("This machine has no multicast: no Master is looked for in the local network");
        return found;
    }
    int64_t until = NowMs() + waitMs;
    while (NowMs() < until && !(cancelled && cancelled())) {
        pollfd wait{socket.Get(), POLLIN, 0};
        if (::poll(&wait, 1, k_LookMs) <= 0)
            continue;
        sockaddr_in from{};
        std::string const packet = Receive(socket.Get(), from);
        std::string_view const view = packet;
        if (view.size() != k_AnswerSize || !view.starts_with(k_Answer) ||
            view.substr(k_Answer.size(), k_Nonce) != nonce || !HasProof(key, k_AnswerPurpose, view))
            continue;
        char text[INET_ADDRSTRLEN] = {};
        ::inet_ntop(AF_INET, &from.sin_addr, text, sizeof text);
        IPPeer const peer(text, static_cast<unsigned short>(net::NumberAt(view, k_Answer.size() + k_Nonce, 2)));
        if (std::find(found.begin(), found.end(), peer) == found.end())
            found.push_back(peer);
        until = std::min(until, NowMs() + k_AfterFirstMs);
    }
    return found;
}

class DiscoveryResponder::Answerer final : public Thread {
public:
    Answerer(FarmKey key, unsigned short port, UID machine, DiscoveryGroup group)
        : Thread("Discovery"), m_key(std::move(key)), m_group(std::move(group)), m_wake(::eventfd(0, EFD_CLOEXEC)) {
        net::AppendNumber(m_answer, port, 2);
        m_answer.append(reinterpret_cast<char const*>(machine.Bytes()), UID::k_Size);
    }
    ~Answerer() override { Stop(); }

    bool Open() {
        m_socket.Reset(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        int const on = 1;
        // Two Masters of one machine may both listen.
        ::setsockopt(m_socket.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        sockaddr_in const address = GroupAddress(m_group);
        return m_socket && m_wake &&
               ::bind(m_socket.Get(), reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0 && JoinGroup();
    }

protected:
    bool Execute() override {
        pollfd wait[] = {{m_socket.Get(), POLLIN, 0}, {m_wake.Get(), POLLIN, 0}};
        int const ready = ::poll(wait, 2, k_RejoinMs);
        if (ready == 0)
            JoinGroup();
        if (ready > 0 && (wait[0].revents & POLLIN))
            AnswerOne();
        return true;
    }
    void OnStopSignaled() override {
        uint64_t const one = 1;
        static_cast<void>(!::write(m_wake.Get(), &one, sizeof one));
    }

private:
    // True when at least one card is in the group.
    bool JoinGroup() {
        bool joined = false;
        for (in_addr const& interface : Interfaces(m_group)) {
            ip_mreq request{};
            request.imr_multiaddr = GroupAddress(m_group).sin_addr;
            request.imr_interface = interface;
            joined |= ::setsockopt(m_socket.Get(), IPPROTO_IP, IP_ADD_MEMBERSHIP, &request, sizeof request) == 0 ||
                      errno == EADDRINUSE;
        }
        return joined;
    }

    void AnswerOne() {
        sockaddr_in from{};
        std::string const packet = Receive(m_socket.Get(), from);
        std::string_view const view = packet;
        if (view.size() != k_QuestionSize || !view.starts_with(k_Question) || !HasProof(m_key, k_QuestionPurpose, view))
            return;
        std::string const answer =
            WithProof(m_key, k_AnswerPurpose,
                      std::string(k_Answer).append(view.substr(k_Question.size(), k_Nonce)).append(m_answer));
        ::sendto(m_socket.Get(), answer.data(), answer.size(), MSG_DONTWAIT, reinterpret_cast<sockaddr const*>(&from),
                 sizeof from);
    }

    FarmKey const m_key;
    DiscoveryGroup const m_group;
    UniqueFd const m_wake;
    std::string m_answer; // port and machine
    UniqueFd m_socket;
};

DiscoveryResponder::DiscoveryResponder(FarmKey key, unsigned short port, UID machine, DiscoveryGroup group)
    : m_answerer(std::make_unique<Answerer>(std::move(key), port, machine, std::move(group))) {}

DiscoveryResponder::~DiscoveryResponder() = default;

bool DiscoveryResponder::Start() {
    if (m_answerer->Open())
        return m_answerer->Start();
    LogInfo("This machine has no multicast. Clients on other machines find this Master when its name is in their "
            "connection settings.");
    return false;
}

void DiscoveryResponder::Stop() { m_answerer->Stop(); }

} // namespace vorlan
