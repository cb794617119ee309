// A unity build compiles ten .cpp files of a library as one: the names that each keeps
// to itself must differ.

#include "sources.h"

namespace test_unity {

using house::At;
using house::Tokens;
using std::string;

// Reads the declarations that stand in namespaces, and notes what the file keeps to
// itself: names in anonymous namespaces, static and constant ones, and all types.
class NameReader {
public:
    explicit NameReader(Tokens const& tokens) : m_tokens(tokens) {
        while (m_at < m_tokens.size())
            ReadDeclaration();
    }
    std::set<string> names;

private:
    string const& Now(size_t ahead = 0) const { return At(m_tokens, m_at + ahead); }
    bool IsAnonymous() const { return !m_anonymous.empty() && m_anonymous.back(); }
    void ReadDeclaration() {
        if (Now() == "namespace" || (Now() == "inline" && Now(1) == "namespace")) {
            bool isAnonymous = true;
            for (++m_at; m_at < m_tokens.size() && Now() != "{" && Now() != ";"; ++m_at)
                isAnonymous = false;
            if (Now() == "{")
                m_anonymous.push_back(isAnonymous || IsAnonymous());
            ++m_at;
        } else if (Now() == "extern" && Now(1) == "\"" && Now(2) == "{") {
            m_anonymous.push_back(IsAnonymous());
            m_at += 3;
        } else if (Now() == "}") {
            if (!m_anonymous.empty())
                m_anonymous.pop_back();
            ++m_at;
        } else {
            Tokens const words = ReadWords();
            static std::set<string> const types = {"struct", "class", "enum", "union"};
            if (types.contains(At(words, 0)))
                NoteType(words, types);
            else if (At(words, 0) == "using" && At(words, 2) == "=" && IsAnonymous())
                names.insert(At(words, 1));
            else if (At(words, 0) != "using")
                NoteObject(words);
        }
    }

    // The words of one declaration, up to its semicolon or its body, but for templates'
    // parameters and attributes in front. A bracket stands for all that it holds.
    Tokens ReadWords() {
        Tokens words;
        bool isOperator = false, isValue = false, isHead = true;
        for (bool isOpen = true; isOpen && m_at < m_tokens.size();) {
            string const& word = Now();
            isOperator = isOperator || word == "operator";
            isValue = isValue || (word == "=" && !isOperator);
            isHead = isHead && word != "(" && word != "=" && word != "{";
            bool const isBracket = word == "(" || word == "[" || word == "{" || (word == "<" && isHead && !isOperator);
            if (!words.empty() || (word != "template" && word != "<" && word != "["))
                words.push_back(m_tokens[m_at]);
            if (word == "{" && At(words, 0) == "enum" && At(words, 1) != "class" && At(words, 1) != "struct")
                NoteEntries();
            if (isBracket)
                m_at = house::Closing(m_tokens, m_at);
            ++m_at;
            // What follows an initial value, or a member's before the body.
            bool const isBody = word == "{" && !isValue && Now() != ";" && Now() != "," && Now() != "{";
            isOpen = word != ";" && !isBody;
        }
        return words;
    }
    // Of an enumeration whose names stand around it, too.
    void NoteEntries() {
        for (size_t at = m_at; at + 1 < m_tokens.size() && At(m_tokens, at) != "}"; ++at) {
            if ((At(m_tokens, at) == "{" || At(m_tokens, at) == ",") && m_tokens[at + 1].IsName())
                names.insert(At(m_tokens, at + 1));
        }
    }
    // Not a type of another file, nor one that is declared only.
    void NoteType(Tokens const& words, std::set<string> const& types) {
        size_t at = 1;
        while (types.contains(At(words, at)) || At(words, at) == "[")
            ++at;
        string const& next = At(words, at + 1);
        if (at < words.size() && words[at].IsName() && (next == "{" || next == ":" || next == "final"))
            names.insert(At(words, at));
    }
    // A function or a variable: its name is the last word before what begins its value,
    // its parameters or its end.
    void NoteObject(Tokens words) {
        auto const end = std::find_if(words.begin(), words.end(), [](auto const& word) {
            return word.text == "(" || word.text == "=" || word.text == "{" || word.text == ";";
        });
        bool const isCall = end != words.end() && end->text == "(";
        words.erase(end, words.end());
        std::erase_if(words, [](auto const& word) { return word.text == "["; });
        auto const has = [&words](char const* text) {
            return std::any_of(words.begin(), words.end(), [text](auto const& word) { return word.text == text; });
        };
        if (words.size() < 2 || has("operator"))
            return;
        string const& name = words.back().text;
        string const& before = words[words.size() - 2].text;
        bool const isKept = IsAnonymous() || has("static") || has("constexpr") || (before == "const" && !isCall);
        if (isKept && before != "::" && name != "<" && name != "extern")
            names.insert(name);
    }
    Tokens const& m_tokens;
    size_t m_at = 0;
    // One for each namespace that is open.
    std::vector<bool> m_anonymous;
};

std::set<string> NamesOf(string const& text) {
    auto const code = house::ReadCode(text);
    return NameReader(code.tokens).names;
}

// The library that CMake builds a file into.
string TargetOf(std::filesystem::path const& path) {
    string const library = house::LibraryOf(path);
    return library.empty() ? path.parent_path().string() : library;
}

TEST(House, AUnityBuildFindsEachNameOnce) {
    // Library and name -> the file that has it.
    std::map<std::pair<string, string>, string> owners;
    for (auto const& path : house::Sources({"src"})) {
        if (path.extension() != ".cpp" || path.filename() == "main.cpp")
            continue;
        for (string const& name : NamesOf(house::ReadText(path))) {
            auto const [owner, isNew] = owners.insert({{TargetOf(path), name}, house::Relative(path)});
            EXPECT_TRUE(isNew) << name << " stands in " << owner->second << " and in " << house::Relative(path);
        }
    }
    EXPECT_GT(owners.size(), 500u) << "few names were found";
}

// It does see what it looks for.
TEST(House, KnowsTheNamesThatAFileKeepsToItself) {
    using Names = std::set<string>;
    EXPECT_EQ(Names({"a", "B", "C", "d", "E", "f", "g", "H", "i", "j", "k", "l", "m"}),
              NamesOf("namespace x {\n"
                      "namespace {\n"
                      "constexpr int a = 1; std::map<int, std::set<int>> const g{{1, {2}}};\n"
                      "struct B { int no; void No(); };\n"
                      "class C;\n class C final : B {};\n"
                      "template <class T> [[nodiscard]] std::vector<T> d(T no) { int nono; return {}; }\n"
                      "using E = int; int f[2] = {1, 2};\n"
                      "bool operator==(B const&, B const&) { return true; }\n"
                      "} // namespace\n"
                      "static int H(int no) { return no; }\n"
                      "int No::M() const { return a; }\n"
                      "No::No() : m_a{1}, m_b(2) {}\n"
                      "int No(int) { return 1; }\n"
                      "double const i = 2 * double{1} < 2;\n"
                      "enum { k, l = 2 }; enum class m { No };\n"
                      "struct No; struct No::M {};\n"
                      "char const* const j = \"no\";\n"
                      "using y::No;\n"
                      "}\n"));
}

} // namespace test_unity
