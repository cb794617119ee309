#pragma once

#include "rowcolumn.h"

#include "model/engineinfo.h"

#include <span>

namespace vorlan {

// What an Engine list shows of an Engine, as pure functions of the EngineInfo and the
// time. Any thread.
namespace EngineColumns {

// The types, by number: 0 "Name" to 16 "Restrictions", 19 a custom one.
enum Type : int {
    Name,
    Uptime,
    Status,
    Errors,
    Platform,
    Note,
    ID,
    Enabled,
    StartTime,
    MaxCores,
    UseCores,
    OperatingSystem,
    Hardware,
    Memory,
    Version,
    Priority,
    Restrictions,
    Custom = k_CustomType,
};

std::span<RowColumn<EngineInfo> const> All();
// What lists begin with.
std::span<int const> Defaults();
// Null for a type with no entry: its cells are empty, and it sorts as "Name".
RowColumn<EngineInfo> const* Find(int type);

String Text(EngineInfo const& info, int type, String const& custom, Time now);
RowColor Color(EngineInfo const& info, Time now);
// Failures count against the Engine.
bool IsTinted(EngineInfo const& info);

} // namespace EngineColumns

} // namespace vorlan
