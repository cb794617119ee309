#include "runtimetools.h"

#include <atomic>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace corekit::test {
namespace {

struct LogTest : ::testing::Test {
    ~LogTest() override {
        Log::Close();
        Log::SetLevel(LogLevel::Info);
    }
    Path File(const char* name) { return folder.Get() / Path(name); }
    std::vector<String> Lines(const char* name = "History.log") {
        std::vector<String> lines;
        String text = corekit::File::Read(File(name));
        for (size_t at = 0, end; (end = text.Find('\n', at)) != String::npos; at = end + 1)
            lines.push_back(text.Mid(at, end - at));
        return lines;
    }
    TempFolder folder;
};

TEST_F(LogTest, WritesOneLinePerRecordWithTimeAndLevel) {
    ASSERT_TRUE(Log::Open(folder.Get() / Path("below") / Path("here"), "Tester"));
    EXPECT_EQ(Log::FileName(), folder.Get() / Path("below/here/History.log"));
    Log::SetLevel(LogLevel::Debug);
    LogDebug("one");
    LogStatus("two {} %s");
    Log::Flush();
    String text = corekit::File::Read(Log::FileName());
    std::regex record("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} \\d+ Debug    one\n");
    EXPECT_TRUE(std::regex_search(text.Str(), record)) << text;
    EXPECT_TRUE(text.Contains("Status   two {} %s\n")) << text;
    EXPECT_TRUE(text.Contains("Tester started"));
}

TEST_F(LogTest, KeepsARecordInOnePieceWhateverItsText) {
    struct Case {
        String text;
        const char* written;
    } const cases[] = {
        {"first\nsecond\n\nthird", "Info     first\n    second\n    \n    third\n"},
        {"ends in feeds\r\n\n", "Info     ends in feeds\n"},
        {"windows\r\nlines", "Info     windows\n    lines\n"},
        {"red \x1b[31m alert \x07", "Info     red \\x1b[31m alert \\x07\n"},
        {String("zero\0byte", 9), "Info     zero\\x00byte\n"},
        {"", "Info     \n"},
    };
    ASSERT_TRUE(Log::Open(folder.Get(), "Tester"));
    for (auto const& test : cases)
        LogInfo(test.text);
    LogInfo(String(200000, 'x'));
    Log::Flush();
    String text = corekit::File::Read(File("History.log"));
    for (auto const& test : cases)
        EXPECT_TRUE(text.Contains(test.written)) << test.written;
    EXPECT_TRUE(text.Contains("more bytes)\n"));
    EXPECT_LT(text.size(), 100000u);
}

TEST_F(LogTest, RotatesBySizeAndKeepsSoMany) {
    Log::Limits limits;
    limits.maxBytes = 4096;
    limits.keep = 2;
    ASSERT_TRUE(Log::Open(folder.Get(), "Tester", limits));
    for (int i = 0; i < 400; ++i)
        LogInfo("record " + String::From(i) + " of a long run of them");
    Log::Flush();
    for (const char* name : {"History.log", "History.1.log", "History.2.log"}) {
        EXPECT_GT(corekit::File::Size(File(name)), 0) << name;
        EXPECT_LE(corekit::File::Size(File(name)), 4096) << name;
    }
    EXPECT_FALSE(File("History.3.log").Exists());
    EXPECT_TRUE(Lines().back().Contains("record 399 "));
}

TEST_F(LogTest, RecordsFromTheLevelUpButTellsTheSinksAll) {
    ASSERT_TRUE(Log::Open(folder.Get(), "Tester"));
    LogCatcher outer;
    {
        LogCatcher inner;
        Log::SetLevel(LogLevel::Warning);
        LogInfo("quiet");
        LogWarning("loud");
        EXPECT_EQ(inner.Records().size(), 2u);
    }
    LogError("louder");
    auto records = outer.Records();
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[0], std::make_pair(LogLevel::Info, String("quiet")));
    EXPECT_EQ(records[2], std::make_pair(LogLevel::Error, String("louder")));
    Log::Flush();
    String text = corekit::File::Read(File("History.log"));
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
    ASSERT_TRUE(Log::Open(folder.Get(), "Tester"));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 500; ++i)
                LogInfo("thread " + String::From(t) + " record " + String::From(i) + " end");
        });
    }
    for (auto& thread : threads)
        thread.join();
    Log::Close();
    auto lines = Lines();
    EXPECT_EQ(lines.size(), 2001u);
    for (size_t i = 1; i < lines.size(); ++i)
        ASSERT_TRUE(lines[i].EndsWith(" end")) << lines[i];
}

TEST_F(LogTest, AFullDiskCostsRecordsAndNothingElse) {
    if (!Path("/dev/full").Exists())
        GTEST_SKIP() << "this system has no /dev/full";
    std::filesystem::create_symlink("/dev/full", File("History.log").Native());
    ASSERT_TRUE(Log::Open(folder.Get(), "Tester"));
    for (int i = 0; i < 20000; ++i)
        LogInfo("a record that finds no room on the disk, again and again");
    Log::Flush();
    Log::Close();
}

TEST_F(LogTest, SaysWhyItCannotOpen) {
    corekit::File::WriteWhole(File("taken"), "a file, not a folder");
    LogCatcher catcher;
    EXPECT_FALSE(Log::Open(File("taken"), "Tester"));
    EXPECT_TRUE(catcher.Has(LogLevel::Error, "Cannot write the log in"));
    LogInfo("still safe");
}

} // namespace
} // namespace corekit::test
