#include <vorlan/components.h>

#include "nettools.h"

#include <corekit/filelock.h>

namespace vorlan {

using net::WaitFor;

// Programs of a few lines stand for the real ones, in a folder of the test's own.
class ComponentsTest : public ::testing::Test {
protected:
    ComponentsTest()
        : m_home("VORLAN_HOME", (m_folder / "home").c_str()),
          m_appDir(std::exchange(File::s_AppDir, m_folder.Folder())) {}
    ~ComponentsTest() override {
        for (int component : {k_ComponentMaster, k_ComponentEngine, k_ComponentMerrow})
            Components::StopAndWait(component, 100);
        Components::WaitForStops();
        File::s_AppDir = m_appDir;
    }

    void Script(char const* program, char const* lines) {
        Path const path = m_folder / program;
        File::WriteWhole(path, String("#!/bin/sh\n") + lines, 0755);
        ::chmod(path.c_str(), 0755);
    }
    // A program that says it is there and holds its lock as a real one does.
    static constexpr char k_Locking[] = "mkdir -p \"$VORLAN_HOME/machine/VorlanMaster\"\n"
                                        "exec 9>\"$VORLAN_HOME/machine/VorlanMaster/VorlanMaster.lock\"\n"
                                        "flock -n 9 || exit 3\n"
                                        "printf '%s VorlanMaster\\n' $$ >&9\n"
                                        "echo ready\n"
                                        "while :; do sleep 0.05 9>&-; done\n";
    static bool Says(char const* program, char const* text) {
        Path const path = Components::Folder(program) / "Console.log";
        return WaitFor([&] { return path.Exists() && File::Read(path).Contains(text); });
    }

    TempFolder m_folder;
    EnvironmentValue m_home;
    Path const m_appDir;
};

TEST_F(ComponentsTest, StartsOnceWithItsArgumentsAndStops) {
    Script("Merrow", "echo \"got $# $1 $2\"\nexec sleep 60\n");
    EXPECT_FALSE(Components::DidStart(k_ComponentMerrow));
    Process* const process = Components::Start(k_ComponentMerrow, "--name \"two words\"");
    ASSERT_TRUE(process && Says("Merrow", "got 2 --name two words"));
    EXPECT_TRUE(Components::DidStart(k_ComponentMerrow));
    EXPECT_EQ(::getsid(process->Pid()), process->Pid()) << "it shares the terminal of its starter";
    EXPECT_FALSE(Components::Start(k_ComponentMerrow, ""));
    Components::Stop(k_ComponentMerrow);
    // While it ends, a start is done right after.
    Components::Start(k_ComponentMerrow, "again");
    Components::WaitForStops();
    ASSERT_TRUE(Says("Merrow", "got 1 again"));
    EXPECT_TRUE(Components::StopAndWait(k_ComponentMerrow));
    EXPECT_FALSE(Components::DidStart(k_ComponentMerrow) || Components::IsRunning(k_ComponentMerrow));
    // One that ended by itself can start again.
    Script("Merrow", "exit 0\n");
    ASSERT_TRUE(Components::Start(k_ComponentMerrow, ""));
    ASSERT_TRUE(WaitFor([&] { return !Components::DidStart(k_ComponentMerrow); }));
    EXPECT_TRUE(Components::Start(k_ComponentMerrow, ""));
}

TEST_F(ComponentsTest, WhatCannotStartIsOneErrorLine) {
    LogLines lines(LogLevel::Error);
    EXPECT_FALSE(Components::Start(k_ComponentEngine, ""));
    ASSERT_EQ(lines.Get().size(), 1u);
    EXPECT_TRUE(lines.Get()[0].Contains("VorlanEngine") && lines.Get()[0].Contains("Install it"));
    File::WriteWhole(m_folder / "VorlanEngine", "no program", 0644);
    EXPECT_FALSE(Components::Start(k_ComponentEngine, ""));
    EXPECT_EQ(lines.Get().size(), 2u);
    for (int const component : {int{k_ComponentGui}, 17})
        EXPECT_FALSE(Components::Start(component, ""));
    EXPECT_STREQ(Components::GetName(17), "");
    EXPECT_FALSE(Components::DidStart(k_ComponentEngine));
    Components::Stop(k_ComponentEngine);
    EXPECT_TRUE(Components::StopAndWait(k_ComponentEngine));
}

TEST_F(ComponentsTest, OneThatDoesNotEndIsKilled) {
    LogLines lines;
    Script("Merrow", "trap '' TERM\necho deaf\nwhile :; do sleep 0.05; done\n");
    ASSERT_TRUE(Components::Start(k_ComponentMerrow, "") && Says("Merrow", "deaf"));
    EXPECT_TRUE(Components::StopAndWait(k_ComponentMerrow, 100));
    EXPECT_FALSE(Components::IsRunning(k_ComponentMerrow));
    EXPECT_TRUE(lines.Get().size() == 1 && lines.Has("killed"));
}

TEST_F(ComponentsTest, OneOfAnotherProcessIsFoundByItsLockFile) {
    Script("VorlanMaster", k_Locking);
    ProcessOptions options;
    options.stdoutFd = ProcessOptions::k_Null;
    std::unique_ptr<Process> const other = Process::Start(m_folder / "VorlanMaster", options);
    ASSERT_TRUE(other != nullptr);
    int process = 0;
    ASSERT_TRUE(WaitFor([&] {
        return FileLock::IsHeld(Components::LockFile(k_ComponentMaster), nullptr, &process) && process == other->Pid();
    }));
    EXPECT_TRUE(Components::IsRunning(k_ComponentMaster) && !Components::DidStart(k_ComponentMaster));
    EXPECT_FALSE(Components::Start(k_ComponentMaster, ""));
    // The starter takes its dead child away, as another client would.
    std::thread reaper([&] { other->Wait(20'000); });
    EXPECT_TRUE(Components::StopAndWait(k_ComponentMaster));
    reaper.join();
    EXPECT_FALSE(other->Running());
    // The file of a dead one is in nobody's way.
    EXPECT_FALSE(Components::IsRunning(k_ComponentMaster));
    ASSERT_TRUE(Components::Start(k_ComponentMaster, "") && Says("VorlanMaster", "ready"));
    EXPECT_TRUE(Components::DidStart(k_ComponentMaster));
}

TEST_F(ComponentsTest, ALockIsTakenOnceAndAStaleOneSilently) {
    LogLines lines;
    Path const file = Components::LockFile(k_ComponentEngine);
    File::MakeFolder(file.Branch());
    File::WriteWhole(file, "999999 VorlanEngine\n");
    EXPECT_EQ(file, m_folder / "home/machine/VorlanEngine/VorlanEngine.lock");
    String holder;
    {
        auto const lock = ComponentLock::TakeLock(k_ComponentEngine, &holder);
        ASSERT_TRUE(lock != nullptr) << holder;
        EXPECT_FALSE(ComponentLock::TakeLock(k_ComponentEngine, &holder));
        EXPECT_TRUE(holder.Contains("VorlanEngine") && holder.Contains(String::From(::getpid()))) << holder;
        EXPECT_TRUE(Components::IsRunning(k_ComponentEngine));
    }
    EXPECT_TRUE(ComponentLock::TakeLock(k_ComponentEngine, &holder) != nullptr);
    EXPECT_TRUE(lines.Get().empty());
}

} // namespace vorlan
