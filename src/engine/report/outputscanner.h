#pragma once

// Reads what a unit prints: lines, progress, warnings, errors.

#include <corekit/string.h>
#include <vorlan/fwd.h>
#include <vorlan/outputmatcher.h>

#include <memory>
#include <string>
#include <string_view>

namespace vorlan {

// Cuts the output of one process into lines and gives them to the Product's patterns.
//
// Owned by the unit; one thread. A line ends with a line feed or a carriage return;
// one that is longer than OutputMatcher reads is passed on once, cut. Bytes may come
// in any pieces, and the result is the same.
class OutputScanner {
public:
    // What the bytes just fed have brought.
    struct Found {
        bool progress = false;
        String warning; // the last one
    };

    OutputScanner(OutputRules const& rules, String subRange);
    ~OutputScanner();

    Found Feed(std::string_view bytes);
    // The output is at its end: a last line may have no line feed.
    Found Finish();

    double Percent() const;
    String FirstError() const;
    // The last line that is more than blanks, for notes; cut to a length for people.
    String const& LastLine() const { return m_lastLine; }
    // Why the patterns cannot be used; empty when they can.
    String const& RuleError() const { return m_ruleError; }

private:
    void TakeLine(std::string_view line, Found& found);
    void MakeMatcher();

    OutputRules const m_rules;
    String const m_subRange;
    std::unique_ptr<OutputMatcher> m_matcher; // made with the first line: many units print nothing
    std::string m_rest;
    bool m_skipping = false; // behind the part of a line that was passed on
    String m_lastLine;
    String m_ruleError;
};

} // namespace vorlan
