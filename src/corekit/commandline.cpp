#include <corekit/commandline.h>

#include <corekit/log.h>
#include <corekit/path.h>

#include <cctype>
#include <charconv>
#include <string_view>

namespace corekit {

namespace {

bool IsLetter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }

bool IsWordCharacter(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_'; }

// The text behind the switch's mark: "Name" or "Name=value"; empty when the word
// is no switch.
std::string_view SwitchText(std::string_view word) {
    std::string_view text = word;
    size_t marks = word.starts_with("--") ? 2 : word.starts_with("-") || word.starts_with("/") ? 1 : 0;
    text.remove_prefix(marks);
    if (marks == 0 || text.empty() || !IsLetter(text[0]))
        return {};
    if (word[0] != '/')
        return text;
    for (char c : text.substr(0, text.find('='))) {
        if (!IsWordCharacter(c))
            return {};
    }
    return Path(word).Exists() ? std::string_view() : text;
}

} // namespace

CommandLine::CommandLine(int argc, char const* const* argv) {
    std::vector<String> words;
    for (int i = 1; i < argc; ++i)
        words.emplace_back(argv[i]);
    m_program = argc > 0 ? argv[0] : "";
    Parse(words);
}

CommandLine::CommandLine(String program, std::vector<String> const& words) : m_program(std::move(program)) {
    Parse(words);
}

void CommandLine::Parse(std::vector<String> const& words) {
    std::vector<String>* values = nullptr; // of the last switch
    bool onlyWords = false;
    for (String const& word : words) {
        if (!onlyWords && word == "--") {
            onlyWords = true;
            continue;
        }
        std::string_view text = onlyWords ? std::string_view() : SwitchText(word);
        if (text.empty()) {
            (onlyWords || !values ? m_positional : *values).push_back(word);
            continue;
        }
        size_t equals = text.find('=');
        values = &m_switches[String(text.substr(0, equals))];
        values->clear();
        if (equals != std::string_view::npos)
            values->emplace_back(text.substr(equals + 1));
    }
}

bool CommandLine::HasSwitch(String const& name) const { return m_switches.find(name) != m_switches.end(); }

String const* CommandLine::FindArgument(String const& name, size_t index) const {
    auto found = m_switches.find(name);
    return found != m_switches.end() && index < found->second.size() ? &found->second[index] : nullptr;
}

int CommandLine::GetArgument(String const& name, size_t index, int defaultValue) const {
    String const* text = FindArgument(name, index);
    if (!text)
        return defaultValue;
    char const* begin = text->c_str() + (text->StartsWith("+") ? 1 : 0);
    char const* end = text->c_str() + text->size();
    int value = 0;
    auto [stop, failure] = std::from_chars(begin, end, value);
    if (failure == std::errc() && stop == end)
        return value;
    LogWarning("The command line's switch \"" + name + "\" needs a whole number, not \"" + *text + "\"; using " +
               String::From(defaultValue));
    return defaultValue;
}

String CommandLine::GetArgument(String const& name, size_t index, String const& defaultValue) const {
    String const* text = FindArgument(name, index);
    return text ? *text : defaultValue;
}

String CommandLine::GetArgument(String const& name, size_t index, char const* defaultValue) const {
    return GetArgument(name, index, String(defaultValue));
}

size_t CommandLine::CountArguments(String const& name) const {
    auto found = m_switches.find(name);
    return found != m_switches.end() ? found->second.size() : 0;
}

void CommandLine::AddSwitch(String const& name) { m_switches[name]; }

} // namespace corekit
