#include "engine/eventcommands.h"

#include <corekit/exception.h>
#include <vorlan/commonengine.h>
#include <vorlan/events.h>
#include <vorlan/job.h>
#include <vorlan/launch.h>
#include <vorlan/product.h>

#include <cctype>

namespace vorlan {

namespace {

class CommandValues final : public TemplateValues {
public:
    CommandValues(Job const& work, Product const* product, OptionMap const& extra)
        : m_work(work), m_product(product), m_extra(extra) {}

    bool Find(std::string_view name, String& value) const override {
        if (auto const found = m_extra.find(name); found != m_extra.end()) {
            value = found->second;
            return true;
        }
        value = ExpandTemplate("$(" + String(name) + ")", m_work, m_product);
        return !value.Empty();
    }

private:
    Job const& m_work;
    Product const* const m_product;
    OptionMap const& m_extra;
};

// "WorkFinishedEvt" as people read it: "Work Finished".
String LabelOf(std::string_view eventName) {
    if (eventName.ends_with("Evt"))
        eventName.remove_suffix(3);
    String label;
    for (char const c : eventName) {
        if (!label.Empty() && std::isupper(static_cast<unsigned char>(c)))
            label += ' ';
        label += c;
    }
    return label;
}

} // namespace

std::vector<EventCommand> CommandsFor(char const* eventName, CommonEngine const* settings, Job const& work,
                                      Product const* product, OptionMap const& extra) {
    String ofJob;
    work.GetParameter(eventName, ofJob);
    std::vector<EventCommand> commands;
    for (String const& command : {settings ? settings->GetEventCommand(eventName) : String(), ofJob}) {
        if (command.Trim().Empty())
            continue;
        String const label = LabelOf(eventName);
        try {
            commands.push_back(
                {label, MakeShellScript(ExpandPieces(command, CommandValues(work, product, extra)).pieces)});
        } catch (Exception const& error) {
            throw ArgumentException("The " + label + " command \"" + command.Mid(0, 200) +
                                    "\" cannot be used: " + error.Message());
        }
    }
    return commands;
}

RunSpec SpecOf(ShellScript const& script, Path const& folder) {
    RunSpec spec;
    spec.arguments = {"/bin/sh", "-c", script.text};
    spec.environment = script.variables;
    spec.folder = folder;
    return spec;
}

} // namespace vorlan
