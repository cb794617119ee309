#include "domain.h"

namespace vorlan::test_product {

// A Product with just these parameters, given as JSON.
boost::shared_ptr<Product> WithParameters(String const& parameters, String const& more = String()) {
    return ProductFromText(R"({"ID": "11111111-2222-3333-4444-555555555555", "Name": "P", "Class": "Sequence",)"
                           R"( "Parameters": [)" +
                           parameters + "]" + more + "}");
}

boost::shared_ptr<Parameter const> One(String const& settings) {
    return WithParameters("{\"Name\": \"X\", " + settings + "}")->GetParam("X");
}

TEST(Parameter, NumberSettings) {
    auto const number =
        One(R"("Type": "Signed Integer", "Range": "10..-5", "Custom": "Units", "NegativeCustom": "Engines",
                               "Specials": {"0": "No limit", "-99": "Auto"}, "Special 7": "Lucky")");
    int low, high;
    number->Number_GetRange(low, high);
    EXPECT_EQ(std::tuple(low, high), std::tuple(-5, 10));
    EXPECT_EQ(number->Number_GetSpecial(), (OptionMap{{"0", "No limit"}, {"-99", "Auto"}, {"7", "Lucky"}}));
    EXPECT_EQ(std::tuple(number->Number_GetCustom(), number->Number_GetNegativeCustom(),
                         number->Number_GetNegativeCustomDefault()),
              std::tuple("Units", "Engines", "-1"));

    double from, to;
    One(R"("Type": "Floating Point", "Range": "0.25 .. 1.5")")->Number_GetRange(from, to);
    EXPECT_EQ(std::tuple(from, to), std::tuple(0.25, 1.5));
    One(R"("Type": "Unsigned Integer")")->Number_GetRange(low, high);
    EXPECT_EQ(std::tuple(low, high), std::tuple(0, 0));
}

TEST(Parameter, BooleanTexts) {
    auto const flag = One(R"("Type": "Boolean", "True": "Enabled", "False": "Disabled", "Default": true)");
    EXPECT_EQ(std::tuple(flag->GetDefault(), flag->Bool_GetValue(false)), std::tuple("Enabled", "Disabled"));
    EXPECT_TRUE(flag->Bool_IsTrue("enabled") && flag->Bool_IsTrue("1"));
    EXPECT_FALSE(flag->Bool_IsTrue("Disabled") || flag->Bool_IsTrue("what"));

    auto const override = One(R"("Type": "Overridable Boolean", "Override": "As the farm says")");
    Rows<char const*, int> const cases = {
        {"", -1}, {"-1", -1}, {"as the FARM says", -1}, {"0", 0}, {"1", 1}, {"Yes", 1}, {"no", 0}, {"?", -1}};
    for (auto const& [text, value] : cases)
        EXPECT_EQ(override->BoolOverride_FromString(text), value) << text;
    EXPECT_EQ(override->BoolOverride_ToString(-1) + override->BoolOverride_ToString(1), "As the farm saysYes");
}

TEST(Parameter, ChoicesShowTheirDisplay) {
    auto const choice = One(R"("Type": "Choice", "Choices": ["Off", {"Value": "2", "Display": "Adaptive"}])");
    EXPECT_EQ(choice->GetChoicesCount(), 2U);
    EXPECT_EQ(choice->GetDisplay(0) + choice->GetDisplay(1), "OffAdaptive");
    EXPECT_EQ(choice->GetDisplay("2") + choice->GetDisplay("9"), "Adaptive9");
    EXPECT_EQ(choice->GetChoice("Adaptive") + choice->GetChoice(7), "2");
    EXPECT_EQ(choice->GetDefault(), "Off");
}

TEST(Parameter, MultipleTextsReadBack) {
    auto const size = One(R"("Type": "Multiple Texts", "Fields": ["Width", "Height", "Note"], "Separator": "x")");
    using Texts = std::vector<String>;
    EXPECT_EQ(size->Multi_GetFields(), (Texts{"Width", "Height", "Note"}));
    EXPECT_EQ(size->Multi_Assemble({"640", "480", ""}), "640x480x");
    EXPECT_EQ(size->Multi_Assemble({"", "", ""}), "");
    EXPECT_EQ(size->Multi_Disassemble("640"), (Texts{"640", "", ""}));
    EXPECT_EQ(size->Multi_Disassemble("1x2x3x4"), (Texts{"1", "2", "3"}));
    Texts const odd = {"maximum", "C:\\x", "a,b"};
    EXPECT_EQ(size->Multi_Disassemble(size->Multi_Assemble(odd)), odd);
}

TEST(Parameter, SubParametersAreACommandLine) {
    auto const options = One(R"("Type": "Parameters", "Parameters": [
        {"Type": "Help Text", "Name": "Heading"},
        {"Type": "None", "Name": "-v"},
        {"Type": "Text", "Name": "-o"},
        {"Type": "Floating Point", "Name": "+A", "Join": ""},
        {"Type": "Unsigned Integer", "Name": "+AM", "Join": ""},
        {"Type": "Text", "Name": "--mode", "Join": "="},
        {"Type": "Alternate Switch", "Name": "+J", "Alternate": "-J"}])");
    Rows<char const*, OptionMap, char const*> const cases = {
        {"", {}, ""},
        {"-v", {{"-v", ""}}, "-v"},
        {"+A0.3 +AM2", {{"+A", "0.3"}, {"+AM", "2"}}, "+A0.3 +AM2"},
        {"-o -5 -v", {{"-o", "-5"}, {"-v", ""}}, "-v -o -5"},
        {"-o \"a b\"", {{"-o", "a b"}}, "-o \"a b\""},
        {"--mode=fast=x", {{"--mode", "fast=x"}}, "--mode=fast=x"},
        {"-J", {{"-J", ""}}, "-J"},
        {"+J", {{"+J", ""}}, "+J"},
        // What is unknown keeps its words, in the order of their text.
        {"--other -v 12", {{"--other", ""}, {"-v", ""}, {"12", ""}}, "-v --other 12"},
        {"-o", {{"-o", ""}}, "-o \"\""},
    };
    for (auto const& [text, values, written] : cases) {
        EXPECT_EQ(options->SubParam_StringToMap(text), values) << text;
        EXPECT_EQ(options->SubParam_MapToString(values), written) << text;
        EXPECT_EQ(options->SubParam_StringToMap(written), values) << text;
    }
    // The grid's own way to write a switch, and one that is off.
    EXPECT_EQ(options->SubParam_MapToString({{"-v", "1"}}), "-v");
    EXPECT_EQ(options->SubParam_MapToString({{"-v", "0"}}), "");
}

TEST(Product, KnowsItsDefaults) {
    auto const product = WithParameters(R"(
        {"Type": "Text", "Name": "Plain"},
        {"Type": "Unsigned Integer", "Name": "Number", "Default": 5},
        {"Type": "Floating Point", "Name": "Fraction", "Default": "0.50"},
        {"Type": "Boolean", "Name": "Flag"},
        {"Type": "Overridable Boolean", "Name": "Override"},
        {"Type": "Choice", "Name": "Choice", "Choices": [{"Value": "a", "Display": "A!"}, "b"]})");
    Rows<char const*, char const*, bool> const cases = {
        {"Plain", "", true},    {"Plain", "x", false},     {"number", "05", true},   {"Number", "6", false},
        {"Number", "", true},   {"Fraction", "0.5", true}, {"Flag", "0", true},      {"Flag", "No", true},
        {"Flag", "Yes", false}, {"Override", "-1", true},  {"Override", "0", false}, {"Choice", "A!", true},
        {"Choice", "b", false}, {"Unknown", "", false},
    };
    for (auto const& [name, value, isDefault] : cases)
        EXPECT_EQ(product->IsDefaultParam(name, value), isDefault) << name << "=" << value;
    OptionMap values = {{"Number", "5"}, {"Flag", "Yes"}, {"Unknown", "x"}};
    product->FilterOutDefaults(values);
    EXPECT_EQ(values, (OptionMap{{"Flag", "Yes"}, {"Unknown", "x"}}));
}

TEST(Product, EditingLeavesCopiesAlone) {
    auto const product = WithParameters(R"({"Type": "Text", "Name": "A"}, {"Type": "Parameters", "Name": "B",
        "Parameters": [{"Type": "Text", "Name": "b1"}, {"Type": "Text", "Name": "b2"}]})");
    product->AddCommand(Command::f_ForJobs)->SetName("Do");
    Product copy(*product);

    MutableParameterInfo a = copy.GetMutableParam(0);
    a.SetName("C", "See");
    a.SetSetting("default", "x"); // settings know no case
    EXPECT_EQ(copy.GetParam("C")->GetDefault(), "x");
    EXPECT_EQ(copy.GetParam("a"), nullptr); // although the index still has it
    copy.ClearCache();
    EXPECT_EQ(copy.GetParam("c")->GetNiceName(), "See");

    MutableParameterInfo b = copy.GetMutableParam("B");
    b.GetMutableSubParam(0).SetName("changed");
    b.MoveParam(0, 1);
    b.NewParam(Parameter::t_Bool).Clone(a);
    EXPECT_TRUE(b.DeleteParam("B2"));
    EXPECT_FALSE(b.DeleteParam("B2"));
    ASSERT_EQ(b->GetSubParamCount(), 2U);
    EXPECT_EQ(b->GetSubParam(0)->GetName() + b->GetSubParam(1)->GetName(), "changedC");
    EXPECT_FALSE(b.GetMutableSubParam(9));
    b.ClearSettingsAndChoices();
    EXPECT_TRUE(b->GetName().Empty());

    copy.NewParam(Parameter::t_Text).SetName("D");
    copy.MoveParam(2, 0);
    EXPECT_EQ(copy.GetParam(size_t{0})->GetName(), "D");
    copy.MoveParam(0, 9); // out of range: nothing
    copy.DeleteParam("d");
    EXPECT_EQ(copy.GetParamCount(), 2U);
    copy.GetMutableCommand(0)->SetName("Changed");

    EXPECT_EQ(product->GetParam(size_t{0})->GetName(), "A");
    EXPECT_EQ(product->GetParam("B")->GetSubParam(0)->GetName(), "b1");
    EXPECT_NE(product->FindCommand("do"), nullptr);
}

TEST(Product, HelpIsSentInShort) {
    auto const product = Product::CreateDefault(ProductClass::Sequence);
    String const standard = product->GetParam(p_Priority)->GetHelp();
    ASSERT_FALSE(standard.Empty());
    product->GetMutableParam(p_Range).SetSetting(k_SettingHelp, "My own");
    product->SimplifyHelp();
    EXPECT_EQ(product->GetParam(p_Priority)->GetHelp(), "");
    product->ExpandHelp();
    EXPECT_EQ(product->GetParam(p_Priority)->GetHelp(), standard);
    EXPECT_EQ(product->GetParam(p_Range)->GetHelp(), "My own");
}

TEST(Product, EveryClassStartsWithWhatItNeeds) {
    for (String const& name : JobFactory::ListClasses()) {
        CreateDefaultProductEvt event(name);
        event.Trigger();
        ASSERT_NE(event.product, nullptr);
        EXPECT_EQ(event.product->ClassName(), name);
        bool const divides = name == "Sequence" || name == "Virtual Module";
        EXPECT_EQ(event.product->GetParam(p_Range) != nullptr, divides) << name;
        EXPECT_NE(event.product->GetParam(p_WorkFinishedEvt), nullptr);
        EXPECT_EQ(event.product->GetParam(p_WorkFinishedEvt)->Flags(),
                  unsigned{Parameter::f_JobParameter | Parameter::f_Advanced | Parameter::f_EventCommand});
    }
}

TEST(Product, DetectsOtherValues) {
    auto const product = WithParameters(
        R"({"Type": "Path to a File", "Name": "Scene", "Flags": ["Job Parameter", "Enquote"]}, {"Type": "Text", "Name": "Range"},
           {"Type": "Path to a Folder", "Name": "Out", "Flags": ["Job Parameter", "Enquote"]}, {"Type": "Text", "Name": "Title"})",
        R"json(, "AutoDetect": {
            "Scene": {"Out": "$(Scene:folder)", "Title": "$(Title?$(Title)|$(Scene:stem))"},
            "Scene ~ _(\\d+)-(\\d+)\\.": {
    "Range" : "$(1)-$(2)"
}
})json");
    OptionMap values = {{"scene", "\"/s h/a_10-20.pov\""}, {"Range", "1"}, {"Title", ""}};
    EXPECT_TRUE(product->AutoDetect("SCENE", values));
    EXPECT_EQ(std::tuple(values["Out"], values["Title"], values["Range"]), std::tuple("\"/s h\"", "a_10-20", "10-20"));

    // The scene has no folder and no frames: nothing to say.
    OptionMap const kept = values = {{"Scene", "plain.pov"}, {"Range", "1"}, {"Title", "Mine"}, {"Out", "/o"}};
    EXPECT_TRUE(product->AutoDetect("Scene", values));
    EXPECT_EQ(values, kept);
    EXPECT_FALSE(product->AutoDetect("Title", values));
}

TEST(Product, CommandsListTheirItems) {
    Command command(Command::f_ForJobs);
    Job job(UID(true));
    job.Set(p_Range, "1-3,10");
    job.Set(p_PacketSize, "2");
    EXPECT_EQ(command.Itemize(job), "");
    command.SetItemizer("Frames");
    EXPECT_EQ(command.Itemize(job), "1\n2\n3\n10");
    command.SetItemizer("Packets");
    EXPECT_EQ(command.Itemize(job), "1-2\n3,10");
    job.Set(p_Range, "1-10000");
    String const items = command.Itemize(job);
    EXPECT_EQ(static_cast<size_t>(std::count(items.begin(), items.end(), '\n')), Command::k_ItemizeLimit - 1);
    job.Set(p_Range, "nonsense");
    EXPECT_EQ(command.Itemize(job), "");
}

TEST(JobFactory, ServesProductsWhileTheyChange) {
    JobFactory factory;
    UID const type(true);
    std::atomic<bool> stop{false};
    std::atomic<int> reads{0};
    std::thread reader([&] {
        while (!stop) {
            auto const product = factory.GetProduct(type);
            if (product && product->GetParam(p_Priority))
                ++reads;
            factory.ListProducts();
        }
    });
    auto const product = Product::CreateDefault(ProductClass::Single);
    product->SetType(type);
    for (int i = 0; i < 200 || reads == 0; ++i) {
        factory.SetProduct(boost::make_shared<Product>(*product));
        factory.RemoveProduct(i % 2 == 0 ? type : UID::Null);
    }
    stop = true;
    reader.join();

    EXPECT_THROW(factory.CreateJob(type), MissingProductException);
    product->AddAlias("Also");
    factory.SetProduct(product);
    EXPECT_EQ(factory.FindProduct("ALSO"), product);
    auto const job = factory.CreateJob(type);
    EXPECT_EQ(job->Type(), type);
    EXPECT_NE(job->id, factory.CreateJob(type)->id);
    factory.GetMutableProduct(type)->SetName("Changed");
    EXPECT_NE(factory.GetProduct(type)->Name(), "Changed");
}

} // namespace vorlan::test_product
