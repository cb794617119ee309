#pragma once

#include <corekit/optionmap.h>
#include <corekit/string.h>
#include <vorlan/fwd.h>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <utility>
#include <vector>

namespace vorlan {

class VorlanObject;

// The names of the settings that a Parameter reads. Any other setting is kept as it is.
inline constexpr char const k_SettingName[] = "Name";
inline constexpr char const k_SettingNiceName[] = "NiceName";
inline constexpr char const k_SettingPrompt[] = "Prompt";
inline constexpr char const k_SettingHelp[] = "Help";
inline constexpr char const k_SettingDefault[] = "Default";
inline constexpr char const k_SettingAlternate[] = "Alternate";
inline constexpr char const k_SettingFilter[] = "Filter";
inline constexpr char const k_SettingRestriction[] = "Restriction";
inline constexpr char const k_SettingRange[] = "Range";
inline constexpr char const k_SettingCustom[] = "Custom";
inline constexpr char const k_SettingCustomDefault[] = "CustomDefault";
inline constexpr char const k_SettingNegativeCustom[] = "NegativeCustom";
inline constexpr char const k_SettingNegativeCustomDefault[] = "NegativeCustomDefault";
inline constexpr char const k_SettingSpecial[] = "Special "; // followed by the number it names: "Special 0"
inline constexpr char const k_SettingTrue[] = "True";
inline constexpr char const k_SettingFalse[] = "False";
inline constexpr char const k_SettingOverride[] = "Override";
inline constexpr char const k_SettingFields[] = "Fields";
inline constexpr char const k_SettingSeparator[] = "Separator";
inline constexpr char const k_SettingTimeFormat[] = "TimeFormat";
inline constexpr char const k_SettingJoin[] = "Join";

// One parameter of a Product: its type, flags, settings, choices and sub-parameters.
// Owned by its Product, or by the Parameters-type Parameter above it.
// Read through shared_ptr<Parameter const>; written through MutableParameterInfo alone.
// Any thread may read one that nobody writes; Products in the JobFactory are never written.
// Values are texts throughout: a Parameter says what the text of its value means. No getter throws.
class Parameter {
public:
    // Numbers are stored in product data.
    enum TYPE : int {
        t_None = 0,
        t_Text,
        t_Signed,
        t_Unsigned,
        t_Float,
        t_Time,
        t_ID,
        t_Password,
        t_Multi,
        t_Bool,
        t_BoolOverride,
        t_Choice,
        t_FilePath,
        t_FolderPath,
        t_Parameters,
        t_Separator,
        t_TextList,
        t_FolderPathList,
        t_FilePathList,
        t_HelpText,
        t_AlternateSwitch,
        t_LastError,
        t_Count
    };

    // Numbers are stored in product data.
    enum FLAG : unsigned {
        f_Required = 0x1,
        f_Advanced = 0x2,
        f_ForMaster = 0x4,
        f_ForEngine = 0x8,
        f_ForShell = 0x10,
        f_NoParameterDefault = 0x200,
        f_JobParameter = 0x400,
        f_Option = 0x800,
        f_HideOnInput = 0x1000,
        f_HideOnOutput = 0x2000,
        f_Enquote = 0x4000,
        f_AlwaysAtDefault = 0x8000,
        f_NoParentUpdate = 0x10000, // kept apart per work unit
        f_EventCommand = 0x20000
    };

    struct Choice {
        String value;
        String display; // empty: the value is shown
    };

    // A flag's label as the Product editor shows it, in the editor's order.
    struct FlagLabel {
        unsigned bit;
        char const* label;
    };

    explicit Parameter(TYPE type = t_Text, unsigned flags = 0) : m_type(type), m_flags(flags) {}

    // Deep copies: sub-parameters are never shared.
    Parameter(Parameter const& other) { *this = other; }
    Parameter& operator=(Parameter const& other);

    TYPE Type() const { return m_type; }
    unsigned Flags() const { return m_flags; }
    bool HasFlag(FLAG flag) const { return (m_flags & flag) != 0; }

    // What its type is: a line between others, a switch that stands for itself, and so on.
    bool IsHeading() const;
    bool IsSwitch() const;
    bool IsNumber() const;
    bool IsPath() const; // of files or folders, one or a list
    bool IsList() const;

    static char const* TypeLabel(TYPE type);
    // Answers false for a text that is no label of a type; blanks and case do not matter.
    static bool TypeFromLabel(String const& label, TYPE& type);
    static std::vector<FlagLabel> const& FlagLabels();

    OptionMap const& Settings() const { return m_settings; }
    String GetSetting(char const* name, String const& missing = String()) const;

    String GetName() const { return GetSetting(k_SettingName); }
    String GetNiceName() const; // the name where there is no nice one
    String GetPrompt() const;
    String GetHelp() const { return GetSetting(k_SettingHelp); }
    // The setting; without one the value that the type's control shows at first.
    String GetDefault() const;
    String GetAlternate() const { return GetSetting(k_SettingAlternate); }
    String GetFilter() const;
    String GetRestriction() const { return GetSetting(k_SettingRestriction); }
    // True for an empty value and for one that means the same as the default.
    bool IsDefault(String const& value) const;
    // Whether a value counts as true in a condition.
    bool IsTrue(String const& value) const;
    // Why the text is no value of the parameter, for people; empty when it is one and when it is empty.
    String Check(String const& value) const;

    static String Get(VorlanObject const& object, String const& name);

    size_t GetChoicesCount() const { return m_choices.size(); }
    String const& GetChoice(size_t index) const;
    String const& GetDisplay(size_t index) const;
    // From a display text to its value, and back; a text that is neither comes back as it is.
    String GetChoice(String const& display) const;
    String GetDisplay(String const& value) const;
    std::vector<Choice> const& Choices() const { return m_choices; }

    size_t GetSubParamCount() const { return m_subParams.size(); }
    boost::shared_ptr<Parameter const> GetSubParam(size_t index) const; // null past the end
    boost::shared_ptr<Parameter const> GetSubParam(String const& name) const;
    // A command line such as `+A0.3 -threads 4 "a b"` from and to a map of sub-parameter name to value.
    // Words that are no sub-parameter's are kept as names without a value.
    String SubParam_MapToString(OptionMap const& values) const;
    OptionMap SubParam_StringToMap(String text) const;

    String Number_GetRange() const { return GetSetting(k_SettingRange); }
    // Both answer 0 and 0 without a range; low never exceeds high.
    void Number_GetRange(int& low, int& high) const;
    void Number_GetRange(double& low, double& high) const;
    String Number_GetCustom() const;
    String Number_GetCustomDefault() const;
    String Number_GetNegativeCustom() const;
    String Number_GetNegativeCustomDefault() const;
    OptionMap Number_GetSpecial() const;

    String Bool_GetValue(bool value) const;
    bool Bool_IsTrue(String const& value) const;
    int BoolOverride_FromString(String const& value) const; // 0, 1, or -1 for the override
    String BoolOverride_ToString(int value) const;
    String BoolOverride_GetOverrideText() const;

    std::vector<String> Multi_GetFields() const;
    // As many texts as there are fields.
    std::vector<String> Multi_Disassemble(String const& value) const;
    String Multi_Assemble(std::vector<String> const& values) const;

    String Time_Format() const;

private:
    friend class MutableParameterInfo;
    friend class ProductReader;
    friend class ProductWriter;
    friend class Product;

    bool SplitRange(String& low, String& high) const;

    TYPE m_type = t_Text;
    unsigned m_flags = 0;
    OptionMap m_settings;
    std::vector<Choice> m_choices;
    std::vector<boost::shared_ptr<Parameter>> m_subParams;
    String m_extra; // JSON object of keys that are none of this version's
};

// The write side of a Parameter: a handle that keeps its Parameter alive.
// Made by Product::NewParam, Product::GetMutableParam and its own NewParam; the default one is empty,
// and every call on an empty handle does nothing.
// One thread at a time may use the handles of one Product, while no other reads that Product.
// After a change of a name call Product::ClearCache.
class MutableParameterInfo {
public:
    MutableParameterInfo() = default;

    bool IsEmpty() const { return m_parameter == nullptr; }
    explicit operator bool() const { return m_parameter != nullptr; }
    boost::shared_ptr<Parameter const> Get() const { return m_parameter; }
    Parameter const* operator->() const { return m_parameter.get(); }
    bool operator==(MutableParameterInfo const& other) const { return m_parameter == other.m_parameter; }

    void SetType(Parameter::TYPE type);
    void SetFlags(unsigned flags);
    void SetName(String const& name, String const& niceName = String());
    void SetSetting(String const& key, String const& value); // "Specials" and unknown keys are taken as they are
    void AddChoice(String const& value, String const& display = String());
    void ClearSettingsAndChoices();
    void Clone(MutableParameterInfo const& other);

    MutableParameterInfo NewParam(Parameter::TYPE type);
    MutableParameterInfo GetMutableSubParam(size_t index) const; // empty past the end
    bool DeleteParam(String const& name);
    void MoveParam(size_t from, size_t to);

private:
    friend class Product;
    explicit MutableParameterInfo(boost::shared_ptr<Parameter> parameter) : m_parameter(std::move(parameter)) {}

    boost::shared_ptr<Parameter> m_parameter;
};

} // namespace vorlan
