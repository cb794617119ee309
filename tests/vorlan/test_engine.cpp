#include "domain.h"

#include <corekit/inifile.h>
#include <corekit/uniquefd.h>
#include <vorlan/engine.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace vorlan::test_engine {

// Puts the built-in default Engine back at the end of a test.
struct DefaultEngineGuard {
    ~DefaultEngineGuard() { CommonEngine::SetDefaultEngine(CommonEngine()); }
};

// A moment of the week that begins with Sunday 2024-01-07, in UTC, as day, hour and
// minute: "1 08:30". A "-" behind it means the minute's last millisecond.
Time Moment(std::string_view text) {
    constexpr int64_t k_SundayUnixMs = 1704585600000;
    auto const number = [&](size_t at) { return String(text.substr(at, 2)).Int(); };
    Time moment = Time::FromUnixMs(k_SundayUnixMs) + Time::Days(text[0] - '0') + Time::Hours(number(2)) +
                  Time::Minutes(number(5));
    return text.ends_with('-') ? moment + Time(59999) : moment;
}

TEST(Engine, AppliesRestrictedTimesToTheMillisecond) {
    constexpr int k_Sun = 1, k_Mon = 2, k_Fri = 32, k_Sat = 64, k_All = 127;
    // From and to in hours, the days, the minutes ahead of UTC, moments within and without.
    using Moments = std::vector<char const*>;
    Rows<int, int, int, int, Moments, Moments> const cases = {
        // Within a day: the first millisecond belongs to it, the end does not.
        {9, 18, k_Mon, 0, {"1 09:00", "1 17:59-"}, {"1 08:59-", "1 18:00", "0 12:00", "2 12:00"}},
        {9, 18, 0, 0, {}, {"1 12:00"}},
        {9, 18, k_Sun, 0, {"0 12:00"}, {}},
        {9, 18, k_Sat, 0, {"6 12:00"}, {}},
        // Over midnight: the day is the one on which the window begins.
        {22, 6, k_Fri, 0, {"5 22:00", "5 23:59-", "6 00:00"}, {"5 21:59-", "6 22:00"}},
        {22, 6, k_Fri, 0, {"6 05:59-"}, {"6 06:00", "5 03:00"}},
        {22, 6, k_Sat, 0, {"7 03:00"}, {}}, // into the next week
        {22, 6, k_Sun, 0, {}, {"0 03:00"}},
        // From or to midnight itself, and a whole day.
        {0, 6, k_Mon, 0, {"1 00:00"}, {"0 23:59-"}},
        {22, 0, k_Mon, 0, {"1 23:59-"}, {"2 00:00"}},
        {0, 0, k_Mon, 0, {"1 00:00", "1 23:59-"}, {"2 00:00"}},
        {9, 9, k_Mon, 0, {"2 08:59-"}, {"2 09:00"}},
        // By the Engine's own clock.
        {9, 18, k_Mon, 120, {"1 07:00"}, {"1 16:00"}},
        {9, 18, k_Mon, -480, {"1 17:00", "2 01:59"}, {"1 09:00"}},
        {0, 6, k_Mon, 330, {"0 18:30"}, {"0 18:29"}},
    };
    Engine engine;
    engine.SetMaxCores(8);
    engine.RestrictCores(2);
    for (auto const& [from, to, days, offset, within, without] : cases) {
        engine.RestrictDays(static_cast<unsigned char>(days));
        engine.RestrictTimes(Time::Hours(from), Time::Hours(to));
        engine.SetUTCOffset(offset);
        String const shown = SFormat("%d-%d, days %d, offset %d: ", from, to, days, offset);
        for (char const* moment : within) {
            engine.Restrict(false);
            EXPECT_FALSE(engine.IsRestricted(Moment(moment))) << "not restricted at all";
            engine.Restrict(true);
            EXPECT_TRUE(engine.IsRestricted(Moment(moment))) << shown << moment;
            EXPECT_EQ(engine.UseCPUsAtTime(Moment(moment)), 2u) << shown << moment;
        }
        for (char const* moment : without) {
            EXPECT_FALSE(engine.IsRestricted(Moment(moment))) << shown << moment;
            EXPECT_EQ(engine.UseCPUsAtTime(Moment(moment)), 8u) << shown << moment;
        }
    }
    // Before the calendar begins it is Sunday, 23:00.
    engine.SetUTCOffset(-60);
    engine.RestrictDays(k_Sun);
    engine.RestrictTimes(Time::Hours(22), Time::Hours(6));
    EXPECT_TRUE(engine.IsRestricted(Time(1)));
    engine.RestrictDays(k_All);
    engine.RestrictTimes(Time::Hours(9), Time::Hours(18));
    EXPECT_FALSE(engine.IsRestricted(Time(1)));
}

TEST(Engine, KeepsCoresWithinTheMachine) {
    Rows<unsigned, unsigned, unsigned, bool> const cases = {
        {16, 12, 12, true}, {4, 12, 4, false}, {4, 4, 4, false}, {4, 0, 0, true}, {0, 12, 12, true}};
    for (auto const& [max, set, use, customized] : cases) {
        Engine engine;
        engine.SetMaxCores(max);
        EXPECT_EQ(engine.UseCores(), max);
        engine.SetUseCores(set);
        EXPECT_EQ(engine.UseCores(), use) << max << " " << set;
        EXPECT_EQ(engine.IsDefault(), !customized) << max << " " << set;
    }
    Engine engine;
    engine.Set(p_EnginePriority, "9999");
    engine.Set(p_EngineForceCores, "rubbish");
    EXPECT_EQ(std::tuple(engine.Priority(), engine.ForceCores()), std::tuple(100, -1));
    EXPECT_TRUE(Engine::TypeInfo()->GetParam(p_EngineGPUDistribution));
}

TEST(CommonEngine, FollowsTheDefaultEngineUntilCustomized) {
    DefaultEngineGuard const guard;
    int changes = 0;
    struct : HasSlots<ThreadPolicy::LocalThreaded> {
    } listener;
    EngineDefaultChangedEvt::Signal().Connect(&listener, [&](EngineDefaultChangedEvt&) { ++changes; });

    Engine plain(UID(true));
    Engine custom(UID(true));
    plain.SetName("plain");
    custom.SetPriority(70);
    CommonEngine defaults;
    defaults.SetPriority(30);
    defaults.SetEnabled(false);
    defaults.SetName("not a setting");
    CommonEngine::SetDefaultEngine(defaults);
    EXPECT_EQ(changes, 1);

    auto const state = [](Engine const& engine) {
        return std::tuple(engine.Priority(), engine.Enabled(), engine.IsDefault());
    };
    EXPECT_EQ(state(plain), std::tuple(30, false, true));
    EXPECT_EQ(state(custom), std::tuple(70, false, false));
    EXPECT_EQ(plain.Get(p_EnginePriority, true), "30");
    EXPECT_EQ(plain.Get(p_EnginePriority, false) + plain.Name(), "plain");

    plain.SetPriority(50); // what is built in is a customization now
    EXPECT_FALSE(plain.IsDefault());
    CommonEngine::SetDefaultEngine(CommonEngine());
    EXPECT_EQ(state(plain), std::tuple(50, true, true));
    CommonEngine::SetDefaultEngine(defaults);
    EXPECT_EQ(state(plain), std::tuple(50, false, false));
    plain.SetPriority(30);
    custom.SetToDefault();
    EXPECT_EQ(state(plain), std::tuple(30, false, true));
    EXPECT_EQ(state(custom), std::tuple(30, false, true));
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
    to.SetHostname("to");
    to.SetMaxCores(16);
    to.SetIdleSleepTime(5);
    to.SetInfoPeer(IPPeer("::1", 1234));
    to.CopyCommon(from);
    EXPECT_NE(to.id, from.id);
    EXPECT_EQ(std::tuple(to.Hostname(), Engine(to).InfoPeer(), to.UseCores()),
              std::tuple("to", IPPeer("::1", 1234), 16u));
    EXPECT_EQ(to.GetAllPools(), (std::vector<UID>{pool, other})) << "the order is their priority";
    EXPECT_TRUE(to.CanWorkOnType(pool) && !to.CanWorkOnType(product));
    EXPECT_EQ(to.GetEventCommand("workstartedevt"), "run $(Name)");
    EXPECT_EQ(to.GetIdleSleepTime(), 0u);

    CommonEngine defaults;
    defaults.SetIdleSleepTime(9);
    defaults.RestrictCores(3);
    from.SetIdleSleepTime(7);
    from.FillFrom(defaults);
    EXPECT_EQ(std::tuple(from.GetIdleSleepTime(), from.RestrictedCores()), std::tuple(7u, 3u));
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
    std::map<UID, OptionMap> products;
    copy.FromEngineINI(read, products);
    EXPECT_EQ(copy.UseCores(), 4u) << "no more than this machine has";
    Time from;
    Time to;
    EXPECT_TRUE(copy.RestrictedTimes(from, to));
    EXPECT_EQ(std::tuple(from, to), std::tuple(Time::Hours(22), Time::Hours(6)));
    EXPECT_EQ(copy.GetEventCommand(FinishedJobEvt::TypeName()), "a\nb = \"c\"");
    EXPECT_EQ(products, (std::map<UID, OptionMap>{{product, {{"Threads", "4"}}}}));

    LogLines lines;
    IniFile bad;
    bad.LoadText("[Engine]\nPriority=1000\nEnabled=perhaps\nIdleSleepTime=7\nUseCores=-3\nUnknown=1\n");
    copy.FromEngineINI(bad, products);
    EXPECT_EQ(lines.Get().size(), 3u);
    EXPECT_EQ(std::tuple(copy.Priority(), copy.Enabled(), copy.GetIdleSleepTime()), std::tuple(50, true, 7u));
}

TEST(Engine, WakesByMagicPackets) {
    String const mac = "0a:1B:2c:3d:4e:FF";
    String packet(6, '\xFF');
    for (int i = 0; i < 16; ++i)
        packet += String("\x0a\x1b\x2c\x3d\x4e\xff", 6);
    EXPECT_EQ(MagicPacketFor(mac), packet);
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
    timeval const patience{5, 0};
    ASSERT_EQ(setsockopt(receiver.Get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience), 0);
    char buffer[256];
    ASSERT_EQ(recv(receiver.Get(), buffer, sizeof buffer, 0), 102);
    EXPECT_EQ(String(buffer, 102), packet);
    EXPECT_EQ(SendMagicPacketsTo({mac}, IPPeer("no.such.host", 9)), 0u);
}

} // namespace vorlan::test_engine
