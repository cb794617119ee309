#include "runtimetools.h"

#include <unordered_set>

using namespace corekit;
using namespace corekit::test;

TEST(UID, TextReadsBackAndBadTextIsRefused) {
    UID id;
    ASSERT_TRUE(UID::FromString("{01234567-89AB-cdef-0123-456789abcdef}", id));
    EXPECT_EQ(id.ToString(), "01234567-89ab-cdef-0123-456789abcdef");
    EXPECT_EQ(id.Bytes()[0], 0x01);
    EXPECT_EQ(id.Bytes()[15], 0xEF);
    UID const before = id;
    for (char const* bad : {"", "{}", "01234567-89ab-cdef-0123-456789abcde", "01234567-89ab-cdef-0123-456789abcdefa",
                            "{01234567-89ab-cdef-0123-456789abcdef", "01234567-89ab-cdef-0123-456789abcdeg",
                            "0123456789ab-cdef-0123-456789abcdef--", "01234567-89ab-cdef-0123_456789abcdef",
                            "0-234567-89ab-cdef-0123-456789abcdef"}) {
        EXPECT_FALSE(UID::FromString(bad, id)) << bad;
        EXPECT_EQ(id, before);
    }
}

TEST(UID, OrdersAsUnsignedBytes) {
    UID low;
    UID high;
    ASSERT_TRUE(UID::FromString("7f000000-0000-0000-0000-0000000000ff", low));
    ASSERT_TRUE(UID::FromString("80000000-0000-0000-0000-000000000000", high));
    EXPECT_TRUE(UID::Null < low && low < high && high < UID::Full);
    EXPECT_TRUE(UID().IsNull() && UID(false).IsNull() && !UID::Full.IsNull());
    EXPECT_EQ(UID::FromBytes({high.Bytes(), 16}), high);
    EXPECT_TRUE(UID::FromBytes({high.Bytes(), 15}).IsNull());
}

TEST(UID, FreshOnesAreUniqueAcrossThreadsAndCarryTheirVersion) {
    constexpr size_t perThread = 5000;
    std::vector<std::vector<UID>> made(4);
    std::vector<std::jthread> threads;
    for (auto& mine : made)
        threads.emplace_back([&mine] {
            for (size_t i = 0; i < perThread; ++i)
                mine.push_back(UID(true));
        });
    threads.clear();
    std::unordered_set<UID> all;
    for (auto const& mine : made)
        all.insert(mine.begin(), mine.end());
    EXPECT_EQ(all.size(), perThread * made.size());
    for (UID const& id : made[0]) {
        ASSERT_EQ(id.Bytes()[6] >> 4, 4);
        ASSERT_EQ(id.Bytes()[8] >> 6, 2);
    }
}

TEST(UID, AForkedChildDoesNotRepeatItsParent) {
    static_cast<void>(UID(true));
    Pipe const pipe;
    ASSERT_EQ(EndOf(Fork([&] { return write(pipe.write.Get(), UID(true).Bytes(), 16) == 16 ? 0 : 1; })), 0);
    uint8_t bytes[16];
    ASSERT_EQ(read(pipe.read.Get(), bytes, sizeof bytes), 16);
    EXPECT_NE(UID::FromBytes(bytes), UID(true));
}

TEST(UID, NamesGiveStableValues) {
    EXPECT_EQ(UID::FromName("Shell Script"), UID::FromName("Shell Script"));
    EXPECT_NE(UID::FromName("Shell Script"), UID::FromName("shell script"));
    EXPECT_EQ(UID::FromName("Shell Script").Bytes()[6] >> 4, 5);
    // Written into files: the value must never change.
    EXPECT_EQ(UID::FromName("").ToString(), "a7e81c19-24c6-57fe-9735-f0dfda197993");
}
