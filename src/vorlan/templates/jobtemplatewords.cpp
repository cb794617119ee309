// Command lines: from text to words, and from words to text.

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

} // namespace vorlan
