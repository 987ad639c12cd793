// The time stamp of the files: the local time as 14 digits, YYYYMMDDhhmmss.
#pragma once

#include <string>
#include <utility>

#include "MeterUtil/Text.h"
#include "Platform/Platform.h"

namespace MeterRecords {

inline std::string TimeStamp() {
    Platform::SystemTime now{};
    Platform::GetLocalTime(&now);
    const std::pair<int, std::size_t> parts[] = {{now.wYear, 4}, {now.wMonth, 2},  {now.wDay, 2},
                                                 {now.wHour, 2}, {now.wMinute, 2}, {now.wSecond, 2}};
    std::string stamp;
    for (const auto& [number, width] : parts)
        stamp += MeterText::ZeroPadded(number, width);
    return stamp;
}

}  // namespace MeterRecords
