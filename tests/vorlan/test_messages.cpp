#include "domain.h"

#include "messagebodies.h"

namespace vorlan::test_messages {

using test::BodyMaker;
using test::SameContent;
using test::Shown;

std::vector<MessageDescription> AllMessages() {
    std::vector<MessageDescription> all = MessageFactory::Describe();
    std::erase_if(all, [](MessageDescription const& description) { return description.type.IsNull(); });
    return all;
}

// A body with one field, of a value that is encoded already.
std::string Field(std::string const& name, std::string const& value) {
    return std::string(1, '\x81') + static_cast<char>(0xa0 + name.size()) + name + value;
}

TEST(Messages, EveryKindKeepsEveryFieldThroughDecodingAndEncoding) {
    BodyMaker maker(4711);
    for (MessageDescription const& message : AllMessages()) {
        for (int round = 0; round < 40; ++round) {
            std::string const body = maker.Body(message, BodyMaker::Fields::All);
            boost::shared_ptr<Message> decoded;
            ASSERT_NO_THROW(decoded = DecodeMessage(message.type, body)) << message.name << " " << Shown(body);
            String const encoded = EncodeMessage(*decoded);
            ASSERT_TRUE(SameContent(body, encoded)) << message.name << "\n" << Shown(body) << "\n" << Shown(encoded);
            // What this program writes it reads to the byte.
            ASSERT_EQ(EncodeMessage(*DecodeMessage(message.type, encoded)), encoded) << message.name;
        }
    }
}

TEST(Messages, UnknownFieldsArePassedOverAndMissingOnesKeepTheirDefaults) {
    BodyMaker maker(4712);
    for (MessageDescription const& message : AllMessages()) {
        for (int round = 0; round < 10; ++round) {
            auto const fields = round == 0 ? BodyMaker::Fields::AllAndStrangers : BodyMaker::Fields::Some;
            std::string const body = maker.Body(message, fields);
            boost::shared_ptr<Message> decoded;
            ASSERT_NO_THROW(decoded = DecodeMessage(message.type, body)) << message.name << " " << Shown(body);
            String const encoded = EncodeMessage(*decoded);
            for (FieldDescription const& field : message.fields)
                EXPECT_TRUE(encoded.Contains(field.name)) << message.name;
            EXPECT_EQ(EncodeMessage(*DecodeMessage(message.type, encoded)), encoded);
        }
    }
    for (auto const& [body, all, wantJob] :
         Rows<std::string, bool, bool>{{Field("All", "\xc3"), true, false},
                                       {"\x82" + Field("All", "\xc0").substr(1) + "\xa7WantJob\xc3", false, true}}) {
        auto const info = boost::static_pointer_cast<GetJobInfoMsg>(DecodeMessage(GetJobInfoMsg::s_Type, body));
        EXPECT_EQ(std::tuple(info->all, info->wantJob, info->ids.size()), std::tuple(all, wantJob, 0u));
    }
    EXPECT_THROW(DecodeMessage(JobMsg::s_Type, "\x80"), ParseException) << "a message about a Job without a Job";
    EXPECT_THROW(DecodeMessage(JobMsg::s_Type, Field("Job", "\xc0")), ParseException);
}

// Objects of a kind are coded by the names of the last one. Whatever the
// lengths of the values, and however kinds follow each other, nothing of the
// last one may show in the next.
TEST(Messages, JobsOfDifferentKindsFollowEachOther) {
    size_t const lengths[] = {0, 1, 3, 4, 7, 8, 15, 16, 31, 32, 33, 255, 256, 65'535, 65'536};
    std::mt19937 random(4716);
    for (int round = 0; round < 400; ++round) {
        auto const job = boost::make_shared<Job>(UID(true));
        // 20 kinds with as many values, more than are remembered; some with long
        // names.
        size_t const kind = random() % 20;
        for (size_t i = 0; i < 5; ++i) {
            String const name = "Kind" + String::From(kind) + String(kind % 4 * 20, 'n') + String::From(i);
            job->Set(name, String(lengths[random() % std::size(lengths)], static_cast<char>('a' + i)));
        }
        String const body = EncodeJob(*job);
        auto const back = DecodeJob(body);
        ASSERT_TRUE(*back->Snapshot() == *job->Snapshot());
        String cut = body;
        cut.resize(body.size() - 1 - random() % std::min<size_t>(body.size() - 1, 100));
        EXPECT_THROW(DecodeJob(cut), ParseException);
    }
    // A doubled name: the last one counts, now and after it was seen once.
    std::string const twice = "\x82\xa2ID\xc4\x10" + std::string(16, 'i') + "\xa6Values\x82" +
                              Field("a", "\xa1"
                                         "1")
                                  .substr(1) +
                              Field("A", "\xa1"
                                         "2")
                                  .substr(1);
    for (int i = 0; i < 3; ++i) {
        auto const job = DecodeJob(twice);
        EXPECT_EQ(job->Snapshot()->Count(), 1u);
        EXPECT_EQ(job->Get("a", false), "2");
    }
}

TEST(Messages, AStopGetsItsActionFromTheStatus) {
    Rows<int, StopAction> const cases = {
        {UserAborted, StopAction::Requeue}, {AdministratorAborted, StopAction::Requeue},
        {UserCanceled, StopAction::Cancel}, {AdministratorCanceled, StopAction::Cancel},
        {Failed, StopAction::Cancel},       {Lost, StopAction::Requeue},
    };
    for (auto const& [status, action] : cases)
        EXPECT_EQ(StopWorkMsg::Create(UID(true), status, "why")->action, static_cast<int>(action)) << status;
}

TEST(Messages, TheLogShowsOneLineAndNoPassword) {
    auto const parameter = JobParameterMsg::Create(UID(), "password", "s3cret");
    auto const secret = boost::make_shared<Job>(UID(true));
    secret->SetValues({{"Name", "Shot"}, {p_Password, "s3cret"}, {"More", "{Password=\"s3cret\"}"}});
    auto const job = JobMsg::Create(secret);
    auto const options = SetMasterOptionsMsg::Create("", OptionMap{{"Password", "s3cret"}, {"User", "joe\nbloggs"}});
    auto const engine = EngineMsg::New();
    engine->engine.Set(p_Password, "s3cret");
    for (boost::shared_ptr<Message> const& message :
         std::initializer_list<boost::shared_ptr<Message>>{parameter, job, options, engine}) {
        String const text = message->Text();
        EXPECT_TRUE(text.Contains("***") && !text.Contains("s3cret") && !text.Contains("\n")) << text;
    }
    EXPECT_TRUE(options->Text().Contains("joe\\nbloggs"));
    EXPECT_EQ(JobParameterMsg::Create(UID(), "Priority", "50")->Text(),
              "JobParameterMsg Job=" + UID().ToString() + " Name=\"Priority\" Value=\"50\"");

    auto const logs = MasterLogsMsg::New();
    logs->lines.assign(100'000, String(5'000, 'x'));
    EXPECT_LE(logs->Text().size(), Message::k_MaxTextLength + 10);
    logs->lines.assign(100, "short");
    EXPECT_TRUE(logs->Text().Contains("100 items"));
}

// Bodies that nobody should send, made by hand. The name of the field must be
// in the text, so that the log says what to look at.
TEST(Messages, BadBodiesAreRefusedWithTheirField) {
    std::string const deepMaps(100, '\x81');
    std::string const deepLists(1000, '\x91');
    Rows<UID, std::string, char const*> const cases = {
        {DeleteJobMsg::s_Type, "", "ends too early"},
        {DeleteJobMsg::s_Type, "\xc0", "not a map"},
        {DeleteJobMsg::s_Type, std::string("\x80\x80", 2), "after its end"},
        {DeleteJobMsg::s_Type, Field("Job", "\x01"), "\"Job\""},
        {DeleteJobMsg::s_Type, Field("Job", "\xc4\x0f" + std::string(15, 'x')), "\"Job\" is not an id"},
        {DeleteJobMsg::s_Type, Field("Immediately", "\x01"), "\"Immediately\" is neither true nor false"},
        {DeleteJobMsg::s_Type, Field("Other", "\xc1"), "begins nothing"},
        {DeleteJobMsg::s_Type, Field("Other", deepLists), "deep"},
        {DeleteJobMsg::s_Type, Field("Other", "\xdd\xff\xff\xff\xff"), "ends too early"},
        {DeleteJobMsg::s_Type, Field("Other", "\xc6\xff\xff\xff\xff"), "ends too early"},
        {DeleteJobMsg::s_Type, "\xdf\xff\xff\xff\xff", "too many items"},
        {MasterLogsMsg::s_Type, Field("Lines", "\xdd\xff\xff\xff\xff" + std::string(1000, '\xa0')),
         "\"Lines\" has too many"},
        {MasterLogsMsg::s_Type, Field("Lines", std::string("\xdd\x00\x0f\x00\x00", 5)), "\"Lines\" ends too early"},
        {MasterLogsMsg::s_Type, Field("Lines", "\x91\xdb\xff\xff\xff\xff"), "\"Lines\""},
        {PoolMsg::s_Type, Field("Pools", "\x91\x01"), "\"Pools\" is not a map"},
        {FinishedWorkMsg::s_Type, Field("Status", std::string("\xcf\x00\x00\x00\x01\x00\x00\x00\x00", 9)),
         "out of range"},
        {FinishedWorkMsg::s_Type, Field("Status", std::string("\xcf\xff\x00\x00\x00\x00\x00\x00\x00", 9)), "too large"},
        {MasterInfoMsg::s_Type, Field("Port", std::string("\xce\x00\x01\x00\x00", 5)), "\"Port\" is out of range"},
        {MasterInfoMsg::s_Type, Field("Port", "\xff"), "\"Port\" is below zero"},
        {HeartbeatMsg::s_Type, Field("CpuPercent", std::string("\xcb\x7f\xf8\x00\x00\x00\x00\x00\x00", 9)),
         "not a number"},
        {HeartbeatMsg::s_Type, Field("CpuPercent", std::string("\xca\x7f\x80\x00\x00", 5)), "not a number"},
        {HeartbeatMsg::s_Type, Field("CpuPercent", "\xa1x"), "not a number"},
        {JobMsg::s_Type, Field("Job", "\x80"), "\"Job\" has no id"},
        {JobMsg::s_Type, Field("Job", Field("ID", "\xa4text")), "not an id"},
        {JobMsg::s_Type, Field("Job", Field("Values", std::string("\x81\xa0\xa0"))), "values that are none"},
        {JobMsg::s_Type, Field("Job", Field("Values", "\x81\xda\x04\x01" + std::string(1025, 'n') + "\xa0")),
         "too long"},
        {JobMsg::s_Type, Field("Job", deepMaps), "\"Job\""},
        {ZjobsMsg::s_Type, Field("Jobs", "\x91\xc0"), "\"Jobs\""},
        {WorkEndedMsg::s_Type, Field("Ended", Field("ExitCode", "\xa1x")), "\"ExitCode\" is not a whole number"},
        {JobHistoryMsg::s_Type, Field("History", Field("Units", "\x91\x91\xa1x")), "too few items"},
        {JobHistoryMsg::s_Type, Field("History", "\x90"), "\"History\" is not a map"},
        {EngineHistoryMsg::s_Type, Field("History", "\x91\x92\xa1x\xa1y"), "\"History\""},
    };
    for (auto const& [type, body, text] : cases) {
        try {
            DecodeMessage(type, body);
            ADD_FAILURE() << MessageFactory::TypeName(type) << " took a body where it should say: " << text;
        } catch (ParseException const& exception) {
            EXPECT_TRUE(exception.Message().Contains(text)) << exception.Message() << "\nwanted: " << text;
            EXPECT_TRUE(exception.Message().StartsWith(MessageFactory::TypeName(type))) << exception.Message();
        }
    }
}

// A body cut off anywhere is refused; one with changed bytes is refused or
// read, and nothing else happens.
TEST(Messages, DamagedBodiesAreRefusedOrReadAndNothingElse) {
    BodyMaker maker(4714);
    std::mt19937 random(4715);
    size_t refused = 0;
    for (MessageDescription const& message : AllMessages()) {
        std::string const body = maker.Body(message, BodyMaker::Fields::AllAndStrangers);
        for (size_t length = 0; length < body.size(); length += 1 + body.size() / 300)
            EXPECT_THROW(DecodeMessage(message.type, std::string_view(body).substr(0, length)), ParseException)
                << message.name << " cut off at " << length;
        for (int round = 0; round < 200; ++round) {
            std::string damaged = body;
            for (size_t i = 0; i <= random() % 3; ++i)
                damaged[random() % std::min<size_t>(damaged.size(), 2000)] = static_cast<char>(random());
            try {
                auto const decoded = DecodeMessage(message.type, damaged);
                // What was read can be shown and sent on.
                EXPECT_LE(decoded->Text().size(), Message::k_MaxTextLength + 10);
                EXPECT_NO_THROW(DecodeMessage(message.type, EncodeMessage(*decoded)));
            } catch (ParseException const&) {
                ++refused;
            }
        }
    }
    EXPECT_GT(refused, 0u);
}

} // namespace vorlan::test_messages
