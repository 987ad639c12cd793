// What shows of a text neither in its bytes nor in its answers: how it is held in memory, and that no file
// makes it slow.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <map>
#include <new>
#include <random>
#include <set>
#include <thread>
#include <unordered_map>

#include "MeterUtil/IniLine.h"
#include "MeterUtil/IniText.h"
#include "MeterUtil/LineStarts.h"
#include "MeterUtil/NameTable.h"
#include "tests/support/HeapFault.h"
#include "tests/support/Pieces.h"

using MeterUtil::IniText;

namespace {

Platform::FileBytes Bytes(const std::string& text) {
    Platform::FileBytes bytes;
    bytes.data.reset(static_cast<char*>(std::malloc(text.size() + 1)));
    std::memcpy(bytes.data.get(), text.data(), text.size());
    bytes.size = text.size();
    return bytes;
}

void Set(IniText* text, IniText::Section id, std::string_view key, std::string_view value) {
    const IniText::FoundEntry found = text->Find(text->Seek(id, key));
    if (found.index != MeterUtil::kNoIndex)
        text->SetValue(found, value);
    else
        text->AddEntry(id, key, value);
}

std::string Joined(const Platform::TextPieces& text) {
    std::string joined;
    for (const std::string_view piece : PiecesOf(text))
        joined += piece;
    return joined;
}

TEST(IniTextMemory, AFileAsItWasReadIsOnePiece) {
    IniText text;
    text.Load(Bytes("top\n[a]\nk=1\n[b]\n"));
    EXPECT_EQ(PiecesOf(text).size(), 1U);
    Set(&text, text.FindSection("a"), "k", "2");
    EXPECT_EQ(PiecesOf(text).size(), 4U) << "before the change, the line in front of it, it, and behind it";
}

// What a section is known by stays as it was loaded while only values change in it: a visit of each meter
// costs no more memory than its readings take.
TEST(IniTextMemory, NewValuesNeedRoomForTheirLinesAlone) {
    std::string bytes;
    for (int i = 0; i < 100; ++i)
        bytes += "[" + std::to_string(i) + "]\r\nfirst=1\r\nsecond=2\r\nthird=3\r\n";
    IniText text;
    text.Load(Bytes(bytes));
    Set(&text, text.FindSection("0"), "first", "takes a block");
    const HeapFault fault(1);
    for (const IniText::Section id : {1U, 50U, 99U})
        for (const char* const key : {"first", "second", "third"})
            Set(&text, id + 1, key, "new");
    EXPECT_FALSE(fault.Happened());
}

// A day's readings written over and over would fill the memory of a terminal. What changes leave behind is
// given back by moving the text into one block again.
TEST(IniTextMemory, ChangesDoNotPileUp) {
    IniText text;
    text.Load(Bytes("[a]\nk=1\nm=2\n"));
    std::string value;
    int moves = 0;
    constexpr int kChanges = 1000;
    constexpr std::size_t kBytes = 20000;
    for (int i = 0; i < kChanges; ++i) {
        value.assign(kBytes + 32 * static_cast<std::size_t>(i), 'v');  // never fits where the last one stood
        Set(&text, text.FindSection("a"), "k", value);
        moves += PiecesOf(text).size() == 1 ? 1 : 0;
    }
    // 36 MB of changes: the text moves for every MB of them, and not for each change.
    EXPECT_GE(moves, 10);
    EXPECT_LE(moves, 60);
    EXPECT_EQ(Joined(text), "[a]\nk=" + value + "\nm=2\n");
}

// A text that was moved has more lines than the file had, all of which are found by their keys.
TEST(IniTextMemory, AMovedTextIsAsLargeAsItBecame) {
    constexpr int kLines = 30000;
    IniText text;
    text.Load(Bytes("[a]\n"));
    for (int i = 0; i < kLines; ++i)
        text.AppendLine("k" + std::to_string(i) + "=1");
    const IniText::Section section = text.FindSection("a");
    std::string value;
    for (std::size_t pieces = 2; pieces > 1; pieces = PiecesOf(text).size()) {
        value += std::string(1000000, 'v');
        Set(&text, section, "k0", value);
    }
    for (int i = 1; i < kLines; ++i) {
        const IniText::FoundEntry found = text.Find(text.Seek(section, "k" + std::to_string(i)));
        ASSERT_NE(found.index, MeterUtil::kNoIndex) << i;
        ASSERT_EQ(text.ValueOf(found), "1") << i;
    }
}

// In a base of more than 2 GiB a line may begin where a line of the arena seems to be: none gets a stand-in.
TEST(LineSource, LinesOfALargeBaseEndWhereTheNextBegins) {
    MeterUtil::LineSource lines;
    lines.places.reset(static_cast<std::uint32_t*>(std::malloc(4 * sizeof(std::uint32_t))));
    const std::uint32_t places[] = {0, 0x7FFFFFFFU, 0x80000001U, 0xFFFFFFFEU};
    std::copy(std::begin(places), std::end(places), lines.places.get());
    lines.bytes = places[3];
    EXPECT_FALSE(lines.TakesStandIns());
    EXPECT_EQ(lines.PieceOf(1, 1).size, 2U);
    EXPECT_EQ(lines.PieceOf(1, 2).size, 0x7FFFFFFFU);
    EXPECT_EQ(lines.PieceOf(0, 3).size, 0xFFFFFFFEU);
    lines.bytes = 0x80000000U;
    EXPECT_FALSE(lines.TakesStandIns());
    lines.bytes = 0x7FFFFFFFU;
    EXPECT_TRUE(lines.TakesStandIns());
}

TEST(LineArena, LeavesALineRoomToGrow) {
    MeterUtil::LineArena arena;
    for (std::size_t size = 0; size < 40; ++size) {
        const MeterUtil::LineRef line = arena.Allocate(size, 0);
        std::size_t room = size;
        while (arena.Takes(line, room + 1))
            ++room;
        EXPECT_GT(room, size);
        EXPECT_LE(room, size + 16);
        EXPECT_EQ(arena.WriteOver(line, room + 1, 0), nullptr);
        EXPECT_EQ(arena.Raw(line).size(), size) << "it stays as it was";
        for (const std::size_t written : {room, std::size_t{0}}) {
            EXPECT_EQ(arena.WriteOver(line, written, 0), arena.Raw(line).data());
            EXPECT_EQ(arena.Raw(line).size(), written);
        }
        EXPECT_TRUE(arena.Takes(line, room)) << "shorter for a while";
        EXPECT_FALSE(arena.Takes(line, room + 1));
        const char* const next = arena.Raw(arena.Allocate(1, 0)).data();
        EXPECT_GE(next, arena.Raw(line).data() + room) << "the next line's own";
    }
}

TEST(LineArena, RefusesALineWhoseSizeItCannotTell) {
    MeterUtil::LineArena arena;
    EXPECT_THROW(arena.Allocate(UINT32_MAX, 0), std::bad_alloc);
    EXPECT_THROW(arena.Allocate(UINT32_MAX - 100000, 0), std::bad_alloc);
    EXPECT_THROW(arena.Allocate(SIZE_MAX, 0), std::bad_alloc);
    EXPECT_EQ(arena.UsedBytes(), 0U);
}

TEST(LineArena, WritesOverNoLineThatWasThereWhenItWasFrozen) {
    MeterUtil::LineArena arena;
    const MeterUtil::LineRef before = arena.Allocate(10, 0);
    arena.Freeze();
    const MeterUtil::LineRef behind = arena.Allocate(10, 0);
    EXPECT_EQ(arena.WriteOver(before, 1, 0), nullptr);
    EXPECT_NE(arena.WriteOver(behind, 1, 0), nullptr);
    EXPECT_FALSE(arena.Takes(before, 1));
    EXPECT_EQ(arena.Raw(before).size(), 10U);
}

TEST(LineArena, KnowsTheLineEndOfALine) {
    MeterUtil::LineArena arena;
    for (const std::string_view lineEnd : {"", "\n", "\r\n"}) {
        const MeterUtil::LineRef line = arena.Allocate(40, lineEnd.size());
        EXPECT_EQ(arena.LineEnd(line), lineEnd);
        for (const std::string_view written : {"\n", "\r\n", ""}) {
            ASSERT_NE(arena.WriteOver(line, 20 + written.size(), written.size()), nullptr);
            EXPECT_EQ(arena.LineEnd(line), written);
            EXPECT_TRUE(arena.Takes(line, 40));
        }
    }
}

// Of a line that becomes shorter by far not all of its room is remembered, but never more than it has.
TEST(LineArena, RemembersTheRoomOfALongLine) {
    MeterUtil::LineArena arena;
    const MeterUtil::LineRef line = arena.Allocate(100000, 0);
    ASSERT_NE(arena.WriteOver(line, 99000, 0), nullptr);
    EXPECT_TRUE(arena.Takes(line, 100000));
    ASSERT_NE(arena.WriteOver(line, 10, 0), nullptr);
    EXPECT_TRUE(arena.Takes(line, 10000));
    EXPECT_FALSE(arena.Takes(line, 100100));
}

// Lines of any size are told apart by their number, also one that is larger than the blocks of the arena.
TEST(LineArena, KeepsLinesOfAllSizes) {
    MeterUtil::LineArena arena;
    std::mt19937 random(5);
    std::vector<std::pair<MeterUtil::LineRef, std::string>> lines;
    for (int i = 0; i < 3000; ++i) {
        const std::size_t size = random() % (i % 100 == 0 ? 300000 : 200);
        const std::string text(size, static_cast<char>('a' + i % 26));
        const MeterUtil::LineRef line = arena.Allocate(size, 0);
        std::copy(text.begin(), text.end(), arena.Writable(line));
        lines.emplace_back(line, text);
    }
    for (const auto& [line, text] : lines)
        ASSERT_EQ(arena.Raw(line), text);
}

// Sections are edited in turns; what changes in one of them lies together all the same.
TEST(LineArena, LinesOfACornerLieTogether) {
    MeterUtil::LineArena arena;
    MeterUtil::LineArena::Corner corners[20] = {};
    std::vector<std::pair<MeterUtil::LineRef, std::string>> lines;
    std::map<MeterUtil::LineRef, std::set<std::size_t>> neighbours;  // corners, by 512 bytes of memory
    for (int i = 0; i < 200; ++i) {
        const std::size_t number = static_cast<std::size_t>(i) % std::size(corners);
        const std::size_t size = static_cast<std::size_t>(i) * 7 % 240;
        const MeterUtil::LineRef line = arena.Allocate(size, 0, &corners[number]);
        if (i % 3 == 0)
            arena.Allocate(100, 0);  // what belongs to no section goes on beside them
        const std::string text(size, static_cast<char>('a' + i % 26));
        std::copy(text.begin(), text.end(), arena.Writable(line));
        lines.emplace_back(line, text);
        neighbours[line / (512 / 16)].insert(number);
    }
    for (const auto& [line, text] : lines)
        ASSERT_EQ(arena.Raw(line), text);
    EXPECT_GT(neighbours.size(), std::size(corners));
    for (const auto& [place, numbers] : neighbours)
        EXPECT_EQ(numbers.size(), 1U) << place;
    const std::size_t used = arena.UsedBytes();
    arena.Allocate(300, 0, &corners[0]);
    EXPECT_EQ(arena.UsedBytes() - used, 320U) << "a long line needs no corner";
}

// What a snapshot refers to is shared with the text: changes must not show through, nor pieces be released.
TEST(IniTextMemory, SnapshotsStayAsTheyWere) {
    IniText text;
    text.Load(Bytes("[a]\nk=1\nm=2\n[b]\nx=1\n"));
    std::mt19937 random(7);
    std::vector<MeterUtil::TextSnapshot> snapshots;
    std::vector<std::string> expected;
    for (int i = 0; i < 3000; ++i) {
        const std::string value(random() % 3000, static_cast<char>('a' + i % 26));
        Set(&text, text.FindSection("a"), i % 2 == 0 ? "k" : "m", value);
        text.SetLine(3, "[b" + value.substr(0, random() % 20) + "]");
        if (random() % 8 == 0) {
            expected.push_back(Joined(text));
            snapshots.push_back(text.Snapshot());
        }
    }
    for (std::size_t i = 0; i < snapshots.size(); ++i)
        ASSERT_EQ(Joined(snapshots[i]), expected[i]) << i;
}

// However much was edited, a snapshot asks for memory as often: it knows before how much it needs.
TEST(IniTextMemory, ASnapshotTakesItsMemoryAtOnce) {
    const auto allocations = [](const std::function<void(IniText&)>& edit) {
        std::string file;
        for (int i = 0; i < 100; ++i)
            file += "[" + std::to_string(i) + "]\nk=1\nl=1\n";
        IniText text;
        text.Load(Bytes(file));
        text.AppendLine("in the arena");
        edit(text);
        return FailEachAllocation([&] {
            try {
                text.Snapshot();
            } catch (const std::bad_alloc&) {
                return;
            }
        });
    };
    const int few = allocations([](IniText&) {});
    EXPECT_GT(few, 0);
    EXPECT_EQ(allocations([](IniText& text) {
                  for (std::uint32_t i = 0; i < 100; ++i)
                      text.SetLine(3 * i, "[n" + std::to_string(i) + "]");
              }),
              few);
    EXPECT_EQ(allocations([](IniText& text) {
                  for (std::uint32_t i = 0; i < 100; ++i)
                      text.SetLine(3 * i + 1, "k=2");
              }),
              few);
    EXPECT_EQ(allocations([](IniText& text) {
                  for (int i = 0; i < 100; ++i)
                      for (const char* const key : {"k", "l"})
                          Set(&text, text.FindSection(std::to_string(i)), key, "2");
              }),
              few);
}

// More snapshots than the lines can tell apart: what was changed between the first two of them must not pass
// for changed since the last when the count begins again, and whoever saves the first of them just then must
// not be disturbed.
TEST(IniTextMemory, AnyNumberOfSnapshotsMayBeTaken) {
    constexpr int kSnapshots = 65530;
    constexpr int kTries = 10;  // one of them comes just when the count begins again
    IniText text;
    std::string file = "[a]\n";
    for (int i = 0; i < kTries; ++i)
        file += "k" + std::to_string(i) + "=1\n";
    for (int i = 0; i < kTries; ++i)
        file += "[b" + std::to_string(i) + "]\n";
    text.Load(Bytes(file));
    const auto change = [&](int i, const std::string& value) {
        Set(&text, text.FindSection("a"), "k" + std::to_string(i), value);
        text.SetLine(static_cast<std::uint32_t>(1 + kTries + i), "[" + value + std::to_string(i) + "]");
    };
    text.Snapshot();
    for (int i = 0; i < kTries; ++i)
        change(i, "first");
    const std::string expected = Joined(text);
    const MeterUtil::TextSnapshot first = text.Snapshot();
    for (int i = 0; i < kSnapshots; ++i)
        text.Snapshot();
    std::atomic<bool> isDone{false};
    int saved = 0;
    int wrong = 0;
    std::thread saver([&] {
        for (bool last = false; !last; ++saved) {
            last = isDone;
            wrong += Joined(first) == expected ? 0 : 1;
        }
    });
    for (int i = 0; i < kTries; ++i) {
        text.Snapshot();
        change(i, "other");
    }
    isDone = true;
    saver.join();
    EXPECT_EQ(wrong, 0) << "of " << saved;
    EXPECT_EQ(Joined(text).find("first"), std::string::npos);
}

TEST(IniTextMemory, AGrowingTextDoesNotMove) {
    IniText text;
    for (int i = 0; i < 100000; ++i)
        text.AppendLine("a line that a record is made of");
    EXPECT_GT(PiecesOf(text).size(), 1U);
}

// A save gathers the pieces of a text in groups: none is lost between two of them.
TEST(IniTextPieces, AreAllHandedOutHoweverManyThereAre) {
    for (int entries = 250; entries < 265; ++entries) {
        IniText text;
        text.Load(Bytes("[a]\n"));
        std::string expected = "[a]\n";
        for (int i = 0; i < entries; ++i) {
            const std::string entry = "k" + std::to_string(i) + "=";
            text.AppendLine(entry);
            expected += entry + "\n";
        }
        EXPECT_EQ(Joined(text), expected);
        EXPECT_EQ(Joined(text.Snapshot()), expected);
    }
}

// What is refused is a write that failed: nothing behind it may pass for saved. There are more pieces than a
// save gathers at once, of the base and of the arena, within sections and of headers.
TEST(IniTextPieces, EndWithTheOneThatIsRefused) {
    constexpr std::uint32_t kSections = 300;
    std::string file = "\xEF\xBB\xBF";
    for (std::uint32_t i = 0; i < kSections; ++i)
        file += "[" + std::to_string(i) + "]\nk=1\n";
    IniText text;
    text.Load(Bytes(file));
    for (std::uint32_t i = 0; i < kSections; ++i)
        text.SetLine(2 * i, "[renamed " + std::to_string(i) + "]");
    for (int i = 0; i < 301; ++i)  // odd: behind them groups begin with other kinds of pieces
        Set(&text, text.FindSection("renamed 150"), "k" + std::to_string(i), "1");
    const MeterUtil::TextSnapshot snapshot = text.Snapshot();
    const std::size_t all = PiecesOf(text).size();
    ASSERT_GT(all, 600U);
    for (const Platform::TextPieces* pieces : {static_cast<const Platform::TextPieces*>(&text),
                                               static_cast<const Platform::TextPieces*>(&snapshot)}) {
        for (std::size_t refused = 1; refused <= all + 1; ++refused) {
            std::size_t calls = 0;
            PieceTaker taker([&](std::string_view) { return ++calls != refused; });
            ASSERT_EQ(pieces->HandTo(taker), refused > all);
            ASSERT_EQ(calls, std::min(refused, all));
        }
    }
}

// ---- loading

TEST(ForEachLineEnd, FindsEachLineEndAndNothingOutside) {
    std::mt19937 random(3);
    for (std::size_t size = 0; size < 200; ++size) {
        std::string text(size + 2, '\n');  // a line end in front and one behind
        std::vector<std::size_t> expected;
        for (std::size_t i = 1; i <= size; ++i) {
            text[i] = random() % 4 == 0 ? '\n' : static_cast<char>(random());
            if (text[i] == '\n')
                expected.push_back(i);
        }
        std::vector<std::size_t> found;
        MeterUtil::ForEachLineEnd(text.data() + 1, text.data() + 1 + size, [&](const char* place) {
            found.push_back(static_cast<std::size_t>(place - text.data()));
        });
        ASSERT_EQ(found, expected) << size;
    }
}

// A file arrives in parts that end anywhere, each time in another block.
TEST(IniTextLoading, PartsOfAFileGiveWhatTheFileGives) {
    std::mt19937 random(9);
    const std::vector<std::string> words = {
        "[a]",         " [b] x", "[", "]", "\r\n", "\n", "k=1", "\t", ";", "\r", std::string(1, '\0'),
        "\xEF\xBB\xBF"};
    for (int round = 0; round < 500; ++round) {
        std::string file = round % 3 == 0 ? "\xEF\xBB\xBF" : "";
        for (std::size_t i = random() % 60; i != 0; --i)
            file += words[random() % words.size()];
        IniText whole;
        whole.Load(Bytes(file));
        IniText text;
        for (std::size_t read = 0; read != file.size();) {
            read += std::min<std::size_t>(1 + random() % 9, file.size() - read);
            const std::string part = file.substr(0, read);
            text.Scan(part, random() % 100);
        }
        text.Load(Bytes(file));
        ASSERT_EQ(Joined(text), file);
        ASSERT_EQ(text.LineCount(), whole.LineCount());
        std::uint32_t line = 0;
        for (; line < whole.LineCount(); ++line) {
            std::string_view expected;
            std::string_view found;
            ASSERT_TRUE(whole.LineAt(line, &expected) && text.LineAt(line, &found));
            ASSERT_EQ(found, expected);
            ASSERT_EQ(text.FindBracketLine(line), whole.FindBracketLine(line));
        }
        for (const char* name : {"a", "b", ""})
            ASSERT_EQ(text.FindSection(name), whole.FindSection(name));
        whole.AppendLine("x");
        text.AppendLine("x");
        ASSERT_EQ(Joined(text), Joined(whole)) << "with the line end of the first line";
    }
}

// ---- names

// Short names are compared without a look at the header, of long ones the end alone.
TEST(IniTextNames, DifferInAnyByteAndInTheirSize) {
    const std::string longest = "meter with a name";
    for (std::size_t size = 1; size <= longest.size(); ++size) {
        const std::string name = longest.substr(0, size);
        IniText text;
        text.Load(Bytes("[" + name + "]\n"));
        const IniText::Section section = text.FindSection(name);
        ASSERT_NE(section, IniText::kNoSection) << name;
        for (std::size_t i = 0; i < size; ++i) {
            std::string other = name;
            other[i] = '!';
            EXPECT_EQ(text.FindSection(other), IniText::kNoSection) << other;
            std::string upper = name;
            upper[i] = static_cast<char>(std::toupper(upper[i]));
            EXPECT_EQ(text.FindSection(upper), section) << upper;
        }
        EXPECT_EQ(text.FindSection(name + '!'), IniText::kNoSection);
        EXPECT_EQ(text.FindSection(name + '\0'), IniText::kNoSection);
        EXPECT_EQ(text.FindSection(name.substr(1)), IniText::kNoSection);
        EXPECT_EQ(text.FindSection(name.substr(0, size - 1)), IniText::kNoSection);
    }
}

// ---- sections in their order

// Sections of all sizes come and go anywhere; lines are then looked up by number from anywhere.
TEST(IniTextOrder, LinesAreFoundWhileSectionsComeAndGo) {
    std::mt19937 random(11);
    IniText text;
    std::vector<std::string> lines;  // of the whole text
    std::vector<int> names;
    int next = 0;
    const auto append = [&](const std::string& line) {
        text.AppendLine(line);
        lines.push_back(line);
    };
    const auto find = [&](int name) {
        return std::find(lines.begin(), lines.end(), "[" + std::to_string(name) + "]");
    };
    for (int step = 0; step < 4000; ++step) {
        const bool grows = step < 1500 || random() % 5 < 2;
        if (grows || names.empty()) {
            names.push_back(next);
            append("[" + std::to_string(next++) + "]");
            for (unsigned n = random() % 40 == 0 ? 300 : random() % 4; n != 0; --n)
                append("k" + std::to_string(n) + "=" + std::to_string(step));
        } else {
            const std::size_t which = random() % names.size();
            const auto begin = find(names[which]);
            auto end = begin + 1;
            while (end != lines.end() && end->front() != '[')
                ++end;
            lines.erase(begin, end);
            text.DeleteSection(text.FindSection(std::to_string(names[which])));
            names.erase(names.begin() + static_cast<std::ptrdiff_t>(which));
        }
        ASSERT_EQ(text.LineCount(), lines.size());
        for (int n = 0; n < 4 && !lines.empty(); ++n) {
            const std::size_t line = random() % lines.size();
            std::string_view found;
            ASSERT_TRUE(text.LineAt(static_cast<std::uint32_t>(line), &found)) << step;
            ASSERT_EQ(found, lines[line]) << step << " line " << line;
        }
    }
    for (const int name : names)
        ASSERT_NE(text.FindSection(std::to_string(name)), IniText::kNoSection) << name;
    std::string joined;
    for (const std::string& line : lines)
        joined += line + "\r\n";
    EXPECT_EQ(Joined(text), joined);
}

TEST(IniTextOrder, NamesAreFoundAmongManyOfLikeHashes) {
    std::mt19937 random(3);
    MeterUtil::NameTable table;
    std::unordered_map<std::uint32_t, std::uint32_t> hashes;  // by number
    std::uint32_t linesAdded = 0;
    const auto find = [&](std::uint32_t number, std::uint32_t hash) {
        return table.Find(hash, [&](std::uint32_t found, std::uint32_t line) {
            EXPECT_EQ(line, found * 2 + linesAdded);
            return found == number;
        });
    };
    for (std::uint32_t number = 0; number < 20000; ++number) {
        const auto hash = static_cast<std::uint32_t>(random() % 64 + (random() % 3 == 0 ? 0xFFFFFFC0U : 0));
        table.Reserve(hashes.size() + 1);
        table.Insert(hash, number, number * 2);
        hashes[number] = hash;
        while (hashes.size() > 40 + random() % 40) {
            const auto [erased, itsHash] = *hashes.begin();
            table.Erase(itsHash, erased);
            hashes.erase(erased);
            ASSERT_EQ(find(erased, itsHash), MeterUtil::NameTable::kNone);
        }
        for (const auto& [kept, itsHash] : hashes)
            ASSERT_EQ(find(kept, itsHash), kept);
    }
    const auto [number, hash] = *hashes.begin();
    table.Replace(hash, number, 1000000, 2000000);
    EXPECT_EQ(find(number, hash), MeterUtil::NameTable::kNone);
    EXPECT_EQ(find(1000000, hash), 1000000U);
    linesAdded = 3;
    table.SetLines([&](std::uint32_t changed) { return changed * 2 + linesAdded; });
    EXPECT_EQ(find(1000000, hash), 1000000U);
}

// The names of records differ in their last digits alone. Those of a route stand where random numbers would:
// a search that begins in a crowd passes dozens of other names.
void ExpectSpread(const std::vector<std::string>& names) {
    std::size_t slots = 16;
    while (names.size() * 4 > slots * 3)
        slots *= 2;
    std::set<std::size_t> taken;
    for (const std::string& name : names)
        taken.insert(MeterUtil::FoldedHash(name) & (slots - 1));
    const auto all = static_cast<double>(slots);
    const double expected = all * (1 - std::exp(-static_cast<double>(names.size()) / all));
    EXPECT_GT(static_cast<double>(taken.size()), 0.95 * expected) << names.size() << ", " << names.back();
}

TEST(IniTextSpeed, NamesOfARouteSpreadOverTheTable) {
    for (const int meters : {200, 760, 3000, 20000}) {
        std::vector<std::string> names;
        for (int meter = 1; meter <= meters; ++meter)
            for (const char* const kind : {"#_", "#1_"})
                names.push_back(kind + std::to_string(meter));
        ExpectSpread(names);
    }
}

// Names in which two numbers grow together, or letters repeat.
TEST(IniTextSpeed, NamesWithinWhichDigitsRepeatSpreadOverTheTable) {
    const auto digits = [](int number) { return std::to_string(1000 + number).substr(1); };
    std::vector<std::string> alike[5];
    for (int i = 0; i < 1000; ++i) {
        alike[0].push_back("#" + digits(i) + "_" + digits(i));
        alike[1].push_back("meter" + digits(i) + "F" + digits(i));
        alike[2].push_back(digits(i) + "x" + digits(i) + "x");
        alike[3].push_back("Route/" + digits(i) + "x" + digits(i) + "x");
        for (int j = 0; j < 10; ++j)
            alike[4].push_back("#" + digits(i) + "_" + digits(j));
    }
    for (const std::vector<std::string>& names : alike)
        ExpectSpread(names);
}

// Headers that are made of lines from the last to the first, as a route in disorder gets them: minutes, if
// each walked over those behind it.
TEST(IniTextSpeed, ManyLinesBecomeHeaders) {
    constexpr std::uint32_t kLines = 60000;
    std::string bytes;
    for (std::uint32_t i = 0; i < kLines; ++i)
        bytes += "[#_0\n";
    IniText text;
    text.Load(Bytes(bytes));
    for (std::uint32_t line = kLines; line-- > 0;)
        text.SetLine(line, "[#_" + std::to_string(line) + "]");
    EXPECT_NE(text.FindSection("#_0"), IniText::kNoSection);
    EXPECT_NE(text.FindSection("#_59999"), IniText::kNoSection);
    for (std::uint32_t line = 0; line < kLines; ++line) {
        std::string_view header;
        ASSERT_TRUE(text.LineAt(line, &header));
        ASSERT_EQ(header, "[#_" + std::to_string(line) + "]");
        ASSERT_EQ(text.FindBracketLine(line), line);
    }
}

}  // namespace
