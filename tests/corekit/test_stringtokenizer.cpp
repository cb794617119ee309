#include "test.h"

#include <corekit/stringtokenizer.h>

namespace corekit::test_stringtokenizer {

using Tokens = std::vector<String>;

Tokens All(StringTokenizer tokenizer) {
    Tokens tokens;
    for (String token; tokenizer.Next(token);)
        tokens.push_back(token);
    return tokens;
}

TEST(StringTokenizer, QuotesAndEscapesHideSeparatorsAndStayInTheToken) {
    Rows<char const*, Tokens> const cases = {{"a,b,c", {"a", "b", "c"}},
                                             {",a,,b,", {"a", "b"}},
                                             {"", {}},
                                             {",,,", {}},
                                             {"\"a,b\",c", {"\"a,b\"", "c"}},
                                             {"a\\,b,c", {"a\\,b", "c"}},
                                             {"\\\"a,b\"c,d\"", {"\\\"a", "b\"c,d\""}},
                                             {"\"a\\\",b\",c", {"\"a\\\",b\"", "c"}},
                                             // A quote without a partner must not swallow the rest.
                                             {"5\" disk,b,c", {"5\" disk", "b", "c"}},
                                             {"\"a\",b\",c", {"\"a\"", "b\"", "c"}},
                                             {"a,b\\", {"a", "b\\"}}};
    for (auto const& [text, tokens] : cases)
        EXPECT_EQ(All({text, ","}), tokens) << text;
    EXPECT_EQ(All({"a,,b,", ",", '"', '\\', StringTokenizer::EmptyTokens::Keep}), (Tokens{"a", "", "b", ""}));
    EXPECT_EQ(All({"a;b c", "; "}), (Tokens{"a", "b", "c"}));
    EXPECT_EQ(All({"\"a,b\\,c", ",", '\0', '\0'}), (Tokens{"\"a", "b\\", "c"}));
}

TEST(StringTokenizer, NestedListsComeApartLevelByLevel) {
    // As columns are stored: records escaped with a backtick, fields with a backslash.
    Tokens fields;
    StringTokenizer records("Ti`;tle,10,1,3,x;a\\,b,20,0,4", ";", '"', '`');
    for (String record; records.Next(record);) {
        record.Replace("`;", ";");
        StringTokenizer parts(record, ",");
        String first;
        ASSERT_TRUE(parts.Next(first));
        fields.push_back(first);
        fields.push_back(parts.Rest());
    }
    EXPECT_EQ(fields, (Tokens{"Ti;tle", "10,1,3,x", "a\\,b", "20,0,4"}));
}

TEST(StringTokenizer, PlainTokensLoseQuotesAndEscapes) {
    StringTokenizer tokenizer("run \"my file.exr\" a\\ b \"\\\"x\\\" y\" 5\"", " ");
    Tokens tokens;
    for (String token; tokenizer.NextPlain(token);)
        tokens.push_back(token);
    EXPECT_EQ(tokens, (Tokens{"run", "my file.exr", "a b", "\"x\" y", "5\""}));
}

TEST(StringTokenizer, ManyLoneQuotesAndLongTextStayLinear) {
    String text;
    for (int i = 0; i < 200000; ++i)
        text += "\\\",";
    text += '"';
    EXPECT_EQ(All({text, ","}).size(), 200001u);
}

} // namespace corekit::test_stringtokenizer
