#include <vorlan/parameter.h>

#include <algorithm>

namespace vorlan {

void MutableParameterInfo::SetType(Parameter::TYPE type) {
    if (m_parameter && type >= 0 && type < Parameter::t_Count)
        m_parameter->m_type = type;
}

void MutableParameterInfo::SetFlags(unsigned flags) {
    if (m_parameter)
        m_parameter->m_flags = flags & 0x7fffffffU;
}

void MutableParameterInfo::SetName(String const& name, String const& niceName) {
    SetSetting(k_SettingName, name);
    if (!niceName.Empty())
        SetSetting(k_SettingNiceName, niceName);
}

void MutableParameterInfo::SetSetting(String const& key, String const& value) {
    if (m_parameter && !key.Empty())
        m_parameter->m_settings[key] = value;
}

void MutableParameterInfo::AddChoice(String const& value, String const& display) {
    if (m_parameter)
        m_parameter->m_choices.push_back({value, display == value ? String() : display});
}

void MutableParameterInfo::ClearSettingsAndChoices() {
    if (!m_parameter)
        return;
    m_parameter->m_settings.clear();
    m_parameter->m_choices.clear();
}

void MutableParameterInfo::Clone(MutableParameterInfo const& other) {
    if (m_parameter && other.m_parameter)
        *m_parameter = *other.m_parameter;
}

MutableParameterInfo MutableParameterInfo::NewParam(Parameter::TYPE type) {
    if (!m_parameter)
        return {};
    m_parameter->m_subParams.push_back(boost::make_shared<Parameter>(type));
    return MutableParameterInfo(m_parameter->m_subParams.back());
}

MutableParameterInfo MutableParameterInfo::GetMutableSubParam(size_t index) const {
    if (!m_parameter || index >= m_parameter->m_subParams.size())
        return {};
    return MutableParameterInfo(m_parameter->m_subParams[index]);
}

bool MutableParameterInfo::DeleteParam(String const& name) {
    if (!m_parameter)
        return false;
    auto& parameters = m_parameter->m_subParams;
    auto const found = std::find_if(parameters.begin(), parameters.end(), [&name](auto const& parameter) {
        return parameter->GetName().CompareNoCase(name) == 0;
    });
    if (found == parameters.end())
        return false;
    parameters.erase(found);
    return true;
}

void MutableParameterInfo::MoveParam(size_t from, size_t to) {
    if (!m_parameter || from >= m_parameter->m_subParams.size() || to >= m_parameter->m_subParams.size())
        return;
    auto& parameters = m_parameter->m_subParams;
    auto moved = parameters[from];
    parameters.erase(parameters.begin() + static_cast<ptrdiff_t>(from));
    parameters.insert(parameters.begin() + static_cast<ptrdiff_t>(to), moved);
}

} // namespace vorlan
