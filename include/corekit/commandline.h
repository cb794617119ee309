#pragma once

#include <corekit/string.h>

#include <map>
#include <vector>

namespace corekit {

// CommandLine is a program's arguments as switches with values and plain words.
// A switch is --Name, -Name or /Name, in any case; its values follow it up to
// the next switch, or its one value is joined to it by "=". A word that starts
// like a number is a value ("-1"), and so is "/Name" when a file of that name
// exists. After a bare "--" all words are plain.
// Owner: the program's main. Thread: one.
class CommandLine {
public:
    CommandLine(int argc, char const* const* argv);
    // `words` without the program's name.
    CommandLine(String program, std::vector<String> const& words);

    bool HasSwitch(String const& name) const;
    // The value at `index` behind the switch; the default when there is none, or
    // it is no whole number in range. A switch given twice: the last one counts.
    int GetArgument(String const& name, size_t index, int defaultValue) const;
    String GetArgument(String const& name, size_t index, String const& defaultValue) const;
    String GetArgument(String const& name, size_t index, char const* defaultValue) const;
    size_t CountArguments(String const& name) const;
    // Acts as if the switch had been given; an existing one keeps its values.
    void AddSwitch(String const& name);

    // The program as it was called.
    String const& Program() const { return m_program; }
    // The words before the first switch and after a bare "--".
    std::vector<String> const& Positional() const { return m_positional; }

private:
    void Parse(std::vector<String> const& words);
    String const* FindArgument(String const& name, size_t index) const;

    String m_program;
    std::map<String, std::vector<String>, String::ciless> m_switches;
    std::vector<String> m_positional;
};

} // namespace corekit
