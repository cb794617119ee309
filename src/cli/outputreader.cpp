#include "cli/outputreader.h"

#include <vorlan/messages.h>

#include <ostream>

namespace vorlan::cli {

namespace {

constexpr int64_t k_Window = 4 << 20;       // bytes that may be under way
constexpr size_t k_LongestLine = 64 * 1024; // then it is written without its end

} // namespace

void OutputReader::Ask(UID const& work, UID const& engine, Mode mode, String const& prefix, LineTaker take) {
    auto request = GetOutputMsg::New();
    request->request = UID(true);
    request->work = work;
    request->engine = engine;
    request->follow = mode == Mode::Follow;
    request->window = k_Window;
    m_requests[request->request] = Request{prefix, std::move(take), String()};
    m_asked.insert(work);
    m_context.TheFarm().Send(request);
}

bool OutputReader::TakeMessage(Message const& message) {
    if (message.Type() != OutputDataMsg::s_Type)
        return false;
    auto const& output = static_cast<OutputDataMsg const&>(message);
    auto const at = m_requests.find(output.request);
    if (at == m_requests.end())
        return false;
    bool const end = output.end || !output.error.Empty();
    Write(at->second, output.data, end);
    if (int64_t const taken = output.offset + static_cast<int64_t>(output.data.size());
        !end && taken - at->second.taken >= k_Window / 4) {
        auto const told = OutputTakenMsg::New();
        told->request = output.request;
        told->offset = at->second.taken = taken;
        m_context.TheFarm().Send(told);
    }
    if (!output.error.Empty()) {
        ++m_errors;
        m_lastError = output.error;
        m_context.Err() << at->second.prefix << "vorlan: No output: " << Printable(output.error, true) << std::endl;
    }
    if (end)
        m_requests.erase(at);
    return true;
}

void OutputReader::Write(Request& request, String const& data, bool end) {
    Terminal& terminal = m_context.Term();
    // What a program of the farm wrote must not drive the terminal of whoever reads it.
    auto const shown = [&](String const& text) { return terminal.outIsTerminal ? Printable(text, true) : text; };
    request.line += data;
    // A terminal gets whole lines, so that no character is cut in two.
    bool const whole = terminal.outIsTerminal || !request.prefix.Empty() || request.take;
    auto const put = [&](String const& line, char const* lineEnd) {
        if (request.take)
            request.take(line);
        else
            terminal.out << request.prefix << shown(line) << lineEnd;
    };
    size_t from = 0;
    for (size_t at = request.line.Find('\n'); at != String::npos; at = request.line.Find('\n', from)) {
        put(request.line.Mid(from, at + 1 - from), "");
        from = at + 1;
    }
    String rest = request.line.Mid(from);
    if (!rest.Empty() && (end || !whole || rest.size() > k_LongestLine)) {
        put(rest, whole ? "\n" : "");
        rest.clear();
    }
    request.line = rest;
    terminal.out << std::flush;
}

} // namespace vorlan::cli
