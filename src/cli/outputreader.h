#pragma once

// Reads the output of runs, by way of the Master.

#include "cli/command.h"

#include <functional>
#include <map>
#include <set>

namespace vorlan::cli {

// OutputReader asks for outputs and writes them as they come.
// Owner: the command `log`. Works with: Farm, which carries requests and answers.
// Thread: the main thread.
class OutputReader {
public:
    enum class Mode { Once, Follow };

    explicit OutputReader(Context& context) : m_context(context) {}

    // Gets a line with its end, or the last one without.
    using LineTaker = std::function<void(String const& line)>;

    // `prefix` stands before each line; without one bytes are written as they come. With `take` nothing is written.
    void Ask(UID const& work, UID const& engine, Mode mode, String const& prefix = String(), LineTaker take = {});
    // True when the message was one of an output asked for.
    bool TakeMessage(Message const& message);
    // Outputs that have not ended.
    size_t Waiting() const { return m_requests.size(); }
    bool HasAsked(UID const& work) const { return m_asked.contains(work); }
    // Requests that ended with an error, which was shown.
    size_t Errors() const { return m_errors; }
    String const& LastError() const { return m_lastError; }

private:
    struct Request {
        String prefix;
        LineTaker take;
        String line;       // begun, not ended
        int64_t taken = 0; // what the Engine was told of
    };
    void Write(Request& request, String const& data, bool end);

    Context& m_context;
    std::map<UID, Request> m_requests;
    std::set<UID> m_asked;
    size_t m_errors = 0;
    String m_lastError;
};

} // namespace vorlan::cli
