#pragma once

#include <corekit/string.h>
#include <vorlan/fwd.h>
#include <vorlan/launchtemplate.h>

#include <memory>
#include <set>
#include <string_view>

namespace vorlan {

// What is wrong with a rule's pattern or groups; empty when nothing is.
String CheckOutputRule(OutputRule const& rule);

// Reads a unit's output line by line: how far it is, what it warns of, what went wrong.
// Owned by whoever watches the process (the Engine: one per running unit); one thread at a time.
// Linear in the length of a line whatever the patterns; a line is cut at k_LineLimit.
// Progress never goes back and never passes 100.
class OutputMatcher {
public:
    static constexpr size_t k_LineLimit = 16384;

    struct Report {
        bool progressChanged = false;
        String warning; // empty: none
        String error;   // empty: none
    };

    // subRange: the unit's frames, empty for a unit without. Throws ParseException when a pattern does not compile,
    // naming the rule and why.
    OutputMatcher(OutputRules const& rules, String const& subRange);
    ~OutputMatcher();
    OutputMatcher(OutputMatcher const&) = delete;
    OutputMatcher& operator=(OutputMatcher const&) = delete;

    // A line without its line feed. Programs that redraw a line end it with a carriage return: that is a line, too.
    Report Feed(std::string_view line);

    double Percent() const { return m_percent; }
    String const& FirstError() const { return m_firstError; }

private:
    struct Compiled;

    void TakeNumber(OutputRule::Kind kind, double value, double total);
    void GoOn(std::string_view line);
    bool IsOwnFrame(double frame) const;
    void BeginFrame(double frame);
    void SetPart(double part);
    void Raise(double part);

    // Constant after construction
    std::unique_ptr<Compiled> m_compiled;
    std::set<int64_t> m_frames;
    bool m_byFrame = false;

    std::set<int64_t> m_begun;
    std::set<int64_t> m_done;
    double m_total = 0;
    double m_percent = 0;
    String m_firstError;
    size_t m_brokenAt = 0; // the length of the last line of that note, when the next may belong to it
};

} // namespace vorlan
