// How old the readings of a record are: which values count as read, and the months since a date that one of
// them holds.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "MeterDatabase/StoreAccess.h"
#include "Platform/Platform.h"

namespace MeterRecords {

// True when a value exists and its status says that it was read or set: only then others may be computed
// from it.
inline bool IsRead(const std::optional<ValueEntry>& entry) {
    return entry && MeterText::ContainsAny(entry->Bare(kStatus), "DCW");
}

// Months from a date, YYYYMM..., until today; negative when it lies ahead. Nothing for a text too short to
// be one.
inline std::optional<int> MonthsSince(std::string_view date) {
    if (date.size() < 6)
        return std::nullopt;
    Platform::SystemTime now{};
    Platform::GetLocalTime(&now);
    const int years = now.wYear - MeterText::ToInt(date.substr(0, 4));
    return years * 12 + now.wMonth - MeterText::ToInt(date.substr(4, 2));
}

// Months since the last history reading of a record, as two digits count them; 0 when it was not read or lies
// ahead.
inline int MonthsSinceHistory(const CMeterIniFile& dataFile, const std::string& section) {
    const std::optional<ValueEntry> history = ReadEntry(dataFile, section, "History1");
    if (!IsRead(history))
        return 0;
    return std::max(MonthsSince(history->Bare(kValue)).value_or(0) % 100, 0);
}

}  // namespace MeterRecords
