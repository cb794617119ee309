#include "enginefakes.h"

#include "engine/report/outputservice.h"

namespace vorlan::test_output {

// What a receiver has put together, piece behind piece.
struct Received {
    std::string text;
    bool end = false;
    String error;
};

Received PutTogether(FakeSink const& sink, UID const& request, int64_t from = 0) {
    Received received;
    for (OutputDataMsg const& message : sink.Of<OutputDataMsg>()) {
        if (message.request != request)
            continue;
        EXPECT_FALSE(received.end) << "a piece behind the end";
        EXPECT_EQ(message.offset, from + static_cast<int64_t>(received.text.size()));
        received.text += message.data.Str();
        received.end = message.end;
        received.error = message.error;
    }
    return received;
}

GetOutputMsg Ask(UID const& work, bool follow, int64_t offset = 0) {
    GetOutputMsg message;
    message.request = UID(true);
    message.work = work;
    message.offset = offset;
    message.follow = follow;
    return message;
}

class OutputTest : public testing::Test {
protected:
    String Content() const { return File::Read(folder.PathOf(work)); }
    void Write(OutputLog& log, std::string_view text) {
        log.Append(text);
        log.Flush();
    }

    TempFolder temp;
    OutputFolder folder{temp.Folder()};
    UID const work{true};
    std::map<UID, RunOutput> runs; // those that are not over
    OutputService service{folder, [this](UID const& id) { return runs.contains(id) ? runs[id] : RunOutput::Whole; }};
    boost::shared_ptr<FakeSink> sink = boost::make_shared<FakeSink>();
};

TEST_F(OutputTest, AFullDiskIsOneErrorAndSaysWhatIsMissing) {
    auto const log = folder.Create(work);
    auto const other = folder.Create(UID(true));
    LogLines errors(LogLevel::Error);
    Write(*log, "before\n");
    {
        FaultyLayer disk;
        disk.fault = FaultyLayer::Fault::FullDisk;
        for (OutputLog* const one : {log.get(), other.get(), log.get()})
            Write(*one, "0123456789");
    }
    EXPECT_EQ(errors.Get().size(), 1U);
    Write(*log, "after\n");
    EXPECT_TRUE(Content().StartsWith("before\n"));
    EXPECT_TRUE(Content().Contains("bytes could not be written here"));
    EXPECT_TRUE(Content().EndsWith("after\n"));
}

TEST_F(OutputTest, LinesOfTheEngineStandOnLinesOfTheirOwn) {
    auto log = folder.Create(work);
    log->AppendLine("[start]");
    log->Append("no line feed");
    log->AppendLine("[end]");
    log.reset();
    EXPECT_EQ(Content(), "[start]\nno line feed\n[end]\n");
}

TEST_F(OutputTest, HowARunEndedStandsInALogPastItsLimitToo) {
    {
        OutputLog log(
            folder.PathOf(work), [](Path const&, int) {}, size_t{1} << 20);
        for (int piece = 0; piece < 5; ++piece)
            log.Append(std::string(400'000, 'x'));
        log.AppendLine("[ended]");
    }
    EXPECT_TRUE(Content().EndsWith("longer than 1 MB; the rest is not kept.]\n[ended]\n"));
}

TEST_F(OutputTest, CleansUpOldLogsAndNothingElse) {
    folder.Create(work)->Append("x");
    File::WriteWhole(temp / "notes.log", "mine");
    File::WriteWhole(temp / "notes.txt", "mine");
    EXPECT_EQ(folder.Cleanup(Time::CurrentTime() - Time::Days(1)), 0U);
    EXPECT_EQ(folder.Cleanup(Time::CurrentTime() + Time::Days(1)), 1U);
    EXPECT_FALSE(folder.PathOf(work).Exists());
    EXPECT_EQ(temp.Names().size(), 2U);
}

TEST_F(OutputTest, SendsWhatThereIsAndFollowsARunToItsEnd) {
    runs[work] = RunOutput::Grows;
    GetOutputMsg const early = Ask(work, true);
    service.Request(sink, early);
    service.Pump();
    EXPECT_TRUE(sink->sent.empty()) << "not begun yet";

    auto log = folder.Create(work);
    Write(*log, "one\n");
    GetOutputMsg const now = Ask(work, false, 2);
    service.Request(sink, now);
    EXPECT_EQ(service.Pump(), -1);
    EXPECT_EQ(PutTogether(*sink, early.request).text, "one\n");
    EXPECT_FALSE(PutTogether(*sink, early.request).end);
    EXPECT_EQ(PutTogether(*sink, now.request, 2).text, "e\n");
    EXPECT_TRUE(PutTogether(*sink, now.request, 2).end);

    log->Append("two\n");
    log.reset();
    runs.clear();
    service.Pump();
    Received const all = PutTogether(*sink, early.request);
    EXPECT_EQ(all.text, "one\ntwo\n");
    EXPECT_TRUE(all.end && all.error.Empty());
}

TEST_F(OutputTest, ASlowReceiverGetsNoMoreThanItTakes) {
    std::string const big(3'000'000, 'x');
    folder.Create(work)->Append(big);
    auto const slow = boost::make_shared<FakeSink>();
    slow->queued = OutputService::k_QueueBytes + 1;
    GetOutputMsg const request = Ask(work, false);
    service.Request(slow, request);
    service.Request(sink, request);
    EXPECT_EQ(service.Pump(), OutputService::k_RetryMs);
    EXPECT_TRUE(slow->sent.empty());
    EXPECT_EQ(PutTogether(*sink, request.request).text, big);
    slow->queued = 0;
    EXPECT_EQ(service.Pump(), -1);
    EXPECT_EQ(PutTogether(*slow, request.request).text, big);
}

// No more is under way than the reader has room for.
TEST_F(OutputTest, ARequestWithAWindowGoesOnAsItsReaderTakes) {
    std::string const big(1'000'000, 'x');
    folder.Create(work)->Append(big);
    GetOutputMsg request = Ask(work, false);
    request.window = 200'000;
    service.Request(sink, request);
    int64_t taken = 0;
    for (int round = 0; round < 100 && !PutTogether(*sink, request.request).end; ++round) {
        EXPECT_EQ(service.Pump(), -1);
        auto const sent = static_cast<int64_t>(PutTogether(*sink, request.request).text.size());
        EXPECT_LT(sent - taken, request.window + static_cast<int64_t>(OutputService::k_PieceBytes));
        taken = sent;
        service.Taken(sink, request.request, taken);
    }
    EXPECT_EQ(PutTogether(*sink, request.request).text, big);
    EXPECT_TRUE(PutTogether(*sink, request.request).end);
}

TEST_F(OutputTest, SaysWhyThereIsNothingAndForgetsWhoIsGone) {
    GetOutputMsg const unknown = Ask(UID(true), true);
    service.Request(sink, unknown);
    service.Pump();
    EXPECT_TRUE(PutTogether(*sink, unknown.request).end);
    EXPECT_TRUE(PutTogether(*sink, unknown.request).error.Contains("no output of this run"));

    UID const silent(true);
    runs[silent] = RunOutput::Grows;
    GetOutputMsg const waiting = Ask(silent, true);
    service.Request(sink, waiting);
    service.Pump();
    EXPECT_FALSE(PutTogether(*sink, waiting.request).end);
    runs[silent] = RunOutput::None;
    service.Pump();
    EXPECT_NE(PutTogether(*sink, waiting.request).text.find("printed nothing"), std::string::npos);
    EXPECT_TRUE(PutTogether(*sink, waiting.request).end && PutTogether(*sink, waiting.request).error.Empty());

    runs[work] = RunOutput::Grows;
    auto const log = folder.Create(work);
    GetOutputMsg const closed = Ask(work, true);
    service.Request(sink, closed);
    service.Close(sink, closed.request);
    auto const other = boost::make_shared<FakeSink>();
    service.Request(other, Ask(work, true));
    service.Gone(other);
    Write(*log, "x");
    service.Pump();
    EXPECT_TRUE(PutTogether(*sink, closed.request).text.empty());
    EXPECT_TRUE(other->sent.empty());
}

} // namespace vorlan::test_output
