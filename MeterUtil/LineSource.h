// Where the lines of a text lie.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

#include "MeterUtil/IniLine.h"
#include "MeterUtil/LineArena.h"
#include "Platform/Platform.h"
#include "Platform/Prefetch.h"

namespace MeterUtil {

// A part of a text: so many bytes of the base; one line of the base, up to its LF, which is not looked for
// before the bytes are needed; or a line of the arena.
struct Piece {
    std::uint32_t start = 0;  // in the base; or the line of the arena
    std::uint32_t size = 0;

    static Piece OfArena(LineRef line) { return {line, kArena}; }
    static Piece LineOfBase(std::uint32_t start) { return {start, kLine}; }
    bool IsOfArena() const { return size == kArena; }
    bool IsLineOfBase() const { return size == kLine; }

private:
    static constexpr std::uint32_t kArena = 0;
    static constexpr std::uint32_t kLine = UINT32_MAX;  // no base is so large
};

// The base, a block that never changes, and the arena of what was changed. A copy shares the bytes; when the
// arena is frozen they stay what they were.
struct PieceSource {
    std::shared_ptr<const char> base;
    std::uint32_t bytes = 0;  // of the base
    LineArena arena;

    std::string_view Bytes(Piece piece) const {
        if (piece.IsOfArena())
            return arena.Raw(piece.start);
        return {base.get() + piece.start, piece.IsLineOfBase() ? SizeOfLine(piece.start) : piece.size};
    }

    // Hands out each piece, until one is not taken. They may lie anywhere in memory: both ends of each are on
    // their way while those before it are handed out.
    bool HandTo(Platform::TextSink& sink, const Piece* pieces, std::size_t count) const {
        constexpr std::size_t kAhead = 16;
        for (std::size_t i = 0; i < std::min(count, kAhead); ++i)
            PrefetchEnds(pieces[i]);
        for (std::size_t i = 0; i < count; ++i) {
            if (i + kAhead < count)
                PrefetchEnds(pieces[i + kAhead]);
            if (!sink.Take(Bytes(pieces[i])))
                return false;
        }
        return true;
    }

protected:
    // Of a line of the base that another one stands behind.
    std::uint32_t SizeOfLine(std::uint32_t start) const {
        const char* const begin = base.get() + start;
        const void* const lf = std::memchr(begin, '\n', bytes - start);
        return static_cast<std::uint32_t>(static_cast<const char*>(lf) + 1 - begin);
    }

private:
    void PrefetchEnds(Piece piece) const {
        if (piece.IsOfArena()) {
            arena.Prefetch(piece.start);
            return;
        }
        Platform::Prefetch(base.get() + piece.start);
        Platform::Prefetch(base.get() + piece.start +
                           (piece.IsLineOfBase() ? Platform::kCacheLine : piece.size));
    }
};

// The same with the places of the base's lines.
struct LineSource : PieceSource {
    // By line where it begins. Of a line that has another value since then, the line of the arena that stands
    // in for it: who looks for a line looks at one table. Behind them, where the base ends.
    std::unique_ptr<std::uint32_t[], Platform::FreeBlock> places;

    // False for a base so large that where a line begins may look like a line of the arena.
    bool TakesStandIns() const { return bytes < kFirstInArena; }

    // Where some lines have stand-ins: that of a line, or the line itself.
    LineRef StandingFor(LineRef line) const { return places[line] < kFirstInArena ? line : places[line]; }

    // Lines of the base, none of which has a stand-in.
    Piece PieceOf(LineRef first, std::uint32_t count) const {
        const std::uint32_t start = places[first];
        return {start, EndOf(first + count - 1) - start};
    }

    std::string_view Raw(LineRef line) const {
        return line < kFirstInArena ? Bytes(PieceOf(line, 1)) : arena.Raw(line);
    }

    // A line and, of the base, all that stands behind it: where it ends is not looked for.
    std::string_view From(LineRef line) const {
        if (line >= kFirstInArena)
            return arena.Raw(line);
        const std::uint32_t start = places[line];
        return {base.get() + start, bytes - start};
    }

    // The line end of a line. Not a view of it.
    std::string_view LineEnd(LineRef line) const {
        return line < kFirstInArena ? LineEndOf(Raw(line)) : arena.LineEnd(line);
    }

    // Fetches what is looked at of a line that is mostly short.
    void Prefetch(LineRef line) const {
        if (line >= kFirstInArena) {
            arena.Prefetch(line);
            return;
        }
        const char* const place = base.get() + places[line];
        Platform::Prefetch(place);
        Platform::Prefetch(place + Platform::kCacheLine);
    }

    // True when a line of the base does not tell where it begins any more.
    bool HasStandIn(LineRef line) const { return places[line] >= kFirstInArena && TakesStandIns(); }

private:
    // Where a line of the base ends that has no stand-in.
    std::uint32_t EndOf(LineRef line) const {
        return HasStandIn(line + 1) ? EndBeforeStandIn(line) : places[line + 1];
    }

    [[gnu::noinline]] std::uint32_t EndBeforeStandIn(LineRef line) const {
        return places[line] + SizeOfLine(places[line]);
    }
};

}  // namespace MeterUtil
