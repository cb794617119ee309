#pragma once

#include <corekit/string.h>
#include <vorlan/fwd.h>

#include <functional>
#include <map>
#include <string_view>
#include <vector>

namespace vorlan {

// Texts with references to values, as Products, custom columns and event commands have them:
//
//   $(Name)                the value; nothing when there is none
//   $(Name:leaf)           a part of it: leaf, stem, folder, ext (of a path), lower, upper, trim,
//                          expand (its references, too), pad=4 or pad=Other (zeros in front, to that width or to the
//                          width of that value)
//   $(Name?text|other)     text when the value is true (not empty, not No, False, Off or 0), else other
//   $(Name=x?text|other)   text when the value is x, case aside; != for the opposite
//   [text $(Name) text]    drops out when any value that it refers to is missing or empty;
//                          brackets without a reference are plain text
//   $$ $[ $] $| $)         the character itself
//
// Values are put in as they stand, without looking into them, unless :expand says so. What is malformed stays as it is
// written. A text nests at most k_TemplateDepthLimit deep, gives at most k_TemplateLengthLimit bytes and resolves at
// most k_TemplateReferenceLimit references; past a limit an ArgumentException is thrown.
inline constexpr int k_TemplateDepthLimit = 16;
inline constexpr int k_TemplateExpandLimit = 4; // :expand inside what was expanded
inline constexpr size_t k_TemplateLengthLimit = 1U << 20;
inline constexpr size_t k_TemplateReferenceLimit = 10000;

// Where a template's values come from. Answers whether there is a value.
class TemplateValues {
public:
    virtual ~TemplateValues() = default;
    virtual bool Find(std::string_view name, String& value) const = 0;
    // Whether a value counts as true in a condition.
    virtual bool IsTrue(std::string_view name, String const& value) const;
};

// A piece of an expanded text: written in the template, or a value put into it.
struct TemplatePiece {
    String text;
    bool isValue = false;
    String name; // of the value
};

struct ExpandedTemplate {
    std::vector<TemplatePiece> pieces;
    bool missing = false; // a reference outside brackets and conditions had no value

    String Text() const;
};

String ExpandTemplate(String const& text, TemplateValues const& values);
String ExpandTemplate(String const& text, std::function<bool(std::string_view name, String& value)> const& find);
// The pieces, for whoever must treat values and template text differently.
ExpandedTemplate ExpandPieces(String const& text, TemplateValues const& values);

// Splits a command line into words. Blanks part words, '...' and "..." hold them together, \ before a blank, a
// quote or \ takes that character as it is (never inside '...'). Values never part words.
std::vector<String> SplitCommandLine(std::vector<TemplatePiece> const& pieces);
std::vector<String> SplitCommandLine(String const& text);
// The text as one word of a command line, in quotes only when it needs them.
String QuoteWord(String const& text);

// A script for /bin/sh and the environment variables that hold the values put into it: the shell expands them and
// never parses them, whatever they hold.
struct ShellScript {
    String text;
    std::map<String, String> variables;
};
inline constexpr char const* k_ShellValueName = "VORLAN_VALUE_"; // and a number
inline constexpr int k_ShellDepthLimit = 64;                     // of quotes and brackets within each other

// A value is one word, or a part of the quotes or here-document that it stands in. Throws an ArgumentException that
// says where a value stands in a place in which the shell expands nothing (between single quotes, in a here-document
// with a quoted end word), or would take it for part of its own language (a name in ${}, arithmetic that is no number).
ShellScript MakeShellScript(std::vector<TemplatePiece> const& pieces);

} // namespace vorlan
