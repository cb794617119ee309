#include "resolver.h"

#include <cerrno>
#include <cstring>
#include <netdb.h>
#include <thread>

namespace vorlan::net {

namespace {

using Done = std::function<void(std::vector<Endpoint>, String const&)>;

std::vector<Endpoint> LookUp(String const& host, unsigned short port, String& error) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    std::vector<Endpoint> found;
    if (int const result = ::getaddrinfo(host.c_str(), nullptr, &hints, &list); result != 0) {
        error = "the host " + host + " is not known (" + ::gai_strerror(result) + ")";
        return found;
    }
    for (addrinfo const* entry = list; entry; entry = entry->ai_next) {
        Endpoint endpoint;
        if (entry->ai_addrlen > endpoint.capacity())
            continue;
        std::memcpy(endpoint.data(), entry->ai_addr, entry->ai_addrlen);
        endpoint.resize(entry->ai_addrlen);
        endpoint.port(port);
        if (std::find(found.begin(), found.end(), endpoint) == found.end())
            found.push_back(endpoint);
    }
    ::freeaddrinfo(list);
    if (found.empty())
        error = "the host " + host + " has no address";
    return found;
}

} // namespace

void Resolve(Loop& loop, IPPeer const& peer, Done done) {
    error_code notNumeric;
    auto const address = asio::ip::make_address(peer.Host().Str(), notNumeric);
    if (!notNumeric)
        return loop.Post([done = std::move(done), endpoint = Endpoint(address, peer.Port())] { done({endpoint}, {}); });
    if (peer.Host().CompareNoCase("localhost") == 0) {
        std::vector<Endpoint> const both{{asio::ip::address_v4::loopback(), peer.Port()},
                                         {asio::ip::address_v6::loopback(), peer.Port()}};
        return loop.Post([done = std::move(done), both] { done(both, {}); });
    }
    std::thread([context = loop.SharedContext(), peer, done = std::move(done)]() mutable {
        String error;
        std::vector<Endpoint> found = LookUp(peer.Host(), peer.Port(), error);
        asio::post(context->get_executor(),
                   [done = std::move(done), found = std::move(found), error] { done(found, error); });
    }).detach();
}

} // namespace vorlan::net
