#pragma once

#include <corekit/string.h>

namespace corekit {

// Takes a text apart at separator characters. Owned by one function; one thread.
// Separators between a pair of quotes or behind an escape character do not count.
// Tokens come as they stand in the text, with their quotes and escapes, since
// nested lists are unescaped level by level. A quote without a partner is an
// ordinary character, so bad input never swallows the rest.
class StringTokenizer {
public:
    enum class EmptyTokens { Skip, Keep };

    // A quote or escape of '\0' switches that rule off. The text is copied.
    StringTokenizer(String text, String separators, char quote = '"', char escape = '\\',
                    EmptyTokens emptyTokens = EmptyTokens::Skip);

    // False after the last token; `token` is then as it was.
    bool Next(String& token);
    // The next token without its quotes and escapes.
    bool NextPlain(String& token);
    // What is behind the separator of the last token.
    String Rest() const;

private:
    bool IsEscape(size_t at) const noexcept;
    size_t QuoteEnd(size_t at) noexcept;
    size_t TokenEnd() noexcept;
    String Plain(String const& token) const;

    String const m_text;
    String const m_separators;
    char const m_quote;
    char const m_escape;
    EmptyTokens const m_emptyTokens;
    size_t m_position = 0;
    bool m_done = false;
    // No quote from here on has a partner.
    size_t m_unpairedFrom = String::npos;
};

} // namespace corekit
