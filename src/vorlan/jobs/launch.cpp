#include <vorlan/launch.h>

#include "jobvalues.h"

#include <corekit/exception.h>
#include <vorlan/job.h>
#include <vorlan/jobtemplate.h>
#include <vorlan/keys.h>
#include <vorlan/product.h>
#include <vorlan/range.h>

namespace vorlan {

namespace {

// Turns a LaunchTemplate and the values of one Job or unit into a process to start.
class LaunchBuilder {
public:
    LaunchBuilder(LaunchTemplate const& launch, JobValues& values) : m_template(launch), m_values(values) {}

    Launch Build() {
        m_result.shell = IsTrueText(m_template.shell);
        bool missing = false;
        for (ArgumentTemplate const& argument : m_template.arguments)
            Add(argument, m_result.arguments, missing);
        if (m_result.shell && !m_result.arguments.empty())
            WrapInShell();
        for (auto const& [name, text] : m_template.environment) {
            String const value = ExpandTemplate(text, m_values);
            if (!value.Empty())
                m_result.environment[name] = value;
        }
        m_result.folder = ExpandTemplate(m_template.folder, m_values);
        m_result.createFolder = m_template.createFolder && !m_result.folder.Empty();
        return std::move(m_result);
    }

private:
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

    void Add(ArgumentTemplate const& argument, std::vector<String>& out, bool& missing) {
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
            std::vector<String> group;
            bool groupMissing = false;
            AddAll(argument.items, group, groupMissing);
            if (!groupMissing)
                out.insert(out.end(), group.begin(), group.end());
            break;
        }
        }
    }

    void AddAll(std::vector<ArgumentTemplate> const& items, std::vector<String>& out, bool& missing) {
        for (ArgumentTemplate const& item : items)
            Add(item, out, missing);
    }

    void AddText(String const& text, std::vector<String>& out, bool& missing) {
        ExpandedTemplate const expanded = ExpandPieces(text, m_values);
        missing = missing || expanded.missing;
        String const argument = m_result.shell ? ShellScript(expanded.pieces) : expanded.Text();
        if (!argument.Empty())
            out.push_back(argument);
    }

    void AddEach(ArgumentTemplate const& argument, std::vector<String>& out, bool& missing) {
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

    void AddCommandLine(String const& name, std::vector<String>& out, bool& missing) {
        String text;
        if (!m_values.Find(name, text) || text.Trim().Empty()) {
            missing = true;
            return;
        }
        ExpandedTemplate const expanded = ExpandPieces(text, m_values);
        if (m_result.shell) {
            out.push_back(ShellScript(expanded.pieces));
            return;
        }
        for (String& word : SplitCommandLine(expanded.pieces))
            out.push_back(std::move(word));
    }

    void WrapInShell() {
        String script;
        for (String const& part : m_result.arguments)
            script += (script.Empty() ? "" : " ") + part;
        m_result.arguments = {"/bin/sh", "-c", script};
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
    for (String const& argument : launch.arguments) {
        if (argument.Contains(std::string_view("\0", 1)))
            throw ArgumentException(what + " would pass an argument with a zero byte: \"" +
                                    argument.LeftFirst(std::string_view("\0", 1)) + "\". Correct the Job's values.");
        if (argument.size() > k_ArgumentLengthLimit)
            throw ArgumentException(what + " would pass an argument of " + String::From(argument.size()) +
                                    " bytes; the system takes " + String::From(k_ArgumentLengthLimit) + ": \"" +
                                    argument.Mid(0, 60) + "...\". Shorten it, or take smaller packets.");
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

String Launch::Text() const {
    String text;
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
    CheckArguments(launch, "The Product \"" + product.Name() + "\"");
    launch.expectedFiles = ExpectedFiles(product.GetLaunch(), values);
    return launch;
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
