#pragma once

#include <corekit/string.h>

#include <functional>

// The bytes are UTF-8 by convention and pass through as they are. The templates
// come from the header: the packaged library is built with a conversion.
#define SI_NO_CONVERSION
#define SI_IMPLEMENTATION
#include <SimpleIni.h>

namespace corekit {

// An INI text while it is read or written: names and values go in and come out as
// any bytes, inside they are escaped so that one line holds them. Owned by one
// function; one thread.
// What the parser underneath would drop is kept as a comment: lines that are
// neither section nor key, and comments behind the last key.
class IniText {
public:
    using SectionVisitor = std::function<void(String const& name, String const& comment)>;
    using ValueVisitor =
        std::function<void(String const& section, String const& key, String const& value, String const& comment)>;

    // For writing.
    IniText();
    // Reads the text. Throws ParseException when it is no INI text.
    explicit IniText(String const& text);

    // Whole lines, with their comment characters.
    String const& HeadComment() const noexcept { return m_headComment; }
    String const& EndComment() const noexcept { return m_endComment; }
    // In the order of the text.
    void ForEachSection(SectionVisitor const& visit) const;
    void ForEachValue(ValueVisitor const& visit) const;

    void AddSection(String const& name, String const& comment);
    void AddValue(String const& section, String const& key, String const& value, String const& comment);
    String Text(String const& headComment, String const& endComment) const;

private:
    CSimpleIniA m_ini;
    String m_headComment;
    String m_endComment;
};

} // namespace corekit
