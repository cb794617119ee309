#include "test.h"

#include <vorlan/discovery.h>

#include <vorlan/fwd.h>

namespace vorlan::test_discovery {

// A group that no farm of this machine uses, on the loopback alone.
DiscoveryGroup TestGroup() {
    DiscoveryGroup group;
    group.address = "239.255.74.99";
    group.port = static_cast<unsigned short>(20'000 + ::getpid() % 20'000);
    group.interfaceAddress = "127.0.0.1";
    return group;
}

TEST(Discovery, WhoSharesTheKeyAnswersAndNobodyElse) {
    FarmKey const key = FarmKey::Fresh();
    DiscoveryResponder responder(key, 7777, UID::FromName("master"), TestGroup());
    if (!responder.Start())
        GTEST_SKIP() << "this machine has no multicast";
    auto const found = Discovery::Find(key, {}, 5000, TestGroup());
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0], IPPeer("127.0.0.1", 7777));
    for (FarmKey const& other : {FarmKey::Fresh(), FarmKey()})
        EXPECT_TRUE(Discovery::Find(other, {}, 100, TestGroup()).empty());
    // An end that is asked for is not waited out.
    auto const begin = std::chrono::steady_clock::now();
    auto const enough = [] { return true; };
    EXPECT_TRUE(Discovery::Find(FarmKey::Fresh(), enough, 60'000, TestGroup()).empty());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}

TEST(Discovery, AMachineWithoutMulticastIsNoFault) {
    DiscoveryGroup group = TestGroup();
    group.interfaceAddress = "192.0.2.1"; // nobody's
    LogLines lines;
    EXPECT_TRUE(Discovery::Find(FarmKey::Fresh(), {}, 5000, group).empty());
    DiscoveryResponder responder(FarmKey::Fresh(), 7777, UID::FromName("master"), group);
    EXPECT_FALSE(responder.Start());
    EXPECT_TRUE(lines.Get().empty());
}

TEST(MasterFinder, ReadsTheConnectionFileEachTime) {
    TempFolder const home;
    EnvironmentValue const variable("VORLAN_HOME", home.Folder().c_str());
    FarmKey const key = FarmKey::Fresh();
    MasterHosts own;
    auto const texts = [&] {
        String all;
        for (IPPeer const& peer : MasterFinder::Find(key, {}, own))
            all += (all.Empty() ? "" : " ") + peer.ToString();
        return all;
    };
    // Nothing configured: this machine, at the port its Master left.
    EXPECT_EQ(texts(), "127.0.0.1:7466");
    EXPECT_EQ(MasterFinder::ListenPort(), 0);
    MasterFinder::WritePortFile(41234);
    EXPECT_EQ(texts(), "127.0.0.1:41234");

    Rows<char const*, char const*, unsigned short, size_t> const cases = {
        {"[Master]\nPeer=alpha\n", "alpha:7466", 0, 0},
        {"[Master]\nPeer=alpha  beta:99 [::1]:5\nPort=8000\n", "alpha:8000 beta:99 [::1]:5", 8000, 0},
        {"[Master]\nPeer=localhost\n", "localhost:41234", 0, 0},
        {"[Master]\nPeer=localhost\nPort=8000\n", "localhost:8000", 8000, 0},
        {"[Master]\nPeer=a/b beta\n", "beta:7466", 0, 1},
        {"[Master]\nPort=8000\n", "127.0.0.1:41234", 8000, 0},
        {"[Master]\nPeer=\nPort=0\n", "127.0.0.1:41234", 0, 0},
    };
    for (auto const& [file, peers, listen, warnings] : cases) {
        File::WriteWhole(File::GetConnectionFile(), file);
        LogLines lines;
        EXPECT_EQ(texts(), peers) << file;
        EXPECT_EQ(lines.Get().size(), warnings) << file;
        EXPECT_EQ(MasterFinder::ListenPort(), listen) << file;
    }
    File::WriteWhole(File::GetConnectionFile(), "[Master]\nPeer=alpha\nPort=8000\n");
    File::WriteWhole(File::GetUserConnectionFile(), "[Master]\nPeer=users\n");
    EXPECT_EQ(texts(), "users:7466") << "the user's own comes first, as a whole";
    File::WriteWhole(File::GetUserConnectionFile(), "");
    own = {" ", 9000};
    EXPECT_EQ(texts(), "alpha:8000") << "a port alone names nobody";
    own = {"gamma delta:1", 9000};
    EXPECT_EQ(texts(), "gamma:9000 delta:1") << "what the program was given for itself comes first";
}

} // namespace vorlan::test_discovery
