// A unity build compiles ten .cpp files of a library as one: the names that each keeps
// to itself must differ.

#include "sources.h"

namespace test_unity {

using house::Token;
using std::string;
using Tokens = std::vector<Token>;

// Reads the declarations that stand in namespaces, and notes what the file keeps to
// itself: names in anonymous namespaces, static and constant ones, and all types.
class NameReader {
public:
    explicit NameReader(Tokens const& tokens) : m_tokens(tokens) {
        while (m_at < m_tokens.size())
            ReadDeclaration();
    }
    std::set<string> const& Names() const { return m_names; }

private:
    string const& Now(size_t ahead = 0) const {
        static string const nothing;
        return m_at + ahead < m_tokens.size() ? m_tokens[m_at + ahead].text : nothing;
    }
    bool Is(string const& text) const { return Now() == text; }

    // Past the bracket that closes the one here.
    void SkipBrackets() {
        static std::map<string, string> const pairs = {{"(", ")"}, {"{", "}"}, {"[", "]"}, {"<", ">"}};
        string const opens = Now(), closes = pairs.at(opens);
        size_t depth = 0;
        do {
            depth += Is(opens);
            depth -= Is(closes);
            ++m_at;
        } while (depth > 0 && m_at < m_tokens.size());
    }

    // Past the end of the declaration: a semicolon, or a function's body.
    void SkipRest(bool isValue = false) {
        while (m_at < m_tokens.size() && !Is(";")) {
            if (Is("(") || Is("[")) {
                SkipBrackets();
            } else if (Is("{")) {
                SkipBrackets();
                // What follows an initial value, or a member's before the body.
                if (!isValue && !Is(";") && !Is(",") && !Is("{"))
                    return;
            } else {
                ++m_at;
            }
        }
        ++m_at;
    }

    void ReadNamespace() {
        bool isAnonymous = true;
        for (++m_at; m_at < m_tokens.size() && !Is("{") && !Is(";"); ++m_at)
            isAnonymous = false;
        if (Is("{"))
            m_anonymous.push_back(isAnonymous || IsAnonymous());
        ++m_at;
    }
    bool IsAnonymous() const { return !m_anonymous.empty() && m_anonymous.back(); }

    void ReadType() {
        bool const isOpenEnum = Is("enum") && Now(1) != "class" && Now(1) != "struct";
        while (Is("struct") || Is("class") || Is("enum") || Is("union"))
            ++m_at;
        while (Is("["))
            SkipBrackets();
        // Not a type of another file, nor one that is declared only.
        if (m_tokens[m_at].IsName() && (Now(1) == "{" || Now(1) == ":" || Now(1) == "final"))
            m_names.insert(Now());
        while (isOpenEnum && m_at < m_tokens.size() && !Is("}") && !Is(";")) {
            ++m_at;
            if ((m_tokens[m_at - 1].text == "{" || m_tokens[m_at - 1].text == ",") && m_tokens[m_at].IsName())
                m_names.insert(Now());
        }
        SkipRest();
    }

    // A function or a variable: its name is the last word before what begins its value,
    // its parameters or its end.
    void ReadObject() {
        bool isStatic = false, isOperator = false, isConstant = false;
        string name, before;
        size_t words = 0;
        for (; m_at < m_tokens.size() && !Is("(") && !Is("=") && !Is("{") && !Is(";"); ++words) {
            isStatic = isStatic || Is("static") || Is("constexpr");
            isOperator = isOperator || Is("operator");
            if (Is("<") || Is("[")) {
                SkipBrackets();
                if (m_tokens[m_at - 1].text == "]")
                    continue;
                before = name, name = ">";
                continue;
            }
            before = name, name = Now();
            ++m_at;
        }
        isConstant = before == "const" && !Is("(");
        bool const isName = words > 1 && !isOperator && before != "::" && name != ">" && name != "extern";
        if (isName && (IsAnonymous() || isStatic || isConstant))
            m_names.insert(name);
        SkipRest(Is("=") && !isOperator);
    }

    void ReadDeclaration() {
        if (Is("namespace") || (Is("inline") && Now(1) == "namespace")) {
            ReadNamespace();
        } else if (Is("extern") && Now(1) == "\"" && Now(2) == "{") {
            m_anonymous.push_back(IsAnonymous());
            m_at += 3;
        } else if (Is("}")) {
            if (!m_anonymous.empty())
                m_anonymous.pop_back();
            ++m_at;
        } else if (Is("template") && Now(1) == "<") {
            ++m_at;
            SkipBrackets();
        } else if (Is("[")) {
            SkipBrackets();
        } else if (Is("using")) {
            if (Now(2) == "=" && IsAnonymous())
                m_names.insert(Now(1));
            SkipRest();
        } else if (Is("struct") || Is("class") || Is("enum") || Is("union")) {
            ReadType();
        } else if (Is(";")) {
            ++m_at;
        } else {
            ReadObject();
        }
    }

    Tokens const& m_tokens;
    size_t m_at = 0;
    // One for each namespace that is open.
    std::vector<bool> m_anonymous;
    std::set<string> m_names;
};

std::set<string> NamesOf(string const& text) {
    auto const code = house::ReadCode(text);
    return NameReader(code.tokens).Names();
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
