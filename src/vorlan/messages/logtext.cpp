#include "logtext.h"

#include <vorlan/keys.h>
#include <vorlan/vorlanobject.h>

namespace vorlan {

namespace {

constexpr char k_Mask[] = "***";

bool IsSecretName(std::string_view name) {
    return String::CompareNoCase(name.substr(0, std::string_view(p_Password).size()), p_Password) == 0;
}

// Option texts inside a value name their parts themselves.
bool HoldsSecret(std::string_view text) {
    constexpr std::string_view k_Sign = "password=";
    for (size_t at = 0; at + k_Sign.size() <= text.size(); ++at) {
        if (String::CompareNoCase(text.substr(at, k_Sign.size()), k_Sign) == 0)
            return true;
    }
    return false;
}

} // namespace

void LogText::Field(std::string_view name) {
    m_text += ' ';
    m_text += name;
    m_text += '=';
    m_field = name;
}

void LogText::Quoted(std::string_view text) {
    if (m_field == "Name")
        m_secret = IsSecretName(text);
    if (m_field == "Value" && m_secret) {
        m_text += k_Mask;
        return;
    }
    if (HoldsSecret(text)) {
        m_text += k_Mask;
        return;
    }
    m_text += '"';
    for (char const c : text.substr(0, k_MaxValue)) {
        if (c == '\n')
            m_text += "\\n";
        else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            m_text += '?';
        else
            m_text += c;
    }
    m_text += text.size() > k_MaxValue ? "\"..." : "\"";
}

void LogText::Named(std::string_view name, std::string_view text) {
    m_field = {};
    m_text += name;
    m_text += '=';
    if (IsSecretName(name))
        m_text += k_Mask;
    else
        Quoted(text);
}

void LogText::Object(VorlanObject const& object, UID const& parent) {
    m_text += "{" + object.id.ToString();
    if (!parent.IsNull())
        m_text += " of " + parent.ToString();
    auto const values = object.Snapshot();
    for (ValueBlock::Value const value : *values) {
        if (IsFull())
            break;
        m_text += ' ';
        Named(value.Name(), value.text);
    }
    m_text += '}';
}

String LogText::TakeText() {
    if (IsFull()) {
        size_t end = Message::k_MaxTextLength;
        while (end > 0 && (static_cast<unsigned char>(m_text[end]) & 0xc0) == 0x80)
            --end;
        m_text.resize(end);
        m_text += "...";
    }
    return std::move(m_text);
}

} // namespace vorlan
