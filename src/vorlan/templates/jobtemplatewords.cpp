// Command lines: from text to words, from words to text, and scripts for the shell.

#include <vorlan/jobtemplate.h>

namespace vorlan {

namespace {

bool IsBetweenWords(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

class WordSplitter {
public:
    void Add(TemplatePiece const& piece) {
        if (piece.isValue) {
            m_word += piece.text;
            m_inWord = m_inWord || !piece.text.Empty();
            return;
        }
        for (size_t i = 0; i < piece.text.size(); ++i) {
            char const next = i + 1 < piece.text.size() ? piece.text[i + 1] : '\0';
            i += AddCharacter(piece.text[i], next);
        }
    }

    std::vector<String> Finish() {
        EndWord();
        return std::move(m_words);
    }

private:
    // Gives how many characters beyond the first were used up.
    size_t AddCharacter(char c, char next) {
        if (c == '\\' && m_quote != '\'' && TakesEscape(next)) {
            m_word += next;
            m_inWord = true;
            return 1;
        }
        if (m_quote != '\0') {
            if (c == m_quote)
                m_quote = '\0';
            else
                m_word += c;
        } else if (c == '"' || c == '\'') {
            m_quote = c;
            m_inWord = true;
        } else if (IsBetweenWords(c)) {
            EndWord();
        } else {
            m_word += c;
            m_inWord = true;
        }
        return 0;
    }

    bool TakesEscape(char next) const {
        return next == '\\' || next == '"' || (m_quote == '\0' && (next == '\'' || IsBetweenWords(next)));
    }

    void EndWord() {
        if (m_inWord)
            m_words.push_back(std::move(m_word));
        m_word = String();
        m_inWord = false;
    }

    std::vector<String> m_words;
    String m_word;
    bool m_inWord = false;
    char m_quote = '\0';
};

// Follows the quotes of a script's own text, and puts values in so that they stay one word.
class ScriptWriter {
public:
    void Add(TemplatePiece const& piece) {
        if (!piece.isValue) {
            for (char c : piece.text)
                Follow(c);
            m_script += piece.text;
        } else if (m_quote == '"') {
            AddEscaped(piece.text, "\\\"$`", "\\");
        } else if (m_quote == '\'') {
            AddQuoteSafe(piece.text);
        } else if (piece.text.FindOneNotOf(k_SafeCharacters) == String::npos && !m_escaped) {
            m_script += piece.text;
        } else {
            // A backslash right before the value would take away its first quote.
            if (m_escaped)
                m_script += '\\';
            m_escaped = false;
            m_script += '\'';
            AddQuoteSafe(piece.text);
            m_script += '\'';
        }
    }

    String const& Script() const { return m_script; }

private:
    static constexpr char const* k_SafeCharacters =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./:=@%+,-";

    void Follow(char c) {
        if (m_escaped)
            m_escaped = false;
        else if (c == '\\' && m_quote != '\'')
            m_escaped = true;
        else if (m_quote == '\0' && (c == '"' || c == '\''))
            m_quote = c;
        else if (c == m_quote)
            m_quote = '\0';
    }

    void AddEscaped(String const& text, std::string_view special, std::string_view escape) {
        if (m_escaped)
            m_script += '\\';
        m_escaped = false;
        for (char c : text) {
            if (special.find(c) != std::string_view::npos)
                m_script += escape;
            m_script += c;
        }
    }

    void AddQuoteSafe(String text) {
        text.Replace("'", "'\\''");
        m_script += text;
    }

    String m_script;
    char m_quote = '\0';
    bool m_escaped = false;
};

} // namespace

std::vector<String> SplitCommandLine(std::vector<TemplatePiece> const& pieces) {
    WordSplitter splitter;
    for (TemplatePiece const& piece : pieces)
        splitter.Add(piece);
    return splitter.Finish();
}

std::vector<String> SplitCommandLine(String const& text) { return SplitCommandLine({TemplatePiece{text, false}}); }

String QuoteWord(String const& text) {
    if (!text.Empty() && text.FindOneOf(" \t\r\n\"'\\") == String::npos)
        return text;
    String quoted = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

String ShellScript(std::vector<TemplatePiece> const& pieces) {
    ScriptWriter writer;
    for (TemplatePiece const& piece : pieces)
        writer.Add(piece);
    return writer.Script();
}

} // namespace vorlan
