#include "domain.h"

#include <corekit/runcommand.h>
#include <corekit/stringtokenizer.h>
#include <vorlan/launch.h>
#include <vorlan/outputmatcher.h>
#include <vorlan/range.h>

namespace vorlan::test_productlaunch {

using Words = std::vector<String>;

boost::shared_ptr<Product> Shipped(char const* file) {
    return SLoadProductFile(Path(vorlan::k_SourceDir) / "products" / file);
}

boost::shared_ptr<Job> Unit(Product const& product, OptionMap values) {
    auto const unit = boost::make_shared<Job>(UID(true));
    unit->parentID = UID(true);
    values[p_Type] = product.Type().ToString();
    if (values.count(p_Name) == 0)
        values[p_Name] = "Test";
    unit->SetValues(values);
    return unit;
}

boost::shared_ptr<Product> WithLaunch(String const& launch, String const& more = String()) {
    return ProductFromText(
        R"({"ID": "11111111-2222-3333-4444-555555555555", "Name": "P", "Class": "Sequence", "Launch": )" + launch +
        more + "}");
}

String LaunchError(Product const& product, OptionMap const& values) {
    try {
        BuildLaunch(product, *Unit(product, values), {});
    } catch (ArgumentException const& error) {
        return error.Message();
    }
    return "no error";
}

TEST(Launch, ArgumentsFollowTheValues) {
    auto const product =
        WithLaunch(R"json({"Arguments": ["run", "$(Empty)", "a$(First)-$(Last)x$(Step)", "[-t $(Threads)]",
        ["-o", "$(Out)"], ["-s", "$(Scene)", ["-q", "$(Empty)"]], {
    "If" : "$(Flag)", "Arguments" : ["-f"]},
        {
    "Each" : "List", "Arguments" : [ "+L", "$(Item)" ]}, {"CommandLine": "Extra"}, "$(Engine.Name)", "$(Program)"],
        "Environment": {"OUT": "$(Out)", "GONE": "$(Empty)"}, "Folder": "$(Scene:folder)",
        "ExpectedFiles": ["$(Frame:pad=3).png", "all", "$(Out)/x"]})json",
                   R"(, "Parameters": [{"Type": "Boolean", "Name": "Flag", "True": "Sure", "False": "Never"},
        {"Type": "Text", "Name": "Threads", "Default": 4}, {"Type": "Path to a File", "Name": "Scene", "Flags": ["Enquote"]},
        {"Type": "Text", "Name": "Program", "Default": "p", "Flags": ["Option"]}])");
    auto const unit = Unit(*product, {{p_SubRange, "9-5x2"},
                                      {"Scene", "\"/s h/a b\""},
                                      {"Flag", "sure"},
                                      {"List", "/a; /b c ;"},
                                      {"Extra", "-x 'y z' $(Scene) [-n $(Empty)]"},
                                      {"Program", "mine"}});
    Launch const launch = BuildLaunch(*product, *unit, {{"Engine.Name", "e1"}, {"Program", "theirs"}});
    EXPECT_EQ(launch.arguments, (Words{"run", "a5-9x2", "-t 4", "-s", "/s h/a b", "-f", "+L", "/a", "+L", "/b c", "-x",
                                       "y z", "/s h/a b", "e1", "theirs"}));
    EXPECT_FALSE(launch.environment.contains("GONE"));
    EXPECT_EQ(launch.environment.at("VORLAN_FRAMES"), "9-5x2");
    EXPECT_EQ(launch.environment.at("VORLAN_FIRST") + launch.environment.at("VORLAN_LAST"), "59");
    EXPECT_EQ(launch.environment.at("VORLAN_ENGINE"), "e1");
    EXPECT_EQ(launch.folder, "/s h");
    EXPECT_EQ(launch.expectedFiles, (Words{"009.png", "007.png", "005.png", "all"}));
    EXPECT_FALSE(launch.shell);
    unit->Set("Flag", "Never");
    unit->Set("Out", "/o");
    Launch const other = BuildLaunch(*product, *unit, {});
    EXPECT_EQ(other.arguments, (Words{"run", "a5-9x2", "-t 4", "-o", "/o", "-s", "/s h/a b", "+L", "/a", "+L", "/b c",
                                      "-x", "y z", "/s h/a b", "mine"}));
    EXPECT_EQ(other.environment.at("OUT"), "/o");
}

TEST(Launch, SaysWhatIsWrong) {
    auto const product =
        WithLaunch(R"json({"Arguments": ["$(Program)", "$(Big)", {"Each": "Many", "Arguments": ["$(Big)"]}]})json",
                   R"json(, "EvenPackets": true, "Values": {"A": "$(B)", "B": "$(A)"
}, "Parameters": [
        {"Type": "Text", "Name": "Scene", "NiceName": "The Scene", "Flags": ["Job Parameter", "Required"]}])json");
    OptionMap const good = {{"Scene", "s"}, {"Program", "p"}, {p_SubRange, "1-3"}};
    Rows<char const*, String, char const*> const cases = {
        {"Big", "x", "no error"},
        {"Scene", " ", "\"The Scene\" (Scene) of the Job has no value"},
        {"Program", "", "names no program to run"},
        {p_SubRange, "1,2,9", "The frames 1,2,9 are not evenly spaced"},
        {p_SubRange, "1-", "is not a range of frames"},
        {"Big", String(k_ArgumentLengthLimit + 1, 'x'), "an argument of 131072 bytes"},
        {"Big", String("a\0b", 3), "zero byte"},
    };
    for (auto const& [name, value, error] : cases) {
        OptionMap values = good;
        values[name] = value;
        EXPECT_TRUE(LaunchError(*product, values).Contains(error)) << error;
    }
    OptionMap many = good;
    many["Big"] = String(100'000, 'x');
    many["Many"] = "1;2;3;4;5;6;7;8;9;10;11;12;13;14;15;16";
    EXPECT_TRUE(LaunchError(*product, many).Contains("the limit is 1572864"));
    EXPECT_TRUE(LaunchError(*WithLaunch("{}"), good).Contains("does not say what to run"));
    auto const circle =
        WithLaunch(R"json({"Arguments": ["x", "$(A)"]})json", R"json(, "Values": {"A": "$(B)", "B": "$(A)"})json");
    EXPECT_TRUE(LaunchError(*circle, good).Contains("is made of itself"));
}

TEST(Launch, CommandsRunOnFramesAndHistoryRows) {
    auto const product = Shipped("povray.json");
    auto const job =
        Unit(*product, {{p_Range, "1-100"}, {"OutputFolder", "/o"}, {"OutputName", "i"}, {p_SubRange, ""}});
    Launch launch;
    ASSERT_TRUE(BuildCommandLaunch(*product, *job, c_ViewCommand, "42", launch));
    EXPECT_EQ(launch.arguments, (Words{"xdg-open", "/o/i042.png"}));
    job->SetName("7-9"); // a history row's copy of the Job
    ASSERT_TRUE(BuildCommandLaunch(*product, *job, c_ViewCommand, "", launch));
    EXPECT_EQ(launch.arguments, (Words{"xdg-open", "/o/i007.png"}));
    ASSERT_TRUE(BuildCommandLaunch(*product, *job, c_CheckFileSequences, "", launch));
    EXPECT_EQ(launch.arguments.front(), "ffplay");
    EXPECT_FALSE(BuildCommandLaunch(*product, *job, c_Output, "", launch)); // the window that shows it knows what to do
    EXPECT_FALSE(BuildCommandLaunch(*product, *job, "Unknown", "", launch));
}

OutputRule MakeRule(OutputRule::Kind kind, char const* pattern, char const* text = "") {
    return {.kind = kind, .pattern = pattern, .text = text};
}

TEST(OutputMatcher, CountsFramesAndParts) {
    using Kind = OutputRule::Kind;
    using Steps = Rows<char const*, double>;
    OutputRule const percent = MakeRule(Kind::Percent, "([0-9.]+|nan)%");
    OutputRule const frame = MakeRule(Kind::Frame, "F(-?\\d+)");
    Rows<std::vector<OutputRule>, char const*, Steps> const cases = {
        {{percent}, "1-4", {{"x 25.5%", 25.5}, {"10%", 25.5}, {"none", 25.5}, {"900%", 100}, {"nan%", 100}}},
        {{MakeRule(Kind::Step, "(\\d+)/(\\d+)")}, "", {{"1/4", 25}, {"3/0", 25}, {"4/4", 100}}},
        {{frame, percent},
         "-5--2",
         {{"F-5", 0}, {"50%", 12.5}, {"F-5", 12.5}, {"100%", 25}, {"F-4", 25}, {"F99", 25}, {"F-2", 50}, {"100%", 75}}},
        // A program that takes the frames from the end.
        {{frame, percent}, "1-4", {{"F4", 0}, {"F3", 25}, {"50%", 37.5}}},
        {{MakeRule(Kind::FrameOffset, "frame (\\d+) of"), percent},
         "3-9x2",
         {{"frame 1 of 7", 0}, {"100%", 25}, {"frame 3 of 7", 25}, {"frame 7 of 7", 50}}},
        {{MakeRule(Kind::Done, "saved (\\d+)")}, "1-4", {{"saved 2", 25}, {"saved 2", 25}, {"saved 1", 50}}},
        {{MakeRule(Kind::Total, "total (\\S+)"), MakeRule(Kind::Position, "at (\\S+)")},
         "",
         {{"at 00:00:05", 0}, {"total 00:01:40.0", 0}, {"total 5", 0}, {"at 00:00:25.00", 25}, {"at 00:01:15", 75}}},
    };
    for (auto const& [rules, subRange, steps] : cases) {
        OutputMatcher matcher({rules, {0}, {}}, subRange);
        for (auto const& [line, expected] : steps) {
            double const before = matcher.Percent();
            EXPECT_EQ(matcher.Feed(line).progressChanged, expected > before) << line;
            EXPECT_NEAR(matcher.Percent(), expected, 1e-9) << rules[0].pattern << ": " << line;
        }
    }
}

TEST(OutputMatcher, ANoteGoesOnWhereAProgramBrokeItsLine) {
    OutputRule const error{OutputRule::Kind::Error, "Error: .+"};
    Rows<std::vector<char const*>, char const*> const cases = {
        {{"File 'b.pov' line 1: Parse Error: No matching } in 'texture', undeclared", " identifier 'T' found", "Fatal"},
         "File 'b.pov' line 1: Parse Error: No matching } in 'texture', undeclared identifier 'T' found"},
        {{"File 'a.pov' line 1: Parse Error: Cannot open include file a_very_long_name_of_a", "n_include.inc.",
          " next"},
         "File 'a.pov' line 1: Parse Error: Cannot open include file a_very_long_name_of_an_include.inc."},
        {{"Error: short", " and something else"}, "Error: short"},
    };
    for (auto const& [lines, note] : cases) {
        OutputMatcher matcher({{error}, {0}, {}}, "");
        for (char const* line : lines)
            matcher.Feed(line);
        EXPECT_EQ(matcher.FirstError(), note);
    }
}

TEST(OutputMatcher, FirstErrorCountsAndNotesAreMade) {
    using Kind = OutputRule::Kind;
    OutputRule const error = MakeRule(Kind::Error, "failed: (\\w+)(?: at (\\d+))?", "$1 ($2) costs 5$$");
    OutputMatcher matcher({{error, MakeRule(Kind::Warning, "warn")}, {0}, {}}, "");
    EXPECT_EQ(matcher.Feed("  warn me \r").warning, "warn me");
    EXPECT_EQ(matcher.Feed("x failed: disk at 7").error, "disk (7) costs 5$");
    EXPECT_EQ(matcher.Feed("failed: again").error, "again () costs 5$");
    EXPECT_EQ(matcher.FirstError(), "disk (7) costs 5$");
    // Far beyond the limit, and a pattern that makes other engines take for ever.
    OutputMatcher slow({{MakeRule(Kind::Error, "(a*)*b")}, {0}, {}}, "");
    EXPECT_TRUE(slow.Feed(std::string(10 << 20, 'a') + "b").error.Empty());
    EXPECT_THROW(OutputMatcher({{MakeRule(Kind::Error, "(")}, {0}, {}}, ""), ParseException);
}

// Every shipped file loads, its texts are complete, its patterns compile, and it reads back.
TEST(ShippedProducts, AreComplete) {
    std::vector<String> errors;
    auto const products = LoadProductFolder(Path(vorlan::k_SourceDir) / "products", errors);
    EXPECT_EQ(errors, std::vector<String>());
    ASSERT_GE(products.size(), 4U);
    std::function<void(Parameter const&)> const checkHelp = [&](Parameter const& parameter) {
        SCOPED_TRACE(parameter.GetName());
        EXPECT_TRUE(parameter.IsHeading() || !parameter.GetHelp().Empty());
        EXPECT_TRUE(parameter.IsDefault(parameter.GetDefault()));
        for (size_t i = 0; i < parameter.GetSubParamCount(); ++i)
            checkHelp(*parameter.GetSubParam(i));
    };
    for (auto const& product : products) {
        SCOPED_TRACE(product->Name());
        EXPECT_FALSE(product->ShortHelp().Empty() || product->LongHelp().Empty() || product->SummaryTemplate().Empty());
        for (size_t i = 0; i < product->GetParamCount(); ++i)
            checkHelp(*product->GetParam(i));
        EXPECT_TRUE(product->FindCommand(c_Output) && product->FindCommand(c_ViewCommand));
        EXPECT_NO_THROW(OutputMatcher(product->GetOutputRules(), "1-10"));
        // What a rule changes is there to be changed.
        for (auto const& [key, updates] : product->GetAutoDetectStrings()) {
            for (auto const& [name, text] : updates)
                EXPECT_NE(product->GetParam(name), nullptr) << key << " " << name;
        }
        String const text = ProductToText(*product);
        EXPECT_EQ(ProductToText(*ProductFromText(text)), text);
    }
}

TEST(ShippedProducts, BlenderCommandLine) {
    auto const product = Shipped("blender.json");
    OptionMap values = {{"SceneFile", "\"/s/a.blend\""}, {p_SubRange, "10-4x3"}, {"CPUs", "8"}};
    Launch launch = BuildLaunch(*product, *Unit(*product, values), {{"Program", "/opt/blender"}});
    EXPECT_EQ(launch.Text(), "/opt/blender -b /s/a.blend -t 8 -s 4 -e 10 -j 3 -a");
    EXPECT_TRUE(launch.expectedFiles.empty()); // the file decides on the names
    values.merge(OptionMap{{"OutputFolder", "/o"},
                           {"Format", "OPEN_EXR"},
                           {"Renderer", "CYCLES"},
                           {"Device", "CPU"},
                           {"AutoRun", "0"},
                           {"Scene", "Main Scene"},
                           {"Options", "-noaudio"}});
    launch = BuildLaunch(*product, *Unit(*product, values), {});
    EXPECT_EQ(launch.Text(),
              "blender -b -Y /s/a.blend -S \"Main Scene\" -o /o/image_#### -F OPEN_EXR -x 1 -E CYCLES -t 8 -noaudio "
              "-s 4 -e 10 -j 3 -a -- --cycles-device CPU");
    EXPECT_EQ(launch.expectedFiles, (Words{"/o/image_0010.exr", "/o/image_0007.exr", "/o/image_0004.exr"}));

    OutputMatcher matcher(product->GetOutputRules(), "1-2");
    matcher.Feed("Fra:1 Mem:20.55M (Peak 20.56M) | Time:00:00.53 | Mem:0.66M, Peak:0.66M | Scene, View Layer | "
                 "Sample 32/64");
    EXPECT_NEAR(matcher.Percent(), 25, 1e-9);
    matcher.Feed("Saved: '/o/image_0001.exr'");
    matcher.Feed("Fra:2 Mem:20.55M (Peak 20.56M) | Time:00:00.10 | Compositing");
    EXPECT_NEAR(matcher.Percent(), 50, 1e-9);
    for (char const* error : {"Error: Cannot read file '/s/a.blend': No such file or directory",
                              "Error: Render error (Invalid argument) cannot save: '/o/x_0001.png'",
                              "Error: Build without OpenImageDenoiser", "Error: engine not found 'NOPE'",
                              "ValueError: bad thing in the script"})
        EXPECT_EQ(matcher.Feed(error).error, error);
    EXPECT_TRUE(matcher.Feed("Can't find scene: 'S' in file: '/s/a.blend'").error.StartsWith("Can't find scene: 'S'"));
    for (char const* none : {"Error: Not freed memory blocks: 1, total unfreed memory 0.000214 MB",
                             "Error: Python: Traceback (most recent call last):", "Saved: '/o/Error_0001.png'"})
        EXPECT_EQ(matcher.Feed(none).error, "") << none;
}

// What a launch did: its exit code and all lines of its output fed to the matcher.
struct Outcome {
    Launch launch;
    int exitCode = -1;
    double percent = 0;
    size_t progressReports = 0;
    String error;
    String output;
};

Outcome RunUnit(Product const& product, OptionMap const& values, TempFolder const& folder) {
    auto const unit = Unit(product, values);
    Outcome outcome{BuildLaunch(product, *unit, {})};
    Launch const& launch = outcome.launch;
    Path const log = folder / "output.txt";
    int const fd = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    ProcessOptions options;
    options.args = Words(launch.arguments.begin() + 1, launch.arguments.end());
    options.env = launch.environment;
    options.env["HOME"] = folder.Folder();
    options.folder = launch.folder.Empty() ? folder.Folder() : launch.folder;
    options.stdoutFd = options.stderrFd = fd;
    if (launch.createFolder)
        std::filesystem::create_directories(launch.folder.Native());
    String error;
    auto const process = Process::Start(Path(launch.arguments.front()), options, &error);
    close(fd);
    EXPECT_NE(process, nullptr) << error;
    if (!process)
        return outcome;
    outcome.exitCode = process->Wait(60000).value_or(-1000);
    outcome.output = File::Read(log);
    OutputMatcher matcher(product.GetOutputRules(), unit->GetParameterString(p_SubRange));
    StringTokenizer lines(outcome.output, "\r\n", '\0', '\0');
    for (String line; lines.Next(line);)
        outcome.progressReports += matcher.Feed(line).progressChanged;
    outcome.percent = matcher.Percent();
    outcome.error = matcher.FirstError();
    return outcome;
}

// It ended well, and its files are there.
void ExpectMade(Outcome const& outcome, size_t files, double percent) {
    EXPECT_EQ(outcome.exitCode, 0) << outcome.launch.Text() << "\n" << outcome.output;
    EXPECT_EQ(outcome.error, "");
    EXPECT_GE(outcome.percent, percent) << outcome.output;
    EXPECT_EQ(outcome.launch.expectedFiles.size(), files);
    for (String const& file : outcome.launch.expectedFiles)
        EXPECT_GT(File::Size(file), 0) << file;
}

TEST(RealPrograms, CommandWithAndWithoutShell) {
    auto const product = Shipped("command.json");
    TempFolder const folder;
    OptionMap values = {
        {p_SubRange, "3-4"},
        {p_Name, "it's; $HOME"},
        {"Folder", folder.Folder()},
        {"OutputFile", "out.$(Frame:pad=3)"},
        {"CommandLine",
         "/bin/sh -c 'echo \"$0\" > out.00$1; echo \"$0\" > out.00$2; echo 40%' $(Name) $(First) $(Last)"}};
    Outcome outcome = RunUnit(*product, values, folder);
    EXPECT_FALSE(outcome.launch.shell);
    EXPECT_EQ(outcome.launch.expectedFiles, (Words{"out.003", "out.004"}));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
    EXPECT_EQ(File::Read(folder / "out.004"), "it's; $HOME\n");
    EXPECT_NEAR(outcome.percent, 40, 1e-9);

    values["Shell"] = k_Yes;
    values["CommandLine"] = "echo $(Name) | tr a-z A-Z > \"$(Name)\" && exit 3";
    outcome = RunUnit(*product, values, folder);
    EXPECT_TRUE(outcome.launch.shell);
    EXPECT_EQ(outcome.exitCode, 3) << outcome.output;
    EXPECT_EQ(File::Read(folder / "it's; $HOME"), "IT'S; $HOME\n");
}

char const k_Scene[] = "#version 3.7;\nglobal_settings { assumed_gamma 1 }\ncamera { location <0,1,-4> look_at 0 }\n"
                       "light_source { <5,5,-5> rgb 1 }\nsphere { <clock,0,0>, Radius pigment { rgb <1,0.2,0.2> } }\n";

TEST(RealPrograms, PovRayRendersPackets) {
    if (FindProgram("povray").Empty())
        GTEST_SKIP() << "povray is not installed";
    auto const product = Shipped("povray.json");
    TempFolder const folder;
    File::WriteWhole(folder / "ball one.pov", k_Scene);
    OptionMap const values = {{"SceneFile", "\"" + (folder / "ball one.pov") + "\""},
                              {"OutputFolder", folder / "made/images"},
                              {"OutputName", "my ball_"},
                              {"Width", "64"},
                              {"Height", "48"},
                              {"Declare", "Radius=1"},
                              {"Antialias", "2"},
                              {"LibraryPaths", "/tmp; /usr/share/povray/include"},
                              {"Options", "-J +BS16"}};
    // The names depend on the whole range: as many digits as its last number has, none for a lone frame 1.
    Rows<char const*, char const*, char const*, size_t, char const*> const cases = {
        {"1-120", "8-12", "N", 5, "my ball_008.png"}, {"1-20x2", "11-3x2", "J", 5, "my ball_11.jpg"},
        {"1", "1", "N", 1, "my ball_.png"},           {"5", "5", "T", 1, "my ball_5.tga"},
        {"0-1", "0-1", "B", 2, "my ball_0.bmp"},
    };
    for (auto const& [range, subRange, format, files, firstName] : cases) {
        OptionMap all = values;
        all.merge(OptionMap{{p_Range, range}, {p_SubRange, subRange}, {"Format", format}});
        Outcome const outcome = RunUnit(*product, all, folder);
        ExpectMade(outcome, files, 100);
        EXPECT_GE(outcome.progressReports, files);
        EXPECT_EQ(Path(outcome.launch.expectedFiles.front()).Leaf(), firstName);
    }
    File::WriteWhole(folder / "bad.pov", "#version 3.7;\nsphere { nonsense }\n");
    for (char const* scene : {"bad.pov", "missing.pov"}) {
        OptionMap all = values;
        all["SceneFile"] = folder / scene;
        all.erase("LibraryPaths");
        all.merge(OptionMap{{p_Range, "1"}, {p_SubRange, "1"}});
        Outcome const outcome = RunUnit(*product, all, folder);
        EXPECT_NE(outcome.exitCode, 0);
        EXPECT_TRUE(outcome.error.Contains("Parse Error:")) << outcome.error << "\n" << outcome.output;
    }
}

TEST(RealPrograms, BlenderRendersAndSaysWhyItCannotSave) {
    if (FindProgram("blender").Empty())
        GTEST_SKIP() << "blender is not installed";
    auto const product = Shipped("blender.json");
    TempFolder const folder;
    String const make = "cd " + folder.Folder() +
                        " && HOME=. blender -b --factory-startup --python-expr \"import bpy; s = bpy.context.scene; "
                        "s.render.engine = 'CYCLES'; s.cycles.samples = 1; s.cycles.use_denoising = False; "
                        "s.render.resolution_x = s.render.resolution_y = 16; "
                        "bpy.ops.wm.save_as_mainfile(filepath='" +
                        (folder / "a.blend") + "')\" > made.txt 2>&1";
    ASSERT_EQ(std::system(make.c_str()), 0) << File::Read(folder / "made.txt");
    OptionMap values = {
        {"SceneFile", folder / "a.blend"}, {"OutputFolder", folder / "out"}, {"Format", "PNG"}, {p_SubRange, "1-2"}};
    Outcome outcome = RunUnit(*product, values, folder);
    ExpectMade(outcome, 2, 0);
    values["OutputFolder"] = folder / "a.blend";
    outcome = RunUnit(*product, values, folder);
    EXPECT_TRUE(outcome.error.Contains("cannot save: '" + (folder / "a.blend"))) << outcome.output;
}

TEST(RealPrograms, FFmpegMakesAFilm) {
    if (FindProgram("ffmpeg").Empty())
        GTEST_SKIP() << "ffmpeg is not installed";
    auto const product = Shipped("ffmpeg.json");
    TempFolder const folder;
    String const make = "ffmpeg -loglevel error -f lavfi -i testsrc=size=64x48:rate=25:duration=2 -start_number 7 '" +
                        (folder / "shot 1_%04d.png") + "' -f lavfi -i sine=duration=1 '" + (folder / "tone.wav") + "'";
    ASSERT_EQ(std::system(make.c_str()), 0);

    // The way a user goes: the first image is picked, the rest fills itself in.
    OptionMap values = {{"FirstImage", Path::Enquote(folder / "shot 1_0007.png")}};
    ASSERT_TRUE(product->AutoDetect("FirstImage", values));
    EXPECT_EQ(std::tuple(values["Pattern"], values["StartNumber"], values["OutputFile"]),
              std::tuple(Path::Enquote(folder / "shot 1_%04d.png"), "7", Path::Enquote(folder / "shot 1.mp4")));

    Rows<char const*, OptionMap> const cases = {
        {"a.mp4", {}},
        {"b.mp4", {{"SoundFile", folder / "tone.wav"}, {"Size", "32x-2"}, {"Options", "-movflags +faststart"}}},
        {"c.mov", {{"Codec", "prores_ks"}}},
        {"d.mkv", {{"Codec", "ffv1"}, {"PixelFormat", "Codec"}, {"ImageCount", "50"}}},
    };
    for (auto const& [film, more] : cases) {
        OptionMap all = more;
        all.insert(values.begin(), values.end());
        all["OutputFile"] = Path::Enquote(folder / film);
        ExpectMade(RunUnit(*product, all, folder), 1, more.contains("SoundFile") ? 40 : 90);
    }
    values["Pattern"] = folder / "none_%04d.png";
    Outcome const outcome = RunUnit(*product, values, folder);
    EXPECT_NE(outcome.exitCode, 0);
    EXPECT_TRUE(outcome.error.Contains("No such file or directory")) << outcome.output;
}

} // namespace vorlan::test_productlaunch
