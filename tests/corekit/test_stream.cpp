#include "test.h"

#include <corekit/stream.h>

namespace corekit::test_stream {

using Sample = std::tuple<bool, int32_t, uint32_t, int64_t, double, String, String, UID, Time>;

Sample ReadSample(InStream& in) {
    return std::apply([&](auto... unset) { return Sample{in.Get<decltype(unset)>()...}; }, Sample{});
}

TEST(Stream, DataReadsBackAndIsAFaultWhenItEndsTooEarlyAnywhere) {
    Sample const sample(true, -2, 4000000000u, -5000000000, 1.5, String("a\0b", 3), "text", UID(true), Time::Hours(1));
    OutMemory out;
    std::apply([&](auto const&... value) { (out.Write(value), ...); }, sample);
    String const bytes = out.TakeBytes();
    InMemory in(bytes);
    EXPECT_EQ(ReadSample(in), sample);
    EXPECT_TRUE(in.AtEnd() && !in.Failed());
    for (size_t length = 0; length < bytes.size(); ++length) {
        String const part = bytes.Mid(0, length);
        InMemory strict(part);
        EXPECT_THROW(ReadSample(strict), ParseException) << length;
        InMemory lenient(part);
        SetExceptionLevel const level(lenient, 5);
        LogLines lines;
        ReadSample(lenient);
        EXPECT_TRUE(lenient.Failed());
        EXPECT_EQ(lenient.Get<int64_t>(), 0);
        EXPECT_EQ(lines.Get().size(), 1u) << "one fault, one line";
    }
    // The bytes are the same on every machine.
    out.Write(uint32_t{0x01020304});
    EXPECT_EQ(out.Bytes(), "\x04\x03\x02\x01");
}

TEST(Stream, ALengthBeyondItsLimitIsRefused) {
    OutMemory out;
    out.Write(uint32_t{0xFFFFFFFF});
    InMemory in(out.Bytes());
    EXPECT_THROW(in.Get<String>(), ParseException);
    String text;
    InMemory limited(std::string_view("\5\0\0\0abcde", 9));
    EXPECT_THROW(limited.Read(text, 4), ParseException);
    InMemory all("12345");
    EXPECT_THROW(all.ReadAll(4), ParseException);
    InMemory fits("12345");
    EXPECT_EQ(fits.ReadAll(5), "12345");
}

TEST(Stream, LinesOfAnyEndingAndLength) {
    String const longLine(InStream::k_MaxLineBytes + 10, 'x');
    String const text = "one\r\n\ntwo\n" + longLine + "\nlast";
    InMemory in(text);
    std::vector<String> lines;
    for (String line; in.Line(line);)
        lines.push_back(line);
    EXPECT_EQ(lines,
              (std::vector<String>{"one", "", "two", String(InStream::k_MaxLineBytes, 'x'), "xxxxxxxxxx", "last"}));
}

TEST(Stream, AFileTakesItsPlaceOnlyWhenClosed) {
    TempFolder const folder;
    Path const path = folder / "product.json";
    File::WriteWhole(path, "old");
    String const big(200000, 'x');
    {
        OutFile dropped(path);
        dropped.Text(big);
    }
    EXPECT_EQ(File::Read(path), "old");
    {
        OutFile file(path);
        file.Write(big);
        file.Write(int32_t{7});
        EXPECT_EQ(File::Read(path), "old");
        EXPECT_TRUE(file.Close());
        EXPECT_FALSE(file.Close());
    }
    InFile in(path);
    EXPECT_EQ(in.Get<String>(), big);
    EXPECT_EQ(in.Get<int32_t>(), 7);
    EXPECT_TRUE(in.AtEnd());
    EXPECT_EQ(folder.Names().size(), 1u);
    EXPECT_THROW(InFile(folder / "none"), FileException);
    EXPECT_THROW(OutFile(folder / "none/x"), FileException);
}

TEST(Stream, AFullDiskThrowsByTheLevelAndKeepsTheOldFile) {
    TempFolder const folder;
    Path const path = folder / "a";
    File::WriteWhole(path, "old");
    FaultyLayer layer;
    layer.fault = FaultyLayer::Fault::FullDisk;
    String const big(200000, 'x');
    {
        OutFile file(path);
        EXPECT_THROW(file.Text(big), FileException);
    }
    {
        OutFile file(path);
        SetExceptionLevel const level(file, 5);
        file.Text(big);
        file.Text(big);
        EXPECT_FALSE(file.Close());
    }
    EXPECT_EQ(File::Read(path), "old");
    EXPECT_EQ(folder.Names().size(), 1u);
}

} // namespace corekit::test_stream
