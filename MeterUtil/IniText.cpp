// Loading a text, finding sections, entries and lines in it, and handing it out for saving.
#include "MeterUtil/IniText.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "MeterUtil/IniLine.h"
#include "MeterUtil/KeyTag.h"
#include "Platform/Prefetch.h"

namespace MeterUtil {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

IniText::IniText() {
    Load(Platform::FileBytes());
}

// ---- loading

void IniText::BeginLoad(std::size_t bytes) {
    // What a record or an appendix takes: tables that grow among each other leave holes in the memory.
    constexpr std::size_t kBytesOfASection = 2048;
    const std::size_t sections = bytes / kBytesOfASection + 2;
    m_lineEnd = kCrLf;
    m_hasByteOrderMark = false;
    m_sections.clear();
    m_sections.reserve(sections);
    m_order.reserve(sections);
    m_firstLine.reserve(sections);
    m_order.assign(1, 0);
    m_firstLine.assign(1, 0);
    m_sections.emplace_back();
    m_loading = std::make_unique<Loading>(bytes);
}

void IniText::Scan(std::string_view text, std::size_t expectedBytes) {
    if (m_loading == nullptr)
        BeginLoad(expectedBytes);
    if (text.size() >= kByteOrderMark.size())
        ScanLines(text);
}

// One pass over the text: where each line begins, and which lines are headers.
void IniText::ScanLines(std::string_view text) {
    if (m_loading->scanned == 0) {
        m_hasByteOrderMark = text.substr(0, kByteOrderMark.size()) == kByteOrderMark;
        m_loading->scanned = m_loading->line = m_hasByteOrderMark ? kByteOrderMark.size() : 0;
    }
    ForEachLineEnd(text.data() + m_loading->scanned, text.data() + text.size(), [&](const char* lf) {
        AddLine(text.substr(0, static_cast<std::size_t>(lf - text.data()) + 1));
    });
    m_loading->scanned = text.size();
}

// The line that ends with this text.
void IniText::AddLine(std::string_view text) {
    const std::string_view raw = text.substr(m_loading->line);
    if (raw.front() == '[' || MeterText::IsBlank(raw.front()))
        OpenSection(raw);
    m_loading->starts.Add(m_loading->line);
    m_loading->line = text.size();
}

void IniText::Load(Platform::FileBytes bytes) {
    if (m_loading == nullptr)
        BeginLoad(bytes.size);
    const std::string_view text(bytes.size == 0 ? "" : bytes.data.get(), bytes.size);
    ScanLines(text);
    if (m_loading->line != text.size())
        AddLine(text);
    CloseSection();
    m_numbered = m_placed = static_cast<std::uint32_t>(m_order.size());
    m_lineCount = m_untouched = m_loading->starts.Count();
    m_loading->starts.Add(text.size());
    m_lines.places = m_loading->starts.Take();
    m_lines.bytes = static_cast<std::uint32_t>(text.size());
    m_lines.base = OwnBlock(std::move(bytes));
    m_loading.reset();
    if (m_lineCount != 0 && LineEndOf(m_lines.Raw(LineRef{0})) == kLf)
        m_lineEnd = kLf;
    m_tags = NewTags(m_lineCount);
    BuildNameIndex();
}

// Room for the tags of so many lines, and for as many behind them as are looked at at once. A tag that was
// never written costs no memory: the system gives zeroed pages when they are first touched.
IniText::TagBlock IniText::NewTags(std::size_t lines) {
    TagBlock tags(static_cast<std::uint8_t*>(std::calloc(lines + kTagsAtOnce, 1)));
    if (tags == nullptr)
        throw std::bad_alloc();
    return tags;
}

std::shared_ptr<const char> IniText::OwnBlock(Platform::FileBytes bytes) {
    const std::shared_ptr<char> block(bytes.data.release(), Platform::FreeBlock());
    return block;
}

// Begins a section with the next line, when it is a header.
void IniText::OpenSection(std::string_view raw) {
    std::string_view name;
    if (!IsHeader(raw, &name)) {
        m_sections.back().hasBracketLines |= raw.front() == '[';
        return;
    }
    CloseSection();
    SectionData section;
    section.header = m_loading->starts.Count();
    SetName(section, name);
    section.first = section.header + 1;
    section.position = static_cast<std::uint32_t>(m_order.size());
    m_order.push_back(static_cast<Section>(m_sections.size()));
    m_firstLine.push_back(m_loading->starts.Count());
    m_sections.push_back(std::move(section));
}

void IniText::CloseSection() {
    SectionData& section = m_sections.back();
    section.count = m_loading->starts.Count() - section.first;
}

// ---- lines

std::string_view IniText::Raw(const SectionData& section, std::uint32_t index) const {
    return m_lines.Raw(LineOf(section, index));
}

// Empty when there is none.
std::string_view IniText::Header(const SectionData& section) const {
    return section.header == kNoLine ? std::string_view() : m_lines.Raw(section.header);
}

std::uint32_t IniText::LinesOf(const SectionData& section) const {
    return section.count + (section.header != kNoLine ? 1 : 0);
}

// The line end that a new line with this text, or a last line that lacks one, gets. A CR at the end of a text
// stays text only with a CR LF behind it.
std::string_view IniText::LineEndFor(std::string_view text) const {
    return !text.empty() && text.back() == '\r' ? kCrLf : m_lineEnd;
}

std::string_view IniText::NameOf(const SectionData& section) const {
    const std::string_view header = Header(section);
    return header.substr(header.find('[') + 1, section.nameSize);
}

void IniText::SetName(SectionData& section, std::string_view name) {
    section.nameEnd = FoldedEnd(name);
    section.nameSize = static_cast<std::uint32_t>(name.size());
    section.hasPlainName = !name.empty() && !MeterText::Contains(name, '\r');
}

// Most names are short: the section tells without its header being looked at.
bool IniText::HasName(const SectionData& section, std::string_view name, std::uint64_t foldedEnd) const {
    return section.nameEnd == foldedEnd && section.nameSize == name.size() &&
           (section.nameSize <= kWordBytes || HasLongName(section, name));
}

bool IniText::HasLongName(const SectionData& section, std::string_view name) const {
    return MeterText::EqualIgnoringCase(NameOf(section), name);
}

// ---- finding

// What is looked at next may be far from the processor: the section, and of its lines as much as a record
// takes, also of a short one, as it costs less to fetch too much than to decide.
IniText::Section IniText::FindSection(std::string_view name) const {
    const std::uint64_t bytes = LastBytes(name);
    const std::uint64_t end = ToLower8(bytes);
    return m_names.Find(HashWithEnd(name, bytes), [&](Section id, LineRef first) {
        const SectionData& section = m_sections[id];
        Platform::Prefetch(&section);
        PrefetchRecord(m_lines.places.get() + first, m_tags.get() + first);
        if (!HasName(section, name, end))
            return false;
        if (section.edited.Exists())
            PrefetchRecord(section.edited.Lines(), section.edited.Tags());
        return true;
    });
}

// The hash of the name of a section, whose header mostly need not be looked at.
std::uint32_t IniText::HashOf(const SectionData& section) const {
    if (section.nameSize <= kWordBytes)
        return HashOfShort(section.nameSize, section.nameEnd);
    return FoldedHash(NameOf(section));
}

// The first section of the name.
IniText::Section IniText::FirstOf(std::uint32_t hash, const SectionData& section) const {
    return m_names.Find(
        hash, [&](Section id, LineRef) { return HasName(m_sections[id], NameOf(section), section.nameEnd); });
}

void IniText::Tag(SectionData& section) {
    std::uint8_t* const tags = section.edited.Exists() ? section.edited.Tags() : m_tags.get() + section.first;
    section.endsAlike = IsAsLoaded(section) && TagBase(section.first, section.count);
    if (!IsAsLoaded(section))
        for (std::uint32_t i = 0; i < section.count; ++i)
            tags[i] = LineTag(Raw(section, i));
    const auto* const other = static_cast<const std::uint8_t*>(std::memchr(tags, kNoEntryTag, section.count));
    section.leading = other == nullptr ? section.count : static_cast<std::uint32_t>(other - tags);
    section.tagged = true;
}

// True when all these lines end with CR LF. The text of the lines comes from far away, in the order of the
// file: it is fetched some lines ahead.
bool IniText::TagBase(std::uint32_t first, std::uint32_t count) {
    constexpr std::uint32_t kAhead = 6;
    const char* const base = m_lines.base.get();
    const std::uint32_t* const starts = m_lines.places.get();
    const std::uint32_t end = first + count;
    bool endAlike = true;
    for (std::uint32_t line = first; line < end; ++line) {
        Platform::Prefetch(base + starts[std::min(line + kAhead, end)]);
        const std::string_view raw(base + starts[line], starts[line + 1] - starts[line]);
        m_tags[line] = LineTag(raw);
        endAlike = endAlike && EndsWithCrLf(raw);
    }
    return endAlike;
}

IniText::SoughtEntry IniText::Seek(std::string_view name, std::string_view key) {
    const Section id = FindSection(name);
    return id == kNoSection ? SoughtEntry() : Seek(id, key);
}

IniText::SoughtEntry IniText::Seek(Section id, std::string_view key) {
    SectionData& section = m_sections[id];
    if (!section.tagged)
        Tag(section);
    const std::uint8_t tag = KeyTag(key);
    const std::uint32_t index = FindTag(Tags(section), 0, section.count, tag);
    if (index == kNoIndex)
        return {id, kNoIndex, kNoLine, key, tag};
    const LineRef line = LineOf(section, index);
    m_lines.Prefetch(line);
    if (line < kFirstInArena)
        m_lines.arena.PrefetchCorner(section.corner);
    return {id, index, line, key, tag};
}

// The entry among all lines with its tag, however it is written.
IniText::FoundEntry IniText::FindAmongOthers(const SoughtEntry& sought) const {
    const SectionData& section = m_sections[sought.section];
    FoundEntry found{sought.section, sought.index, sought.line, 0, false};
    for (;;) {
        const std::string_view line = m_lines.Raw(found.line);
        std::string_view value;
        if (IsEntryOf(line, sought.key, &value)) {
            found.kept = static_cast<std::size_t>(value.data() - line.data());
            return found;
        }
        found.index = FindTag(Tags(section), found.index + 1, section.count, sought.tag);
        if (found.index == kNoIndex)
            return found;
        found.line = LineOf(section, found.index);
    }
}

bool IniText::EntryAt(Section id, std::uint32_t index, std::string_view* key, std::string_view* value) {
    SectionData& section = m_sections[id];
    if (!section.tagged)
        Tag(section);
    if (index < section.leading)
        return SplitEntry(WithoutLineEnd(Raw(section, index)), key, value);

    // Behind the leading entries other lines stand between: walk on from where the last walk ended.
    const bool goOn = m_cursor.section == id && m_cursor.entry <= index && m_cursor.entry >= section.leading;
    std::uint32_t entry = goOn ? m_cursor.entry : section.leading;
    std::uint32_t line = goOn ? m_cursor.line : section.leading;
    const std::uint8_t* const tags = Tags(section);
    for (; line < section.count; ++line) {
        if (tags[line] == kNoEntryTag)
            continue;
        if (entry == index)
            break;
        ++entry;
    }
    m_cursor = {id, entry, line};
    return line < section.count && SplitEntry(WithoutLineEnd(Raw(section, line)), key, value);
}

bool IniText::LineOfSection(Section id, std::uint32_t index, std::string_view* text) const {
    const SectionData& section = m_sections[id];
    if (index >= section.count)
        return false;
    *text = WithoutLineEnd(Raw(section, index));
    return true;
}

// Numbers the lines of sections until one begins behind line `upTo`.
void IniText::NumberLines(std::uint32_t upTo) {
    for (; m_numbered < m_order.size() && m_firstLine[m_numbered - 1] <= upTo; ++m_numbered) {
        const std::uint32_t before = m_numbered - 1;  // the first is always numbered
        m_firstLine[m_numbered] = m_firstLine[before] + LinesOf(m_sections[m_order[before]]);
    }
}

std::uint32_t IniText::PositionOf(Section id) {
    if (m_sections[id].position >= m_placed)
        for (; m_placed < m_order.size(); ++m_placed)
            m_sections[m_order[m_placed]].position = m_placed;
    return m_sections[id].position;
}

// The last numbered section that begins at or before the line. Records are of about one size: the place is
// guessed, and the search for it begins there.
std::uint32_t IniText::PositionNear(std::uint32_t line) const {
    const auto first = m_firstLine.begin();
    const std::uint64_t guess = std::uint64_t{line} * m_order.size() / m_lineCount;
    std::uint32_t low = static_cast<std::uint32_t>(std::min<std::uint64_t>(guess, m_numbered - 1));
    std::uint32_t high = low + 1;
    for (std::uint32_t step = 1; m_firstLine[low] > line; step *= 2) {
        high = low;
        low -= std::min(low, step);
    }
    for (std::uint32_t step = 1; high < m_numbered && m_firstLine[high] <= line; step *= 2) {
        low = high;
        high += std::min(m_numbered - high, step);
    }
    return static_cast<std::uint32_t>(std::upper_bound(first + low, first + high, line) - first) - 1;
}

// Where line `line` stands; it must exist.
IniText::Place IniText::Locate(std::uint32_t line) {
    NumberLines(line);
    const auto holds = [&](std::uint32_t position) {
        return position < m_numbered && m_firstLine[position] <= line &&
               line < (position + 1 < m_numbered ? m_firstLine[position + 1] : m_lineCount);
    };
    std::uint32_t position = m_lastPosition;
    if (!holds(position) && !holds(++position))
        position = PositionNear(line);
    m_lastPosition = position;
    const std::uint32_t index = line - m_firstLine[position];
    if (m_sections[m_order[position]].header == kNoLine)
        return {position, index};
    return {position, index == 0 ? kHeaderLine : index - 1};
}

bool IniText::LineAt(std::uint32_t line, std::string_view* text) {
    if (line >= m_lineCount)
        return false;
    if (line < m_untouched) {
        *text = WithoutLineEnd(m_lines.Raw(line));
        return true;
    }
    const Place place = Locate(line);
    const SectionData& section = m_sections[m_order[place.position]];
    *text =
        WithoutLineEnd(place.index == kHeaderLine ? m_lines.Raw(section.header) : Raw(section, place.index));
    return true;
}

std::uint32_t IniText::FindBracketLine(std::uint32_t line) {
    if (line >= m_lineCount)
        return m_lineCount;
    Place place = Locate(line);
    std::uint32_t first = m_firstLine[place.position];
    for (; place.position < m_order.size(); place = {place.position + 1, kHeaderLine}) {
        const SectionData& section = m_sections[m_order[place.position]];
        m_lastPosition = place.position;
        const std::uint32_t behindHeader = first + (section.header != kNoLine ? 1 : 0);
        first = behindHeader + section.count;
        if (place.index == kHeaderLine && Header(section).substr(0, 1) == "[")
            return behindHeader - 1;
        if (!section.hasBracketLines)
            continue;
        for (std::uint32_t i = place.index == kHeaderLine ? 0 : place.index; i < section.count; ++i)
            if (Raw(section, i).front() == '[')
                return behindHeader + i;
    }
    return m_lineCount;
}

// ---- names

// Once all sections are there: a table that grows among them would leave holes in the memory.
void IniText::BuildNameIndex() {
    m_names.Clear();
    m_names.Reserve(m_sections.size());
    for (std::size_t position = 1; position < m_order.size(); ++position)
        Link(m_order[position]);
}

void IniText::DropCopyOfDeleted(std::string_view name) {
    const auto deleted = m_copiesOfDeleted.find(name);
    if (deleted != m_copiesOfDeleted.end())
        m_copiesOfDeleted.erase(deleted);
}

// Enters a section under its name. Sections of one name form a list in the order of the file, of which the
// first alone stands in the table; the first knows the last one, so that a file of equal names is no slower.
// A copy of a deleted section of that name is dropped: the name means this section now.
void IniText::Link(Section id) {
    SectionData& section = m_sections[id];
    const std::uint32_t hash = HashOf(section);
    if (!m_copiesOfDeleted.empty())
        DropCopyOfDeleted(NameOf(section));
    const Section first = FirstOf(hash, section);
    if (first == kNoSection) {
        section.nextSame = kNoSection;
        section.prevSame = id;
        m_names.Insert(hash, id, section.first);
        return;
    }
    SectionData& head = m_sections[first];
    if (PositionOf(id) < PositionOf(first)) {
        section.nextSame = first;
        section.prevSame = head.prevSame;
        head.prevSame = id;
        m_names.Replace(hash, first, id, section.first);
        m_copies.erase(first);
        return;
    }
    Section before = head.prevSame;
    while (m_sections[before].position > section.position)  // one that is out of date is larger still
        before = m_sections[before].prevSame;
    const Section after = m_sections[before].nextSame;
    section.prevSame = before;
    section.nextSame = after;
    m_sections[before].nextSame = id;
    (after == kNoSection ? head : m_sections[after]).prevSame = id;
}

void IniText::Unlink(Section id) {
    const SectionData& section = m_sections[id];
    const std::uint32_t hash = HashOf(section);
    const Section next = section.nextSame;
    const Section before = section.prevSame;
    const bool isFirst = m_sections[before].nextSame != id;
    if (!isFirst)
        m_sections[before].nextSame = next;
    else if (next != kNoSection)
        m_names.Replace(hash, id, next, m_sections[next].first);
    else
        m_names.Erase(hash, id);
    if (next != kNoSection)
        m_sections[next].prevSame = before;
    else if (!isFirst)
        m_sections[FirstOf(hash, section)].prevSame = before;  // the first knows the last
}

// ---- saving

// Lines that follow each other in the base are one piece, also from section to section; but the last one is
// its own when the line behind it was changed.
template <typename Take>
bool IniText::ForEachPiece(Take take) const {
    LineRef run = 0;
    std::uint32_t lines = 0;
    const auto end = [&] {
        if (lines == 0)
            return true;
        if (run >= kFirstInArena)
            return take(Piece::OfArena(run));
        const LineRef last = run + lines - 1;
        if (!m_lines.HasStandIn(last + 1))
            return take(m_lines.PieceOf(run, lines));
        return (lines == 1 || take(m_lines.PieceOf(run, lines - 1))) &&
               take(Piece::LineOfBase(m_lines.places[last]));
    };
    const auto add = [&](LineRef first, std::uint32_t count) {
        if (first < kFirstInArena && first == run + lines) {
            lines += count;
            return true;
        }
        const bool goOn = end();
        run = first;
        lines = count;
        return goOn;
    };
    for (std::size_t position = 0; position < m_order.size(); ++position) {
        constexpr std::size_t kSectionsAhead = 2;
        const SectionData& ahead =
            m_sections[m_order[std::min(position + kSectionsAhead, m_order.size() - 1)]];
        if (ahead.edited.Exists())
            PrefetchRecord(ahead.edited.Lines(), ahead.edited.Tags());
        const SectionData& section = m_sections[m_order[position]];
        if (section.header != kNoLine && !add(section.header, 1))
            return false;
        if (IsAsLoaded(section)) {
            if (section.count != 0 && !add(section.first, section.count))
                return false;
            continue;
        }
        for (std::uint32_t i = 0; i < section.count; ++i)
            if (!add(LineOf(section, i), 1))
                return false;
    }
    return end();
}

// So many pieces there may be.
std::size_t IniText::MostPieces() const {
    std::size_t most = 1;
    for (const Section id : m_order) {
        const SectionData& section = m_sections[id];
        most += IsAsLoaded(section) ? 1 : section.count;
        most += section.header >= kFirstInArena || !IsAsLoaded(section) ? 1 : 0;
    }
    return most;
}

// Needs no memory of its own: who cannot take a snapshot can still save.
bool IniText::HandTo(Platform::TextSink& sink) const {
    if (m_hasByteOrderMark && !sink.Take(kByteOrderMark))
        return false;
    std::array<Piece, 256> pieces;
    std::size_t count = 0;
    const auto handOut = [&] { return m_lines.HandTo(sink, pieces.data(), std::exchange(count, 0)); };
    const auto gather = [&](Piece piece) {
        if (count == pieces.size() && !handOut())
            return false;
        pieces[count++] = piece;
        return true;
    };
    return ForEachPiece(gather) && handOut();
}

TextSnapshot IniText::Snapshot() {
    TextSnapshot snapshot;
    snapshot.hasByteOrderMark = m_hasByteOrderMark;
    snapshot.pieces.reserve(MostPieces());
    ForEachPiece([&](Piece piece) {
        snapshot.pieces.push_back(piece);
        return true;
    });
    snapshot.source = static_cast<const PieceSource&>(m_lines);
    if (!m_lines.arena.MayFreeze())
        ForbidWriting();
    m_lines.arena.Freeze();
    return snapshot;
}

bool TextSnapshot::HandTo(Platform::TextSink& sink) const {
    if (hasByteOrderMark && !sink.Take(kByteOrderMark))
        return false;
    return source.HandTo(sink, pieces.data(), pieces.size());
}

}  // namespace MeterUtil
