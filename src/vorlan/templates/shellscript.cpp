// Scripts for /bin/sh into which values are put.

#include <vorlan/jobtemplate.h>

#include <corekit/exception.h>
#include <corekit/sformat.h>

#include <algorithm>

namespace vorlan {

namespace {

constexpr size_t k_PlaceLength = 40; // of the script, before a value that cannot stand where it does

// What the shell reads at the moment.
enum class Reading { Command, Backticks, DoubleQuotes, SingleQuotes, Braces, Arithmetic, Document, Comment };

struct EndWord {
    std::string text;
    bool expands = true;
    bool stripsTabs = false;
};

struct Scope {
    Reading reading = Reading::Command;
    int brackets = 0;           // open ones that are not this scope's own
    bool named = false;         // Braces: behind the name
    EndWord document;           // Document
    std::vector<EndWord> wants; // Command: here-documents that begin with the next line
    int cases = 0;              // Command: patterns end with a lone ")"
    bool isFirstWord = true;    // of a command
    std::string word;
};

bool IsScriptBlank(char c) { return c == ' ' || c == '\t'; }

// Follows a script far enough to know in what a value stands. Where it errs (a script can be as odd as it likes) a
// value comes out as several words, or as the name of its variable; it is never run.
class ShellReader {
public:
    void Read(std::string_view text) {
        m_dollar = m_openEndWord = false;
        for (size_t i = 0; i < text.size();)
            i += Take(text.substr(i));
    }

    // Why no value can stand here; null when one can.
    char const* Refusal(std::string_view value) const {
        if (m_dollar)
            return "right behind a $";
        if (m_openEndWord)
            return "in the end word of a here-document";
        Scope const& scope = Top();
        switch (scope.reading) {
        case Reading::SingleQuotes:
            return "between single quotes, where the shell expands nothing. Use double quotes, or none";
        case Reading::Document:
            return scope.document.expands ? nullptr
                                          : "in a here-document with a quoted end word, where the shell expands "
                                            "nothing. Take the quotes off the end word";
        case Reading::Braces:
            return scope.named ? nullptr : "as the name of a variable";
        case Reading::Arithmetic:
            return value.find_first_not_of("-0123456789") == value.npos ? nullptr
                                                                        : "in arithmetic, and is no whole number";
        default:
            return m_escaped && IsIn(Reading::Backticks) ? "right behind a backslash" : nullptr;
        }
    }

    // What stands for a value here, and goes on behind it.
    std::string Put(std::string const& variable) {
        Scope& scope = Top();
        std::string const reference = "${" + variable + "}";
        scope.word += '\0'; // a word, or a line, that is none of those looked for
        bool const quoted = scope.reading == Reading::DoubleQuotes || scope.reading == Reading::Document ||
                            scope.reading == Reading::Arithmetic || scope.reading == Reading::Comment ||
                            (scope.reading == Reading::Braces && IsWithinQuotes());
        std::string text = std::exchange(m_escaped, false) ? "\\" : ""; // the one before it stands for itself
        return text += quoted ? reference : '"' + reference + '"';
    }

private:
    Scope& Top() { return m_scopes.back(); }
    Scope const& Top() const { return m_scopes.back(); }
    bool IsIn(Reading reading) const {
        return std::any_of(m_scopes.begin(), m_scopes.end(), [&](Scope const& one) { return one.reading == reading; });
    }
    bool IsWithinQuotes() const {
        auto const outer = std::find_if(m_scopes.rbegin(), m_scopes.rend(),
                                        [](Scope const& one) { return one.reading != Reading::Braces; });
        return outer->reading == Reading::DoubleQuotes || outer->reading == Reading::Document;
    }
    size_t Push(Reading reading, size_t length) {
        if (m_scopes.size() >= k_ShellDepthLimit)
            throw ArgumentException(
                SFormat("The script nests quotes and brackets deeper than %d levels. Simplify it.", k_ShellDepthLimit));
        Top().word += '\0';
        m_scopes.emplace_back().reading = reading;
        return length;
    }
    size_t Pop(size_t length = 1) {
        m_scopes.pop_back();
        return length;
    }

    // Gives how many characters it took.
    size_t Take(std::string_view text) {
        char const c = text[0];
        if (std::exchange(m_escaped, false)) {
            Top().word += '\0';
            return 1;
        }
        switch (Top().reading) {
        case Reading::SingleQuotes:
            return c == '\'' ? Pop() : 1;
        case Reading::Comment:
            if (c == '\n' || (c == '`' && IsIn(Reading::Backticks)))
                return Pop(0);
            return 1;
        case Reading::Document:
            if (c == '\n')
                return EndLine();
            if (!Top().document.expands || (c != '\\' && c != '$' && c != '`')) {
                Top().word += c;
                return 1;
            }
            break;
        default:
            break;
        }
        if (c == '\\') {
            m_escaped = true;
            return 1;
        }
        if (c == '`')
            return TakeBacktick();
        if (c == '$')
            return TakeDollar(text);
        return TakeOther(text);
    }

    size_t TakeBacktick() {
        if (!IsIn(Reading::Backticks))
            return Push(Reading::Backticks, 1);
        while (Top().reading != Reading::Backticks)
            Pop();
        return Pop();
    }

    size_t TakeDollar(std::string_view text) {
        if (text.starts_with("$(("))
            return Push(Reading::Arithmetic, 3);
        if (text.starts_with("$("))
            return Push(Reading::Command, 2);
        if (text.starts_with("${"))
            return Push(Reading::Braces, 2);
        m_dollar = text.size() == 1;
        Top().word += '\0';
        return 1;
    }

    size_t TakeOther(std::string_view text) {
        char const c = text[0];
        Scope& scope = Top();
        switch (scope.reading) {
        case Reading::DoubleQuotes:
            return c == '"' ? Pop() : 1;
        case Reading::Arithmetic:
            if (c == ')' && scope.brackets == 0)
                return Pop(text.starts_with("))") ? 2 : 1);
            scope.brackets += c == '(' ? 1 : c == ')' ? -1 : 0;
            return 1;
        case Reading::Braces:
            if (c == '}')
                return Pop();
            scope.named = scope.named || std::string_view(":-=?+#%").find(c) != std::string_view::npos;
            if (c == '"')
                return Push(Reading::DoubleQuotes, 1);
            return c == '\'' && !IsWithinQuotes() ? Push(Reading::SingleQuotes, 1) : 1;
        default:
            return TakeOfCommand(text);
        }
    }

    size_t TakeOfCommand(std::string_view text) {
        char const c = text[0];
        Scope& scope = Top();
        if (c == '\'')
            return Push(Reading::SingleQuotes, 1);
        if (c == '"')
            return Push(Reading::DoubleQuotes, 1);
        if (c == '#' && scope.word.empty())
            return Push(Reading::Comment, 1);
        if (text.starts_with("<<<")) {
            EndWordOfCommand(false);
            return 3;
        }
        if (text.starts_with("<<")) {
            EndWordOfCommand(false);
            return TakeEndWord(text);
        }
        if (IsScriptBlank(c) || c == '<' || c == '>') {
            EndWordOfCommand(false);
        } else if (c == '\n' || c == ';' || c == '&' || c == '|' || c == '(' || c == ')') {
            EndWordOfCommand(true);
            if (c == '\n')
                BeginDocuments();
            else if (c == '(')
                ++scope.brackets;
            else if (c == ')')
                return CloseBracket();
        } else {
            scope.word += c;
        }
        return 1;
    }

    size_t CloseBracket() {
        Scope& scope = Top();
        if (scope.brackets > 0)
            --scope.brackets;
        else if (scope.cases == 0 && scope.reading == Reading::Command && m_scopes.size() > 1)
            return Pop();
        return 1;
    }

    // `next`: what follows is the first word of a command.
    void EndWordOfCommand(bool next) {
        static constexpr std::string_view k_Before[] = {"then", "do", "else", "elif", "if", "while", "until", "!", "{"};
        Scope& scope = Top();
        std::string const word = std::exchange(scope.word, {});
        bool const isKeyword =
            scope.isFirstWord && std::find(std::begin(k_Before), std::end(k_Before), word) != std::end(k_Before);
        if (scope.isFirstWord && word == "case")
            ++scope.cases;
        else if (scope.isFirstWord && word == "esac" && scope.cases > 0)
            --scope.cases;
        scope.isFirstWord = next || isKeyword || (scope.isFirstWord && word.empty());
    }

    size_t TakeEndWord(std::string_view text) {
        EndWord end;
        size_t i = 2;
        end.stripsTabs = i < text.size() && text[i] == '-';
        i += end.stripsTabs ? 1 : 0;
        while (i < text.size() && IsScriptBlank(text[i]))
            ++i;
        char quote = '\0';
        for (; i < text.size(); ++i) {
            char const c = text[i];
            if (quote == '\0' && std::string_view(" \t\n;&|<>()").find(c) != std::string_view::npos)
                break;
            if (c == quote) {
                quote = '\0';
            } else if (quote == '\0' && (c == '"' || c == '\'')) {
                quote = c;
                end.expands = false;
            } else if (c == '\\' && quote != '\'' && i + 1 < text.size()) {
                end.text += text[++i];
                end.expands = false;
            } else {
                end.text += c;
            }
        }
        m_openEndWord = i == text.size();
        Top().wants.push_back(std::move(end));
        return i;
    }

    void BeginDocuments() {
        std::vector<EndWord> const wanted = std::exchange(Top().wants, {});
        for (auto end = wanted.rbegin(); end != wanted.rend(); ++end) {
            Push(Reading::Document, 0);
            Top().document = *end;
        }
    }

    size_t EndLine() {
        Scope& scope = Top();
        std::string_view line = scope.word;
        if (scope.document.stripsTabs)
            line.remove_prefix(std::min(line.find_first_not_of('\t'), line.size()));
        if (line == scope.document.text)
            return Pop();
        scope.word.clear();
        return 1;
    }

    std::vector<Scope> m_scopes = std::vector<Scope>(1);
    bool m_escaped = false;     // behind a backslash
    bool m_dollar = false;      // behind a $ that stands for itself
    bool m_openEndWord = false; // in the end word of a here-document
};

// The place of a value for people: the line, and what stands before it.
String PlaceIn(String const& script) {
    auto const lines = 1 + std::count(script.begin(), script.end(), '\n');
    String const line = script.Contains("\n") ? script.RightLast("\n") : script;
    return SFormat("line %d of the script, behind \"%s\"", static_cast<int>(lines),
                   line.Mid(line.size() - std::min(line.size(), k_PlaceLength)).c_str());
}

} // namespace

ShellScript MakeShellScript(std::vector<TemplatePiece> const& pieces) {
    ShellScript script;
    std::map<String, String> names; // of the variables, by their value
    String written;                 // so far, as in the template
    ShellReader reader;
    for (TemplatePiece const& piece : pieces) {
        if (!piece.isValue) {
            reader.Read(piece.text);
            script.text += piece.text;
            written += piece.text;
            continue;
        }
        if (char const* const refusal = reader.Refusal(piece.text)) {
            throw ArgumentException(
                SFormat("$(%s) stands %s: %s.", piece.name.c_str(), refusal, PlaceIn(written).c_str()));
        }
        written += "$(" + piece.name + ")";
        auto const [known, isNew] = names.try_emplace(piece.text);
        if (isNew) {
            known->second = k_ShellValueName + String::From(names.size());
            script.variables[known->second] = piece.text;
        }
        script.text += reader.Put(known->second.Str());
    }
    return script;
}

} // namespace vorlan
