#include "engine/sidecommands.h"

#include "engine/verdict.h"

namespace vorlan {

namespace {

constexpr size_t k_OutputBytes = 16384;

} // namespace

SideCommands::SideCommands(Runner& runner, Report report) : m_runner(runner), m_report(std::move(report)) {}

void SideCommands::Run(String const& label, String const& script, Path const& folder, Tell tell) {
    if (m_waiting.size() >= k_Waiting) {
        m_report("The " + label + " command was left out: " + String::From(k_Waiting) + " others wait.");
        return;
    }
    Side side;
    side.label = label;
    side.tell = tell;
    side.spec.work = UID(true);
    side.spec.arguments = {"/bin/sh", "-c", script};
    side.spec.folder = folder;
    m_waiting.push_back(std::move(side));
    StartNext();
}

void SideCommands::StartNext() {
    while (!m_waiting.empty() && m_running.size() < k_AtOnce) {
        Side side = std::move(m_waiting.front());
        m_waiting.pop_front();
        RunSpec const spec = std::move(side.spec);
        m_running.emplace(spec.work, std::move(side));
        m_runner.Start(spec);
    }
}

bool SideCommands::OnOutput(UID const& process, std::string_view bytes) {
    auto const side = m_running.find(process);
    if (side == m_running.end())
        return false;
    std::string& output = side->second.output;
    output.append(bytes.substr(0, k_OutputBytes - output.size()));
    return true;
}

bool SideCommands::OnEnded(UID const& process, RunEnd const& end) {
    auto found = m_running.extract(process);
    if (found.empty())
        return false;
    Side const& side = found.mapped();
    bool const failed = !HasSucceeded(end, {0});
    if (failed || side.tell == Tell::All) {
        String text = "The " + side.label + " command ended: " + EndText(end);
        String rest = String(side.output).Trim();
        for (size_t lines = 0; !rest.Empty() && lines < k_OutputLines; ++lines) {
            text += "\n" + rest.LeftFirst("\n");
            rest = rest.Contains("\n") ? rest.RightFirst("\n") : String();
        }
        m_report(rest.Empty() ? text : text + "\n...");
    }
    StartNext();
    return true;
}

void SideCommands::StopAll(int graceMs) {
    m_waiting.clear();
    for (auto const& [process, side] : m_running)
        m_runner.Stop(process, graceMs);
}

} // namespace vorlan
