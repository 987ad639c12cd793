// Editing a text: lines and sections come, change and go. Every edit first prepares what may run out of
// memory and then commits, so that a failed edit changes nothing.
#include <algorithm>
#include <cstdlib>
#include <new>

#include "MeterUtil/IniLine.h"
#include "MeterUtil/IniText.h"
#include "MeterUtil/KeyTag.h"

namespace MeterUtil {
namespace {

// Room for `more` further elements, growing by halves so that repeated calls stay cheap.
template <typename Element>
void Reserve(std::vector<Element>& elements, std::size_t more = 1) {
    constexpr std::size_t kFew = 16;
    if (elements.capacity() - elements.size() < more)
        elements.reserve(elements.size() + std::max({more, elements.size() / 2, kFew}));
}

}  // namespace

// ---- lines

bool IniText::BeginsWithBracket(LineRef line) const {
    return m_lines.Raw(line).substr(0, 1) == "[";
}

bool IniText::HasBracketLine(const LineList& lines) const {
    return std::any_of(lines.begin(), lines.end(), [&](LineRef line) { return BeginsWithBracket(line); });
}

// Gives a section lines of its own, which may be changed.
LineList& IniText::MakeOwnLines(SectionData& section) {
    LineList edited;
    edited.Reserve(section.count + 1);
    for (std::uint32_t i = 0; i < section.count; ++i)
        edited.Append(LineOf(section, i));
    if (section.tagged)
        std::copy(Tags(section), Tags(section) + section.count, edited.Tags());
    section.edited = std::move(edited);
    Touch(section);
    return section.edited;
}

// Before the first value of a section changes.
void IniText::PrepareStandIn(SectionData& section) {
    if (m_lines.TakesStandIns())
        Touch(section);
    else
        MakeOwnLines(section);
}

// Has a line stand for one with the same key.
void IniText::PutStandIn(SectionData& section, std::uint32_t index, LineRef line) noexcept {
    if (section.edited.Exists()) {
        section.edited.Lines()[index] = line;
        return;
    }
    m_lines.places[section.first + index] = line;
    section.hasStandIns = true;
}

// A line of a section, or its header, no longer stands in the base. Up to the first such section no position
// has ever changed; behind it any number will do.
void IniText::Touch(const SectionData& section) noexcept {
    if (section.position < m_firstLine.size())
        m_untouched = std::min(m_untouched, m_firstLine[section.position]);
}

// A line of these parts, the last of which has all of its line end.
LineRef IniText::NewLine(std::initializer_list<std::string_view> parts, LineArena::Corner* corner) {
    std::size_t size = 0;
    for (const std::string_view part : parts)
        size += part.size();
    const LineRef line = m_lines.arena.Allocate(size, LineEndOf(*(parts.end() - 1)).size(), corner);
    char* next = m_lines.arena.Writable(line);
    for (const std::string_view part : parts)
        next = std::copy(part.begin(), part.end(), next);
    return line;
}

// Gives a line a new place of `size` bytes, with the first `kept` ones in it already.
char* IniText::MoveHead(LineRef& line, std::size_t kept, std::size_t size, std::size_t lineEnd,
                        LineArena::Corner* corner) {
    const std::string_view head = m_lines.From(line).substr(0, kept);
    line = m_lines.arena.Allocate(size, lineEnd, corner);
    char* const bytes = m_lines.arena.Writable(line);
    std::copy(head.begin(), head.end(), bytes);
    return bytes;
}

bool IniText::IsLast(Section id) const {
    return m_order.back() == id;
}

// Gives the last line of the file a line end, when it lacks one.
void IniText::EndLastLine() {
    SectionData& last = m_sections[m_order.back()];
    const std::string_view raw = last.count != 0 ? Raw(last, last.count - 1) : Header(last);
    if (raw.empty() || raw.back() == '\n')
        return;
    LineRef& line = last.count != 0 ? Edit(last).Last() : last.header;
    ReplaceTail(line, raw.size(), {}, LineEndFor(raw));
    Touch(last);
}

// A section came at a position.
void IniText::OrderChangedFrom(std::uint32_t position) {
    m_placed = std::min(m_placed, position);
    LinesChangedFrom(position - 1);
}

// Lines came or went in the section at a position.
void IniText::LinesChangedFrom(std::uint32_t position) {
    m_numbered = std::min(m_numbered, position + 1);
    m_cursor.section = kNoSection;
}

std::size_t IniText::BytesOf(const SectionData& section) const {
    const std::size_t header = Header(section).size();
    if (IsAsLoaded(section))
        return header + (section.count == 0 ? 0 : m_lines.PieceOf(section.first, section.count).size);
    std::size_t lines = 0;
    for (std::uint32_t i = 0; i < section.count; ++i)
        lines += Raw(section, i).size();
    return header + lines;
}

// ---- entries

void IniText::SetValue(const FoundEntry& found, std::string_view value) {
    SectionData& section = m_sections[found.section];
    if (IsAsLoaded(section))
        PrepareStandIn(section);
    LineRef line = found.line;
    const bool isKnown = line < kFirstInArena && section.endsAlike;
    ReplaceTail(line, found.kept, value, isKnown ? kCrLf : m_lines.LineEnd(line), &section.corner);
    if (line != found.line)
        PutStandIn(section, found.index, line);
    Tidy();
}

// Adds an entry behind the last line of a section that is not blank.
void IniText::AddEntry(Section id, std::string_view key, std::string_view value) {
    SectionData& section = m_sections[id];
    std::uint32_t index = section.count;
    while (index != 0 && IsBlankLine(WithoutLineEnd(Raw(section, index - 1))))
        --index;
    LineList& edited = Edit(section);
    edited.Reserve(1);
    const LineRef line = NewLine({key, "=", value, m_lineEnd}, &section.corner);
    if (index == section.count && IsLast(id))
        EndLastLine();

    edited.Insert(index, line, KeyTag(key));
    if (index == section.leading)
        ++section.leading;
    ++section.count;
    ++m_lineCount;
    LinesChangedFrom(PositionOf(id));
    Tidy();
}

bool IniText::DeleteKey(Section id, std::string_view key) {
    SectionData& section = m_sections[id];
    const std::uint32_t index = Find(Seek(id, key)).index;
    if (index == kNoIndex)
        return false;
    Edit(section).Erase(index);
    if (index < section.leading)
        --section.leading;
    --section.count;
    --m_lineCount;
    LinesChangedFrom(PositionOf(id));
    Tidy();
    return true;
}

// ---- lines by number

void IniText::SetLine(std::uint32_t line, std::string_view text) {
    const Place place = Locate(line);
    const Section id = m_order[place.position];
    std::string_view name;
    const bool becomesHeader = IsHeader(text, &name);
    if (place.index == kHeaderLine && becomesHeader)
        RenameHeader(id, text);
    else if (place.index == kHeaderLine)
        JoinToPrevious(id, text);
    else if (becomesHeader)
        SplitSection(id, place.index, text);
    else
        ReplaceLine(m_sections[id], place.index, text);
    Tidy();
}

void IniText::ReplaceLine(SectionData& section, std::uint32_t index, std::string_view text) {
    LineRef& line = Edit(section).Lines()[index];
    const std::string_view lineEnd = m_lines.LineEnd(line);
    // An empty line always has a line end: without one it would not be there.
    ReplaceTail(line, 0, text, text.empty() && lineEnd.empty() ? m_lineEnd : lineEnd, &section.corner);
    section.hasBracketLines |= BeginsWithBracket(line);
    section.tagged = false;
    m_cursor.section = kNoSection;
}

void IniText::RenameHeader(Section id, std::string_view text) {
    SectionData& section = m_sections[id];
    const std::string_view lineEnd = LineEndOf(Header(section));
    const std::size_t size = text.size() + lineEnd.size();
    LineRef header = section.header;
    if (header < kFirstInArena || !m_lines.arena.Takes(header, size))
        header = m_lines.arena.Allocate(size, lineEnd.size());

    Unlink(id);
    ReplaceTail(header, 0, text, lineEnd);
    SetHeader(section, header);
    Touch(section);
    Link(id);
}

// A line becomes a header: the lines behind it are a section of their own from now on.
void IniText::SplitSection(Section id, std::uint32_t index, std::string_view headerText) {
    const LineList& lines = Edit(m_sections[id]);
    LineList behind;
    behind.Reserve(lines.Size() - index - 1);
    for (const LineRef* line = lines.begin() + index + 1; line != lines.end(); ++line)
        behind.Append(*line);
    const LineRef header = NewLine({headerText, LineEndOf(m_lines.Raw(lines.Lines()[index]))});
    ReserveSection();
    NewSection(header, std::move(behind), PositionOf(id) + 1);

    SectionData& section = m_sections[id];
    m_lineCount -= section.count - index;
    section.edited.Truncate(index);
    section.count = index;
    section.tagged = false;
}

// A header becomes an ordinary line: it and the lines behind it go on with the section before.
void IniText::JoinToPrevious(Section id, std::string_view text) {
    const std::string_view lineEnd = LineEndOf(Header(m_sections[id]));
    const LineRef joint = NewLine({text, text.empty() && lineEnd.empty() ? m_lineEnd : lineEnd});
    LineList moved;
    {
        const LineList& lines = Edit(m_sections[id]);
        moved.Reserve(lines.Size() + 1);
        moved.Append(joint);
        for (const LineRef line : lines)
            moved.Append(line);
    }
    std::uint32_t position = PositionOf(id) - 1;
    while (IsGap(position))
        --position;
    SectionData& previous = m_sections[m_order[position]];
    Edit(previous).Reserve(moved.Size());
    RemoveSection(id);

    for (const LineRef line : moved)
        previous.edited.Append(line);
    previous.count = previous.edited.Size();
    previous.tagged = false;
    previous.hasBracketLines |= HasBracketLine(moved);
    m_lineCount += moved.Size();
    LinesChangedFrom(position);
}

void IniText::AppendLine(std::string_view text) {
    std::string_view name;
    const LineRef line = NewLine({text, m_lineEnd});
    if (IsHeader(text, &name)) {
        LineList lines;
        lines.Reserve(kLinesOfARecord);
        ReserveSection();
        EndLastLine();
        NewSection(line, std::move(lines), static_cast<std::uint32_t>(m_order.size()));
        return;
    }
    SectionData& section = m_sections[m_order.back()];
    LineList& edited = Edit(section);
    edited.Reserve(1);
    EndLastLine();

    edited.Append(line);
    if (section.tagged) {
        const std::uint8_t tag = LineTag(text);
        edited.Tags()[section.count] = tag;
        if (section.leading == section.count && tag != kNoEntryTag)
            ++section.leading;
    }
    section.hasBracketLines |= BeginsWithBracket(line);
    ++section.count;
    ++m_lineCount;
}

// ---- sections

void IniText::AddSection(std::string_view name, std::string_view key, std::string_view value) {
    LineList lines;
    lines.Reserve(kLinesOfARecord);
    lines.Append(NewLine({key, "=", value, m_lineEnd}));
    const LineRef header = NewLine({"[", name, "]", m_lineEnd});
    ReserveSection();
    EndLastLine();
    NewSection(header, std::move(lines), static_cast<std::uint32_t>(m_order.size()));
}

void IniText::SetHeader(SectionData& section, LineRef header) noexcept {
    std::string_view name;
    IsHeader(m_lines.Raw(header), &name);
    section.header = header;
    SetName(section, name);
}

// Makes room for one section more.
void IniText::ReserveSection() {
    Reserve(m_order);
    Reserve(m_firstLine);
    Reserve(m_sections);
    Reserve(m_unused);
    m_names.Reserve(m_order.size() + 1);
}

// Puts a section with its lines into the order of the file; ReserveSection has been called.
IniText::Section IniText::NewSection(LineRef header, LineList lines, std::uint32_t position) noexcept {
    if (m_unused.empty()) {
        m_unused.push_back(static_cast<Section>(m_sections.size()));
        m_sections.emplace_back();
    }
    const Section id = m_unused.back();
    m_unused.pop_back();
    SectionData& section = m_sections[id];
    SetHeader(section, header);
    section.first = 0;
    section.count = lines.Size();
    section.hasBracketLines = HasBracketLine(lines);
    section.edited = std::move(lines);
    m_order.insert(m_order.begin() + position, id);
    m_firstLine.insert(m_firstLine.begin() + position, 0);
    section.position = position;
    OrderChangedFrom(position);
    Link(id);
    m_lineCount += LinesOf(section);
    return id;
}

void IniText::DeleteSection(Section id) {
    RemoveSection(id);
    Tidy();
}

// Takes a section with its lines out of the text. Its copy is kept under its name, unless another section has
// it.
void IniText::RemoveSection(Section id) {
    Reserve(m_unused, m_gaps + std::size_t{1});
    const auto copy = m_copies.find(id);
    const bool isOnlyOne = m_sections[id].nextSame == kNoSection && m_sections[id].prevSame == id;
    if (copy != m_copies.end() && isOnlyOne) {
        copy->second.header = Header(m_sections[id]);
        m_copiesOfDeleted.insert_or_assign(std::string(NameOf(m_sections[id])), copy->second);
    }

    m_copies.erase(id);
    Unlink(id);
    Touch(m_sections[id]);
    const std::uint32_t position = PositionOf(id);
    m_lineCount -= LinesOf(m_sections[id]);
    m_sections[id] = SectionData();
    m_sections[id].position = position;
    LinesChangedFrom(position);
    ++m_gaps;
    while (IsGap(static_cast<std::uint32_t>(m_order.size()) - 1)) {
        m_unused.push_back(m_order.back());
        m_order.pop_back();
        m_firstLine.pop_back();
        --m_gaps;
    }
    m_placed = std::min(m_placed, static_cast<std::uint32_t>(m_order.size()));
    m_numbered = std::min(m_numbered, static_cast<std::uint32_t>(m_order.size()));
    constexpr std::size_t kFewGaps = 16;
    if (m_gaps > kFewGaps + m_order.size() / 4)
        CloseGaps();
}

// True at a position whose section was removed. The last position is none.
bool IniText::IsGap(std::uint32_t position) const {
    return position != 0 && m_sections[m_order[position]].header == kNoLine;
}

// Takes the gaps out of the order. The sections that they were may be used again.
void IniText::CloseGaps() noexcept {
    std::uint32_t kept = 1;
    for (std::uint32_t position = 1; position < m_order.size(); ++position) {
        if (IsGap(position))
            m_unused.push_back(m_order[position]);
        else
            m_order[kept++] = m_order[position];
    }
    m_order.resize(kept);
    m_firstLine.resize(kept);
    m_gaps = 0;
    m_placed = 1;
    m_numbered = 1;
}

// ---- copies of sections

void IniText::KeepCopy(Section id) {
    const SectionData& section = m_sections[id];
    Copy copy;
    for (std::uint32_t i = 0; i < section.count; ++i)
        copy.lines += Raw(section, i);
    m_copies.insert_or_assign(id, std::move(copy));
}

bool IniText::RestoreCopy(std::string_view name) {
    const Section id = FindSection(name);
    if (id != kNoSection) {
        const auto copy = m_copies.find(id);
        if (copy == m_copies.end())
            return false;
        ReplaceLines(id, copy->second.lines);
        Tidy();
        return true;
    }
    const auto deleted = m_copiesOfDeleted.find(name);
    if (deleted == m_copiesOfDeleted.end())
        return false;

    // The restored section owns the copy again; its place in the map is made before anything changes.
    std::map<Section, Copy> copies;
    copies.emplace(kNoSection, deleted->second);
    const LineRef header = NewLine({deleted->second.header});  // ends, when there were lines behind it
    LineList lines = LinesFrom(deleted->second.lines);
    ReserveSection();
    EndLastLine();
    const Section restored = NewSection(header, std::move(lines), static_cast<std::uint32_t>(m_order.size()));
    auto node = copies.extract(copies.begin());
    node.key() = restored;
    m_copies.insert(std::move(node));
    Tidy();
    return true;
}

LineList IniText::LinesFrom(std::string_view raw) {
    LineList lines;
    lines.Reserve(kLinesOfARecord);
    while (!raw.empty()) {
        const std::size_t lf = raw.find('\n');
        const std::string_view line = raw.substr(0, lf == std::string_view::npos ? raw.size() : lf + 1);
        lines.Reserve(1);
        lines.Append(NewLine({line}));
        raw.remove_prefix(line.size());
    }
    return lines;
}

// Replaces the lines behind the header of a section.
void IniText::ReplaceLines(Section id, std::string_view raw) {
    LineList lines = LinesFrom(raw);
    SectionData& section = m_sections[id];
    if (lines.Size() != 0 && !IsLast(id) && LineEndOf(m_lines.Raw(lines.Last())).empty()) {
        const std::string_view text = m_lines.Raw(lines.Last());
        lines.Last() = NewLine({text, LineEndFor(text)});
    }

    Touch(section);
    m_lineCount -= section.count;
    section.edited = std::move(lines);
    section.count = section.edited.Size();
    section.tagged = false;
    section.hasBracketLines = HasBracketLine(section.edited);
    m_lineCount += section.count;
    LinesChangedFrom(PositionOf(id));
}

// ---- memory

// Lines that were written over or deleted leave gaps in the arena. When they outweigh the text, the text
// moves into a new base; without memory for that it stays where it is.
void IniText::TidyUp() noexcept {
    const std::size_t textBytes = TextBytes();
    m_tidyAt = kSmallArena + 2 * textBytes;
    if (m_lines.arena.UsedBytes() < m_tidyAt || textBytes > kMostBytes || m_lineCount > kFirstInArena)
        return;
    try {
        Rebase(textBytes);
    } catch (const std::bad_alloc&) {
        return;
    }
}

// What the text takes, without the byte order mark.
std::size_t IniText::TextBytes() const {
    std::size_t bytes = 0;
    for (const Section id : m_order)
        bytes += BytesOf(m_sections[id]);
    return bytes;
}

void IniText::Rebase(std::size_t textBytes) {
    const std::size_t startCount = std::size_t{m_lineCount} + 1;
    Platform::FileBytes bytes;
    bytes.data.reset(static_cast<char*>(std::malloc(textBytes + 1)));
    std::unique_ptr<std::uint32_t[], Platform::FreeBlock> starts(
        static_cast<std::uint32_t*>(std::malloc(startCount * sizeof(std::uint32_t))));
    TagBlock tags = NewTags(m_lineCount);
    if (bytes.data == nullptr || starts == nullptr)
        throw std::bad_alloc();
    char* const base = bytes.data.get();
    std::uint32_t* const places = starts.get();
    std::shared_ptr<const char> owner = OwnBlock(std::move(bytes));

    char* next = base;
    std::uint32_t line = 0;
    const auto move = [&](std::string_view raw) {
        places[line++] = static_cast<std::uint32_t>(next - base);
        next = std::copy(raw.begin(), raw.end(), next);
    };
    for (const Section id : m_order) {
        SectionData& section = m_sections[id];
        if (section.header != kNoLine) {
            move(Header(section));
            section.header = line - 1;
        }
        const std::uint32_t first = line;
        for (std::uint32_t i = 0; i < section.count; ++i)
            move(Raw(section, i));
        section.edited = LineList();
        section.corner = 0;
        section.hasStandIns = false;
        section.first = first;
        section.tagged = false;
    }
    places[line] = static_cast<std::uint32_t>(next - base);
    m_lines.base = std::move(owner);
    m_lines.places = std::move(starts);
    m_lines.bytes = static_cast<std::uint32_t>(textBytes);
    m_lines.arena = LineArena();
    m_names.SetLines([&](Section id) { return m_sections[id].first; });
    m_tags = std::move(tags);
}

// No line that stands in the text now is written over.
void IniText::ForbidWriting() noexcept {
    const auto forbid = [&](LineRef line) {
        if (line >= kFirstInArena && line != kNoLine)
            m_lines.arena.ForbidWriting(line);
    };
    for (SectionData& section : m_sections) {
        forbid(section.header);
        for (std::uint32_t i = 0; i < section.count; ++i)
            forbid(LineOf(section, i));
    }
    m_lines.arena.RestartEpochs();
}

}  // namespace MeterUtil
