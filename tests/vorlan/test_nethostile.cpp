// What a server does with peers that mean it no good, or do not read.
#include "nettools.h"

#include <vorlan/wire.h>

namespace vorlan::net {

class NetHostile : public NetTest {
protected:
    unsigned short Listen(Limits const& limits = {}) {
        listening = MakeServer(server, 0, limits);
        return listening->Port();
    }
    static std::string Header(UID const& type, size_t body) {
        std::string bytes;
        AppendFrameHeader(bytes, type, body);
        return bytes;
    }
    // The server still serves a proper client.
    void ExpectServing() {
        calling = MakeClient(client, listening->Port());
        EXPECT_TRUE(WaitFor([&] { return client.connected == 1; }));
    }
};

TEST_F(NetHostile, GarbageAndHalfAGreetingLeaveNoTrace) {
    unsigned short const port = Listen({.handshakeMs = 300});
    LogLines lines;
    {
        RawPeer garbage(port);
        garbage.SendPlain("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
        EXPECT_TRUE(garbage.SeesEnd());
        RawPeer silent(port);
        RawPeer silentTls(port);
        ASSERT_TRUE(silentTls.StartTls());
        RawPeer halfFrame(port);
        ASSERT_TRUE(halfFrame.StartTls());
        ASSERT_TRUE(halfFrame.Send(std::string_view("\0\0\0\x22half", 8)));
        EXPECT_TRUE(silent.SeesEnd() && silentTls.SeesEnd() && halfFrame.SeesEnd());
        RawPeer noise(port);
        ASSERT_TRUE(noise.StartTls());
        ASSERT_TRUE(noise.SendFrame(LoadedMsg::s_Type, std::string(100, 'x')));
        EXPECT_TRUE(noise.SeesEnd());
        RawPeer gone(port);
    }
    EXPECT_EQ(server.connected + server.messages, 0u);
    EXPECT_THAT(lines.Get().size(), testing::AllOf(testing::Ge(1u), testing::Le(3u))) << "one machine fills the log";
    ExpectServing();
}

TEST_F(NetHostile, LongFramesAreRefusedByTheirHeaderBeforeAndAfterTheProof) {
    unsigned short const port = Listen();
    LogLines lines;
    RawPeer before(port);
    ASSERT_TRUE(before.StartTls());
    ASSERT_TRUE(before.Send(Header(LoadedMsg::s_Type, 4097)));
    EXPECT_TRUE(before.SeesEnd());
    EXPECT_EQ(server.connected, 0);

    RawPeer after(port);
    ASSERT_TRUE(after.StartTls() && after.Prove(key));
    ASSERT_TRUE(WaitFor([&] { return server.connected == 1; }));
    ASSERT_TRUE(after.Send(Header(LoadedMsg::s_Type, (1u << 20) + 1)));
    EXPECT_TRUE(after.SeesEnd());
    ASSERT_TRUE(WaitFor([&] { return server.closed == 1; }));
    EXPECT_TRUE(server.HasReason("over the limit of 1048576"));
    String const last = lines.Get().back();
    EXPECT_TRUE(last.Contains("Raw on render07") && last.Contains("over the limit of 1048576")) << last;
    ExpectServing();
}

TEST_F(NetHostile, WhatAProvenPeerSaysWrongEndsItsConnectionAlone) {
    unsigned short const port = Listen({.message = 10'000});
    ExpectServing();
    std::string tooLong;
    AppendParts(tooLong, MasterLogsMsg::s_Type, std::string(10'001, 'a'), 1u << 20, 1u << 30);
    std::string begun = Header(k_PartType, k_PartHeader);
    begun.append(reinterpret_cast<char const*>(MasterLogsMsg::s_Type.Bytes()), UID::k_Size);
    begun += std::string("\0\0\0\0\0\0\0\x20\0\0\0\0", 12) + Header(LoadedMsg::s_Type, 0);
    Rows<char const*, std::string, char const*> const cases = {
        {"a body that is none", Header(MasterLogsMsg::s_Type, 3) + "\xff\xff\xff", "MasterLogsMsg"},
        {"a message over its limit", tooLong, "over the limit of 10000"},
        {"a message within another one's parts", begun, "in the midst"},
    };
    int closed = 0;
    for (auto const& [name, bytes, reason] : cases) {
        RawPeer peer(port);
        ASSERT_TRUE(peer.StartTls() && peer.Prove(key)) << name;
        ASSERT_TRUE(peer.Send(bytes)) << name;
        EXPECT_TRUE(peer.SeesEnd()) << name;
        ++closed;
        ASSERT_TRUE(WaitFor([&] { return server.closed == closed; })) << name;
        EXPECT_TRUE(server.HasReason(reason)) << name;
    }
    // A type from the future is passed over.
    RawPeer newer(port);
    ASSERT_TRUE(newer.StartTls() && newer.Prove(key));
    ASSERT_TRUE(newer.SendFrame(UID::FromName("a message of the future"), "whatever"));
    ASSERT_TRUE(newer.SendFrame(PingMsg::s_Type, EncodeMessage(PingMsg())));
    Frame frame;
    ASSERT_TRUE(newer.Receive(frame));
    EXPECT_EQ(frame.type, PongMsg::s_Type);
    EXPECT_EQ(client.closed, 0);
}

TEST_F(NetHostile, ASlowReaderIsDroppedAndTheOthersAreNot) {
    Limits const limits{.queued = 1u << 20};
    RawPeer slow(Listen(limits), 8192);
    ASSERT_TRUE(slow.StartTls() && slow.Prove(key));
    ASSERT_TRUE(WaitFor([&] { return server.connected == 1; }));
    ConnectionPtr const slowOne = server.Last();
    ExpectServing();
    ASSERT_TRUE(WaitFor([&] { return server.connected == 2; }));
    ConnectionPtr const goodOne = server.Last();
    LogLines lines;
    size_t sent = 0;
    for (; slowOne->IsOpen() && sent < 10'000; ++sent) {
        auto const message = EncodedMessage::Encode(*Line(String(10'000, 'e')));
        slowOne->SendEncoded(message);
        goodOne->SendEncoded(message);
        // The good one is fed no faster than it reads.
        ASSERT_TRUE(WaitFor([&] { return goodOne->QueuedBytes() < limits.queued / 2; }));
    }
    ASSERT_TRUE(WaitFor([&] { return server.closed == 1; }));
    EXPECT_TRUE(server.HasReason("too slowly"));
    ASSERT_TRUE(WaitFor([&] { return client.messages == sent; }));
    EXPECT_TRUE(goodOne->IsOpen());
    ASSERT_EQ(lines.Get().size(), 1u);
    EXPECT_TRUE(lines.Get()[0].Contains("Raw on render07") && lines.Get()[0].Contains("over 1048576 bytes"))
        << lines.Get()[0];
    EXPECT_EQ(slowOne->QueuedBytes(), 0u);
}

// With the key in hand: messages that never end, and more of them than fit.
TEST_F(NetHostile, MessagesUnderWayAreBoundedInTimeAndInSum) {
    Limits limits;
    limits.partMs = 300;
    limits.assembling = 6u << 20;
    unsigned short const port = Listen(limits);
    ExpectServing();
    // All but the last part of a message of so many bytes.
    auto const begun = [](size_t bytes) {
        std::string parts;
        AppendParts(parts, MasterLogsMsg::s_Type, Noise(bytes), 1u << 20, 1u << 30);
        return parts.substr(0, parts.size() / (1u << 20) * ((1u << 20) + k_FrameHeader));
    };
    RawPeer silent(port);
    ASSERT_TRUE(silent.StartTls() && silent.Prove(key) && silent.Send(begun(3u << 20)));
    ASSERT_TRUE(WaitFor([&] { return server.HasReason("did not go on for 300 ms"); }));
    RawPeer greedy(port);
    ASSERT_TRUE(greedy.StartTls() && greedy.Prove(key));
    greedy.Send(begun(20u << 20)); // as far as it gets
    ASSERT_TRUE(WaitFor([&] { return server.HasReason("over the limit of 6291456"); }));
    EXPECT_TRUE(silent.SeesEnd() && greedy.SeesEnd());
    EXPECT_EQ(client.closed, 0);
    ExpectServing();
}

// Nothing is lost while a connection is not read, and it goes on where it stood.
TEST_F(NetHostile, WhoIsNotReadWaits) {
    constexpr size_t k_Messages = 5'000;
    server.onMessage = [&](ConnectionPtr const& connection, auto const&) {
        if (server.messages == 10)
            connection->SetReading(false);
    };
    unsigned short const port = Listen({});
    RawPeer fast(port);
    ASSERT_TRUE(fast.StartTls() && fast.Prove(key));
    std::string bytes;
    for (size_t i = 0; i < k_Messages; ++i) {
        String const body = EncodeMessage(*Line("line"));
        AppendFrameHeader(bytes, MasterLogsMsg::s_Type, body.size());
        bytes += body.Str();
    }
    ASSERT_TRUE(fast.Send(bytes));
    ASSERT_TRUE(WaitFor([&] { return server.messages >= 11; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(server.messages, 11U);
    server.Last()->SetReading(true);
    EXPECT_TRUE(WaitFor([&] { return server.messages == k_Messages; }));
}

TEST_F(NetHostile, WhoHoldsConnectionsWithoutAProofKeepsNobodyOut) {
    unsigned short const port = Listen({.unproved = 8});
    std::vector<std::unique_ptr<RawPeer>> holders;
    for (int i = 0; i < 50; ++i)
        holders.push_back(std::make_unique<RawPeer>(port));
    ExpectServing();
    // The oldest ones had to go.
    EXPECT_TRUE(holders[0]->SeesEnd());
}

TEST_F(NetHostile, AServerEndsWhileItsPeersKeepSending) {
    for (int round = 0; round < 5; ++round) {
        End peers;
        End ends[3];
        std::vector<std::unique_ptr<Client>> clients;
        auto serving = MakeServer(peers);
        for (End& end : ends)
            clients.push_back(MakeClient(end, serving->Port()));
        ASSERT_TRUE(WaitFor([&] { return peers.connected == 3; }));
        std::atomic<bool> stop{false};
        std::thread sender([&] {
            while (!stop) {
                for (auto const& one : clients) {
                    if (ConnectionPtr const connection = one->Current();
                        connection && connection->QueuedBytes() < 100'000)
                        connection->Send(Line("more"));
                }
            }
        });
        EXPECT_TRUE(WaitFor([&] { return peers.messages > 100; }));
        serving.reset();
        EXPECT_EQ(peers.closed, peers.connected);
        clients[0]->Stop();
        stop = true;
        sender.join();
    }
}

} // namespace vorlan::net
