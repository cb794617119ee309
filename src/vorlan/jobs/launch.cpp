#include <vorlan/launch.h>

#include "jobvalues.h"

#include <corekit/exception.h>
#include <vorlan/job.h>
#include <vorlan/jobtemplate.h>
#include <vorlan/keys.h>
#include <vorlan/product.h>
#include <vorlan/range.h>
#include <vorlan/values.h>

namespace vorlan {

namespace {

// Turns a LaunchTemplate and the values of one Job or unit into a process to start.
class LaunchBuilder {
public:
    LaunchBuilder(LaunchTemplate const& launch, JobValues& values) : m_template(launch), m_values(values) {}

    Launch Build() {
        m_result.shell = IsTrueText(m_template.shell);
        bool missing = false;
        Arguments arguments;
        for (ArgumentTemplate const& argument : m_template.arguments)
            Add(argument, arguments, missing);
        for (auto const& [name, text] : m_template.environment) {
            String const value = ExpandTemplate(text, m_values);
            if (!value.Empty())
                m_result.environment[name] = value;
        }
        if (m_result.shell && !arguments.empty()) {
            WrapInShell(arguments);
        } else {
            for (ExpandedTemplate const& argument : arguments)
                m_result.arguments.push_back(argument.Text());
        }
        m_result.folder = ExpandTemplate(m_template.folder, m_values);
        m_result.createFolder = m_template.createFolder && !m_result.folder.Empty();
        return std::move(m_result);
    }

private:
    // As expanded: a script must know what of it are values.
    using Arguments = std::vector<ExpandedTemplate>;

    // A lone reference is true as its parameter says, any other text as its words say.
    bool IsTrueText(String const& text) const {
        if (text.StartsWith("$(") && text.FindOneOf(":=!?[|)") == text.size() - 1) {
            String value;
            String const name = text.Mid(2, text.size() - 3).Trim();
            return m_values.Find(name, value) && m_values.IsTrue(name, value);
        }
        String const expanded = ExpandTemplate(text, m_values).Trim();
        return !expanded.Empty() && expanded.Bool(true);
    }

    void Add(ArgumentTemplate const& argument, Arguments& out, bool& missing) {
        switch (argument.kind) {
        case ArgumentTemplate::Kind::Text:
            AddText(argument.text, out, missing);
            break;
        case ArgumentTemplate::Kind::CommandLine:
            AddCommandLine(argument.text, out, missing);
            break;
        case ArgumentTemplate::Kind::If:
            if (IsTrueText(argument.text))
                AddAll(argument.items, out, missing);
            break;
        case ArgumentTemplate::Kind::Each:
            AddEach(argument, out, missing);
            break;
        case ArgumentTemplate::Kind::Group: {
            Arguments group;
            bool groupMissing = false;
            AddAll(argument.items, group, groupMissing);
            if (!groupMissing)
                out.insert(out.end(), group.begin(), group.end());
            break;
        }
        }
    }

    void AddAll(std::vector<ArgumentTemplate> const& items, Arguments& out, bool& missing) {
        for (ArgumentTemplate const& item : items)
            Add(item, out, missing);
    }

    void AddText(String const& text, Arguments& out, bool& missing) {
        ExpandedTemplate expanded = ExpandPieces(text, m_values);
        missing = missing || expanded.missing;
        if (!expanded.pieces.empty())
            out.push_back(std::move(expanded));
    }

    void AddEach(ArgumentTemplate const& argument, Arguments& out, bool& missing) {
        String list;
        if (!m_values.Find(argument.text, list))
            missing = true;
        for (size_t from = 0; from < list.size();) {
            size_t const end = std::min(list.Find(';', from), list.size());
            m_values.SetItem(list.Mid(from, end - from).Trim());
            if (!list.Mid(from, end - from).Trim().Empty())
                AddAll(argument.items, out, missing);
            from = end + 1;
        }
    }

    void AddCommandLine(String const& name, Arguments& out, bool& missing) {
        String text;
        if (!m_values.Find(name, text) || text.Trim().Empty()) {
            missing = true;
            return;
        }
        ExpandedTemplate expanded = ExpandPieces(text, m_values);
        if (m_result.shell) {
            out.push_back(std::move(expanded));
            return;
        }
        for (String const& word : SplitCommandLine(expanded.pieces))
            out.push_back({{{word, false, {}}}, false});
    }

    void WrapInShell(Arguments const& arguments) {
        std::vector<TemplatePiece> pieces;
        for (ExpandedTemplate const& argument : arguments) {
            if (!pieces.empty())
                pieces.push_back({" ", false, {}});
            pieces.insert(pieces.end(), argument.pieces.begin(), argument.pieces.end());
        }
        ShellScript script = MakeShellScript(pieces);
        m_result.arguments = {"/bin/sh", "-c", std::move(script.text)};
        m_result.environment.merge(script.variables);
    }

    LaunchTemplate const& m_template;
    JobValues& m_values;
    Launch m_result;
};

void CheckRequired(Product const& product, JobValues const& values) {
    for (size_t i = 0; i < product.GetParamCount(); ++i) {
        auto const parameter = product.GetParam(i);
        if (!parameter->HasFlag(Parameter::f_Required) || !parameter->HasFlag(Parameter::f_JobParameter))
            continue;
        String value;
        if (!values.Find(parameter->GetName(), value) || value.Trim().Empty())
            throw ArgumentException("\"" + parameter->GetNiceName() + "\" (" + parameter->GetName() +
                                    ") of the Job has no value. A " + product.Name() + " Job needs one.");
    }
}

void CheckArguments(Launch const& launch, String const& what) {
    if (launch.arguments.empty() || launch.arguments.front().Trim().Empty())
        throw ArgumentException(what + " names no program to run. Check its launch arguments and the Job's values.");
    size_t sum = 0;
    auto const check = [&](String const& text, char const* kind) {
        if (text.Contains(std::string_view("\0", 1)))
            throw ArgumentException(what + " would pass " + kind + " with a zero byte: \"" +
                                    text.LeftFirst(std::string_view("\0", 1)) + "\". Correct the Job's values.");
        if (text.size() > k_ArgumentLengthLimit)
            throw ArgumentException(what + " would pass " + kind + " of " + String::From(text.size()) +
                                    " bytes; the system takes " + String::From(k_ArgumentLengthLimit) + ": \"" +
                                    text.Mid(0, 60) + "...\". Shorten it, or take smaller packets.");
        sum += text.size() + 1 + sizeof(char*);
    };
    for (String const& argument : launch.arguments)
        check(argument, "an argument");
    for (auto const& [name, value] : launch.environment)
        check(name + "=" + value, "a variable");
    if (sum > k_LaunchLengthLimit)
        throw ArgumentException(what + " would pass arguments and variables of " + String::From(sum) +
                                " bytes in all; the limit is " + String::From(k_LaunchLengthLimit) +
                                ". Shorten the Job's values, or take smaller packets.");
}

// Variables of a unit's process, and the values that they hold.
constexpr std::pair<char const*, char const*> k_UnitVariables[] = {
    {"VORLAN_JOB", "JobID"},       {"VORLAN_JOB_NAME", p_JobName},   {"VORLAN_WORK", "ID"},
    {"VORLAN_FRAMES", "SubRange"}, {"VORLAN_FIRST", "First"},        {"VORLAN_LAST", "Last"},
    {"VORLAN_STEP", "Step"},       {"VORLAN_COUNT", "Count"},        {"VORLAN_RANGE", p_Range},
    {"VORLAN_PRODUCT", "Product"}, {"VORLAN_ENGINE", "Engine.Name"}, {"VORLAN_CPUS", p_DispatchCPUs}};

// What the Product sets itself stays; a value that no variable can hold is left out.
void AddUnitVariables(JobValues const& values, std::map<String, String>& environment) {
    for (auto const& [name, value] : k_UnitVariables) {
        String text;
        bool const fits = values.Find(value, text) && !text.Empty() &&
                          text.size() + std::string_view(name).size() < k_ArgumentLengthLimit &&
                          !text.Contains(std::string_view("\0", 1));
        if (fits)
            environment.emplace(name, text);
    }
}

std::vector<int> FramesOf(JobValues const& values) {
    String text;
    FrameRange range;
    if (values.Find(p_SubRange, text) || values.Find(p_Range, text))
        FrameRange::Parse(text, range);
    std::vector<int> frames;
    for (uint64_t i = 0; i < range.Count() && i < k_ExpectedFilesLimit; ++i)
        frames.push_back(range.At(i));
    return frames;
}

std::vector<String> ExpectedFiles(LaunchTemplate const& launch, JobValues& values) {
    std::vector<int> const frames = FramesOf(values);
    std::vector<String> files;
    auto const add = [&](String const& text) {
        ExpandedTemplate const expanded = ExpandPieces(text, values);
        String const file = expanded.Text();
        if (!file.Empty() && !expanded.missing && files.size() < k_ExpectedFilesLimit)
            files.push_back(file);
    };
    for (String const& text : launch.expectedFiles) {
        values.TakeFrameUsed();
        ExpandPieces(text, values);
        if (!values.TakeFrameUsed()) {
            add(text);
            continue;
        }
        for (int frame : frames) {
            values.SetFrame(frame);
            add(text);
        }
    }
    return files;
}

} // namespace

String Launch::Text() const { return CommandText(arguments, environment); }

String CommandText(std::vector<String> const& arguments, std::map<String, String> const& environment) {
    String text;
    for (auto const& [name, value] : environment) {
        if (name.StartsWith(k_ShellValueName))
            text += (text.Empty() ? "" : " ") + name + "=" + QuoteWord(value);
    }
    for (String const& argument : arguments)
        text += (text.Empty() ? "" : " ") + QuoteWord(argument);
    return text;
}

Launch BuildLaunch(Product const& product, Job const& work, OptionMap const& engineValues) {
    if (product.GetLaunch().Empty())
        throw ArgumentException("The Product \"" + product.Name() +
                                "\" does not say what to run. Give it \"Launch\" with \"Arguments\".");
    JobValues values(work, &product, &engineValues);
    CheckRequired(product, values);
    if (product.NeedsEvenPackets() && !values.HasEvenFrames()) {
        String packet;
        values.Find(p_SubRange, packet);
        throw ArgumentException("The frames " + packet.Mid(0, 200) + " are not evenly spaced, and " + product.Name() +
                                " cannot render them in one go. Use a PacketSize of 1, or a Range of even steps.");
    }
    Launch launch = LaunchBuilder(product.GetLaunch(), values).Build();
    AddUnitVariables(values, launch.environment);
    CheckArguments(launch, "The Product \"" + product.Name() + "\"");
    launch.expectedFiles = ExpectedFiles(product.GetLaunch(), values);
    return launch;
}

String CheckScripts(Product const* product, Job const& job) {
    // As an Engine will have them; there every value may be one.
    class AllValues final : public TemplateValues {
    public:
        explicit AllValues(JobValues const& values) : m_values(values) {}
        bool Find(std::string_view name, String& value) const override {
            if (!m_values.Find(name, value) || value.Empty())
                value = "0";
            return true;
        }

    private:
        JobValues const& m_values;
    };
    JobValues values(job, product);
    try {
        if (product && !product->GetLaunch().shell.Empty())
            LaunchBuilder(product->GetLaunch(), values).Build();
        for (ValueInfo const& info : k_Values) {
            String command;
            if (info.Has(v_EventCommand) && job.GetParameter(info.name, command))
                MakeShellScript(ExpandPieces(command, AllValues(values)).pieces);
        }
    } catch (Exception const& error) {
        return error.Message();
    }
    return {};
}

bool BuildCommandLaunch(Product const& product, Job const& job, String const& command, String const& item,
                        Launch& launch) {
    auto const found = product.FindCommand(command);
    if (!found || found->GetLaunch().Empty())
        return false;
    JobValues values(job, &product);
    values.SetItem(item);
    values.TakeNameAsRange();
    if (!item.Empty() && item.FindOneNotOf("-0123456789") == String::npos)
        values.SetFrame(item.Int());
    launch = LaunchBuilder(found->GetLaunch(), values).Build();
    CheckArguments(launch, "The Command \"" + found->GetLabel() + "\"");
    return true;
}

String ExpandTemplate(String const& text, Job const& job, Product const* product) {
    return ExpandTemplate(text, JobValues(job, product));
}

} // namespace vorlan
