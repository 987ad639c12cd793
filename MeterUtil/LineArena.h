// Memory for the lines of a text that were changed since it was loaded.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "MeterUtil/IniLine.h"
#include "Platform/Prefetch.h"

namespace MeterUtil {

// Names a line of a text: by its number in the base, or, above these, by its place in the arena. Four bytes,
// so that what is known of the lines of an edited section lies close together.
using LineRef = std::uint32_t;
constexpr LineRef kNoLine = UINT32_MAX;
constexpr LineRef kFirstInArena = 0x80000000U;

// Gives out room for lines, all of which is released together. A line may be written over, and grow a little,
// until the arena is frozen. A copy shares the lines that were given out.
class LineArena {
public:
    // Where the next line of a corner goes: room that is kept for lines which are looked at together. Zero
    // before the first.
    using Corner = std::uint32_t;

    // Room for a line of `size` bytes, of which its line end takes `lineEnd`, and a little more, so that a
    // value may grow; in a corner, unless the line is long or the corner is null. Throws std::bad_alloc, also
    // for a line of nearly 4 GiB, which a head cannot tell the size of.
    LineRef Allocate(std::size_t size, std::size_t lineEnd, Corner* corner = nullptr) {
        if (size > kMostBytesOfALine)
            throw std::bad_alloc();
        const std::size_t room = (sizeof(Head) + size + kGranule) / kGranule * kGranule;
        const LineRef line = corner == nullptr || room > kCorner / 2 ? Take(room) : TakeOf(corner, room);
        const Head head{static_cast<std::uint32_t>(size), SlackOf(room - sizeof(Head) - size, lineEnd),
                        m_epoch};
        std::memcpy(Place(line), &head, sizeof head);
        return line;
    }

    // The line with its line end.
    std::string_view Raw(LineRef line) const {
        const char* const place = Place(line);
        std::uint32_t size = 0;
        std::memcpy(&size, place + offsetof(Head, size), sizeof size);
        return {place + sizeof(Head), size};
    }

    // Its line end, without a look at it. Not a view of it.
    std::string_view LineEnd(LineRef line) const {
        return kCrLf.substr(kCrLf.size() - HeadOf(line).slack % kLineEnds);
    }

    // Fetches where the next line of a corner goes.
    void PrefetchCorner(Corner corner) const {
        if (corner == 0)
            return;
        const char* const next = Place(corner - 1) + kGranule;
        Platform::Prefetch(next);
        Platform::Prefetch(next + Platform::kCacheLine);
    }

    // Fetches what is looked at of a line. Its end mostly is not far from its beginning.
    void Prefetch(LineRef line) const {
        Platform::Prefetch(Place(line));
        Platform::Prefetch(Place(line) + Platform::kCacheLine);
    }

    // True when the line may be written over with so many bytes.
    bool Takes(LineRef line, std::size_t size) const { return Takes(HeadOf(line), size); }

    // The bytes of a line that was just given out.
    char* Writable(LineRef line) { return Place(line) + sizeof(Head); }

    // The bytes of a line, so many from now on with its line end, to be written over; null when it does not
    // take them.
    char* WriteOver(LineRef line, std::size_t size, std::size_t lineEnd) {
        Head head = HeadOf(line);
        if (!Takes(head, size))
            return nullptr;
        head.slack = SlackOf(RoomOf(head) - size, lineEnd);
        head.size = static_cast<std::uint32_t>(size);
        std::memcpy(Place(line), &head, sizeof head);
        return Place(line) + sizeof head;
    }

    // From now on no line that was given out is written over: someone else reads the blocks.
    void Freeze() noexcept { ++m_epoch; }
    bool MayFreeze() const { return m_epoch != UINT16_MAX; }  // else no epoch is left

    // Begins with the first epoch again: each line of an earlier one that is still in use has been forbidden.
    void RestartEpochs() noexcept { m_epoch = 1; }
    // Writes nothing that a snapshot looks at.
    void ForbidWriting(LineRef line) noexcept {
        constexpr std::uint16_t kNever = 0;
        std::memcpy(Place(line) + offsetof(Head, epoch), &kNever, sizeof kNever);
    }

    std::size_t UsedBytes() const { return m_used; }

private:
    // What stands in front of the text of a line.
    struct Head {
        std::uint32_t size;   // bytes, line end included
        std::uint16_t slack;  // bytes more there is room for, times kLineEnds, plus those of the line end
        std::uint16_t epoch;  // of the arena when the line was made; 0: never to be written over
    };

    static constexpr std::size_t kLineEnds = 4;  // a line end has two bytes at most
    static constexpr std::size_t kMostSlack = UINT16_MAX / kLineEnds;
    static constexpr std::size_t kGranule = 16;  // lines begin at multiples of it
    static constexpr std::size_t kBlock = std::size_t{64} * 1024;
    static constexpr std::size_t kCorner = 512;  // some lines, and little to lose when one is all that comes
    static constexpr std::uint32_t kGranulesOfACorner = kCorner / kGranule;
    // No sum of sizes overflows, also where addresses have 32 bits.
    static constexpr std::size_t kMostBytesOfALine = UINT32_MAX - 2 * kBlock;
    static constexpr std::uint64_t kMostBytes = std::uint64_t{kNoLine - kFirstInArena} * kGranule;

    // Blocks are numbered through; a block for one long line counts as several.
    char* Place(LineRef line) const {
        constexpr std::uint32_t kLinesOfABlock = kBlock / kGranule;
        const std::uint32_t granule = line - kFirstInArena;
        return m_places[granule / kLinesOfABlock] + granule % kLinesOfABlock * kGranule;
    }

    Head HeadOf(LineRef line) const {
        Head head{};
        std::memcpy(&head, Place(line), sizeof head);
        return head;
    }

    static std::uint16_t SlackOf(std::size_t more, std::size_t lineEnd) {
        return static_cast<std::uint16_t>(std::min(more, kMostSlack) * kLineEnds + lineEnd);
    }
    static std::size_t RoomOf(const Head& head) { return std::size_t{head.size} + head.slack / kLineEnds; }
    bool Takes(const Head& head, std::size_t size) const {
        return head.epoch == m_epoch && size <= RoomOf(head);
    }

    LineRef Take(std::size_t room) {
        if (room > m_left)
            AddBlock(room);
        const auto line = static_cast<LineRef>(kFirstInArena + (m_reached - m_left) / kGranule);
        m_left -= room;
        m_used += room;
        return line;
    }

    // Corners begin at multiples of their size: a place tells how much is left.
    LineRef TakeOf(Corner* corner, std::size_t room) {
        const auto granules = static_cast<std::uint32_t>(room / kGranule);
        if (granules > (0 - *corner) % kGranulesOfACorner) {
            Take(m_left % kCorner);  // which no line gets
            *corner = Take(kCorner);
        }
        return std::exchange(*corner, *corner + granules);
    }

    void AddBlock(std::size_t needed) {
        const std::size_t size = (needed + kBlock - 1) / kBlock * kBlock;
        if (m_reached + std::uint64_t{size} > kMostBytes)
            throw std::bad_alloc();
        m_places.resize((m_reached + size) / kBlock);  // what a failure leaves there is made anew
        const std::shared_ptr<char[]> block(new char[size]);
        m_blocks.push_back(block);
        for (std::size_t at = 0; at < size; at += kBlock)
            m_places[(m_reached + at) / kBlock] = block.get() + at;
        m_reached += size;
        m_left = size;
    }

    std::vector<std::shared_ptr<char[]>> m_blocks;
    std::vector<char*> m_places;  // of each 64 kB
    std::size_t m_reached = 0;    // bytes of all blocks
    std::size_t m_left = 0;       // of them, in the last one
    std::size_t m_used = 0;
    std::uint16_t m_epoch = 1;
};

}  // namespace MeterUtil
