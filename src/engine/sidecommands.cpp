#include "engine/sidecommands.h"

#include "engine/verdict.h"

#include <corekit/sformat.h>

#include <algorithm>
#include <limits>

namespace vorlan {

namespace {

constexpr size_t k_OutputBytes = 16384;

} // namespace

SideCommand MakeSideCommand(EventCommand const& command, Path const& folder, SideCommand::Tell tell) {
    SideCommand side;
    side.label = command.label;
    side.spec = SpecOf(command.script, folder);
    side.spec.work = UID(true);
    side.tell = tell;
    return side;
}

SideCommands::SideCommands(Runner& runner, EngineClock const& clock, Report report, Settled settled)
    : m_runner(runner), m_clock(clock), m_report(std::move(report)), m_settled(std::move(settled)) {}

void SideCommands::Run(SideCommand command) {
    if (m_waiting.size() >= k_Waiting && !command.owed) {
        m_report("The " + command.label + " command was left out: " + String::From(k_Waiting) + " others wait.");
        return m_settled(command);
    }
    m_waiting.push_back(std::move(command));
    StartNext();
}

bool SideCommands::Needs(UID const& job) const {
    return std::any_of(m_running.begin(), m_running.end(),
                       [&](auto const& entry) { return entry.second.job == job; }) ||
           std::any_of(m_waiting.begin(), m_waiting.end(), [&](auto const& command) { return command.job == job; });
}

void SideCommands::StartNext() {
    while (!m_stopping && !m_waiting.empty() && m_running.size() < k_AtOnce) {
        UID const process = m_waiting.front().spec.work;
        SideCommand& command = m_running[process] = std::move(m_waiting.front());
        m_waiting.pop_front();
        ++command.tries;
        command.endMs = m_clock.SteadyMs() + k_LimitMs;
        m_runner.Start(command.spec);
    }
}

bool SideCommands::OnOutput(UID const& process, std::string_view bytes) {
    auto const command = m_running.find(process);
    if (command == m_running.end())
        return false;
    std::string& output = command->second.output;
    output.append(bytes.substr(0, k_OutputBytes - output.size()));
    return true;
}

bool SideCommands::OnEnded(UID const& process, RunEnd const& end) {
    auto found = m_running.extract(process);
    if (found.empty())
        return false;
    SideCommand& command = found.mapped();
    bool const again = command.owed && end.kind == RunEnd::Kind::Lost && command.tries < k_Tries;
    if (again) {
        command.output.clear();
        m_waiting.push_front(std::move(command));
    } else if (!m_stopping || !command.owed) {
        ReportEnd(command, end);
        m_settled(command);
    }
    StartNext();
    return true;
}

void SideCommands::ReportEnd(SideCommand const& command, RunEnd const& end) {
    if (HasSucceeded(end, {0}) && command.tell == SideCommand::Tell::Failures)
        return;
    String text = "The " + command.label + " command ended: " + EndText(end);
    if (command.overdue)
        text += SFormat("; it was stopped after %d minutes", static_cast<int>(k_LimitMs / 60'000));
    String rest = String(command.output).Trim();
    for (size_t lines = 0; !rest.Empty() && lines < k_OutputLines; ++lines) {
        text += "\n" + rest.LeftFirst("\n");
        rest = rest.Contains("\n") ? rest.RightFirst("\n") : String();
    }
    m_report(rest.Empty() ? text : text + "\n...");
}

void SideCommands::StopOverdue(int64_t nowMs, int graceMs) {
    for (auto& [process, command] : m_running) {
        if (command.endMs <= nowMs && !std::exchange(command.overdue, true))
            m_runner.Stop(process, graceMs);
    }
}

int64_t SideCommands::NextOverdueMs() const {
    int64_t next = std::numeric_limits<int64_t>::max();
    for (auto const& [process, command] : m_running)
        next = command.overdue ? next : std::min(next, command.endMs);
    return next;
}

void SideCommands::StopAll(int graceMs) {
    m_stopping = true;
    for (auto const& [process, command] : m_running)
        m_runner.Stop(process, graceMs);
}

} // namespace vorlan
