#include "runtimetools.h"

#include <regex>

namespace corekit::test::test_log {

struct LogTest : ::testing::Test {
    ~LogTest() override {
        Log::Close();
        Log::SetLevel(LogLevel::Info);
    }
    String Written() {
        Log::Flush();
        return File::Read(folder / "History.log");
    }
    TempFolder folder;
};

TEST_F(LogTest, WritesOneLinePerRecordWithTimeAndLevel) {
    ASSERT_TRUE(Log::Open(folder / "below/here", "Tester"));
    EXPECT_EQ(Log::FileName(), folder / "below/here/History.log");
    Log::SetLevel(LogLevel::Debug);
    LogDebug("one");
    LogStatus("two {} %s");
    Log::Flush();
    String text = File::Read(Log::FileName());
    std::regex record("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} \\d+ Debug    one\n");
    EXPECT_TRUE(std::regex_search(text.Str(), record)) << text;
    EXPECT_TRUE(text.Contains("Status   two {} %s\n")) << text;
    EXPECT_TRUE(text.Contains("Tester started"));
}

TEST_F(LogTest, KeepsARecordInOnePieceWhateverItsText) {
    Rows<String, char const*> const cases = {
        {"first\nsecond\n\nthird", "Info     first\n    second\n    \n    third\n"},
        {"ends in feeds\r\n\n", "Info     ends in feeds\n"},
        {"windows\r\nlines", "Info     windows\n    lines\n"},
        {"red \x1b[31m alert \x07", "Info     red \\x1b[31m alert \\x07\n"},
        {String("zero\0byte", 9), "Info     zero\\x00byte\n"},
        {"", "Info     \n"},
    };
    ASSERT_TRUE(Log::Open(folder.Folder(), "Tester"));
    for (auto const& [said, written] : cases)
        LogInfo(said);
    LogInfo(String(200000, 'x'));
    String text = Written();
    for (auto const& [said, written] : cases)
        EXPECT_TRUE(text.Contains(written)) << written;
    EXPECT_TRUE(text.Contains("more bytes)\n"));
    EXPECT_LT(text.size(), 100000u);
}

TEST_F(LogTest, RotatesBySizeAndKeepsSoMany) {
    Log::Limits limits;
    limits.maxBytes = 4096;
    limits.keep = 2;
    ASSERT_TRUE(Log::Open(folder.Folder(), "Tester", limits));
    for (int i = 0; i < 400; ++i)
        LogInfo("record " + String::From(i) + " of a long run of them");
    EXPECT_TRUE(Written().Contains("record 399 "));
    for (char const* name : {"History.log", "History.1.log", "History.2.log"}) {
        EXPECT_GT(File::Size(folder / name), 0) << name;
        EXPECT_LE(File::Size(folder / name), 4096) << name;
    }
    EXPECT_FALSE((folder / "History.3.log").Exists());
}

TEST_F(LogTest, RecordsFromTheLevelUpButTellsTheSinksAll) {
    ASSERT_TRUE(Log::Open(folder.Folder(), "Tester"));
    LogLines outer(LogLevel::Debug);
    {
        LogLines inner(LogLevel::Debug);
        Log::SetLevel(LogLevel::Warning);
        LogInfo("quiet");
        LogWarning("loud");
        EXPECT_EQ(inner.Get().size(), 2u);
    }
    LogError("louder");
    EXPECT_EQ(outer.Get(), (std::vector<String>{"quiet", "loud", "louder"}));
    String text = Written();
    EXPECT_FALSE(text.Contains("quiet"));
    EXPECT_TRUE(text.Contains("loud"));
}

TEST_F(LogTest, ASinkMayLogAndIsNotCalledOnceItsHandleHasDied) {
    std::atomic<int> calls{0};
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        while (!stop)
            LogDebug("again");
    });
    for (int round = 0; round < 200; ++round) {
        auto data = std::make_unique<std::atomic<int>>(0);
        auto handle = Log::AddSink([&, raw = data.get()](LogLevel level, String const&) {
            ++*raw;
            if (++calls % 50 == 0 && level == LogLevel::Debug)
                LogInfo("from a sink");
        });
        if (round % 20 == 0) {
            EXPECT_TRUE(WaitFor([&, before = calls.load()] { return calls > before; }));
        }
        { auto ended = std::move(handle); }
        data.reset();
    }
    stop = true;
    writer.join();
    EXPECT_GT(calls, 0);
}

TEST_F(LogTest, SeveralThreadsLoseNothing) {
    ASSERT_TRUE(Log::Open(folder.Folder(), "Tester"));
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 500; ++i)
                LogInfo("thread " + String::From(t) + " record " + String::From(i) + " end");
        });
    }
    threads.clear();
    Log::Close();
    std::istringstream lines(Written().Str());
    std::string line;
    std::getline(lines, line);
    int count = 0;
    for (; std::getline(lines, line); ++count)
        ASSERT_TRUE(line.ends_with(" end")) << line;
    EXPECT_EQ(count, 2000);
}

TEST_F(LogTest, AFullDiskCostsRecordsAndNothingElse) {
    std::filesystem::create_symlink("/dev/full", (folder / "History.log").Native());
    ASSERT_TRUE(Log::Open(folder.Folder(), "Tester"));
    for (int i = 0; i < 20000; ++i)
        LogInfo("a record that finds no room on the disk, again and again");
    Log::Flush();
}

TEST_F(LogTest, SaysWhyItCannotOpen) {
    File::WriteWhole(folder / "taken", "a file, not a folder");
    LogLines lines(LogLevel::Error);
    EXPECT_FALSE(Log::Open(folder / "taken", "Tester"));
    EXPECT_TRUE(lines.Has("Cannot write the log in"));
    LogInfo("still safe");
}

} // namespace corekit::test::test_log
