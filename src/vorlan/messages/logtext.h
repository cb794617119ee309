#pragma once

#include <vorlan/fwd.h>
#include <vorlan/message.h>

#include <corekit/string.h>

#include <string_view>

namespace vorlan {

// Gathers the one line that the log shows of a message. Passwords are masked,
// long texts and long lists are cut, line feeds are made visible.
// Used once, by one thread.
class LogText {
public:
    static constexpr size_t k_MaxValue = 200;
    static constexpr size_t k_MaxListed = 8;

    explicit LogText(char const* name) : m_text(name) {}

    // Starts the field `name`; its value follows.
    void Field(std::string_view name);
    // Once the line is long enough, values need not be given any more.
    bool IsFull() const noexcept { return m_text.size() > Message::k_MaxTextLength; }

    void Quoted(std::string_view text);
    void Plain(std::string_view text) { m_text += text; }
    // One entry of a map of named texts; also a Job's value.
    void Named(std::string_view name, std::string_view text);
    void Object(VorlanObject const& object, UID const& parent);

    String TakeText();

private:
    String m_text;
    std::string_view m_field;
    // The field "Name" of this record named a password; its "Value" is one.
    bool m_secret = false;
};

} // namespace vorlan
