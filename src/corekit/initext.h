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
    using SectionVisitor = std::function<void(const String& name, const String& comment)>;
    using ValueVisitor =
        std::function<void(const String& section, const String& key, const String& value, const String& comment)>;

    // For writing.
    IniText();
    // Reads the text. Throws ParseException when it is no INI text.
    explicit IniText(const String& text);

    // Whole lines, with their comment characters.
    const String& HeadComment() const noexcept { return m_headComment; }
    const String& EndComment() const noexcept { return m_endComment; }
    // In the order of the text.
    void ForEachSection(const SectionVisitor& visit) const;
    void ForEachValue(const ValueVisitor& visit) const;

    void AddSection(const String& name, const String& comment);
    void AddValue(const String& section, const String& key, const String& value, const String& comment);
    String Text(const String& headComment, const String& endComment) const;

private:
    CSimpleIniA m_ini;
    String m_headComment;
    String m_endComment;
};

} // namespace corekit
