#include "runtimetools.h"

#include <corekit/namedpipe.h>

namespace corekit::test::test_namedpipe {

struct CountingPipe : NamedPipeServerThread {
    using NamedPipeServerThread::NamedPipeServerThread;
    ~CountingPipe() override { Stop(); }
    std::atomic<int> connections{0};
    void OnConnect() override { ++connections; }
};

struct NamedPipeTest : ::testing::Test {
    TempFolder folder;
    EnvironmentValue home{"VORLAN_HOME", folder.Folder().c_str()};
};

TEST_F(NamedPipeTest, EachConnectionIsTold) {
    EXPECT_FALSE(NamedPipeServerThread::Signal("VorlanGui-EngineMode")) << "nobody listens yet";
    {
        CountingPipe pipe("VorlanGui-EngineMode");
        ASSERT_TRUE(pipe.IsListening());
        EXPECT_TRUE(NamedPipeServerThread::Signal("VorlanGui-EngineMode")) << "kept until the thread runs";
        pipe.Start();
        EXPECT_TRUE(NamedPipeServerThread::Signal("VorlanGui-EngineMode"));
        EXPECT_FALSE(NamedPipeServerThread::Signal("Another"));
        EXPECT_TRUE(WaitFor([&] { return pipe.connections == 2; }));
    }
    EXPECT_FALSE(NamedPipeServerThread::Signal("VorlanGui-EngineMode")) << "nobody listens any more";
}

TEST_F(NamedPipeTest, OneListensAtATimeAndANewOneReplacesADeadOne) {
    {
        CountingPipe first("Name");
        LogLines log(LogLevel::Error);
        CountingPipe second("Name");
        EXPECT_TRUE(first.IsListening());
        EXPECT_FALSE(second.IsListening());
        EXPECT_TRUE(log.Has("another process does"));
        second.Start();
    }
    // A process that dies without tidying up.
    ASSERT_EQ(EndOf(Fork([] {
                  static CountingPipe s_left("Name");
                  return s_left.IsListening() ? 0 : 1;
              })),
              0);
    CountingPipe next("Name");
    ASSERT_TRUE(next.IsListening());
    next.Start();
    EXPECT_TRUE(NamedPipeServerThread::Signal("Name"));
    EXPECT_TRUE(WaitFor([&] { return next.connections == 1; }));
}

TEST_F(NamedPipeTest, StopWakesAnIdleThreadAtOnceAndItCanStartAgain) {
    CountingPipe pipe("Idle");
    for (int round = 1; round <= 20; ++round) {
        pipe.Start();
        EXPECT_TRUE(NamedPipeServerThread::Signal("Idle"));
        EXPECT_TRUE(WaitFor([&] { return pipe.connections == round; }));
        pipe.Stop();
    }
}

TEST_F(NamedPipeTest, WorksUnderALongHomeAndRefusesOddNames) {
    Path deep = folder / String(150, 'd');
    EnvironmentValue longHome("VORLAN_HOME", deep.c_str());
    CountingPipe pipe("Name");
    EXPECT_TRUE(pipe.IsListening());
    EXPECT_TRUE(NamedPipeServerThread::Signal("Name"));
    for (String const& name : {String(), String("a/b"), String("../a"), String(".hidden"), String(65, 'n')}) {
        CountingPipe odd(name);
        EXPECT_FALSE(odd.IsListening()) << name;
        EXPECT_FALSE(NamedPipeServerThread::Signal(name)) << name;
    }
}

TEST_F(NamedPipeTest, AFolderThatOthersMayWriteIsRefused) {
    Path pipes = folder / "pipes";
    std::filesystem::create_directory(pipes.Native());
    std::filesystem::permissions(pipes.Native(), std::filesystem::perms::all);
    LogLines log(LogLevel::Error);
    CountingPipe pipe("Name");
    EXPECT_FALSE(pipe.IsListening());
    EXPECT_TRUE(log.Has("can be written by other users"));
}

} // namespace corekit::test::test_namedpipe
