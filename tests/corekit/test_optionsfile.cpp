#include "test.h"

#include <corekit/optionsfile.h>

#include <barrier>

namespace corekit::test_optionsfile {

struct OptionsFileTest : testing::Test {
    int Stored(String const& key) const {
        IniFile file;
        file.Load(path);
        return file.GetValue("S", key, -1);
    }
    TempFolder folder;
    Path const path = folder / "VorlanGui.ini";
};

TEST_F(OptionsFileTest, EachChangeReachesTheDiskAndNoChangeDoesNot) {
    FaultyLayer layer;
    OptionsFile options(path);
    EXPECT_FALSE(path.Exists());
    options.SetValue("S", "a", 1);
    EXPECT_EQ(Stored("a"), 1);
    options.SetValue("S", "a", 1);
    options.ClearKey("S", "none");
    options.ClearSection("none");
    EXPECT_EQ(layer.renames, 1);
    options.ClearKey("S", "a");
    EXPECT_EQ(Stored("a"), -1);
    options.InsertSection("T");
    options.InsertSection("T");
    OptionsFile again(path);
    EXPECT_TRUE(again.HasSection("T"));
    EXPECT_EQ(layer.renames, 3) << "opening wrote the file";
}

TEST_F(OptionsFileTest, PausesNestAndTheLastOneOutWritesOnce) {
    FaultyLayer layer;
    OptionsFile options(path);
    {
        OptionsFile::PauseAutoWrite const outer(options);
        {
            OptionsFile::WriteLock const inner(options);
            for (int i = 0; i < 10; ++i)
                options.SetValue("S", SFormat("k%d", i), i);
        }
        // It holds the writes of other threads too.
        std::thread([&] {
            OptionsFile::PauseAutoWrite const own(options);
            options.SetValue("S", "other", 1);
        }).join();
        EXPECT_EQ(layer.renames, 0);
    }
    EXPECT_EQ(layer.renames, 1);
    EXPECT_EQ(Stored("k9"), 9);
    EXPECT_EQ(Stored("other"), 1);
    {
        OptionsFile::PauseAutoWrite const nothing(options);
        options.SetValue("S", "k9", 9);
    }
    EXPECT_EQ(layer.renames, 1);
}

TEST_F(OptionsFileTest, TwoThreadsLoseNoChange) {
    FaultyLayer layer;
    constexpr int rounds = 60;
    {
        OptionsFile options(path);
        std::barrier start(2);
        auto const work = [&](char const* who) {
            start.arrive_and_wait();
            for (int i = 0; i < rounds; ++i) {
                OptionsFile::PauseAutoWrite const pause(options);
                options.SetValue("S", SFormat("%s-%d-a", who, i), i);
                options.SetValue("S", SFormat("%s-%d-b", who, i), i);
                options.GetSection("S");
                String section;
                options.NextSection(section);
            }
            options.SetValue("S", SFormat("%s-last", who), 1);
        };
        std::jthread one(work, "one");
        std::jthread two(work, "two");
    }
    IniFile file;
    file.Load(path);
    EXPECT_EQ(file.Keys("S").size(), size_t{2 * (2 * rounds + 1)});
    EXPECT_LE(layer.renames, 2 * rounds + 2);
}

TEST_F(OptionsFileTest, LocksPausesAndSingleWritesOfManyThreadsNeverBlockEachOther) {
    OptionsFile options(path);
    auto const groups = [&](int who) {
        for (int i = 0; i < 40; ++i) {
            OptionsFile::WriteLock const lock(options);
            options.InsertSection(SFormat("View %d", who));
            for (char const* key : {"ViewName", "Flags"}) {
                OptionsFile::PauseAutoWrite const inner(options);
                options.SetValue(key, i);
            }
            // Under the lock the current section is nobody else's.
            EXPECT_EQ(options.CurrentSection(), SFormat("View %d", who));
        }
    };
    auto const singles = [&] {
        for (int i = 0; i < 40; ++i) {
            options.SetValue("A", "a", i);
            options.EraseFirstSection();
        }
    };
    {
        std::jthread one(groups, 1);
        std::jthread two(groups, 2);
        std::jthread three(singles);
    }
    IniFile file;
    file.Load(options.FilePath());
    EXPECT_EQ(file.SaveText(), options.SaveText());
}

TEST_F(OptionsFileTest, AFullDiskIsOneErrorAndTheChangeIsWrittenLater) {
    OptionsFile options(path);
    options.SetValue("S", "a", 1);
    LogLines lines(LogLevel::Error);
    {
        FaultyLayer layer;
        layer.fault = FaultyLayer::Fault::FullDisk;
        options.SetValue("S", "a", 2);
        options.SetValue("S", "b", 3);
    }
    EXPECT_TRUE(lines.Has(path) && lines.Has("Free some space"));
    EXPECT_EQ(Stored("a"), 1);
    EXPECT_EQ(options.GetValue("S", "a", 0), 2);
    options.SetValue("S", "c", 4);
    EXPECT_EQ(Stored("a"), 2);
    EXPECT_EQ(Stored("b"), 3);
    EXPECT_EQ(lines.Get().size(), 1u);
}

TEST_F(OptionsFileTest, ADamagedFileIsMovedAsideAndAnUnreadableOneLeftAlone) {
    String const damaged(std::string_view("[S]\na=1\0\0\0", 10));
    File::WriteWhole(path, damaged);
    LogLines lines(LogLevel::Error);
    OptionsFile options;
    EXPECT_FALSE(options.Open(path));
    EXPECT_EQ(lines.Get().size(), 1u);
    options.SetValue("S", "a", 2);
    EXPECT_EQ(Stored("a"), 2);
    EXPECT_EQ(File::Read(path + ".damaged"), damaged);
    // A folder in the file's place cannot be read, whoever runs the test.
    Path const unreadable = folder / "b.ini";
    File::MakeFolder(unreadable / "inside");
    OptionsFile other;
    EXPECT_FALSE(other.Open(unreadable));
    other.SetValue("S", "a", 3);
    EXPECT_EQ(other.GetValue("S", "a", 0), 3);
    EXPECT_TRUE((unreadable / "inside").IsFolder());
    EXPECT_EQ(lines.Get().size(), 2u);
}

} // namespace corekit::test_optionsfile
