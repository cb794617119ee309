#include "test.h"

namespace corekit::test_time {

constexpr int64_t k_Second = 1000, k_Minute = 60 * k_Second, k_Hour = 60 * k_Minute, k_Day = 24 * k_Hour;

struct Triple {
    int unit1, unit2, unit3, width;
    char fill;
};
constexpr Triple k_Long{2, 4, 1, 0, ' '};
constexpr Triple k_HoursToMinutes{7, 8, 6, 2, '0'};
constexpr Triple k_HoursToSeconds{6, 8, 5, 2, '0'};
constexpr Triple k_DaysToSeconds{6, 9, 5, 2, '0'};
constexpr Triple k_DaysToMinutes{7, 9, 6, 2, '0'};

Rows<Triple, int64_t, char const*> const k_Durations = {
    {k_Long, 0, "0 seconds"},
    {k_Long, 1 * k_Second, "1 second"},
    {k_Long, 59 * k_Second + 999, "59 seconds"},
    {k_Long, 1 * k_Minute, "1 minute 0 seconds"},
    {k_Long, 2 * k_Minute + 5 * k_Second, "2 minutes 5 seconds"},
    {k_Long, 1 * k_Hour + 2 * k_Minute + 59 * k_Second, "1 hour 2 minutes"},
    {k_Long, 2 * k_Day + 1 * k_Minute, "2 days 0 hours 1 minute"},
    {k_Long, 1000 * k_Day, "1000 days 0 hours 0 minutes"},
    {k_Long, 1000 * k_Day + 1, "1000 days"},
    {k_Long, -(2 * k_Minute + 5 * k_Second), "-2 minutes 5 seconds"},

    {k_HoursToMinutes, 2 * k_Minute + 5 * k_Second, "2m 05s"},
    {k_HoursToMinutes, 1 * k_Hour + 2 * k_Minute + 3 * k_Second, "1h 02m"},
    {k_HoursToMinutes, 26 * k_Hour + 7 * k_Minute, "26h 07m"},
    {k_HoursToMinutes, 1001 * k_Day + 5 * k_Hour, "1001d"},

    {k_HoursToSeconds, 0, "0ms"},
    {k_HoursToSeconds, 250, "250ms"},
    {k_HoursToSeconds, 5 * k_Second + 7, "5s 07ms"},
    {k_HoursToSeconds, 2 * k_Minute + 5 * k_Second + 999, "2m 05s"},

    {k_DaysToSeconds, 12 * k_Second, "12s"},
    {k_DaysToSeconds, 26 * k_Hour + 3 * k_Second, "1d 02h 00m 03s"},
    {k_DaysToSeconds, 2000 * k_Day, "2000d"},

    {k_DaysToMinutes, 45 * k_Second, "45s"},
    {k_DaysToMinutes, 26 * k_Hour + 7 * k_Minute, "1d 02h 07m"},
    {k_DaysToMinutes, std::numeric_limits<int64_t>::max(), "106751991167d"},
    {k_DaysToMinutes, std::numeric_limits<int64_t>::min(), "-106751991167d"},
};

TEST(Time, DurationsOfEveryTripleInUse) {
    for (auto const& [units, ms, text] : k_Durations) {
        Triple const& u = units;
        EXPECT_EQ(Time(ms).FormatDuration(u.unit1, u.unit2, u.unit3, true, u.width, u.fill, k_DurationLimitMs), text)
            << u.unit1 << "," << u.unit2 << "," << u.unit3 << " of " << ms << " ms";
    }
    EXPECT_EQ(Time::Minutes(62).FormatDuration(7, 9, 6, false, 2, '0'), "1h02m");
    // Units that do not exist must not read past the table.
    EXPECT_FALSE(Time::Minutes(62).FormatDuration(-3, 99, 42).Empty());
}

TEST(Time, SpansLetTheLargestUnitRunOn) {
    Time const span = Time::Hours(26) + Time::Minutes(5) + Time::Seconds(9) + Time(70);
    EXPECT_EQ(span.FormatSpan(k_SpanHMS), "26:05:09");
    EXPECT_EQ(span.FormatSpan("%D %H:%M"), "1 02:05");
    EXPECT_EQ(span.FormatSpan("%S.%L"), "93909.070");
    EXPECT_EQ((-span).FormatSpan("%M%%"), "-1565%");
    EXPECT_EQ(Time().FormatSpan(k_SpanHMS), "00:00:00");
    EXPECT_EQ(span.FormatSpan("%x %"), "%x %");
}

TEST(Time, PointsFormatInUtcAndInTheLocalZone) {
    Time const point = Time::FromUnixMs(1763692496007);
    EXPECT_EQ(point.Format(k_DefaultDateTime, false), "2025-11-21 02:34:56.007");
    EXPECT_EQ(point.Format(k_DateTimeNoMS, false), "2025-11-21 02:34:56");
    EXPECT_EQ(point.Format(k_DateTimeNicer, false), "2025-11-21 02:34");
    EXPECT_EQ(point.Format(k_DefaultTime, false), "02:34:56");
    EXPECT_EQ(point.Format(k_ShortDate, false), "2025-11-21");
    {
        EnvironmentValue const zone("TZ", "TST-5:30");
        tzset();
        EXPECT_EQ(point.Format(k_DateTimeNicer), "2025-11-21 08:04");
    }
    tzset();
    EXPECT_EQ(Time().Format("%Y-%m-%d %H:%M:%S", false), "0001-01-01 00:00:00");
    EXPECT_EQ(Time().Format(k_ShortDate, false, true), "");
    EXPECT_EQ(Time::FromUnixMs(-1).Format(k_DefaultDateTime, false), "1969-12-31 23:59:59.999");
    EXPECT_EQ(Time(std::numeric_limits<int64_t>::max()).Format(), "");
    EXPECT_EQ(point.Format("", false), "");
    EXPECT_LE(std::abs(Time::CurrentTime().ToUnixMs() / 1000 - std::time(nullptr)), 1);
}

} // namespace corekit::test_time
