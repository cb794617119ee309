#include "productjson.h"

#include <corekit/exception.h>
#include <vorlan/outputmatcher.h>
#include <vorlan/productfile.h>

namespace vorlan {

namespace {

constexpr int k_NewestFormat = 1;
constexpr int k_ArgumentDepthLimit = 8;

DispatchQueue ReadQueue(JsonPlace const& place) {
    String const name = place.Text();
    for (int i = 0; i < 3; ++i) {
        if (name.CompareNoCase(k_QueueNames[i]) == 0 || name == String::From(i))
            return static_cast<DispatchQueue>(i);
    }
    place.Fail("\"" + name + R"(" is no queue. Expected "General Purpose", "Large File Transfer" or "Maintenance")");
}

Json ParseText(String const& text) {
    if (text.size() > k_ProductTextLimit)
        throw ParseException("The text has " + String::From(text.size()) + " bytes; a Product has at most " +
                             String::From(k_ProductTextLimit));
    auto const checkDepth = [](int depth, Json::parse_event_t, Json&) {
        if (depth > k_ProductDepthLimit)
            throw ParseException("The text nests deeper than " + String::From(k_ProductDepthLimit) + " levels");
        return true;
    };
    try {
        return Json::parse(text.Str(), checkDepth, true, true);
    } catch (Json::exception const& error) {
        // "[json.exception.parse_error.101] parse error at line 3, column 5: ..."
        throw ParseException("Not valid JSON: " + String(error.what()).RightFirst("] "));
    }
}

} // namespace

boost::shared_ptr<Product> ProductReader::Read(String const& text) {
    Json const json = ParseText(text);
    JsonPlace const root(json, "");
    if (!json.is_object())
        root.Fail("A Product is expected, an object with \"ID\", \"Name\" and \"Class\"");
    m_product = boost::make_shared<Product>();
    ReadIdentity(root);
    if (root.Has("Parameters"))
        ReadParameters(root.Member("Parameters"));
    if (root.Has("Commands"))
        ReadCommands(root.Member("Commands"));
    if (root.Has("AutoDetect"))
        ReadAutoDetect(root.Member("AutoDetect"));
    if (root.Has("Values"))
        m_product->m_derivedValues = ReadTexts(root.Member("Values"));
    if (root.Has("Launch")) {
        JsonPlace const launch = root.Member("Launch");
        launch.ExpectObject();
        m_product->m_launch = ReadLaunch(launch, {});
    }
    if (root.Has("Output"))
        ReadOutput(root.Member("Output"));
    m_product->m_extra = root.ExtraMembers({"Format", "ID", "Name", "Class", "Queue", "Customized", "EvenPackets",
                                            "Aliases", "FreeNames", "ShortHelp", "LongHelp", "Summary", "Values",
                                            "Parameters", "Commands", "AutoDetect", "Launch", "Output"});
    m_product->ClearCache();
    return m_product;
}

void ProductReader::ReadIdentity(JsonPlace const& root) {
    if (root.Has("Format"))
        root.Member("Format").Int(1, k_NewestFormat);
    for (char const* key : {"ID", "Name", "Class"}) {
        if (!root.Has(key))
            root.Fail(String("\"") + key + "\" is missing. A Product has an ID, a Name and a Class");
    }
    Product& product = *m_product;
    JsonPlace const id = root.Member("ID");
    if (!UID::FromString(id.Text(), product.m_type) || product.m_type.IsNull())
        id.Fail(
            "\"" + id.Text() +
            "\" is no ID. Expected one such as \"6f1c2a34-0b5d-4e6f-8a7b-9c0d1e2f3a4b\", which no other Product has");
    product.m_name = root.Member("Name").Text().Trim();
    if (product.m_name.Empty())
        root.Member("Name").Fail("is empty. A Product has a name");
    JsonPlace const className = root.Member("Class");
    if (!Product::ClassFromName(className.Text(), product.m_class))
        className.Fail("\"" + className.Text() +
                       R"(" is no class. Expected "Sequence", "Single", "Once per Engine" or "Virtual Module")");
    if (root.Has("Queue"))
        product.m_queue = ReadQueue(root.Member("Queue"));
    if (root.Has("Customized"))
        product.m_customized = root.Member("Customized").Bool();
    if (root.Has("EvenPackets"))
        product.m_evenPackets = root.Member("EvenPackets").Bool();
    if (root.Has("ShortHelp"))
        product.m_shortHelp = root.Member("ShortHelp").Lines();
    if (root.Has("LongHelp"))
        product.m_longHelp = root.Member("LongHelp").Lines();
    if (root.Has("Summary"))
        product.m_summary = root.Member("Summary").Text();
    auto const readTexts = [&root](char const* key, std::vector<String>& texts) {
        if (!root.Has(key))
            return;
        JsonPlace const list = root.Member(key);
        list.ExpectList();
        for (size_t i = 0; i < list.Value().size(); ++i)
            texts.push_back(list.Item(i).Text());
    };
    readTexts("Aliases", product.m_aliases);
    readTexts("FreeNames", product.m_freeNames);
}

void ProductReader::ReadParameters(JsonPlace const& list) {
    list.ExpectList();
    // A parameter that the Product writes out stands in for the standard one of that name.
    OptionMap own;
    for (size_t i = 0; i < list.Value().size(); ++i) {
        list.Item(i).ExpectObject();
        if (list.Item(i).Has("Name"))
            own[list.Item(i).Member("Name").Text()] = "";
    }
    OptionMap taken;
    auto const add = [&](JsonPlace const& place, boost::shared_ptr<Parameter> const& parameter) {
        bool const heading = parameter->IsHeading();
        if (!heading && !taken.emplace(parameter->GetName(), "").second)
            place.Fail("the name \"" + parameter->GetName() + "\" is taken by an earlier parameter");
        m_product->m_params.push_back(parameter);
    };
    for (size_t i = 0; i < list.Value().size(); ++i) {
        JsonPlace const place = list.Item(i);
        if (!place.Has("Standard")) {
            add(place, ReadParameter(place, true, 0));
            continue;
        }
        String const group = place.Member("Standard").Text();
        std::vector<boost::shared_ptr<Parameter>> const standard = StandardGroup(group);
        if (standard.empty())
            place.Member("Standard")
                .Fail("\"" + group +
                      R"(" is no group. Expected "Identity", "Frames", )"
                      R"("Scheduling", "Events", "Record" or "Engine")");
        for (auto const& parameter : standard) {
            if (own.count(parameter->GetName()) == 0)
                add(place, parameter);
        }
    }
}

void ProductReader::ReadCommands(JsonPlace const& list) {
    list.ExpectList();
    for (size_t i = 0; i < list.Value().size(); ++i)
        m_product->m_commands.push_back(ReadCommand(list.Item(i)));
}

boost::shared_ptr<Command> ProductReader::ReadCommand(JsonPlace const& place) {
    place.ExpectObject();
    auto command = boost::make_shared<Command>(0U);
    auto const text = [&place](char const* key) { return place.Has(key) ? place.Member(key).Lines() : String(); };
    command->m_name = text("Name");
    command->m_label = text("Label");
    command->m_help = text("Help");
    command->m_restriction = text("Restriction");
    command->m_itemizer = text("Itemizer");
    auto const& itemizers = Command::GetAllItemizers();
    if (!command->m_itemizer.Empty() &&
        std::find(itemizers.begin(), itemizers.end(), command->m_itemizer) == itemizers.end())
        place.Member("Itemizer")
            .Fail("\"" + command->m_itemizer + R"(" is no itemizer. Expected "Frames" or "Packets")");
    if (place.Has("For")) {
        JsonPlace const where = place.Member("For");
        where.ExpectList();
        for (size_t i = 0; i < where.Value().size(); ++i) {
            String const name = where.Item(i).Text();
            if (name == "Jobs")
                command->m_flags |= Command::f_ForJobs;
            else if (name == "Work")
                command->m_flags |= Command::f_ForWork;
            else if (name == "History")
                command->m_flags |= Command::f_ForHistory;
            else
                where.Item(i).Fail("\"" + name + R"(" is no place. Expected "Jobs", "Work" or "History")");
        }
    }
    if (place.Has("Separator") && place.Member("Separator").Bool())
        command->m_flags |= Command::f_Separator;
    command->m_launch = ReadLaunch(place, {"Name", "Label", "Help", "Restriction", "Itemizer", "For", "Separator"});
    return command;
}

void ProductReader::ReadAutoDetect(JsonPlace const& rules) {
    rules.ExpectObject();
    for (auto const& [key, updates] : rules.Value().items()) {
        JsonPlace const place(updates, rules.Path() + "[\"" + key + "\"]");
        String const error = CheckDetectRule(key);
        if (!error.Empty())
            place.Fail("the pattern after ~ does not compile: " + error);
        m_product->m_autoDetect[key] = ReadTexts(place);
    }
}

void ProductReader::ReadOutput(JsonPlace const& output) {
    output.ExpectObject();
    OutputRules& rules = m_product->m_outputRules;
    if (output.Has("SuccessCodes")) {
        JsonPlace const codes = output.Member("SuccessCodes");
        codes.ExpectList();
        rules.successCodes.clear();
        for (size_t i = 0; i < codes.Value().size(); ++i)
            rules.successCodes.push_back(codes.Item(i).Int(0, 255));
    }
    if (output.Has("Rules")) {
        JsonPlace const list = output.Member("Rules");
        list.ExpectList();
        for (size_t i = 0; i < list.Value().size(); ++i)
            rules.rules.push_back(ReadRule(list.Item(i)));
    }
    rules.extra = output.ExtraMembers({"SuccessCodes", "Rules"});
}

OutputRule ProductReader::ReadRule(JsonPlace const& place) {
    place.ExpectObject();
    for (char const* key : {"Kind", "Pattern"}) {
        if (!place.Has(key))
            place.Fail(String("\"") + key + "\" is missing. A rule has a Kind and a Pattern");
    }
    OutputRule rule;
    String const kind = place.Member("Kind").Text();
    bool known = false;
    for (int i = 0; i <= static_cast<int>(OutputRule::Kind::Error); ++i) {
        if (kind == OutputRules::KindName(static_cast<OutputRule::Kind>(i))) {
            rule.kind = static_cast<OutputRule::Kind>(i);
            known = true;
        }
    }
    if (!known)
        place.Member("Kind").Fail("\"" + kind +
                                  R"(" is no kind of rule. Expected "Percent", "Step", "Frame", )"
                                  R"("FrameOffset", "Done", "Total", "Position", "Warning" or "Error")");
    rule.pattern = place.Member("Pattern").Text();
    if (place.Has("Value"))
        rule.valueGroup = place.Member("Value").Int(0, 15);
    if (place.Has("Total"))
        rule.totalGroup = place.Member("Total").Int(0, 15);
    if (place.Has("Text"))
        rule.text = place.Member("Text").Text();
    String const error = CheckOutputRule(rule);
    if (!error.Empty())
        place.Member("Pattern").Fail("\"" + rule.pattern + "\" " + error);
    rule.extra = place.ExtraMembers({"Kind", "Pattern", "Value", "Total", "Text"});
    return rule;
}

LaunchTemplate ProductReader::ReadLaunch(JsonPlace const& place, std::initializer_list<std::string_view> alsoKnown) {
    LaunchTemplate launch;
    if (place.Has("Arguments")) {
        JsonPlace const arguments = place.Member("Arguments");
        arguments.ExpectList();
        for (size_t i = 0; i < arguments.Value().size(); ++i)
            launch.arguments.push_back(ReadArgument(arguments.Item(i), 0));
    }
    if (place.Has("Environment")) {
        for (auto const& [name, value] : ReadTexts(place.Member("Environment")))
            launch.environment[name] = value;
    }
    if (place.Has("Folder"))
        launch.folder = place.Member("Folder").Text();
    if (place.Has("CreateFolder"))
        launch.createFolder = place.Member("CreateFolder").Bool();
    if (place.Has("Shell"))
        launch.shell = place.Member("Shell").Text();
    if (place.Has("ExpectedFiles")) {
        JsonPlace const files = place.Member("ExpectedFiles");
        files.ExpectList();
        for (size_t i = 0; i < files.Value().size(); ++i)
            launch.expectedFiles.push_back(files.Item(i).Text());
    }
    std::vector<std::string_view> known(alsoKnown);
    known.insert(known.end(), {"Arguments", "Environment", "Folder", "CreateFolder", "Shell", "ExpectedFiles"});
    Json extra = Json::object();
    for (auto const& [key, value] : place.Value().items()) {
        if (std::find(known.begin(), known.end(), key) == known.end())
            extra[key] = value;
    }
    if (!extra.empty())
        launch.extra = extra.dump();
    return launch;
}

ArgumentTemplate ProductReader::ReadArgument(JsonPlace const& place, int depth) {
    using Kind = ArgumentTemplate::Kind;
    if (depth > k_ArgumentDepthLimit)
        place.Fail("nests deeper than " + String::From(k_ArgumentDepthLimit) + " levels");
    ArgumentTemplate argument;
    JsonPlace items = place;
    if (place.Value().is_array()) {
        argument.kind = Kind::Group;
    } else if (place.Value().is_object() && place.Has("CommandLine")) {
        argument.kind = Kind::CommandLine;
        argument.text = place.Member("CommandLine").Text();
        return argument;
    } else if (place.Value().is_object() && place.Has("If") && place.Has("Arguments")) {
        argument.kind = Kind::If;
        argument.text = place.Member("If").Text();
        items = place.Member("Arguments");
    } else if (place.Value().is_object() && place.Has("Each") && place.Has("Arguments")) {
        argument.kind = Kind::Each;
        argument.text = place.Member("Each").Text();
        items = place.Member("Arguments");
    } else if (place.Value().is_object()) {
        place.Fail(
            R"(expected {"CommandLine": "parameter"}, {"Each": "parameter", "Arguments": [...]} or {"If": "condition", "Arguments": [...]})");
    } else {
        argument.text = place.Text();
        return argument;
    }
    items.ExpectList();
    for (size_t i = 0; i < items.Value().size(); ++i)
        argument.items.push_back(ReadArgument(items.Item(i), depth + 1));
    return argument;
}

OptionMap ProductReader::ReadTexts(JsonPlace const& object) {
    object.ExpectObject();
    OptionMap texts;
    for (auto const& entry : object.Value().items())
        texts[entry.key()] = object.Member(entry.key()).Text();
    return texts;
}

} // namespace vorlan
