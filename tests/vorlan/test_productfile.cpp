#include "domain.h"

#include <vorlan/outputmatcher.h>

namespace vorlan::test_productfile {

char const k_Head[] = R"("ID": "11111111-2222-3333-4444-555555555555", "Name": "P", "Class": "Sequence")";

String Parsing(String const& text) {
    try {
        ProductFromText(text);
    } catch (ParseException const& error) {
        return error.Message();
    }
    return "no error";
}

TEST(ProductFile, ErrorsNameThePlaceAndWhatIsExpected) {
    // The members beside the head, and what is said of them.
    Rows<char const*, char const*> const cases = {
        {R"("Class": "Round", "Format": 1)", "Class: \"Round\" is no class. Expected \"Sequence\""},
        {R"("Format": 2)", "Format: expected a whole number from 1 to 1"},
        {R"("Format": 99999999999999999999)", "Format: expected a whole number"},
        {R"("Queue": "Fast")", "Queue: \"Fast\" is no queue"},
        {R"("Name": "  ")", "Name: is empty"},
        {R"("Parameters": {})", "Parameters: expected a list"},
        {R"("Parameters": [3])", "Parameters[0]: expected an object"},
        {R"("Parameters": [{"Name": "A"}])", "Parameters[0]: \"Type\" is missing"},
        {R"("Parameters": [{"Type": "Text"}])", "Parameters[0]: \"Name\" is missing"},
        {R"("Parameters": [{"Type": "Text", "Name": "A"}, {"Type": "Colour", "Name": "B"}])",
         "Parameters[1].Type: \"Colour\" is no type of parameter. Expected one of \"None\", \"Text\""},
        {R"("Parameters": [{"Type": "Text", "Name": "A"}, {"Type": "Text", "Name": "a"}])",
         "Parameters[1]: the name \"a\" is taken"},
        {R"("Parameters": [{"Type": "Text", "Name": "A", "Flags": ["Hidden"]}])",
         "Parameters[0].Flags[0]: \"Hidden\" is no flag"},
        {R"("Parameters": [{"Type": "Text", "Name": "A:b"}])", "Parameters[0].Name: \"A:b\" cannot be referred to"},
        {R"("Parameters": [{"Type": "Floating Point", "Name": "A", "Range": "5"}])",
         "Parameters[0].Range: \"5\" is no range"},
        {R"("Parameters": [{"Type": "Signed Integer", "Name": "A", "Range": [0, 5]}])",
         "Parameters[0].Range: expected a text"},
        {R"("Parameters": [{"Type": "Choice", "Name": "A", "Default": "z", "Choices": ["y"]}])",
         "Parameters[0].Default: \"z\" is none"},
        {R"("Parameters": [{"Type": "Choice", "Name": "A", "Choices": [{"Display": "y"}]}])",
         "Parameters[0].Choices[0]: expected"},
        {R"("Parameters": [{"Type": "Multiple Texts", "Name": "A"}])", "Parameters[0]: \"Fields\" is missing"},
        {R"("Parameters": [{"Type": "Parameters", "Name": "A", "Parameters": [{"Type": "X"}]}])",
         "Parameters[0].Parameters[0].Type: \"X\" is no type"},
        {R"("Parameters": [{"Standard": "Everything"}])", "Parameters[0].Standard: \"Everything\" is no group"},
        {R"("Commands": [{"Name": "A", "For": ["Engines"]}])", "Commands[0].For[0]: \"Engines\" is no place"},
        {R"("Commands": [{"Name": "A", "Itemizer": "Days"}])", "Commands[0].Itemizer: \"Days\" is no itemizer"},
        {R"("AutoDetect": {"A ~ (": {"B": "1"}})", "AutoDetect[\"A ~ (\"]: the pattern after ~ does not compile"},
        {R"("Launch": {"Arguments": "x"})", "Launch.Arguments: expected a list"},
        {R"("Launch": {"Arguments": ["x", {"When": "y"}]})", "Launch.Arguments[1]: expected {\"CommandLine\""},
        {R"("Launch": {"Arguments": [[[[[[[[[[["x"]]]]]]]]]]]})", "nests deeper than 8"},
        {R"("Output": {"Rules": [{"Kind": "Percent"}]})", "Output.Rules[0]: \"Pattern\" is missing"},
        {R"("Output": {"Rules": [{"Kind": "Speed", "Pattern": "x"}]})", "Output.Rules[0].Kind: \"Speed\" is no kind"},
        {R"("Output": {"Rules": [{"Kind": "Error", "Pattern": "("}]})",
         "Output.Rules[0].Pattern: \"(\" does not compile: missing )"},
        {R"("Output": {"Rules": [{"Kind": "Percent", "Pattern": "x"}]})",
         "Output.Rules[0].Pattern: \"x\" has 0 groups"},
        {R"json("Output": {"Rules": [{"Kind": "Step", "Pattern": "(x)"}]})json",
         "has 1 groups, and the total is to be group 2"},
        {R"("Output": {"SuccessCodes": [256]})", "Output.SuccessCodes[0]: expected a whole number from 0 to 255"},
        {R"("Values": {"A": null})", "Values.A: expected a text"},
    };
    for (auto const& [members, says] : cases) {
        nlohmann::ordered_json json = nlohmann::ordered_json::parse("{" + std::string(k_Head) + "}");
        json.update(nlohmann::ordered_json::parse("{" + std::string(members) + "}", nullptr, true, true));
        String const error = Parsing(String(json.dump()));
        EXPECT_TRUE(error.Contains(says)) << members << "\n -> " << error;
    }
    Rows<String, char const*> const texts = {
        {"", "Not valid JSON: parse error at line 1"},
        {"{\n\"ID\": }", "line 2"},
        {"[]", "A Product is expected"},
        {"{}", "\"ID\" is missing"},
        {R"({"ID": "x", "Name": "P", "Class": "Single"})", "\"x\" is no ID"},
        {"{\"Name\": \"\xff\"}", "UTF-8"},
        {String(100000, '['), "nests deeper"},
        {String(k_ProductTextLimit + 1, ' '), "at most"},
    };
    for (auto const& [text, says] : texts)
        EXPECT_TRUE(Parsing(text).Contains(says)) << text.Mid(0, 80) << "\n -> " << Parsing(text);
}

TEST(ProductFile, UnknownKeysAndEverythingElseReadBack) {
    String const text = "{" + String(k_Head) + R"json(,
        "Future": {"a": [1, 2]}, "Queue": "Maintenance", "EvenPackets": true, "Customized": true, "Aliases": ["x", "y"],
        "ShortHelp": "s", "LongHelp": ["one", "two"], "Summary": "$(Name)", "Values": {"V": "$(A)!"},
        "Parameters": [
            {"Type": "Choice", "Name": "A", "Choices": ["1", {"Value": "2", "Display": "Two"}], "Colour": "red", "Shape": {"r": 1},
             "Flags": ["Job Parameter", "Enquote", 1048576]},
            {"Type": "Parameters", "Name": "B", "Parameters": [{"Type": "None", "Name": "-x", "Icon": [1]}]},
            {"Standard": "Frames"}, {"Type": "Unsigned Integer", "Name": "PacketSize", "Default": 8}],
        "Commands": [{"Name": "Do", "Label": "Do It", "For": ["Work"], "Arguments": ["x"], "Key": "F5"}, {"Separator": true}],
        "AutoDetect": {"A ~ x": {"B": "1"}},
        "Launch": {"Arguments": ["p", ["-o", "$(A)"], {
    "If" : "$(B)", "Arguments" : ["y"]}, {"CommandLine": "B"},
                   {"Each": "L", "Arguments": ["+$(Item)"]}], "Environment": {"E": "1"}, "Folder": "/f", "CreateFolder": true,
                   "Shell": "$(S)", "ExpectedFiles": ["f"], "Niceness": 5},
        "Output": {"SuccessCodes": [0, 3], "Locale": "C",
                   "Rules": [{"Kind": "Step", "Pattern": "(a)(b)", "Value": 2, "Total": 1, "Text": "t", "Since": 4}]}})json";
    auto const product = ProductFromText(text);
    EXPECT_EQ(product->LongHelp(), "one\ntwo");
    EXPECT_EQ(product->GetParam("PacketSize")->GetDefault(), "8"); // its own in place of the standard one
    EXPECT_EQ(product->GetParamCount(), 4U);
    EXPECT_EQ(product->GetParam("A")->Flags(), 0x400U | 0x4000U | 0x100000U);

    for (bool compact : {false, true}) {
        String const saved = SSaveProduct(*product, compact);
        EXPECT_EQ(saved.Trim().Contains(k_NL), !compact);
        EXPECT_EQ(SSaveProduct(*ProductFromText(saved), compact), saved);
        nlohmann::json const json = nlohmann::json::parse(saved.Str());
        Rows<char const*, nlohmann::json> const unknown = {
            {"/Future/a/1", 2},           {"/Parameters/0/Colour", "red"},
            {"/Parameters/0/Shape/r", 1}, {"/Parameters/1/Parameters/0/Icon/0", 1},
            {"/Commands/0/Key", "F5"},    {"/Launch/Niceness", 5},
            {"/Output/Locale", "C"},      {"/Output/Rules/0/Since", 4},
        };
        for (auto const& [place, value] : unknown)
            EXPECT_EQ(json.at(nlohmann::json::json_pointer(place)), value);
    }
    auto const again = ProductFromText(ProductToText(*product));
    EXPECT_EQ(again->GetLaunch().arguments, product->GetLaunch().arguments);
    EXPECT_EQ(again->GetOutputRules().rules, product->GetOutputRules().rules);
    EXPECT_EQ(again->GetAutoDetectStrings(), product->GetAutoDetectStrings());
}

TEST(ProductFile, AFolderLoadsWithoutItsBadFiles) {
    TempFolder const folder;
    String const good = "{" + String(k_Head) + "}";
    File::WriteWhole(folder / "a.json", good);
    File::WriteWhole(folder / "b.json", good);
    File::WriteWhole(folder / "c.json", "{\"Name\": 3");
    File::WriteWhole(folder / "notes.txt", "no Product");
    std::vector<String> errors;
    EXPECT_EQ(LoadProductFolder(folder.Folder(), errors).size(), 1U);
    ASSERT_EQ(errors.size(), 2U);
    EXPECT_TRUE(errors[0].Contains("b.json: ID: 11111111-2222-3333-4444-555555555555 is the ID of the Product \"P\""))
        << errors[0];
    EXPECT_TRUE(errors[1].Contains("c.json: Not valid JSON")) << errors[1];
    LoadProductFolder(folder / "none", errors);
    EXPECT_EQ(errors.size(), 3U);
}

} // namespace vorlan::test_productfile
