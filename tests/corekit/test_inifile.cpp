#include "test.h"

#include <corekit/inifile.h>

namespace corekit::test_inifile {

using Content = std::map<String, OptionMap, String::ciless>;

Content ContentOf(IniFile const& file) {
    Content content;
    for (String const& section : file.Sections())
        content[section] = file.GetSection(section);
    return content;
}

// Text that is hard on an INI file: its own marks are far more frequent than chance.
String HardText(std::mt19937& random, size_t maxLength) {
    static constexpr char bytes[] = "=[];#\\{}\"'\n\r\t \0 ;<\xEF\xBB\xBF{0A}";
    constexpr std::string_view marks(bytes, sizeof bytes - 1);
    String text;
    for (size_t left = random() % (maxLength + 1); left > 0; --left)
        text += random() % 2 ? marks[random() % marks.size()] : static_cast<char>(random());
    return text;
}

TEST(IniFile, AnyBytesReadBackAsTheyWere) {
    auto const seed = std::random_device()();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    for (auto const start : {1u, seed}) {
        std::mt19937 random(start);
        for (int round = 0; round < 400; ++round) {
            IniFile file;
            for (auto values = random() % 12; values > 0; --values)
                file.SetValue(HardText(random, 4), HardText(random, 4), HardText(random, 30));
            file.InsertSection(HardText(random, 3));
            String const text = file.SaveText();
            IniFile again;
            again.LoadText(text);
            ASSERT_EQ(ContentOf(again), ContentOf(file)) << text;
            for (String const& section : file.Sections())
                ASSERT_EQ(again.Keys(section), file.Keys(section)) << text;
            ASSERT_EQ(again.SaveText(), text);
        }
    }
}

TEST(IniFile, DamagedTextNeverCrashesAndReadableTextIsStable) {
    std::mt19937 random(11);
    for (int round = 0; round < 3000; ++round) {
        String text = HardText(random, 200);
        IniFile file;
        file.SetValue("kept", "key", "value");
        if (text.Contains(std::string_view("\0", 1))) {
            ASSERT_THROW(file.LoadText(text), ParseException);
            ASSERT_EQ(file.GetValue("kept", "key", ""), "value");
            text.Replace(std::string_view("\0", 1), "");
        }
        file.LoadText(text);
        String const saved = file.SaveText();
        IniFile again;
        again.LoadText(saved);
        ASSERT_EQ(ContentOf(again), ContentOf(file)) << text;
    }
}

TEST(IniFile, ReadsWhatPeopleWrite) {
    IniFile file;
    file.LoadText("\xEF\xBB\xBF; Farm of the third floor\n"
                  "; do not edit\n"
                  "top=1\r\n"
                  "[ Connection ]\r\n"
                  "  Host = render.local  \n"
                  "Path = C:\\temp\\new\n"
                  "# the old port\n"
                  "Port=9000 ; not a comment\n"
                  "host = second\n"
                  "what is this\n"
                  "= nothing\n"
                  "[Broken\n"
                  "Name = \\{41}\\{42\n"
                  "; the end\n");
    EXPECT_EQ(file.Sections(), (std::vector<String>{"", "Connection"}));
    EXPECT_EQ(file.GetValue("", "top", 0), 1);
    EXPECT_EQ(file.Keys("connection"), (std::vector<String>{"Host", "Path", "Port", "Name"}));
    EXPECT_EQ(
        file.GetSection("Connection"),
        (OptionMap{
            {"Host", "second"}, {"Path", "C:\\temp\\new"}, {"Port", "9000 ; not a comment"}, {"Name", "A\\{42"}}));
    EXPECT_EQ(file.GetValue("Connection", "PORT", 0), 9000);
    // What was not understood and what was remarked is still there after a save.
    file.SetValue("Connection", "Host", "third");
    String const saved = file.SaveText();
    for (char const* kept : {"; Farm of the third floor\n; do not edit\n", "# the old port", "; what is this",
                             "; = nothing", "; [Broken", "; the end"})
        EXPECT_TRUE(saved.Contains(kept)) << kept << "\nin\n" << saved;
    IniFile again;
    again.LoadText(saved);
    EXPECT_EQ(again.SaveText(), saved);
}

TEST(IniFile, TypedValuesFallBackToTheDefault) {
    IniFile file;
    file.SetSection("S");
    file.SetValue("int", -5);
    file.SetValue("unsigned", 4000000000u);
    file.SetValue("int64", std::numeric_limits<int64_t>::min());
    file.SetValue("uint64", std::numeric_limits<uint64_t>::max());
    file.SetValue("float", 0.1f);
    file.SetValue("double", 1e300);
    file.SetValue("bool", true);
    EXPECT_EQ(file.GetValue("S", "unsigned", 1u), 4000000000u);
    EXPECT_EQ(file.GetValue("S", "int64", int64_t{1}), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(file.GetValue("S", "uint64", uint64_t{1}), std::numeric_limits<uint64_t>::max());
    EXPECT_EQ(file.GetValue("S", "float", 1.0f), 0.1f);
    EXPECT_EQ(file.GetValue("S", "double", 1.0), 1e300);
    EXPECT_EQ(file.GetValue("S", "bool", ""), "Yes");
    // Out of range, of another type, or missing.
    EXPECT_EQ(file.GetValue("S", "unsigned", 7), 7);
    EXPECT_EQ(file.GetValue("S", "int", 7u), 7u);
    EXPECT_EQ(file.GetValue("S", "unsigned", static_cast<unsigned short>(7)), 7);
    EXPECT_EQ(file.GetValue("S", "double", 7.0f), 7.0f);
    EXPECT_EQ(file.GetValue("S", "bool", 7), 7);
    EXPECT_TRUE(file.GetValue("S", "int", true));
    int value = 9;
    EXPECT_FALSE(file.GetValue("none", value) || file.HasKey("none"));
    EXPECT_TRUE(file.GetValue("INT", value));
    EXPECT_EQ(value, -5);
}

TEST(IniFile, WalksSectionsByNameAndKeysInTheOrderOfWriting) {
    IniFile file;
    for (char const* section : {"3", "1", "2"}) {
        file.InsertSection(section);
        for (char const* key : {"Name", "Job", "Area"})
            file.SetValue(key, String(section) + key);
    }
    String all;
    file.ResetSection();
    for (String section; file.NextSection(section);) {
        all += section + ":";
        for (String key, value; file.GetNextValue(key, value);)
            all += " " + value;
        all += "; ";
        if (section == "2")
            file.ClearSection(section);
    }
    EXPECT_EQ(all, "1: 1Name 1Job 1Area; 2: 2Name 2Job 2Area; 3: 3Name 3Job 3Area; ");
    EXPECT_EQ(file.Sections(), (std::vector<String>{"1", "3"}));
    // A key that goes while the walk is under way is not given.
    file.SetSection("3");
    String key, value;
    ASSERT_TRUE(file.GetNextValue(key, value));
    EXPECT_TRUE(file.ClearKey("Job"));
    EXPECT_FALSE(file.ClearKey("Job"));
    ASSERT_TRUE(file.GetNextValue(key, value));
    EXPECT_EQ(key, "Area");
    EXPECT_TRUE(file.EraseFirstSection());
    file.InsertSection("3");
    EXPECT_TRUE(file.HasSection("3") && file.Keys("3").empty() && file.SectionCount() == 1);
    EXPECT_TRUE(file.EraseFirstSection());
    EXPECT_FALSE(file.EraseFirstSection());
}

TEST(IniFile, LoadsReplacingOrOnTop) {
    TempFolder const folder;
    Path const path = folder / "a.ini";
    IniFile stored;
    stored.SetValue("S", "a", 1);
    stored.Save(path);
    IniFile file;
    file.SetValue("S", "a", 5);
    file.SetValue("S", "b", 6);
    EXPECT_TRUE(file.Load(path, true, false));
    EXPECT_EQ(file.GetValue("S", "a", 0) + file.GetValue("S", "b", 0), 7);
    EXPECT_TRUE(file.Load(path, true, true));
    EXPECT_FALSE(file.HasKey("S", "b"));
    EXPECT_THROW(file.Load(folder / "none.ini", true), FileException);
    File::WriteWhole(path, std::string_view("[S]\nkey=val\0ue\n", 15));
    EXPECT_THROW(file.Load(path), ParseException);
    {
        SetExceptionLevel const level(file, 5);
        LogLines lines;
        EXPECT_FALSE(file.Load(path));
        EXPECT_TRUE(lines.Get().size() == 1 && lines.Has(path));
    }
    EXPECT_THROW(file.Load(path), ParseException);
    EXPECT_EQ(file.GetValue("S", "a", 0), 1) << "a failed load changes nothing";
    EXPECT_FALSE(file.Load(folder / "none.ini"));
    EXPECT_EQ(file.SectionCount(), 0u);
}

} // namespace corekit::test_inifile
