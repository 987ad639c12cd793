// The text of an INI file in memory: every byte of it, as lines in sections.
//
// How it is held. The file is read into one block, the base, which never changes; a line of it is an offset.
// A section is a run of lines of the base. A line that gets another value lies in an arena from then on: that
// takes the place of its offset. A section in which lines come, go or change otherwise gets a list of its own.
// So loading costs a scan for line ends, memory stays close to the size of the file, an edit touches one section, and a
// snapshot for a background save copies no text: it shares the base and the arena, whose lines are not
// written over from then on.
//
// Sections are found by a hash of their folded name, entries by one byte a line, a tag made of the folded
// key, which is compared before the text. The tags of a section are made when it is first asked for a key.
//
// What is refused, and everything about files on a medium, is settled above this class.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "MeterUtil/IniLine.h"
#include "MeterUtil/KeyTag.h"
#include "MeterUtil/LineList.h"
#include "MeterUtil/LineSource.h"
#include "MeterUtil/LineStarts.h"
#include "MeterUtil/NameTable.h"
#include "Platform/Platform.h"
#include "Platform/Prefetch.h"

namespace MeterUtil {

// A text to be saved that stays as it is while the text that it was taken from is edited.
struct TextSnapshot final : Platform::TextPieces {
    bool hasByteOrderMark = false;
    std::vector<Piece> pieces;
    PieceSource source;

    bool HandTo(Platform::TextSink& sink) const override;
};

class IniText final : public Platform::TextPieces {
public:
    using Section = std::uint32_t;  // stays the same while the section exists
    static constexpr Section kNoSection = UINT32_MAX;
    static constexpr std::size_t kMostBytes = UINT32_MAX - 1;  // offsets have 32 bits

    IniText();

    // Takes the bytes of a file, kMostBytes at most; once, before anything is edited.
    void Load(Platform::FileBytes bytes);

    // Looks at a file of about so many bytes before it is loaded, while it is read and still in the
    // processor's caches: at all of it that is there so far, wherever that lies. What is loaded next begins
    // with these bytes.
    void Scan(std::string_view text, std::size_t expectedBytes);

    // ---- look-ups; the views are valid until the next edit

    Section FindSection(std::string_view name) const;

    // What an entry is found by. To make it fetches the first line that may be the entry, and where another
    // one would go, while the caller still has other things to do.
    struct SoughtEntry {
        Section section = kNoSection;
        std::uint32_t index = kNoIndex;  // of that line
        LineRef line = kNoLine;
        std::string_view key;
        std::uint8_t tag = kNoEntryTag;
    };
    SoughtEntry Seek(std::string_view name, std::string_view key);
    SoughtEntry Seek(Section id, std::string_view key);

    struct FoundEntry {
        Section section = kNoSection;
        std::uint32_t index = kNoIndex;  // none was found
        LineRef line = kNoLine;
        std::size_t kept = 0;  // bytes in front of the value
        bool isPlain = false;  // its names are known to be such that they may be written
    };
    FoundEntry Find(const SoughtEntry& sought) const;
    std::string_view ValueOf(const FoundEntry& found) const {
        return WithoutLineEnd(m_lines.Raw(found.line).substr(found.kept));
    }
    bool EntryAt(Section id, std::uint32_t index, std::string_view* key,
                 std::string_view* value);                                              // from 0
    bool LineOfSection(Section id, std::uint32_t index, std::string_view* text) const;  // from 0
    bool LineAt(std::uint32_t line, std::string_view* text);
    std::uint32_t LineCount() const { return m_lineCount; }

    // First line at or behind `line` that begins with '['; LineCount() when there is none.
    std::uint32_t FindBracketLine(std::uint32_t line);

    // ---- edits; each either happens whole or, without memory, throws and changes nothing

    void SetValue(const FoundEntry& found, std::string_view value);
    void AddEntry(Section id, std::string_view key, std::string_view value);  // of which there was none
    void AddSection(std::string_view name, std::string_view key, std::string_view value);
    void SetLine(std::uint32_t line, std::string_view text);  // line < LineCount()
    void AppendLine(std::string_view text);
    void DeleteSection(Section id);
    bool DeleteKey(Section id, std::string_view key);

    // Copies of sections: see CMeterIniFile::BackupSection.
    void KeepCopy(Section id);
    bool RestoreCopy(std::string_view name);

    // ---- saving

    bool HandTo(Platform::TextSink& sink) const override;
    TextSnapshot Snapshot();

private:
    // One line of the processor's cache.
    struct alignas(Platform::kCacheLine) SectionData {
        std::uint64_t nameEnd = 0;  // of the name, folded: all of it when it is short
        std::uint32_t nameSize = 0;
        LineRef header = kNoLine;             // none for the lines before the first header
        LineList edited;                      // its lines, where they are not those of the base
        std::uint32_t first = 0;              // of its lines in the base
        std::uint32_t count = 0;              // lines behind the header
        std::uint32_t nextSame = kNoSection;  // of the same name, in the order of the file
        std::uint32_t prevSame = kNoSection;  // of the first: the last one
        std::uint32_t position = 0;           // in m_order; valid below m_placed
        std::uint32_t leading = 0;            // so many first lines are all entries; once tagged
        LineArena::Corner corner = 0;         // of the lines that change
        bool hasStandIns : 1;                 // for lines of the base; while there is no list
        bool tagged : 1;
        bool endsAlike : 1;        // once tagged: its lines of the base end with CR LF
        bool hasPlainName : 1;     // neither empty nor with a CR
        bool hasBracketLines : 1;  // a line behind the header may begin with '['

        SectionData()
            : hasStandIns(false),
              tagged(false),
              endsAlike(false),
              hasPlainName(true),
              hasBracketLines(false) {}
    };
    static_assert(sizeof(SectionData) == Platform::kCacheLine);

    struct Copy {
        std::string header;  // as it stood when the section was deleted
        std::string lines;
    };

    struct NameOrder {
        using is_transparent = void;
        bool operator()(std::string_view a, std::string_view b) const { return CompareNames(a, b) < 0; }
    };

    // Where the last search for an entry of a high number ended.
    struct Cursor {
        Section section = kNoSection;
        std::uint32_t entry = 0;
        std::uint32_t line = 0;
    };

    struct Place {
        std::uint32_t position;  // of the section in m_order
        std::uint32_t index;     // of the line behind its header; kHeaderLine for the header
    };
    static constexpr std::uint32_t kHeaderLine = UINT32_MAX;
    static constexpr std::size_t kSmallArena = std::size_t{1024} * 1024;

    struct Loading {
        explicit Loading(std::size_t bytes) : starts(bytes) {}

        LineStarts starts;
        std::size_t scanned = 0;  // so many bytes were searched for line ends
        std::size_t line = 0;     // where the line begins whose end was not found yet
    };

    // lines
    LineRef LineOf(const SectionData& section, std::uint32_t index) const {
        if (section.edited.Exists())
            return section.edited.Lines()[index];
        const LineRef line = section.first + index;
        return section.hasStandIns ? m_lines.StandingFor(line) : line;
    }
    // True while the lines of a section are the base's, each as it was loaded.
    static bool IsAsLoaded(const SectionData& section) {
        return !section.edited.Exists() && !section.hasStandIns;
    }
    std::string_view Raw(const SectionData& section, std::uint32_t index) const;
    std::string_view Header(const SectionData& section) const;
    const std::uint8_t* Tags(const SectionData& section) const {
        return section.edited.Exists() ? section.edited.Tags() : m_tags.get() + section.first;
    }
    std::uint32_t LinesOf(const SectionData& section) const;
    std::string_view LineEndFor(std::string_view text) const;
    std::string_view NameOf(const SectionData& section) const;
    bool HasName(const SectionData& section, std::string_view name, std::uint64_t foldedEnd) const;
    [[gnu::noinline]] bool HasLongName(const SectionData& section, std::string_view name) const;
    static void SetName(SectionData& section, std::string_view name);
    void SetHeader(SectionData& section, LineRef header) noexcept;
    bool BeginsWithBracket(LineRef line) const;
    bool HasBracketLine(const LineList& lines) const;
    template <typename Take>
    bool ForEachPiece(Take take) const;
    std::size_t MostPieces() const;

    // finding
    void Tag(SectionData& section);
    bool TagBase(std::uint32_t first, std::uint32_t count);
    std::uint32_t HashOf(const SectionData& section) const;
    Section FirstOf(std::uint32_t hash, const SectionData& section) const;
    [[gnu::noinline]] FoundEntry FindAmongOthers(const SoughtEntry& sought) const;
    void NumberLines(std::uint32_t upTo);
    std::uint32_t PositionOf(Section id);
    std::uint32_t PositionNear(std::uint32_t line) const;
    Place Locate(std::uint32_t line);

    // names
    void BuildNameIndex();
    void DropCopyOfDeleted(std::string_view name);
    void Link(Section id);
    void Unlink(Section id);

    // loading
    using TagBlock = std::unique_ptr<std::uint8_t[], Platform::FreeBlock>;
    static TagBlock NewTags(std::size_t lines);
    void BeginLoad(std::size_t bytes);
    static std::shared_ptr<const char> OwnBlock(Platform::FileBytes bytes);
    void ScanLines(std::string_view text);
    void AddLine(std::string_view text);
    void OpenSection(std::string_view raw);
    void CloseSection();

    // editing: what is prepared may throw, what is committed may not
    LineList& Edit(SectionData& section) {
        return section.edited.Exists() ? section.edited : MakeOwnLines(section);
    }
    LineList& MakeOwnLines(SectionData& section);
    [[gnu::noinline]] void PrepareStandIn(SectionData& section);
    void PutStandIn(SectionData& section, std::uint32_t index, LineRef line) noexcept;
    void Touch(const SectionData& section) noexcept;
    LineRef NewLine(std::initializer_list<std::string_view> parts, LineArena::Corner* corner = nullptr);
    void ReplaceTail(LineRef& line, std::size_t kept, std::string_view text, std::string_view lineEnd,
                     LineArena::Corner* corner = nullptr);
    [[gnu::noinline]] char* MoveHead(LineRef& line, std::size_t kept, std::size_t size, std::size_t lineEnd,
                                     LineArena::Corner* corner);
    void ReplaceLine(SectionData& section, std::uint32_t index, std::string_view text);
    void EndLastLine();
    bool IsLast(Section id) const;
    LineList LinesFrom(std::string_view raw);
    void ReserveSection();
    Section NewSection(LineRef header, LineList lines, std::uint32_t position) noexcept;
    void RemoveSection(Section id);
    void RenameHeader(Section id, std::string_view text);
    void SplitSection(Section id, std::uint32_t index, std::string_view headerText);
    void JoinToPrevious(Section id, std::string_view text);
    void ReplaceLines(Section id, std::string_view raw);
    bool IsGap(std::uint32_t position) const;
    void CloseGaps() noexcept;
    void ForbidWriting() noexcept;
    void OrderChangedFrom(std::uint32_t position);
    void LinesChangedFrom(std::uint32_t position);
    std::size_t BytesOf(const SectionData& section) const;
    std::size_t TextBytes() const;
    void Tidy() noexcept {
        if (m_lines.arena.UsedBytes() >= m_tidyAt)
            TidyUp();
    }
    void TidyUp() noexcept;
    void Rebase(std::size_t textBytes);

    LineSource m_lines;
    TagBlock m_tags;  // of the base's lines
    std::unique_ptr<Loading> m_loading;

    std::vector<SectionData> m_sections;  // by Section
    std::vector<Section> m_unused;        // of m_sections
    // In the order of the file; the first holds the lines before any header. A section that was removed
    // leaves a gap, a section without any line, until there are many. What is known of the order is brought
    // up to date when it is next asked for, so that many edits in a row do not walk over it each.
    std::vector<Section> m_order;
    std::uint32_t m_gaps = 0;
    std::uint32_t m_placed = 0;
    std::vector<std::uint32_t> m_firstLine;  // number of the first line, by position; valid below m_numbered
    std::uint32_t m_numbered = 0;
    std::uint32_t m_untouched = 0;  // so many first lines of the text are the first lines of the base
    NameTable m_names;              // the first section of each name
    std::uint32_t m_lineCount = 0;
    // So many bytes of the arena: it is time to look how much of it is in use.
    std::size_t m_tidyAt = kSmallArena;
    std::string_view m_lineEnd;  // of new lines
    bool m_hasByteOrderMark = false;

    Cursor m_cursor;
    std::uint32_t m_lastPosition = 0;  // where the last line by number was found

    std::map<Section, Copy> m_copies;  // of sections that exist
    std::map<std::string, Copy, NameOrder> m_copiesOfDeleted;
};

// Mostly the first line with the tag is the entry, and written in a usual way.
inline IniText::FoundEntry IniText::Find(const SoughtEntry& sought) const {
    if (sought.index == kNoIndex)
        return {};
    const std::string_view line = m_lines.From(sought.line);
    const std::size_t size = sought.key.size();
    if (line.size() < kPlainBytes || !KeyWords::Fit(sought.key) || PlainKeySize(line.data()) != size ||
        !(KeyWords(line.substr(0, size)) == KeyWords(sought.key)))
        return FindAmongOthers(sought);
    // No plain key holds a CR or '='; and no line with ';' in front has a tag.
    const bool isPlain = line.front() != '[' && m_sections[sought.section].hasPlainName;
    return {sought.section, sought.index, sought.line, size + 1, isPlain};
}

// Puts a text and a line end behind the first `kept` bytes of a line.
inline void IniText::ReplaceTail(LineRef& line, std::size_t kept, std::string_view text,
                                 std::string_view lineEnd, LineArena::Corner* corner) {
    const std::size_t size = kept + text.size() + lineEnd.size();
    char* bytes = line < kFirstInArena ? nullptr : m_lines.arena.WriteOver(line, size, lineEnd.size());
    if (bytes == nullptr)
        bytes = MoveHead(line, kept, size, lineEnd.size(), corner);
    PutLineEnd(std::copy(text.begin(), text.end(), bytes + kept), lineEnd);
}

}  // namespace MeterUtil
