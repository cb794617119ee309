#pragma once

#include "rowcolumn.h"

#include <span>

namespace vorlan {

template <class Info>
RowColumn<Info> const* FindColumn(std::span<RowColumn<Info> const> columns, int type) {
    for (RowColumn<Info> const& column : columns) {
        if (column.type == type)
            return &column;
    }
    return nullptr;
}

} // namespace vorlan
