#include "corekit/tempfolder.h"

#include <corekit/inifile.h>
#include <corekit/uniquefd.h>
#include <gtest/gtest.h>
#include <vorlan/engine.h>
#include <vorlan/events.h>
#include <vorlan/keys.h>
#include <vorlan/product.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

namespace vorlan {
namespace {

/// Puts the built-in default Engine back at the end of a test.
struct DefaultEngineGuard {
    ~DefaultEngineGuard() { CommonEngine::SetDefaultEngine(CommonEngine()); }
};

/// A moment of the week that begins with Sunday 2024-01-07, in UTC.
Time Moment(int day, int hour, int minute = 0, int ms = 0) {
    constexpr int64_t k_SundayUnixMs = 1704585600000;
    return Time::FromUnixMs(k_SundayUnixMs) + Time::Days(day) + Time::Hours(hour) + Time::Minutes(minute) + Time(ms);
}

constexpr int k_Sun = 1, k_Mon = 2, k_Fri = 32, k_Sat = 64, k_All = 127;

TEST(Engine, AppliesRestrictedTimesToTheMillisecond) {
    Time const nine = Time::Hours(9);
    Time const eighteen = Time::Hours(18);
    Time const twentyTwo = Time::Hours(22);
    Time const six = Time::Hours(6);
    struct Case {
        Time from, to;
        int days;
        int offset; // minutes ahead of UTC
        Time moment;
        bool restricted;
    } const cases[] = {
        // Within a day: the first millisecond belongs to it, the end does not.
        {nine, eighteen, k_Mon, 0, Moment(1, 8, 59, 59999), false},
        {nine, eighteen, k_Mon, 0, Moment(1, 9), true},
        {nine, eighteen, k_Mon, 0, Moment(1, 17, 59, 59999), true},
        {nine, eighteen, k_Mon, 0, Moment(1, 18), false},
        {nine, eighteen, k_Mon, 0, Moment(0, 12), false},
        {nine, eighteen, k_Mon, 0, Moment(2, 12), false},
        {nine, eighteen, 0, 0, Moment(1, 12), false},
        {nine, eighteen, k_Sun, 0, Moment(0, 12), true},
        {nine, eighteen, k_Sat, 0, Moment(6, 12), true},
        // Over midnight: the day is the one on which the window begins.
        {twentyTwo, six, k_Fri, 0, Moment(5, 21, 59, 59999), false},
        {twentyTwo, six, k_Fri, 0, Moment(5, 22), true},
        {twentyTwo, six, k_Fri, 0, Moment(5, 23, 59, 59999), true},
        {twentyTwo, six, k_Fri, 0, Moment(6, 0), true},
        {twentyTwo, six, k_Fri, 0, Moment(6, 5, 59, 59999), true},
        {twentyTwo, six, k_Fri, 0, Moment(6, 6), false},
        {twentyTwo, six, k_Fri, 0, Moment(6, 22), false},
        {twentyTwo, six, k_Fri, 0, Moment(5, 3), false},
        {twentyTwo, six, k_Sat, 0, Moment(7, 3), true}, // into the next week
        {twentyTwo, six, k_Sun, 0, Moment(0, 3), false},
        // From or to midnight itself, and a whole day.
        {Time(), six, k_Mon, 0, Moment(1, 0), true},
        {Time(), six, k_Mon, 0, Moment(0, 23, 59, 59999), false},
        {twentyTwo, Time(), k_Mon, 0, Moment(1, 23, 59, 59999), true},
        {twentyTwo, Time(), k_Mon, 0, Moment(2, 0), false},
        {Time(), Time(), k_Mon, 0, Moment(1, 0), true},
        {Time(), Time(), k_Mon, 0, Moment(1, 23, 59, 59999), true},
        {Time(), Time(), k_Mon, 0, Moment(2, 0), false},
        {nine, nine, k_Mon, 0, Moment(2, 8, 59, 59999), true},
        {nine, nine, k_Mon, 0, Moment(2, 9), false},
        // By the Engine's own clock.
        {nine, eighteen, k_Mon, 120, Moment(1, 7), true},
        {nine, eighteen, k_Mon, 120, Moment(1, 16), false},
        {nine, eighteen, k_Mon, -480, Moment(1, 17), true},
        {nine, eighteen, k_Mon, -480, Moment(2, 1, 59), true},
        {nine, eighteen, k_Mon, -480, Moment(1, 9), false},
        {Time(), six, k_Mon, 330, Moment(0, 18, 30), true},
        {Time(), six, k_Mon, 330, Moment(0, 18, 29), false},
        {nine, eighteen, k_All, 0, Time(1), false},
        {Time(), six, k_Sun, -60, Time(1), false}, // before the calendar begins it is Sunday, 23:00
        {twentyTwo, six, k_Sun, -60, Time(1), true},
    };
    for (Case const& test : cases) {
        Engine engine;
        engine.SetMaxCores(8);
        engine.RestrictDays(static_cast<unsigned char>(test.days));
        engine.RestrictTimes(test.from, test.to);
        engine.RestrictCores(2);
        engine.SetUTCOffset(test.offset);
        EXPECT_FALSE(engine.IsRestricted(test.moment)) << "not restricted at all";
        engine.Restrict(true);
        String const shown = test.from.FormatSpan("%H:%M") + "-" + test.to.FormatSpan("%H:%M") + " " +
                             test.moment.Format("%a %H:%M:%S.%L", false) + " " + String::From(test.offset);
        EXPECT_EQ(engine.IsRestricted(test.moment), test.restricted) << shown;
        EXPECT_EQ(engine.UseCPUsAtTime(test.moment), test.restricted ? 2u : 8u) << shown;
    }
}

TEST(Engine, KeepsCoresWithinTheMachine) {
    struct Case {
        unsigned max, set, use;
        bool customized;
    } const cases[] = {{16, 12, 12, true}, {4, 12, 4, false}, {4, 4, 4, false}, {4, 0, 0, true}, {0, 12, 12, true}};
    for (Case const& test : cases) {
        Engine engine;
        engine.SetMaxCores(test.max);
        EXPECT_EQ(engine.UseCores(), test.max);
        engine.SetUseCores(test.set);
        EXPECT_EQ(engine.UseCores(), test.use) << test.max << " " << test.set;
        EXPECT_EQ(engine.IsDefault(), !test.customized) << test.max << " " << test.set;
    }
    Engine engine;
    engine.Set(p_EnginePriority, "9999");
    engine.Set(p_EngineForceCores, "rubbish");
    EXPECT_EQ(engine.Priority(), 100);
    EXPECT_EQ(engine.ForceCores(), -1);
}

TEST(CommonEngine, FollowsTheDefaultEngineUntilCustomized) {
    DefaultEngineGuard const guard;
    struct Listener : HasSlots<ThreadPolicy::LocalThreaded> {
        void OnChange(EngineDefaultChangedEvt&) { ++changes; }
        int changes = 0;
    } listener;
    EngineDefaultChangedEvt::Signal().Connect(&listener, &Listener::OnChange);

    Engine plain(UID(true));
    Engine custom(UID(true));
    plain.SetName("plain");
    custom.SetPriority(70);
    CommonEngine defaults;
    defaults.SetPriority(30);
    defaults.SetEnabled(false);
    defaults.SetName("not a setting");
    CommonEngine::SetDefaultEngine(defaults);
    EXPECT_EQ(listener.changes, 1);

    EXPECT_EQ(plain.Priority(), 30);
    EXPECT_FALSE(plain.Enabled());
    EXPECT_TRUE(plain.IsDefault());
    EXPECT_EQ(plain.Get(p_EnginePriority, true), "30");
    EXPECT_EQ(plain.Get(p_EnginePriority, false), "");
    EXPECT_EQ(plain.Name(), "plain");
    EXPECT_EQ(custom.Priority(), 70);
    EXPECT_FALSE(custom.IsDefault());

    plain.SetPriority(50); // what is built in is a customization now
    EXPECT_FALSE(plain.IsDefault());
    CommonEngine::SetDefaultEngine(CommonEngine());
    EXPECT_TRUE(plain.IsDefault());
    EXPECT_TRUE(plain.Enabled());
    CommonEngine::SetDefaultEngine(defaults);
    EXPECT_EQ(plain.Priority(), 50);
    plain.SetPriority(30);
    EXPECT_TRUE(plain.IsDefault());

    custom.SetToDefault();
    EXPECT_EQ(custom.Priority(), 30);
    EXPECT_TRUE(custom.IsDefault());
}

TEST(CommonEngine, CopiesSettingsAndNothingElse) {
    UID const pool(true);
    UID const other(true);
    UID const product(true);
    Engine from(UID(true));
    from.SetHostname("from");
    from.SetMaxCores(4);
    from.SetPools({pool, other});
    from.DisableProducts({product});
    from.SetEventCommand(WorkStartedEvt::TypeName(), "run $(Name)");
    Engine to(UID(true));
    UID const id = to.id;
    to.SetHostname("to");
    to.SetMaxCores(16);
    to.SetIdleSleepTime(5);
    to.CopyCommon(from);
    EXPECT_EQ(to.id, id);
    EXPECT_EQ(to.Hostname(), "to");
    EXPECT_EQ(to.UseCores(), 16u);
    EXPECT_EQ(to.GetAllPools(), (corekit::vector<UID>{pool, other})) << "the order is their priority";
    EXPECT_FALSE(to.CanWorkOnType(product));
    EXPECT_TRUE(to.CanWorkOnType(pool));
    EXPECT_EQ(to.GetEventCommand("workstartedevt"), "run $(Name)");
    EXPECT_EQ(to.GetIdleSleepTime(), 0u);

    Engine filled;
    filled.SetPriority(10);
    CommonEngine defaults;
    defaults.SetPriority(90);
    defaults.RestrictCores(3);
    filled.FillFrom(defaults);
    EXPECT_EQ(filled.Priority(), 10);
    EXPECT_EQ(filled.RestrictedCores(), 3u);
}

TEST(CommonEngine, KeepsItsSettingsInAFile) {
    UID const product(true);
    Engine engine;
    engine.SetMaxCores(16);
    engine.SetUseCores(12);
    engine.Restrict(true);
    engine.RestrictTimes(Time::Hours(22), Time::Hours(6));
    engine.SetEventCommand(FinishedJobEvt::TypeName(), "a\nb = \"c\"");
    IniFile file;
    engine.ToEngineINI(file, {{product, {{"Threads", "4"}}}});
    IniFile read;
    read.LoadText(file.SaveText());

    Engine copy;
    copy.SetMaxCores(4);
    corekit::map<UID, OptionMap> products;
    copy.FromEngineINI(read, products);
    EXPECT_EQ(copy.UseCores(), 4u) << "no more than this machine has";
    Time from;
    Time to;
    EXPECT_TRUE(copy.RestrictedTimes(from, to));
    EXPECT_EQ(from, Time::Hours(22));
    EXPECT_EQ(to, Time::Hours(6));
    EXPECT_EQ(copy.GetEventCommand(FinishedJobEvt::TypeName()), "a\nb = \"c\"");
    EXPECT_EQ(products, (corekit::map<UID, OptionMap>{{product, {{"Threads", "4"}}}}));

    LogLines lines;
    IniFile bad;
    bad.LoadText("[Engine]\nPriority=1000\nEnabled=perhaps\nIdleSleepTime=7\nUseCores=-3\nUnknown=1\n");
    copy.FromEngineINI(bad, products);
    EXPECT_EQ(lines.Get().size(), 3u);
    EXPECT_EQ(copy.Priority(), 50);
    EXPECT_TRUE(copy.Enabled());
    EXPECT_EQ(copy.GetIdleSleepTime(), 7u);
}

TEST(Engine, CopiesByValue) {
    Engine engine(UID(true));
    engine.SetName("one");
    engine.SetInfoPeer(IPPeer("::1", 1234));
    engine.SetMACAddresses({"00:11:22:33:44:55"});
    Engine copy(engine);
    copy.SetName("two");
    EXPECT_EQ(engine.Name(), "one");
    EXPECT_EQ(copy.id, engine.id);
    EXPECT_EQ(copy.InfoPeer(), IPPeer("::1", 1234));
    Engine assigned;
    assigned = copy;
    EXPECT_EQ(assigned.Values(), copy.Values());
    EXPECT_EQ(engine.PlatformName(), "Unknown");
    EXPECT_TRUE(Engine::TypeInfo()->GetParam(p_EngineGPUDistribution));
}

TEST(Engine, WakesByMagicPackets) {
    String const mac = "0a:1B:2c:3d:4e:FF";
    String const packet = MagicPacketFor(mac);
    ASSERT_EQ(packet.size(), 102u);
    EXPECT_EQ(packet.Mid(0, 6), String(6, '\xFF'));
    for (size_t i = 6; i < packet.size(); i += 6)
        EXPECT_EQ(packet.Mid(i, 6), String("\x0a\x1b\x2c\x3d\x4e\xff", 6));
    for (char const* bad : {"", "0a:1b", "0a:1b:2c:3d:4e:f", "0a:1b:2c:3d:4e:gg", "0a:1b:2c:3d:4e:ff:00"})
        EXPECT_EQ(MagicPacketFor(bad), "") << bad;

    UniqueFd const receiver(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ASSERT_EQ(bind(receiver.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(getsockname(receiver.Get(), reinterpret_cast<sockaddr*>(&address), &length), 0);
    EXPECT_EQ(SendMagicPacketsTo({mac, "rubbish", "00-11-22-33-44-55"}, IPPeer("127.0.0.1", ntohs(address.sin_port))),
              2u);
    pollfd poller{receiver.Get(), POLLIN, 0};
    ASSERT_EQ(poll(&poller, 1, 5000), 1);
    char buffer[256];
    ssize_t const got = recv(receiver.Get(), buffer, sizeof buffer, 0);
    ASSERT_EQ(got, 102);
    EXPECT_EQ(String(buffer, 102), packet);
    EXPECT_EQ(SendMagicPacketsTo({mac}, IPPeer("no.such.host", 9)), 0u);
}

} // namespace
} // namespace vorlan
