#include "nettools.h"

#include <vorlan/commonengine.h>
#include <vorlan/fileserver.h>
#include <vorlan/infoclient.h>

namespace vorlan::test_messenger {

using net::Line;
using net::TextOf;
using net::WaitFor;

// Hears what a client hears. The counts are of the message thread.
class Listener : public HasSlots<ThreadPolicy::LocalThreaded> {
public:
    Listener() {
        MessengerConnectedEvt::Signal().Connect(this, [this](MessengerConnectedEvt&) {
            knownAtConnect = KnownProducts();
            ++connected;
        });
        MessengerDisconnectedEvt::Signal().Connect(this, [this](MessengerDisconnectedEvt&) { ++disconnected; });
        MasterLogsMsg::s_Signal.Connect(this, &Listener::OnLogs);
        ProductMsg::s_Signal.Connect(
            this, [this](boost::shared_ptr<ProductMsg> const&) { productsKnown += KnownProducts(); });
        FileReceivedEvt::Signal().Connect(this, [this](FileReceivedEvt& event) {
            std::lock_guard const lock(guard);
            received[event.request] = event;
        });
    }

    static size_t KnownProducts() { return JobFactory::s_JobFactory->ListProducts().size(); }
    void OnLogs(boost::shared_ptr<MasterLogsMsg> const& message) {
        onMessageThread = onMessageThread && Messenger::IsMessageThread();
        String const text = TextOf(message);
        {
            std::lock_guard const lock(guard);
            lines.push_back(text);
        }
        hold.wait(true);
        if (text == "throw")
            throw ArgumentException("for the test");
    }
    bool Heard(size_t count) {
        return WaitFor([&] {
            std::lock_guard const lock(guard);
            return lines.size() >= count;
        });
    }
    bool Received(UID const& request) {
        std::lock_guard const lock(guard);
        return received.contains(request);
    }
    void Hold(bool on) {
        hold = on;
        hold.notify_all();
    }

    std::atomic<int> connected{0};
    std::atomic<int> disconnected{0};
    std::atomic<size_t> knownAtConnect{99};
    std::atomic<size_t> productsKnown{0};
    std::atomic<bool> onMessageThread{true};
    std::atomic<bool> hold{false};
    std::mutex guard;
    std::vector<String> lines;            // guarded by guard
    std::map<UID, FileTransfer> received; // guarded by guard
};

String ProductText(char const* name, UID const& type) {
    return SFormat("{\"Format\":1,\"ID\":\"%s\",\"Name\":\"%s\",\"Class\":\"Single\"}", type.ToString().c_str(), name);
}

// A home of its own with a key, a Master's server in it, and the Messenger.
class MessengerTest : public net::NetTest {
protected:
    MessengerTest() : m_home("VORLAN_HOME", folder.Folder().c_str()) {
        key = FarmKey::LoadOrCreate(File::GetMachineDir());
        JobFactory::s_JobFactory->RemoveProduct(UID::Null);
        server.onMessage = [](net::ConnectionPtr const& connection, boost::shared_ptr<Message> const& message) {
            // As an Engine's port and a Master answer.
            if (message->Type() == GetOutputMsg::s_Type)
                Answer(connection, static_cast<GetOutputMsg const&>(*message));
            else if (message->Type() == GetHardwareMsg::s_Type)
                connection->Send(HardwareMsg::Create(4000, -5, 0, 0, 250));
        };
        StartMaster();
    }
    ~MessengerTest() override {
        Messenger::Stop(false, true, false);
        net::WakeMessenger();
        FileServer::Shutdown();
        JobFactory::s_JobFactory->RemoveProduct(UID::Null);
        Failures::Clear();
        CommonEngine::SetDefaultEngine(CommonEngine());
    }

    // Of the work "good" there are two pieces, of "gap" the second one is out of place.
    static void Answer(net::ConnectionPtr const& connection, GetOutputMsg const& request) {
        auto const piece = [&](int64_t offset, char const* text, bool end, char const* error = "") {
            connection->Send(OutputDataMsg::Create(request.request, offset, text, end, error));
        };
        if (request.work == UID::FromName("silent"))
            return;
        if (request.work == UID::FromName("refused"))
            return piece(0, "", true, "the log was cleaned up");
        piece(0, "one\n", false);
        piece(request.work == UID::FromName("gap") ? 5 : 4, "two\n", true);
    }

    void StartMaster() {
        listening = MakeServer(server, port);
        port = listening->Port();
        MasterFinder::WritePortFile(port);
    }
    net::ConnectionPtr Accepted(int count) {
        EXPECT_TRUE(WaitFor([&] { return server.connected == count; }));
        return server.Last();
    }
    // A Master's whole load.
    void Load(net::ConnectionPtr const& connection, std::vector<String> const& products = {}) {
        connection->Send(MasterInfoMsg::Create(UID::FromName("the master"), "master01", port, 30002u, Time(), Time(),
                                               "Maintenance on Friday", 77u));
        for (String const& text : products)
            connection->Send(ProductMsg::Create(text));
        connection->Send(LoadedMsg::New());
    }
    net::ConnectionPtr Connect(int count = 1) {
        if (count == 1)
            Messenger::Start();
        net::ConnectionPtr const connection = Accepted(count);
        Load(connection);
        EXPECT_TRUE(WaitFor([&] { return listener.connected == count; }));
        return connection;
    }

    EnvironmentValue m_home;
    Listener listener;
    unsigned short port = 0;
};

TEST_F(MessengerTest, ConnectedMeansLoaded) {
    UID const first = UID::FromName("first");
    UID const second = UID::FromName("second");
    Messenger::Start();
    net::ConnectionPtr const connection = Accepted(1);
    EXPECT_EQ(std::tuple(connection->Peer().kind, connection->Peer().program),
              std::tuple(net::PeerKind::Client, "VorlanGui"));
    EXPECT_FALSE(Messenger::IsConnected() || Messenger::MasterInfo());
    auto const failures = FailureArchiveMsg::New();
    failures->items = {{UID::FromName("job"), UID::FromName("engine"), first, 3, Time(5), 7}};
    connection->Send(failures);
    auto const engine = DefaultEngineMsg::New();
    engine->engine.SetPriority(17);
    connection->Send(engine);
    connection->Send(DefaultEngineOptionsMsg::Create(first, OptionMap{{"Path", "/p"}}));
    auto const paths = PathTranslationsMsg::New();
    paths->translations = {{{"1", "P:\\"}, {"3", "/p"}}};
    connection->Send(paths);
    Load(connection, {ProductText("First", first), ProductText("Second", second)});
    ASSERT_TRUE(WaitFor([&] { return listener.connected == 1; }));

    EXPECT_EQ(listener.knownAtConnect, 2u);
    EXPECT_EQ(listener.productsKnown, 3u) << "a signal came before its Product was known";
    EXPECT_TRUE(Messenger::IsConnected());
    EXPECT_EQ(std::tuple(Messenger::MasterID(), Messenger::MasterMachineName(), Messenger::MasterVersion(),
                         Messenger::MasterAdministrate(), Messenger::MasterMessage(), Messenger::MasterPort()),
              std::tuple(UID::FromName("the master"), "master01", 30002u, 77u, "Maintenance on Friday", port));
    EXPECT_FALSE(Messenger::ConnectedTime().IsZero());
    EXPECT_EQ(Messenger::PathTranslations().at(0).at("3"), "/p");
    EXPECT_EQ(Failures::All(), failures->items);
    EXPECT_EQ(Messenger::DefaultEngineOptions(first), (OptionMap{{"Path", "/p"}}));
    EXPECT_EQ(CommonEngine::GetDefaultEngine()->Priority(), 17);

    // What a Master does not name any more after its restart is gone.
    listening.reset();
    ASSERT_TRUE(WaitFor([&] { return listener.disconnected == 1; }));
    EXPECT_FALSE(Messenger::IsConnected());
    EXPECT_FALSE(Messenger::LastFailure().Empty());
    EXPECT_TRUE(Messenger::MasterID().IsNull());
    StartMaster();
    Load(Accepted(2), {ProductText("Second, renamed", second)});
    ASSERT_TRUE(WaitFor([&] { return listener.connected == 2; }));
    EXPECT_TRUE(Messenger::LastFailure().Empty());
    EXPECT_FALSE(JobFactory::s_JobFactory->GetProduct(first));
    EXPECT_TRUE(JobFactory::s_JobFactory->GetProduct(second));
}

TEST_F(MessengerTest, AHandlerThatThrowsCostsItsOwnMessageOnly) {
    LogLines lines(LogLevel::Error);
    net::ConnectionPtr const connection = Connect();
    for (char const* text : {"one", "throw", "two"})
        connection->Send(Line(text));
    connection->Send(ProductMsg::Create("no product"));
    connection->Send(Line("three"));
    ASSERT_TRUE(listener.Heard(4));
    EXPECT_TRUE(listener.onMessageThread);
    ASSERT_EQ(lines.Get().size(), 2u);
    EXPECT_TRUE(lines.Get()[0].Contains("MasterLogsMsg") && lines.Get()[0].Contains("for the test"));
    EXPECT_TRUE(lines.Get()[1].Contains("ProductMsg"));
}

TEST_F(MessengerTest, SendingReachesTheMasterOrIsLogged) {
    LogLines lines;
    Messenger::Send(Line("too early"));
    Messenger::Send(GetPoolsMsg::New());
    ASSERT_EQ(lines.Get().size(), 1u) << "a request before the connection is no fault";
    EXPECT_TRUE(lines.Get()[0].Contains("MasterLogsMsg was not sent"));
    Connect();
    Messenger::Send(Line("in time"));
    ASSERT_TRUE(WaitFor([&] { return server.messages == 1; }));
    EXPECT_EQ(TextOf(server.Messages()[0]), "in time");
    Messenger::Send(Line("last"));
    Messenger::Stop(true, false, false);
    EXPECT_TRUE(WaitFor([&] { return server.messages == 2; }));
    EXPECT_TRUE(WaitFor([&] { return listener.disconnected == 1; }));
}

TEST_F(MessengerTest, PurgeDropsWhatCameFromTheDeadConnectionAlone) {
    net::ConnectionPtr const connection = Connect();
    listener.Hold(true);
    for (int i = 0; i < 100; ++i)
        connection->Send(Line("old"));
    ASSERT_TRUE(listener.Heard(1));
    connection->Close("for the test");
    net::ConnectionPtr const next = Accepted(2);
    Load(next);
    next->Send(Line("new"));
    Messenger::SSendMessageToSelf(Line("self"));
    ASSERT_TRUE(WaitFor([&] { return !Messenger::IsConnected(); }));
    Messenger::PurgeMessageQueues();
    listener.Hold(false);
    ASSERT_TRUE(listener.Heard(3));
    ASSERT_TRUE(WaitFor([&] { return listener.connected == 2 && listener.disconnected == 1; }));
    EXPECT_THAT(listener.lines, testing::UnorderedElementsAre("new", "old", "self"));
}

TEST_F(MessengerTest, StoppedItStillTalksToItselfAndConnectsAgainWhenForced) {
    Messenger::SSendMessageToSelf(Line("never started"));
    ASSERT_TRUE(listener.Heard(1));
    Connect();
    Messenger::Stop(false, false, false);
    EXPECT_FALSE(Messenger::IsConnected());
    ASSERT_TRUE(WaitFor([&] { return listener.disconnected == 1; }));
    Messenger::SSendMessageToSelf(Line("stopped"));
    ASSERT_TRUE(listener.Heard(2));
    Messenger::Stop(false, false, true);
    Connect(2);
    // A forced connect while connected drops the connection and comes back.
    Messenger::Stop(false, false, true);
    Connect(3);
    ASSERT_TRUE(WaitFor([&] { return listener.disconnected == 2; }));
}

// What comes late must not find handlers that are gone.
TEST_F(MessengerTest, AfterTheEndNothingIsDispatched) {
    Messenger::SSendMessageToSelf(Line("early"));
    ASSERT_TRUE(listener.Heard(1));
    Messenger::Stop(false, true, false);
    Messenger::SSendMessageToSelf(Line("late"));
    Messenger::Stop(false, true, false);
    EXPECT_FALSE(Messenger::IsMessageThread());
    Connect();
    Messenger::SSendMessageToSelf(Line("again"));
    ASSERT_TRUE(listener.Heard(2));
    EXPECT_EQ(listener.lines, (std::vector<String>{"early", "again"}));
}

// A Master that is faster than the handlers is held up, loses nothing, and a stop
// in that state does not hang.
TEST_F(MessengerTest, AFastMasterWaitsForSlowHandlers) {
    constexpr size_t k_Count = 50'000;
    net::ConnectionPtr const connection = Connect();
    listener.Hold(true);
    for (size_t i = 0; i < k_Count; ++i)
        connection->Send(Line(String::From(i)));
    ASSERT_TRUE(listener.Heard(1));
    listener.Hold(false);
    ASSERT_TRUE(listener.Heard(k_Count));
    for (size_t i = 0; i < k_Count; ++i)
        ASSERT_EQ(listener.lines[i], String::From(i));
    listener.Hold(true);
    for (size_t i = 0; i < k_Count; ++i)
        connection->Send(Line("x"));
    ASSERT_TRUE(listener.Heard(k_Count + 1));
    Messenger::Stop(false, false, false);
    listener.Hold(false);
}

TEST_F(MessengerTest, OutputComesIntoALocalFile) {
    UID const early(true);
    ASSERT_TRUE(FileServer::Request(early, UID::FromName("good"), false) != nullptr);
    ASSERT_TRUE(WaitFor([&] { return listener.Received(early); }));
    EXPECT_TRUE(listener.received[early].error.Contains("no connection"));
    Connect();

    Rows<char const*, char const*> const cases = {
        {"good", ""}, {"refused", "the log was cleaned up"}, {"gap", "missing"}};
    for (auto const& [work, error] : cases) {
        UID const request(true);
        ASSERT_TRUE(FileServer::Request(request, UID::FromName(work), false) != nullptr);
        ASSERT_TRUE(WaitFor([&] { return listener.Received(request); }));
        FileTransfer const transfer = listener.received[request];
        EXPECT_EQ(transfer.error.Empty(), String(error).Empty()) << transfer.error;
        EXPECT_TRUE(transfer.error.Contains(error)) << transfer.error;
        if (transfer.error.Empty()) {
            EXPECT_EQ(File::Read(transfer.path), "one\ntwo\n");
        }
        EXPECT_EQ(transfer.host, "master01");
        FileServer::Release(request);
    }
    UID const silent(true);
    UID const released(true);
    size_t const before = server.messages;
    for (UID const& request : {silent, released})
        ASSERT_TRUE(FileServer::Request(request, UID::FromName("silent"), true) != nullptr);
    EXPECT_TRUE(FileServer::Request(silent, UID::FromName("silent"), true) == nullptr) << "asked twice";
    ASSERT_TRUE(WaitFor([&] { return server.messages >= before + 2; }));
    FileServer::Release(released);
    listening.reset();
    ASSERT_TRUE(WaitFor([&] { return listener.Received(silent); }));
    EXPECT_TRUE(listener.received[silent].error.Contains("lost"));
    EXPECT_FALSE(listener.Received(released));
}

TEST_F(MessengerTest, OutputThatComesFasterThanItIsWrittenEndsWithAWord) {
    Connect();
    UID const request(true);
    Path const path = FileServer::LocalPath(request);
    File::MakeFolder(path.Branch());
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); // takes nothing while nobody reads
    ASSERT_TRUE(FileServer::Request(request, UID::FromName("silent"), true) != nullptr);
    String const data(std::string(FileServer::k_MaxQueuedBytes / 3, 'x'));
    for (int64_t i = 0; i < 2; ++i)
        OutputDataMsg::s_Signal.Emit(OutputDataMsg::Create(request, i * static_cast<int64_t>(data.size()), data));
    // Pieces without data fill the memory as well.
    for (size_t i = 0; i < FileServer::k_MaxQueuedBytes / sizeof(OutputDataMsg); ++i)
        OutputDataMsg::s_Signal.Emit(OutputDataMsg::Create(request, 2 * static_cast<int64_t>(data.size())));
    std::ifstream reader(path.c_str());
    EXPECT_LE(std::string(std::istreambuf_iterator<char>(reader), {}).size(),
              FileServer::k_MaxQueuedBytes + data.size());
    ASSERT_TRUE(WaitFor([&] { return listener.Received(request); }));
    EXPECT_TRUE(listener.received[request].error.Contains("faster")) << listener.received[request].error;
    FileServer::Release(request);
}

TEST_F(MessengerTest, AnInfoClientTakesSamplesAndNoticesTheEnd) {
    InfoClient info;
    EXPECT_FALSE(info.IsConnected());
    EXPECT_FALSE(info.Receive(0));
    IPPeer const peer("127.0.0.1", port);
    info.ConnectTo(peer);
    EXPECT_TRUE(info.IsConnected());
    EXPECT_EQ(info.Peer(), peer);
    ASSERT_TRUE(info.Receive(20));
    EXPECT_EQ(std::tuple(info.TotalPhysical(), info.FreePhysical(), info.CPU()), std::tuple(4000u, 0u, 100u));
    EXPECT_FALSE(info.Receive(0)) << "one sample counts once";
    listening.reset();
    ASSERT_TRUE(WaitFor([&] { return !info.IsConnected(); }));
    EXPECT_FALSE(info.LastError().Empty());
    info.Close();
    EXPECT_TRUE(info.Peer().IsNull());
}

} // namespace vorlan::test_messenger
