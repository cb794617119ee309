#pragma once

#include <corekit/optionmap.h>
#include <corekit/string.h>
#include <corekit/uid.h>
#include <vorlan/command.h>
#include <vorlan/fwd.h>
#include <vorlan/launchtemplate.h>
#include <vorlan/parameter.h>
#include <vorlan/values.h>

#include <boost/shared_ptr.hpp>
#include <boost/smart_ptr/atomic_shared_ptr.hpp>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

namespace vorlan {

// How a Job of a Product is divided into work units.
enum class ProductClass { Sequence, Single, OncePerEngine, VirtualModule };

// Which of the Master's dispatch queues a Product's Jobs wait in; numbers are stored.
enum class DispatchQueue : int { GeneralPurpose = 0, LargeFileTransfer = 1, Maintenance = 2 };

// A Job type: what a Job of it can be told, how its work is started and read, what its menus offer.
// Owned by whoever holds the shared_ptr; the JobFactory's and the Master's are never changed again,
// a change is a new Product under the same type. Works with Parameter, Command, ProductReader and
// ProductWriter (its JSON form), BuildLaunch. Any thread may read one that nobody writes.
// Always: two Products share no Parameter and no Command, a copy is a deep one.
class Product {
public:
    Product() = default;
    // customized: made or changed by a user, not as shipped.
    Product(String const& name, UID const& type, bool customized = false);
    Product(Product const& other);
    Product& operator=(Product const& other);

    // A new Product with what every Product of the class has, and a type of its own.
    static boost::shared_ptr<Product> CreateDefault(ProductClass productClass);

    String const& Name() const { return m_name; }
    UID const& Type() const { return m_type; }
    ProductClass Class() const { return m_class; }
    char const* ClassName() const { return ClassName(m_class); }
    DispatchQueue Queue() const { return m_queue; }
    bool IsCustomized() const { return m_customized; }
    // True when each packet must be evenly spaced frames: 1-5 or 1-9x2, never 1,2,7.
    bool NeedsEvenPackets() const { return m_evenPackets; }
    std::vector<String> const& Aliases() const { return m_aliases; }
    bool IsCalled(String const& nameOrAlias) const; // case does not matter
    // Names of values that a Job may have beside the parameters; one that ends in * stands for all that begin so.
    std::vector<String> const& FreeNames() const { return m_freeNames; }
    bool IsFreeName(String const& name) const; // case does not matter
    String const& SummaryTemplate() const { return m_summary; }

    void SetName(String const& name) { m_name = name; }
    void SetType(UID const& type) { m_type = type; }
    void SetClass(ProductClass productClass) { m_class = productClass; }
    void SetQueue(DispatchQueue queue) { m_queue = queue; }
    void SetCustomized(bool customized) { m_customized = customized; }
    void SetEvenPackets(bool even) { m_evenPackets = even; }
    void AddAlias(String const& alias) { m_aliases.push_back(alias); }
    void ClearAliases() { m_aliases.clear(); }
    void SetSummaryTemplate(String const& text) { m_summary = text; }
    // Must follow a change through a MutableParameterInfo: look-ups by a new name are slow without, and DefaultOf
    // may answer for the Product as it was.
    void ClearCache();
    // The default of its parameter for a value of the table; null when it has no such parameter.
    String const* DefaultOf(KnownValue value) const;

    static char const* ClassName(ProductClass productClass); // "Sequence", "Single", "Once per Engine", ...
    static bool ClassFromName(String const& name, ProductClass& productClass); // blanks and case do not matter

    String ShortHelp() const { return m_shortHelp; }
    String LongHelp() const { return m_longHelp; }
    void SetHelp(String const& shortHelp, String const& longHelp);
    // Puts the standard help text into each standard parameter that has none of its own, and takes it out again
    // where it is still the standard one: edited in full, sent and stored in short.
    void ExpandHelp();
    void SimplifyHelp();

    size_t GetParamCount() const { return m_params.size(); }
    boost::shared_ptr<Parameter const> GetParam(size_t index) const;       // null past the end
    boost::shared_ptr<Parameter const> GetParam(String const& name) const; // case does not matter; null if unknown
    MutableParameterInfo GetMutableParam(size_t index);
    MutableParameterInfo GetMutableParam(String const& name);
    MutableParameterInfo NewParam(Parameter::TYPE type);
    void DeleteParam(String const& name);
    void MoveParam(size_t from, size_t to);

    // True for an empty value and for one that means the same as the default; false for an unknown name.
    bool IsDefaultParam(String const& name, String const& value) const;
    void FilterOutDefaults(OptionMap& values) const;

    unsigned GetCommandCount() const { return static_cast<unsigned>(m_commands.size()); }
    boost::shared_ptr<Command const> GetCommand(unsigned index) const;
    boost::shared_ptr<Command const> FindCommand(String const& name) const;
    boost::shared_ptr<Command> GetMutableCommand(unsigned index);
    boost::shared_ptr<Command> AddCommand(int flags);
    void DeleteCommand(String const& name);
    void MoveCommand(size_t from, size_t to);

    // Detection rules: "Name" or "Name ~ pattern" of the parameter that changes, to parameter and new value.
    std::map<String, OptionMap> const& GetAutoDetectStrings() const { return m_autoDetect; }
    void SetAutoDetectStrings(std::map<String, OptionMap> const& rules) { m_autoDetect = rules; }
    // Applies the rules for a change of `name` to `values`, which holds the new value already.
    // Answers whether any rule applied.
    bool AutoDetect(String const& name, OptionMap& values) const;

    // Texts made of other values, by name; templates refer to them as to parameters.
    OptionMap const& GetDerivedValues() const { return m_derivedValues; }
    void SetDerivedValue(String const& name, String const& text) { m_derivedValues[name] = text; }

    LaunchTemplate const& GetLaunch() const { return m_launch; }
    void SetLaunch(LaunchTemplate const& launch) { m_launch = launch; }
    OutputRules const& GetOutputRules() const { return m_outputRules; }
    void SetOutputRules(OutputRules const& rules) { m_outputRules = rules; }

private:
    friend class ProductReader;
    friend class ProductWriter;

    // The defaults by the numbers of their values.
    using Defaults = std::vector<std::optional<String>>;

    size_t IndexOf(String const& name) const;
    boost::shared_ptr<Defaults const> MakeDefaults() const;

    static constexpr size_t k_NotFound = static_cast<size_t>(-1);

    String m_name;
    UID m_type;
    ProductClass m_class = ProductClass::Sequence;
    DispatchQueue m_queue = DispatchQueue::GeneralPurpose;
    bool m_customized = false;
    bool m_evenPackets = false;
    String m_shortHelp;
    String m_longHelp;
    String m_summary;
    std::vector<String> m_aliases;
    std::vector<String> m_freeNames;
    std::vector<boost::shared_ptr<Parameter>> m_params;
    std::vector<boost::shared_ptr<Command>> m_commands;
    std::map<String, OptionMap> m_autoDetect;
    OptionMap m_derivedValues;
    LaunchTemplate m_launch;
    OutputRules m_outputRules;
    String m_extra;                                              // JSON object of keys that are none of this version's
    std::unordered_map<std::string, size_t> m_nameIndex;         // lower-case name to index; checked on each use
    mutable boost::atomic_shared_ptr<Defaults const> m_defaults; // made when first asked for
};

} // namespace vorlan
