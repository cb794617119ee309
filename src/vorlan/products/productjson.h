#pragma once

// The JSON form of Products, shared by the files of this folder alone.

#include <corekit/optionmap.h>
#include <corekit/string.h>
#include <vorlan/product.h>

#include <nlohmann/json.hpp>

#include <vector>

namespace vorlan {

using Json = nlohmann::ordered_json;

// By the number of a DispatchQueue.
inline constexpr char const* k_QueueNames[] = {"General Purpose", "Large File Transfer", "Maintenance"};

// A value inside a Product's JSON text together with the way to it, for errors.
// Lives as long as the parsed text. All readers throw ParseException that names the place.
class JsonPlace {
public:
    JsonPlace(Json const& value, String path) : m_value(&value), m_path(std::move(path)) {}

    Json const& Value() const { return *m_value; }
    String const& Path() const { return m_path; }
    bool Has(char const* key) const { return m_value->contains(key); }
    JsonPlace Member(std::string const& key) const;
    JsonPlace Item(size_t index) const { return {(*m_value)[index], m_path + "[" + String::From(index) + "]"}; }

    // `what` goes on after the place: "Parameters[3].Type: ".
    [[noreturn]] void Fail(String const& what) const;

    void ExpectObject() const;
    void ExpectList() const; // also not longer than k_ProductListLimit
    String Text() const;     // a text, number, true or false
    String Lines() const;    // or a list of texts, which become lines
    bool Bool() const;
    int Int(int low, int high) const;
    // The members whose key is none of these, as the text of an object; empty when there are none.
    String ExtraMembers(std::initializer_list<std::string_view> known) const;

private:
    Json const* m_value;
    String m_path;
};

// From JSON text to a Product. Used on the stack for one text.
class ProductReader {
public:
    boost::shared_ptr<Product> Read(String const& text);

    // The parameters of one of the groups in productstandard.cpp; throws nothing for a known group.
    static std::vector<boost::shared_ptr<Parameter>> StandardGroup(String const& group);
    static void AddStandardGroup(Product& product, String const& group);

private:
    void ReadIdentity(JsonPlace const& root);
    void ReadParameters(JsonPlace const& list);
    void ReadCommands(JsonPlace const& list);
    void ReadAutoDetect(JsonPlace const& rules);
    void ReadOutput(JsonPlace const& output);
    static boost::shared_ptr<Parameter> ReadParameter(JsonPlace const& place, bool isTop, int depth);
    static void ReadSettings(JsonPlace const& place, Parameter& parameter);
    static void ReadChoices(JsonPlace const& list, Parameter& parameter);
    static void CheckParameter(JsonPlace const& place, Parameter const& parameter, bool isTop);
    static unsigned ReadFlags(JsonPlace const& list);
    static boost::shared_ptr<Command> ReadCommand(JsonPlace const& place);
    static LaunchTemplate ReadLaunch(JsonPlace const& place, std::initializer_list<std::string_view> alsoKnown);
    static ArgumentTemplate ReadArgument(JsonPlace const& place, int depth);
    static OutputRule ReadRule(JsonPlace const& place);
    static OptionMap ReadTexts(JsonPlace const& object);

    boost::shared_ptr<Product> m_product;
};

// From a Product to JSON.
class ProductWriter {
public:
    static Json Write(Product const& product);

private:
    static Json WriteParameter(Parameter const& parameter);
    static Json WriteCommand(Command const& command);
    static void WriteLaunch(LaunchTemplate const& launch, Json& json);
    static Json WriteArgument(ArgumentTemplate const& argument);
    static Json WriteOutput(OutputRules const& rules);
    static void AddExtra(Json& json, String const& extra);
};

// The help of every standard parameter by name.
OptionMap const& StandardHelp();

// A detection rule's key: "Name" or "Name ~ pattern".
struct DetectRule {
    String name;
    String pattern;
};
DetectRule SplitDetectRule(String const& key);
// What is wrong with a rule's pattern; empty when nothing is.
String CheckDetectRule(String const& key);

} // namespace vorlan
