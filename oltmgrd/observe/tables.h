#pragma once

#include <cstdint>
#include <optional>

#include "oltmgrd/files/jsonText.h"
#include "oltmgrd/module/module.h"

namespace oltmgrd {

/// Which part of the tables is asked for.
struct TableFilter {
    std::optional<std::uint32_t> onu{};  ///< bindings and accounting of this ONU alone
    bool busy = false;  ///< only profiles that are applied, ports and ONUs that hold something, raised alarms
};

/// The tables of the module, as its dump has them.
Json tablesJson(const onuQosTables& tables, const TableFilter& filter);

/// What is accounted of an ONU; the T-CONT id of a profile that is gone is null.
Json accountJson(const onuQosTables& tables, const onuQosOnuCacInfo& onu);

}  // namespace oltmgrd
