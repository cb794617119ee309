// A file as the text of a display: its index, reading it, following it. No windows.
#include "test.h"

#include "wxvorlan/displays/filefollower.h"
#include "wxvorlan/displays/textexport.h"

namespace test_filetext {

using corekit::File;
using corekit::Path;
using corekit::String;

void AppendTo(Path const& path, std::string_view text) {
    std::ofstream(path.c_str(), std::ios::app | std::ios::binary)
        .write(text.data(), static_cast<std::streamsize>(text.size()));
}

std::vector<std::string> SplitNaively(std::string const& text) {
    std::vector<std::string> lines;
    for (size_t at = 0; at < text.size();) {
        size_t const feed = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, feed - at));
        at = feed + 1;
    }
    return lines;
}

// What a display shows of it.
std::string Beginning(std::string line) {
    if (line.size() < 60'000 && line.ends_with('\r'))
        line.pop_back();
    return line.substr(0, TextLine::k_MaxShownBytes);
}

// Lines of all kinds: with either end, empty, with any bytes, longer than each buffer.
std::string RandomText(std::mt19937& random) {
    std::string text;
    for (unsigned i = random() % 400; i > 0; --i) {
        unsigned const kind = random() % 40;
        text += kind == 0   ? std::string(15'000 + random() % 3'000, 'x')
                : kind == 1 ? std::string(random() % 200'000, 'y')
                : kind == 2 ? std::string("\0\x1b\xff", 3)
                : kind == 3 ? "\r\n"
                            : (random() % 3 ? "frame \xE2\x82\xAC 17" : "\n");
    }
    return text;
}

std::string ReadAll(TextSnapshot const& text, int first, int end) {
    std::string all;
    text.Read(first, end, [&](TextSnapshot::Piece const& piece) {
        all += piece.bytes;
        return true;
    });
    return all;
}

struct FollowTest : ::testing::Test {
    FollowTest() : path(folder / "render.log") {}
    ~FollowTest() override {
        if (follower)
            follower->Stop();
    }
    void Follow() {
        follower = std::make_unique<FileFollower>(path, [] {});
        follower->Start();
    }
    // Waits until the news say so.
    bool Until(std::function<bool(FileNews const&)> const& condition) {
        return WaitFor([&] {
            if (auto taken = follower->TakeNews())
                news = *taken;
            return condition(news);
        });
    }
    std::string Shown() const {
        std::string shown;
        for (size_t i = 0; news.page && i < news.page->lines.size(); ++i)
            shown += news.page->lines[i].text.Str() + "|";
        return shown;
    }
    corekit::TempFolder folder;
    Path path;
    std::unique_ptr<FileFollower> follower;
    FileNews news;
};

TEST(IndexedFileTest, LinesAreThoseOfANaiveSplit) {
    unsigned const seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 12; ++round) {
        corekit::TempFolder const folder;
        Path const path = folder / "log";
        std::string text;
        AppendTo(path, "");
        auto const file = IndexedFile::Open(path);
        for (int growth = 0; growth < 4; ++growth) {
            std::string const more = RandomText(random);
            text += more;
            AppendTo(path, more);
            while (file->ReadOn(1 + random() % 300'000)) {
            }
            auto const lines = SplitNaively(text);
            ASSERT_EQ(file->Lines(), static_cast<int>(lines.size()));
            ASSERT_LE(file->IndexBytes(), 16 * lines.size());
            ASSERT_FALSE(file->IsRewritten());
            for (int look = 0; look < 8 && !lines.empty(); ++look) {
                auto const first = random() % lines.size();
                auto const page = file->ReadLines(static_cast<int>(first), 60);
                ASSERT_EQ(page.size(), std::min<size_t>(60, lines.size() - first));
                for (size_t i = 0; i < page.size(); ++i)
                    ASSERT_EQ(page[i].text.Str(), Beginning(lines[first + i])) << first + i;
                auto const snapshot = file->Snapshot();
                auto const from = static_cast<size_t>(file->OffsetOf(static_cast<int>(first)));
                ASSERT_EQ(ReadAll(*snapshot, static_cast<int>(first), snapshot->Lines()), text.substr(from));
                int64_t offset = 0;
                auto const tail = file->ReadTail(50'000, offset);
                ASSERT_LE(tail.size(), lines.size());
                for (size_t i = 0; i < tail.size(); ++i)
                    ASSERT_EQ(tail[i].text.Str(), Beginning(lines[lines.size() - tail.size() + i]));
            }
        }
    }
}

TEST(IndexedFileTest, LineFeedsAreCountedAtAnyLength) {
    std::mt19937 random(7);
    for (size_t length : {0, 1, 63, 64, 65, 16'383, 16'384, 70'001}) {
        std::string text(length, 'x');
        for (char& c : text)
            c = random() % 4 ? '\n' : c;
        EXPECT_EQ(CountLineFeeds(text), std::count(text.begin(), text.end(), '\n')) << length;
    }
}

TEST(IndexedFileTest, CopiesAndSavesWhatIsThere) {
    corekit::TempFolder const folder;
    Path const path = folder / "log";
    std::string const text = "one\r\n\x1b[31mtwo\x1b[0m red\n" + std::string(30'000, 'z') + "\nlast";
    AppendTo(path, text);
    auto const file = IndexedFile::Open(path);
    while (file->ReadOn(1 << 20)) {
    }
    auto const snapshot = file->Snapshot();
    TextExport job;
    for (auto const& [from, to, copied] : Rows<TextPosition, TextPosition, std::string>{
             {{0, 1}, {1, 3}, "ne\ntwo"},
             {{1, 4}, {3, 2}, "red\n" + std::string(30'000, 'z') + "\nla"},
             {{0, 0}, {3, TextPosition::k_LineEnd}, "one\ntwo red\n" + std::string(30'000, 'z') + "\nlast"},
             {{3, 0}, {9, 9}, "last"},
         })
        EXPECT_EQ(job.Copy(*snapshot, from, to).Str(), copied) << from.line;
    job.Save(*snapshot, path); // over itself
    EXPECT_EQ(File::Read(path).Str(), text);
    EXPECT_THROW(job.Save(*snapshot, folder / "none" / "log"), corekit::FileException);
}

TEST_F(FollowTest, TellsWhatBecomesOfTheFile) {
    Follow();
    EXPECT_TRUE(Until([](FileNews const& now) { return now.fate == FileFate::Failed; }));
    EXPECT_TRUE(news.failure.Contains("render.log"));
    AppendTo(path, "one\ntw");
    EXPECT_TRUE(Until([&](FileNews const& now) { return now.fate == FileFate::Grows && Shown() == "one|tw|"; }));
    AppendTo(path, "o\nthree");
    EXPECT_TRUE(Until([&](FileNews const&) { return Shown() == "one|two|three|"; }));
    std::ofstream(path.c_str(), std::ios::trunc) << "new\n";
    EXPECT_TRUE(Until([&](FileNews const& now) { return now.fate == FileFate::Truncated && Shown() == "new|"; }));
    // Longer than before, and still another text.
    std::ofstream(path.c_str(), std::ios::trunc) << "quite\nanother\n";
    EXPECT_TRUE(Until([&](FileNews const&) { return Shown() == "quite|another|"; }));
    File::WriteWhole(path, "in its place\n");
    EXPECT_TRUE(
        Until([&](FileNews const& now) { return now.fate == FileFate::Replaced && Shown() == "in its place|"; }));
    File::Delete(path);
    EXPECT_TRUE(Until([](FileNews const& now) { return now.fate == FileFate::Gone; }));
    EXPECT_EQ(Shown(), "in its place|");
    File::WriteWhole(path, "back\n");
    EXPECT_TRUE(Until([&](FileNews const&) { return Shown() == "back|"; }));
}

TEST_F(FollowTest, ShowsTheEndFirstAndThenAllLines) {
    std::string text;
    while (text.size() < 20'000'000)
        text += "line " + std::to_string(text.size()) + "\n";
    AppendTo(path, text);
    auto const lines = SplitNaively(text);
    Follow();
    EXPECT_TRUE(Until([&](FileNews const& now) { return now.isCounted; }));
    EXPECT_EQ(news.lines, static_cast<int>(lines.size()));
    EXPECT_GT(news.tailRow, 0);
    EXPECT_EQ(news.page->lines.back().text.Str(), lines.back());
    follower->WantLines(1000, 10, false);
    EXPECT_TRUE(Until([&](FileNews const& now) { return now.page->Has(1000); }));
    EXPECT_EQ(news.page->lines[static_cast<size_t>(1000 - news.page->first)].text.Str(), lines[1000]);
}

TEST_F(FollowTest, AFastWriterIsFollowedInOrder) {
    constexpr int k_Written = 300'000;
    AppendTo(path, "");
    Follow();
    std::thread writer([&] {
        std::ofstream file(path.c_str(), std::ios::app);
        for (int i = 0; i < k_Written; ++i)
            file << "line " << i << "\n";
    });
    int before = 0;
    bool isInOrder = true;
    EXPECT_TRUE(Until([&](FileNews const& now) {
        isInOrder &= now.lines >= before;
        before = now.lines;
        for (size_t i = 0; now.page && i + 1 < now.page->lines.size(); ++i)
            isInOrder &= now.page->lines[i].text == "line " + String::From(now.page->first + static_cast<int>(i));
        return now.lines == k_Written && now.page->End() == k_Written;
    }));
    writer.join();
    EXPECT_TRUE(isInOrder);
    EXPECT_EQ(news.page->lines.back().text, "line " + String::From(k_Written - 1));
}

} // namespace test_filetext
