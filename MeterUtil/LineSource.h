// Where the lines of a text lie.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "MeterUtil/LineArena.h"
#include "Platform/Prefetch.h"

namespace MeterUtil {

// Lines that follow each other in the base; or one line of the arena.
struct LineRun {
    LineRef first = 0;
    std::uint32_t count = 0;
};

// The base, a block that never changes, with the places of its lines, and the arena of what was changed. A
// copy shares the bytes, and gives out what it gave out when it was made as long as the arena was frozen then.
struct LineSource {
    std::shared_ptr<const char> base;
    std::shared_ptr<const std::uint32_t> starts;  // of the base's lines, and its end
    LineArena arena;

    std::string_view Raw(LineRef line) const {
        return line < kFirstInArena ? Raw(LineRun{line, 1}) : arena.Raw(line);
    }

    std::string_view Raw(LineRun run) const {
        if (run.first >= kFirstInArena)
            return arena.Raw(run.first);
        const std::uint32_t* const start = starts.get() + run.first;
        return {base.get() + start[0], start[run.count] - start[0]};
    }

    // Hands out each run as one piece, until `take` wants no more. Lines of the arena lie anywhere in memory
    // and tell their size themselves: they are fetched ahead.
    template <typename Take>
    bool ForEach(const LineRun* runs, std::size_t count, Take take) const {
        constexpr std::size_t kAhead = 16;
        const auto prefetch = [&](std::size_t i) {
            if (i < count && runs[i].first >= kFirstInArena)
                Platform::Prefetch(arena.Address(runs[i].first));
        };
        for (std::size_t i = 0; i < kAhead; ++i)
            prefetch(i);
        for (std::size_t i = 0; i < count; ++i) {
            prefetch(i + kAhead);
            if (!take(Raw(runs[i])))
                return false;
        }
        return true;
    }

    // Fetches what is looked at of a line: its beginning, and its end, which mostly is not far from it.
    void Prefetch(LineRef line) const {
        constexpr std::size_t kCacheLine = 64;
        if (line >= kFirstInArena) {
            Platform::Prefetch(arena.Address(line));
            Platform::Prefetch(arena.Address(line) + kCacheLine);
            return;
        }
        const std::string_view raw = Raw(line);
        Platform::Prefetch(raw.data());
        Platform::Prefetch(raw.data() + raw.size());
    }
};

}  // namespace MeterUtil
