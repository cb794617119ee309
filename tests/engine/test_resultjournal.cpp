#include "test.h"

#include "engine/report/resultjournal.h"

#include <vorlan/status.h>

namespace vorlan::test_resultjournal {

Time const k_Now = Time::FromUnixMs(1'700'000'000'000);

WorkEnded Result(UID const& work, int status = Finished, String const& note = {}) {
    WorkEnded ended;
    ended.work = work;
    ended.job = UID(true);
    ended.status = status;
    ended.note = note;
    ended.time = k_Now;
    ended.exitCode = status == Finished ? 0 : 3;
    return ended;
}

RunState Begun(UID const& work) { return {work, UID(true), Assigned, k_Now, "1-4"}; }

std::string Ended(WorkEnded const& ended) { return JournalLine({JournalRecord::Kind::Ended, ended}); }

class ResultJournalTest : public testing::Test {
protected:
    TempFolder folder;
    Path const file = folder / "results.journal";
};

TEST_F(ResultJournalTest, KeepsWhatTheMasterHasNotStoredAcrossAnEndWithoutWarning) {
    WorkEnded const kept = Result(UID(true), Unsuccessful, "tab\there, line\nfeed, back\\slash, \xff");
    WorkEnded const stored = Result(UID(true));
    UID const running(true);
    {
        ResultJournal journal(file, k_Now);
        journal.Begun(Begun(kept.work));
        journal.Begun(Begun(stored.work));
        journal.Begun(Begun(running));
        journal.Ended(kept, Time::Seconds(5));
        journal.Ended(stored, Time());
        journal.Flush();
        journal.Acknowledged(stored.work);
        journal.Flush();
    }
    for (int start = 0; start < 2; ++start) { // the second one reads what the first has written anew
        ResultJournal const journal(file, k_Now + Time::Minutes(1));
        ASSERT_EQ(journal.Pending().size(), 2U);
        EXPECT_EQ(*journal.FindPending(kept.work), kept);
        EXPECT_EQ(journal.FindPending(running)->status, Lost);
        EXPECT_EQ(journal.FindPending(running)->note, "VorlanEngine ended while this ran");
        EXPECT_EQ(journal.FindPending(stored.work), nullptr);
        EXPECT_EQ(journal.CutOff(), start == 0 ? 1U : 0U);
    }
}

TEST_F(ResultJournalTest, AFileCutAtAnyByteLosesAtMostItsLastLine) {
    WorkEnded const first = Result(UID(true));
    WorkEnded const second = Result(UID(true), Unsuccessful, "exit code 3");
    std::string const one = Ended(first);
    std::string const whole = one + Ended(second);
    // Near both line ends every byte, elsewhere every seventh.
    for (size_t length = 0; length <= whole.size(); ++length) {
        bool const isNearEnd = length + 3 > whole.size() || (length + 3 > one.size() && length < one.size() + 3);
        if (!isNearEnd && length % 7 != 0)
            continue;
        File::WriteWhole(file, std::string_view(whole).substr(0, length));
        ResultJournal const journal(file, k_Now);
        size_t const expected = (length + 1 >= one.size() ? 1 : 0) + (length + 1 >= whole.size() ? 1 : 0);
        EXPECT_EQ(journal.Pending().size(), expected) << "cut at " << length;
    }
}

TEST_F(ResultJournalTest, GarbageBetweenTheLinesIsPassedOver) {
    std::mt19937 random(7);
    for (int round = 0; round < 30; ++round) {
        WorkEnded const kept = Result(UID(true));
        std::string text;
        for (size_t i = 0; i < random() % 400; ++i)
            text += static_cast<char>(random());
        text += "\n" + Ended(kept);
        std::string damaged = Ended(Result(UID(true)));
        damaged[random() % (damaged.size() - 1)] ^= 0x21;
        text += damaged + "E\tx\n\tB\n";
        File::WriteWhole(file, text);
        LogLines lines;
        ResultJournal const journal(file, k_Now);
        ASSERT_EQ(journal.Pending().size(), 1U);
        EXPECT_EQ(*journal.FindPending(kept.work), kept);
        EXPECT_EQ(lines.Get().size(), 1U) << "one warning";
    }
}

TEST_F(ResultJournalTest, AFullDiskCostsNothingOnceThereIsRoom) {
    std::vector<WorkEnded> results;
    LogLines errors(LogLevel::Error);
    {
        ResultJournal journal(file, k_Now);
        FaultyLayer disk;
        disk.fault = FaultyLayer::Fault::FullDisk;
        disk.roomBytes = 200; // the first line and a piece of the second
        for (int i = 0; i < 5; ++i) {
            results.push_back(Result(UID(true)));
            journal.Ended(results.back(), Time());
            journal.Flush();
        }
        disk.fault = FaultyLayer::Fault::None;
        results.push_back(Result(UID(true)));
        journal.Ended(results.back(), Time());
        journal.Flush();
    }
    EXPECT_EQ(errors.Get().size(), 1U);
    ResultJournal const journal(file, k_Now);
    EXPECT_EQ(journal.Pending().size(), results.size());
}

TEST_F(ResultJournalTest, StaysSmallWhenResultsComeAndGo) {
    ResultJournal journal(file, k_Now);
    WorkEnded const kept = Result(UID(true), Unsuccessful, "still here");
    journal.Ended(kept, Time());
    for (int i = 0; i < 30'000; ++i) {
        UID const work(true);
        journal.Begun(Begun(work));
        journal.Ended(Result(work), Time());
        journal.Acknowledged(work);
        if (i % 16 == 0)
            journal.Flush();
    }
    EXPECT_LT(File::Size(file), static_cast<int64_t>(2 * ResultJournal::k_CompactBytes));
    ResultJournal const again(file, k_Now);
    EXPECT_EQ(again.Pending().size(), 1U);
    EXPECT_EQ(*again.FindPending(kept.work), kept);
}

} // namespace vorlan::test_resultjournal
