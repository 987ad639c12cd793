// Where the lines of a text lie.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "MeterUtil/IniLine.h"
#include "MeterUtil/LineArena.h"
#include "Platform/Platform.h"
#include "Platform/Prefetch.h"

namespace MeterUtil {

// Lines that follow each other in the base; or one line of the arena.
struct LineRun {
    LineRef first = 0;
    std::uint32_t count = 0;
};

// The base, a block that never changes, with the places of its lines, and the arena of what was changed. A
// copy shares the bytes; when the arena is frozen they stay what they were.
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

    // The line end of a line. Not a view of it.
    std::string_view EndOf(LineRef line) const {
        return line < kFirstInArena ? LineEndOf(Raw(line))
                                    : kCrLf.substr(kCrLf.size() - arena.LineEndSize(line));
    }

    // Hands out each run as one piece, until one is not taken. They may lie anywhere in memory: both ends of
    // each are on their way while the runs before it are handed out.
    bool HandTo(Platform::TextSink& sink, const LineRun* runs, std::size_t count) const {
        constexpr std::size_t kAhead = 16;
        for (std::size_t i = 0; i < std::min(count, kAhead); ++i)
            Prefetch(runs[i]);
        for (std::size_t i = 0; i < count; ++i) {
            if (i + kAhead < count)
                Prefetch(runs[i + kAhead]);
            if (!sink.Take(Raw(runs[i])))
                return false;
        }
        return true;
    }

    // Fetches what is looked at of lines: where they begin and where they end. The end of a line of the
    // arena, which tells its size itself, mostly is not far from its beginning.
    void Prefetch(LineRun run) const {
        if (run.first >= kFirstInArena) {
            const char* const place = arena.Address(run.first);
            Platform::Prefetch(place);
            Platform::Prefetch(place + Platform::kCacheLine);
            return;
        }
        const std::string_view raw = Raw(run);
        Platform::Prefetch(raw.data());
        Platform::Prefetch(raw.data() + raw.size());
    }
};

}  // namespace MeterUtil
