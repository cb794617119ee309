// Command lines from and to the sub-parameters of a Parameters-type Parameter.

#include <vorlan/jobtemplate.h>
#include <vorlan/parameter.h>

namespace vorlan {

namespace {

// What parts a sub-parameter's name from its value: a blank makes them two words.
String JoinOf(Parameter const& parameter) { return parameter.GetSetting(k_SettingJoin, " "); }

void AddWords(std::vector<String>& words, Parameter const& parameter, String const& value) {
    String const name = parameter.GetName();
    if (parameter.Type() == Parameter::t_None) {
        if (value.Empty() || value.Bool())
            words.push_back(name);
        return;
    }
    if (parameter.Type() == Parameter::t_AlternateSwitch) {
        words.push_back(name);
        return;
    }
    String const join = JoinOf(parameter);
    if (join == " ") {
        words.push_back(name);
        words.push_back(value);
    } else {
        words.push_back(name + join + value);
    }
}

// How a word of a command line relates to a sub-parameter.
struct Match {
    Parameter const* parameter = nullptr;
    size_t nameLength = 0;
    String key;   // what the map calls it
    String value; // of the same word
    bool takesNext = false;
};

bool MatchName(Parameter const& parameter, String const& word, Match& match) {
    String const name = parameter.GetName();
    if (name.Empty() || parameter.IsHeading())
        return false;
    String const alternate = parameter.GetAlternate();
    if (parameter.Type() == Parameter::t_AlternateSwitch && word == alternate && !alternate.Empty()) {
        match = {&parameter, alternate.size(), alternate, {}, false};
        return true;
    }
    if (word == name) {
        match = {&parameter, name.size(), name, {}, !parameter.IsSwitch() && JoinOf(parameter) == " "};
        return true;
    }
    String const join = JoinOf(parameter);
    if (parameter.IsSwitch() || join == " " || !word.StartsWith(name + join))
        return false;
    match = {&parameter, name.size() + join.size(), name, word.Mid(name.size() + join.size()), false};
    return true;
}

Match BestMatch(std::vector<boost::shared_ptr<Parameter>> const& parameters, String const& word) {
    Match best;
    for (auto const& parameter : parameters) {
        Match match;
        if (MatchName(*parameter, word, match) && match.nameLength > best.nameLength)
            best = match;
    }
    return best;
}

} // namespace

String Parameter::SubParam_MapToString(OptionMap const& values) const {
    std::vector<String> words;
    OptionMap left = values;
    for (auto const& parameter : m_subParams) {
        if (parameter->IsHeading())
            continue;
        auto const found = left.find(parameter->GetName());
        if (found != left.end()) {
            AddWords(words, *parameter, found->second);
            left.erase(found);
        }
        auto const alternate = left.find(parameter->GetAlternate());
        if (parameter->Type() == t_AlternateSwitch && alternate != left.end()) {
            words.push_back(parameter->GetAlternate());
            left.erase(alternate);
        }
    }
    String text;
    auto const add = [&text](String const& word) { text += (text.Empty() ? "" : " ") + QuoteWord(word); };
    for (String const& word : words)
        add(word);
    for (auto const& [name, value] : left) {
        add(name);
        if (!value.Empty())
            add(value);
    }
    return text;
}

OptionMap Parameter::SubParam_StringToMap(String text) const {
    std::vector<String> const words = SplitCommandLine(text);
    OptionMap values;
    for (size_t i = 0; i < words.size(); ++i) {
        Match const match = BestMatch(m_subParams, words[i]);
        if (match.parameter == nullptr)
            values[words[i]] = String();
        else if (match.takesNext && i + 1 < words.size())
            values[match.key] = words[++i];
        else
            values[match.key] = match.value;
    }
    return values;
}

} // namespace vorlan
