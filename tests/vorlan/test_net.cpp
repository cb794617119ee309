#include "nettools.h"

namespace vorlan::net {

using Net = NetTest;

// Senders on many threads: nothing is lost, each thread's messages keep their order,
// there and back.
TEST_F(Net, BothSidesHearEachOtherInOrder) {
    constexpr int k_Threads = 4;
    constexpr int k_Each = 5000;
    server.onMessage = [](ConnectionPtr const& connection, boost::shared_ptr<Message> const& message) {
        connection->Send(message);
    };
    Connect();
    PeerInfo const& master = client.Last()->Peer();
    EXPECT_EQ(std::tuple(master.program, master.kind), std::tuple("VorlanMaster", PeerKind::Master));
    PeerInfo const& engine = server.Last()->Peer();
    EXPECT_EQ(std::tuple(engine.address.Host(), engine.kind), std::tuple("127.0.0.1", PeerKind::Engine));
    std::vector<std::thread> threads;
    for (int thread = 0; thread < k_Threads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < k_Each; ++i)
                client.Last()->Send(Line(SFormat("%d %d", thread, i)));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    ASSERT_TRUE(WaitFor([&] { return client.messages == size_t{k_Threads * k_Each}; }));
    int next[k_Threads] = {};
    for (auto const& message : client.Messages()) {
        String const text = TextOf(message);
        ASSERT_EQ(text.RightFirst(" ").Int(), next[text.LeftFirst(" ").Uint()]++);
    }
    EXPECT_EQ(client.Last()->QueuedBytes(), 0u);
}

TEST_F(Net, LongMessagesTravelInPartsAmongShortOnes) {
    Connect();
    // 50 MB that hardly compress, beside sizes around the limit of one frame.
    auto const longOne = MasterLogsMsg::New();
    for (int i = 0; i < 50; ++i)
        longOne->lines.push_back(Noise(1u << 20));
    std::vector<boost::shared_ptr<Message>> sent = {Line("before"), longOne, Line("between")};
    for (size_t const size : {(1u << 20) - 200, (1u << 20) - 20, 1u << 20, (1u << 20) + 1, 3u << 20})
        sent.push_back(Line(String(size, 'x')));
    sent.push_back(Line("after"));
    for (size_t i = 0; i < sent.size(); ++i)
        i % 2 == 0 ? client.Last()->Send(sent[i]) : client.Last()->SendEncoded(EncodedMessage::Encode(*sent[i]));
    ASSERT_TRUE(WaitFor([&] { return server.messages == sent.size(); }, 60'000));
    auto const got = server.Messages();
    for (size_t i = 0; i < sent.size(); ++i) {
        auto const& expected = static_cast<MasterLogsMsg const&>(*sent[i]).lines;
        EXPECT_TRUE(static_cast<MasterLogsMsg const&>(*got[i]).lines == expected) << i;
    }
}

// A load is pulled piece by piece as the queue drains, however slow the reader, and
// an event in between keeps its place.
TEST_F(Net, ALoadIsStreamedWithoutCountingAgainstTheBound) {
    constexpr size_t k_Pieces = 400;
    Limits limits;
    limits.queued = 64 * 1024;
    limits.lowWater = 16 * 1024;
    std::atomic<size_t> sent{0};
    std::atomic<size_t> most{0};
    auto const pull = [&](ConnectionPtr const& connection) {
        while (sent < k_Pieces && connection->QueuedBytes() < limits.lowWater) {
            connection->Send(Line(String::From(size_t{sent++}) + " " + String(10'000, 'l')), Traffic::Load);
            most = std::max(most.load(), connection->QueuedBytes());
        }
    };
    server.onMessage = [&](ConnectionPtr const& connection, auto const&) { pull(connection); };
    server.onDrained = pull;
    auto const loading = MakeServer(server, 0, limits);
    calling = MakeClient(client, loading->Port());
    ASSERT_TRUE(WaitFor([&] { return client.connected == 1; }));
    client.Last()->Send(Line("load"));
    ASSERT_TRUE(WaitFor([&] { return client.messages == k_Pieces; }));
    auto const got = client.Messages();
    for (size_t i = 0; i < k_Pieces; ++i)
        ASSERT_EQ(TextOf(got[i]).LeftFirst(" "), String::From(i));
    EXPECT_LT(most, limits.lowWater + 11'000);
    // One big load at once is more than the bound, and is no reason to drop the peer.
    server.Last()->Send(Line(String(900'000, 'x')), Traffic::Load);
    ASSERT_TRUE(WaitFor([&] { return client.messages == k_Pieces + 1; }));
    EXPECT_EQ(server.closed, 0);
}

TEST_F(Net, AWrongKeyIsOneLineOnBothSidesAndNothingIsParsed) {
    LogLines lines;
    listening = MakeServer(server);
    ClientOptions options = OptionsFor(listening->Port());
    options.key = [other = FarmKey::Fresh()] { return other; };
    Client stranger(std::move(options), client.MakeHandlers());
    stranger.Start();
    ASSERT_TRUE(WaitFor([&] { return client.failed >= 5; }));
    stranger.Stop();
    EXPECT_EQ(server.connected + client.connected, 0);
    auto const said = lines.Get();
    for (char const* side : {" here.", " there."})
        EXPECT_EQ(std::count_if(said.begin(), said.end(),
                                [side](String const& line) {
                                    return line.Contains("does not have this farm's key") && line.Contains(side);
                                }),
                  1)
            << side;
}

TEST_F(Net, AClientComesBackAfterTheServersRestart) {
    Connect();
    unsigned short const port = listening->Port();
    for (int round = 1; round <= 3; ++round) {
        ASSERT_TRUE(WaitFor([&] { return client.connected == round; })) << round;
        calling->Current()->Send(Line(String::From(round)));
        ASSERT_TRUE(WaitFor([&] { return server.messages == static_cast<size_t>(round); })) << round;
        listening.reset();
        ASSERT_TRUE(WaitFor([&] { return client.closed == round && client.failed > 0; })) << round;
        listening = MakeServer(server, port);
    }
    ASSERT_TRUE(WaitFor([&] { return client.connected == 4; }));
    calling->Reconnect();
    ASSERT_TRUE(WaitFor([&] { return client.connected == 5 && client.closed == 4; }));
    EXPECT_TRUE(WaitFor([&] { return server.closed == 4; }));
}

TEST_F(Net, AClientWaitsForAKeyAndTriesAllHosts) {
    listening = MakeServer(server);
    std::atomic<bool> hasKey{false};
    ClientOptions options = OptionsFor(listening->Port());
    options.key = [&] { return hasKey ? key : FarmKey(); };
    options.find = [port = listening->Port()](FarmKey const&, auto const&) {
        return std::vector<IPPeer>{{"host.invalid", port}, {"127.0.0.1", 1}, {"localhost", port}};
    };
    Client patient(std::move(options), client.MakeHandlers());
    patient.Start();
    ASSERT_TRUE(WaitFor([&] { return client.failed > 0; }));
    EXPECT_TRUE(client.HasReason("no farm key on this machine yet"));
    hasKey = true;
    ASSERT_TRUE(WaitFor([&] { return client.connected == 1; }));
}

TEST_F(Net, OneRoundOnlyWhenAskedFor) {
    ClientOptions options = OptionsFor(1);
    options.retry = ClientOptions::Retry::Never;
    Client once(std::move(options), client.MakeHandlers());
    once.Start();
    ASSERT_TRUE(WaitFor([&] { return client.failed == 1; }));
    EXPECT_TRUE(client.HasReason("127.0.0.1:1"));
    once.Stop();
    EXPECT_EQ(client.failed, 1);
}

TEST_F(Net, WhatWasQueuedStillGoesOutAtAClose) {
    Connect();
    ConnectionPtr const connection = server.Last();
    for (int i = 0; i < 1000; ++i)
        connection->Send(Line(String(1000, 'x')));
    connection->Close("for the test");
    connection->Send(Line("too late"));
    ASSERT_TRUE(WaitFor([&] { return client.closed == 1; }));
    EXPECT_EQ(client.messages, 1000u);
    ASSERT_TRUE(WaitFor([&] { return server.closed == 1; }));
    EXPECT_TRUE(server.HasReason("for the test"));
    EXPECT_FALSE(connection->IsOpen());

    ASSERT_TRUE(WaitFor([&] { return client.connected == 2; }));
    client.Last()->Send(Line("last words"));
    calling->FlushAndStop(5000);
    EXPECT_EQ(client.closed, 2);
    EXPECT_TRUE(WaitFor([&] { return server.messages == 1; }));
    // The pointers stay usable after everything has ended.
    listening.reset();
    client.Last()->Send(Line("nobody"));
    connection->Close("again");
    EXPECT_EQ(server.closed, 2);
}

TEST_F(Net, AFailingHandlerCostsOneMessageOnlyAndPingsNone) {
    LogLines lines;
    server.onMessage = [](ConnectionPtr const&, boost::shared_ptr<Message> const& message) {
        if (TextOf(message) == "bad")
            throw ArgumentException("for the test");
    };
    Connect();
    client.Last()->Send(PingMsg::Create(Time(12345)));
    for (char const* text : {"one", "bad", "two"})
        client.Last()->Send(Line(text));
    ASSERT_TRUE(WaitFor([&] { return server.messages == 2 && client.messages == 1; }));
    EXPECT_EQ(TextOf(server.Messages()[1]), "two");
    ASSERT_EQ(lines.Get().size(), 1u);
    EXPECT_TRUE(lines.Has("for the test"));
    EXPECT_EQ(static_cast<PongMsg const&>(*client.Messages()[0]).time, Time(12345));
}

TEST_F(Net, APortInUseIsRefusedWithAdvice) {
    listening = MakeServer(server);
    try {
        MakeServer(server, listening->Port());
        FAIL() << "two servers have one port";
    } catch (NetException const& exception) {
        EXPECT_TRUE(exception.Message().Contains("choose another port")) << exception.what();
    }
    key = FarmKey();
    EXPECT_THROW(MakeServer(server), NetException);
}

} // namespace vorlan::net
