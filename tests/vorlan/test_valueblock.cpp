#include "domain.h"

#include <vorlan/valueblock.h>

#include <malloc.h>

namespace vorlan::test_valueblock {

String Listed(ValueBlock const& block) {
    String text;
    for (ValueBlock::Value const value : block)
        text += String(value.Name()) + "=" + value.text + ";";
    return text;
}

TEST(NameTable, TakesAnySpellingAndKeepsTheFirst) {
    for (char const* spelling : {"TestSpelling", "TESTspelling"})
        EXPECT_EQ(NameTable::Name(NameTable::Number(spelling)), "TestSpelling");
    EXPECT_EQ(NameTable::Lookup("testspelling"), NameTable::Number("TestSpelling"));
    EXPECT_EQ(NameTable::Name(NameTable::Number("pRiOrItY")), p_Priority);
    size_t const count = NameTable::Count();
    EXPECT_EQ(NameTable::Lookup("never a name of this test"), NameTable::k_None);
    EXPECT_EQ(NameTable::Count(), count);
    EXPECT_THROW(NameTable::Number(""), ArgumentException);
    EXPECT_THROW(NameTable::Number(std::string(NameTable::k_MaxNameLength + 1, 'x')), ArgumentException);
}

TEST(NameTable, GivesOneNumberPerNameToManyThreads) {
    constexpr int k_Threads = 4;
    constexpr int k_Names = 5000; // grows the table several times
    std::vector<std::vector<uint32_t>> numbers(k_Threads);
    std::vector<std::thread> threads;
    for (auto& mine : numbers) {
        threads.emplace_back([&mine] {
            for (int i = 0; i < k_Names; ++i)
                mine.push_back(NameTable::Number(SFormat("Crowd%d", i)));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (int i = 0; i < k_Names; ++i) {
        EXPECT_EQ(NameTable::Name(numbers[0][i]), SFormat("Crowd%d", i));
        for (auto const& other : numbers)
            ASSERT_EQ(other[i], numbers[0][i]);
    }
}

TEST(ValueBlock, ChangesOneValueAndKeepsTheRest) {
    ValueBlockBuilder builder;
    for (auto const& [name, text] : Rows<char const*, char const*>{{"First", "1"}, {"Second", "two"}, {"Third", ""}})
        builder.Add(name, text);
    auto const block = builder.Build();
    EXPECT_EQ(Listed(*block), "First=1;Second=two;Third=;");
    Rows<char const*, char const*, char const*> const cases = {
        {"second", "a longer text", "First=1;Second=a longer text;Third=;"},
        {"Second", "", "First=1;Second=;Third=;"},
        {"First", "", "First=;Second=two;Third=;"},
        {"Third", "3", "First=1;Second=two;Third=3;"},
        {"Fourth", "4", "First=1;Second=two;Third=;Fourth=4;"},
    };
    for (auto const& [name, text, expected] : cases)
        EXPECT_EQ(Listed(*block->With(NameTable::Number(name), text)), expected);
    EXPECT_EQ(Listed(*block->Without(NameTable::Number("second"))), "First=1;Third=;");
    EXPECT_EQ(Listed(*block->Without(NameTable::Number("Fourth"))), Listed(*block));
    EXPECT_EQ(Listed(*ValueBlock::Empty()->With(NameTable::Number("Second"), "x")), "Second=x;");
    EXPECT_NE(block->Find("third").data(), nullptr);
    EXPECT_EQ(block->Find("fourth").data(), nullptr);
}

TEST(ValueBlockBuilder, MakesTheSameBlockWhateverCameBefore) {
    Rows<char const*, Rows<char const*, char const*>> const cases = {
        {"ShapeA=1;ShapeB=2;ShapeC=3;", {{"ShapeA", "1"}, {"ShapeB", "2"}, {"ShapeC", "3"}}},
        {"ShapeA=4;ShapeB=5;ShapeC=6;", {{"ShapeA", "4"}, {"ShapeB", "5"}, {"ShapeC", "6"}}}, // the same names again
        {"ShapeA=1;", {{"ShapeA", "1"}}},                                                     // fewer
        {"ShapeA=1;ShapeB=2;ShapeD=3;", {{"ShapeA", "1"}, {"ShapeB", "2"}, {"ShapeD", "3"}}}, // others behind
        {"ShapeB=1;ShapeA=2;", {{"ShapeB", "1"}, {"ShapeA", "2"}}},                           // another order
        {"ShapeA=3;ShapeB=2;", {{"ShapeA", "1"}, {"ShapeB", "2"}, {"SHAPEa", "3"}}},          // one twice
        {"ShapeA=3;ShapeC=4;", {{"ShapeA", "1"}, {"SHAPEa", "3"}, {"ShapeC", "4"}}},
        {"ShapeA=1;ShapeB=2;ShapeC=3;", {{"ShapeA", "1"}, {"ShapeB", "2"}, {"ShapeC", "3"}}},
        {"", {}},
    };
    ValueBlockBuilder kept;
    for (int round = 0; round < 2; ++round) {
        for (auto const& [expected, pairs] : cases) {
            for (auto const& [name, text] : pairs)
                kept.Add(name, text);
            EXPECT_EQ(Listed(*kept.Build()), expected);
        }
    }
    kept.Add("ShapeA", "1");
    kept.Add(NameTable::Number("ShapeB"), "2");
    kept.Add("ShapeB", "3");
    kept.Remove(NameTable::Number("ShapeA"));
    kept.AddCopy("ShapeC", std::string("4"));
    EXPECT_EQ(Listed(*kept.Build()), "ShapeB=3;ShapeC=4;");
}

TEST(ValueBlockBuilder, RefusesMoreValuesThanTheLimit) {
    ValueBlockBuilder builder;
    uint32_t const number = NameTable::Number("Limit");
    std::string const text(1 << 20, 'x');
    builder.Add(number, text);
    for (uint32_t i = 1; i < 300; ++i)
        builder.Add(SFormat("Limit%u", i), text);
    EXPECT_THROW(builder.Build(), ArgumentException);
    builder.Add(number, "1");
    EXPECT_EQ(builder.Build()->Count(), 1u) << "starts anew after a refusal";
}

// Objects from outside can have endless lists of names; not all of them are kept.
TEST(ValueBlock, IsTheSameWithNamesOfItsOwn) {
    constexpr uint32_t k_Names = 150; // their pairs are more than the lists that are kept
    std::vector<uint32_t> numbers;
    for (uint32_t i = 0; i < k_Names; ++i)
        numbers.push_back(NameTable::Number(SFormat("Own%u", i)));
    ValueBlockBuilder builder;
    auto const pair = [&](uint32_t first, uint32_t second) {
        builder.Add(first, "1");
        builder.Add(second, "two");
        return builder.Build();
    };
    auto const shared = pair(numbers[0], numbers[1]);
    auto own = shared;
    for (uint32_t const first : numbers) {
        for (uint32_t const second : numbers) {
            if (first != second)
                own = pair(first, second);
        }
    }
    EXPECT_EQ(own->Bytes(), shared->Bytes() + 2 * sizeof(uint32_t));
    EXPECT_EQ(Listed(*own), "Own149=1;Own148=two;");
    EXPECT_EQ(Listed(*own->With(numbers[148], "2")), "Own149=1;Own148=2;");
    EXPECT_EQ(Listed(*own->With(numbers[0], "3")), "Own149=1;Own148=two;Own0=3;");
    EXPECT_EQ(Listed(*own->Without(numbers[149])), "Own148=two;");
    EXPECT_TRUE(*own == *pair(numbers[149], numbers[148]));
    EXPECT_FALSE(*own == *shared);
}

// What 100,000 mirrored Jobs cost is decided here.
TEST(ValueBlock, TakesLittleMoreThanItsPayload) {
    constexpr size_t k_Jobs = 2000;
    constexpr int k_Values = 40;
    size_t payload = 0;
    auto const before = mallinfo2().uordblks;
    std::vector<boost::shared_ptr<Job>> jobs(k_Jobs);
    for (auto& job : jobs) {
        job = boost::make_shared<Job>(UID(true));
        ValueBlockBuilder builder;
        payload = 0;
        for (int i = 0; i < k_Values; ++i) {
            String const name = SFormat("Parameter%02d", i);
            String const value(22, 'v');
            builder.AddCopy(std::string_view(name), std::string_view(value));
            payload += name.size() + value.size();
        }
        job->SetSnapshot(builder.Build());
    }
    auto const after = mallinfo2().uordblks;
    if (after == before)
        GTEST_SKIP() << "this allocator does not tell";
    size_t const perJob = (after - before) / k_Jobs;
    EXPECT_GT(perJob, payload / 2);
    EXPECT_LT(perJob, payload + payload / 10) << "payload " << payload;
    EXPECT_LE(sizeof(Job), 72u);
}

} // namespace vorlan::test_valueblock
