// Editing a text: lines and sections come, change and go. Every edit first prepares what may run out of
// memory and then commits, so that a failed edit changes nothing.
#include <algorithm>
#include <new>

#include "MeterUtil/IniLine.h"
#include "MeterUtil/IniText.h"

namespace MeterUtil {
namespace {

// Room for `more` further elements, growing by halves so that repeated calls stay cheap.
template <typename Element>
void Reserve(std::vector<Element>& elements, std::size_t more = 1) {
    if (elements.capacity() - elements.size() < more)
        elements.reserve(elements.size() + std::max(more, elements.size() / 2));
}

std::size_t SizeOf(const std::vector<Line>& lines) {
    std::size_t bytes = 0;
    for (const Line& line : lines)
        bytes += line.size;
    return bytes;
}

bool BeginsWithBracket(const Line& line) {
    return line.size != 0 && line.text[0] == '[';
}

}  // namespace

// ---- lines

// Gives a section lines of its own, which may be changed.
IniText::EditedLines& IniText::Edit(SectionData& section) {
    if (section.edited != nullptr)
        return *section.edited;
    auto edited = std::make_unique<EditedLines>();
    edited->lines.reserve(section.count + 1U);
    for (std::uint32_t i = 0; i < section.count; ++i) {
        const std::string_view raw = Raw(section, i);
        edited->lines.push_back({raw.data(), static_cast<std::uint32_t>(raw.size()), 0});
    }
    if (section.tagged)
        edited->tags.assign(Tags(section), Tags(section) + section.count);
    section.edited = std::move(edited);
    return *section.edited;
}

Line IniText::NewLine(std::initializer_list<std::string_view> parts) {
    std::size_t size = 0;
    for (const std::string_view part : parts)
        size += part.size();
    const Line line = m_arena.Allocate(size);
    char* next = LineArena::Writable(line);
    for (const std::string_view part : parts)
        next = std::copy(part.begin(), part.end(), next);
    return line;
}

// Puts a text and a line end behind the first `kept` bytes of a line.
void IniText::ReplaceTail(Line& line, std::size_t kept, std::string_view text, std::string_view lineEnd) {
    const std::size_t size = kept + text.size() + lineEnd.size();
    if (size > line.capacity) {
        line = NewLine({line.Raw().substr(0, kept), text, lineEnd});
        return;
    }
    char* const tail = LineArena::Writable(line) + kept;
    std::copy(lineEnd.begin(), lineEnd.end(), std::copy(text.begin(), text.end(), tail));
    line.size = static_cast<std::uint32_t>(size);
}

bool IniText::IsLast(Section id) const {
    return m_order.back() == id;
}

// Gives the last line of the file a line end, when it lacks one.
void IniText::EndLastLine() {
    SectionData& last = m_sections[m_order.back()];
    const std::string_view raw = last.count != 0 ? Raw(last, last.count - 1) : last.header.Raw();
    if (raw.empty() || raw.back() == '\n')
        return;
    Line& line = last.count != 0 ? Edit(last).lines.back() : last.header;
    ReplaceTail(line, raw.size(), {}, LineEndFor(raw));
}

// Sections came or went at a position.
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
    if (section.edited != nullptr)
        return section.header.size + SizeOf(section.edited->lines);
    return section.header.size + std::size_t{m_starts[section.first + section.count]} -
           m_starts[section.first];
}

// ---- entries

void IniText::SetValue(Section id, std::string_view key, std::string_view value) {
    std::string_view old;
    const std::uint32_t index = FindEntry(id, key, &old);
    if (index == kNoLine) {
        AddEntry(id, key, value);
    } else {
        Line& line = Edit(m_sections[id]).lines[index];
        ReplaceTail(line, static_cast<std::size_t>(old.data() - line.text), value, LineEndOf(line.Raw()));
    }
    Tidy();
}

// Adds an entry behind the last line of a tagged section that is not blank.
void IniText::AddEntry(Section id, std::string_view key, std::string_view value) {
    SectionData& section = m_sections[id];
    std::uint32_t index = section.count;
    while (index != 0 && IsBlankLine(WithoutLineEnd(Raw(section, index - 1))))
        --index;
    EditedLines& edited = Edit(section);
    Reserve(edited.lines);
    Reserve(edited.tags);
    const Line line = NewLine({key, "=", value, m_lineEnd});
    if (index == section.count && IsLast(id))
        EndLastLine();

    edited.lines.insert(edited.lines.begin() + index, line);
    edited.tags.insert(edited.tags.begin() + index, KeyTag(key));
    if (index == section.leading)
        ++section.leading;
    ++section.count;
    ++m_lineCount;
    LinesChangedFrom(PositionOf(id));
}

bool IniText::DeleteKey(Section id, std::string_view key) {
    std::string_view value;
    const std::uint32_t index = FindEntry(id, key, &value);
    if (index == kNoLine)
        return false;
    SectionData& section = m_sections[id];
    EditedLines& edited = Edit(section);
    edited.lines.erase(edited.lines.begin() + index);
    edited.tags.erase(edited.tags.begin() + index);
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
    Line& line = Edit(section).lines[index];
    const std::string_view lineEnd = LineEndOf(line.Raw());
    // An empty line always has a line end: without one it would not be there.
    ReplaceTail(line, 0, text, text.empty() && lineEnd.empty() ? m_lineEnd : lineEnd);
    section.hasBracketLines |= BeginsWithBracket(line);
    section.tagged = false;
    m_cursor.section = kNoSection;
}

void IniText::RenameHeader(Section id, std::string_view text) {
    SectionData& section = m_sections[id];
    std::string_view name;
    IsHeader(text, &name);
    const std::string_view lineEnd = LineEndOf(section.header.Raw());
    const std::size_t size = text.size() + lineEnd.size();
    Line header = section.header;
    if (size > header.capacity)
        header = m_arena.Allocate(size);

    Unlink(id);
    char* const end = std::copy(text.begin(), text.end(), LineArena::Writable(header));
    std::copy(lineEnd.begin(), lineEnd.end(), end);
    header.size = static_cast<std::uint32_t>(size);
    section.header = header;
    section.hash = FoldedHash(name);
    Link(id);
}

// A line becomes a header: the lines behind it are a section of their own from now on.
void IniText::SplitSection(Section id, std::uint32_t index, std::string_view headerText) {
    const std::vector<Line>& lines = Edit(m_sections[id]).lines;
    auto behind = std::make_unique<EditedLines>();
    behind->lines.assign(lines.begin() + index + 1, lines.end());
    const Line header = NewLine({headerText, LineEndOf(lines[index].Raw())});
    ReserveSection();
    NewSection(header, std::move(behind), PositionOf(id) + 1);

    SectionData& section = m_sections[id];
    m_lineCount -= section.count - index;
    section.edited->lines.resize(index);
    section.count = index;
    section.tagged = false;
    LinesChangedFrom(PositionOf(id));
}

// A header becomes an ordinary line: it and the lines behind it go on with the section before.
void IniText::JoinToPrevious(Section id, std::string_view text) {
    const std::string_view lineEnd = LineEndOf(m_sections[id].header.Raw());
    const Line joint = NewLine({text, text.empty() && lineEnd.empty() ? m_lineEnd : lineEnd});
    std::vector<Line> moved = Edit(m_sections[id]).lines;
    moved.insert(moved.begin(), joint);
    const std::uint32_t position = PositionOf(id) - 1;
    SectionData& previous = m_sections[m_order[position]];
    std::vector<Line>& lines = Edit(previous).lines;
    Reserve(lines, moved.size());
    RemoveSection(id);

    lines.insert(lines.end(), moved.begin(), moved.end());
    previous.count = static_cast<std::uint32_t>(lines.size());
    previous.tagged = false;
    previous.hasBracketLines |= std::any_of(moved.begin(), moved.end(), BeginsWithBracket);
    m_lineCount += static_cast<std::uint32_t>(moved.size());
    LinesChangedFrom(position);
}

void IniText::AppendLine(std::string_view text) {
    std::string_view name;
    const Line line = NewLine({text, m_lineEnd});
    if (IsHeader(text, &name)) {
        auto lines = std::make_unique<EditedLines>();
        ReserveSection();
        EndLastLine();
        NewSection(line, std::move(lines), static_cast<std::uint32_t>(m_order.size()));
        return;
    }
    SectionData& section = m_sections[m_order.back()];
    EditedLines& edited = Edit(section);
    Reserve(edited.lines);
    if (section.tagged)
        Reserve(edited.tags);
    EndLastLine();

    edited.lines.push_back(line);
    if (section.tagged) {
        edited.tags.push_back(LineTag(text));
        if (section.leading == section.count && edited.tags.back() != kNoEntryTag)
            ++section.leading;
    }
    section.hasBracketLines |= BeginsWithBracket(line);
    ++section.count;
    ++m_lineCount;
}

// ---- sections

void IniText::AddSection(std::string_view name, std::string_view key, std::string_view value) {
    auto lines = std::make_unique<EditedLines>();
    lines->lines.push_back(NewLine({key, "=", value, m_lineEnd}));
    const Line header = NewLine({"[", name, "]", m_lineEnd});
    ReserveSection();
    EndLastLine();
    NewSection(header, std::move(lines), static_cast<std::uint32_t>(m_order.size()));
}

// Makes room for one section more.
void IniText::ReserveSection() {
    Reserve(m_order);
    Reserve(m_firstLine);
    Reserve(m_sections);
    Reserve(m_unused);
    if (m_order.size() >= m_buckets.size())
        GrowBuckets();
}

// Puts a section with its lines into the order of the file; ReserveSection has been called.
IniText::Section IniText::NewSection(const Line& header, std::unique_ptr<EditedLines> lines,
                                     std::uint32_t position) noexcept {
    if (m_unused.empty()) {
        m_unused.push_back(static_cast<Section>(m_sections.size()));
        m_sections.emplace_back();
    }
    const Section id = m_unused.back();
    m_unused.pop_back();
    SectionData& section = m_sections[id];
    section.header = header;
    section.count = static_cast<std::uint32_t>(lines->lines.size());
    section.hasBracketLines = std::any_of(lines->lines.begin(), lines->lines.end(), BeginsWithBracket);
    section.edited = std::move(lines);
    section.hash = FoldedHash(NameOf(section));
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
    Reserve(m_unused);
    const auto copy = m_copies.find(id);
    const bool isOnlyOne = m_sections[id].nextSame == kNoSection && m_sections[id].prevSame == id;
    if (copy != m_copies.end() && isOnlyOne) {
        copy->second.header = m_sections[id].header.Raw();
        m_copiesOfDeleted.insert_or_assign(std::string(NameOf(m_sections[id])), copy->second);
    }

    m_copies.erase(id);
    Unlink(id);
    const SectionData& section = m_sections[id];
    const std::uint32_t position = PositionOf(id);
    m_lineCount -= LinesOf(section);
    m_order.erase(m_order.begin() + position);
    m_firstLine.erase(m_firstLine.begin() + position);
    OrderChangedFrom(position);
    m_sections[id] = SectionData();
    m_unused.push_back(id);
}

// Doubles the buckets. Only the first section of each name stands in one; the others hang on it.
void IniText::GrowBuckets() {
    std::vector<Section> buckets(m_buckets.size() * 2, kNoSection);
    m_buckets.swap(buckets);
    for (Section id : buckets) {
        while (id != kNoSection) {
            SectionData& section = m_sections[id];
            const Section next = section.nextInBucket;
            Section& bucket = m_buckets[section.hash & (m_buckets.size() - 1)];
            section.nextInBucket = bucket;
            bucket = id;
            id = next;
        }
    }
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
    const std::string_view oldHeader = deleted->second.header;
    const bool needsLineEnd = LineEndOf(oldHeader).empty() && !deleted->second.lines.empty();
    const Line header = NewLine({oldHeader, needsLineEnd ? LineEndFor(oldHeader) : kNoLineEnd});
    std::unique_ptr<EditedLines> lines = LinesFrom(deleted->second.lines);
    ReserveSection();
    EndLastLine();
    const Section restored = NewSection(header, std::move(lines), static_cast<std::uint32_t>(m_order.size()));
    auto node = copies.extract(copies.begin());
    node.key() = restored;
    m_copies.insert(std::move(node));
    Tidy();
    return true;
}

std::unique_ptr<IniText::EditedLines> IniText::LinesFrom(std::string_view raw) {
    auto edited = std::make_unique<EditedLines>();
    while (!raw.empty()) {
        const std::size_t lf = raw.find('\n');
        const std::string_view line = raw.substr(0, lf == std::string_view::npos ? raw.size() : lf + 1);
        edited->lines.push_back(NewLine({line}));
        raw.remove_prefix(line.size());
    }
    return edited;
}

// Replaces the lines behind the header of a section.
void IniText::ReplaceLines(Section id, std::string_view raw) {
    std::unique_ptr<EditedLines> lines = LinesFrom(raw);
    SectionData& section = m_sections[id];
    const bool isLast = IsLast(id);
    if (!lines->lines.empty() && !isLast && LineEndOf(lines->lines.back().Raw()).empty()) {
        const std::string_view text = lines->lines.back().Raw();
        lines->lines.back() = NewLine({text, LineEndFor(text)});
    }
    if (isLast && section.count == 0 && !lines->lines.empty())
        EndLastLine();  // the header's

    m_lineCount -= section.count;
    section.edited = std::move(lines);
    section.count = static_cast<std::uint32_t>(section.edited->lines.size());
    section.tagged = false;
    section.hasBracketLines =
        std::any_of(section.edited->lines.begin(), section.edited->lines.end(), BeginsWithBracket);
    m_lineCount += section.count;
    LinesChangedFrom(PositionOf(id));
}

// ---- memory

// Lines that were written over or deleted leave gaps in the arena. When they outweigh the text, the text
// moves into a new base; without memory for that it stays where it is.
void IniText::Tidy() noexcept {
    constexpr std::size_t kSmall = std::size_t{1024} * 1024;
    if (m_arena.UsedBytes() < m_tidyAt)
        return;
    const std::size_t textBytes = TextBytes();
    m_tidyAt = kSmall + 2 * textBytes;
    if (m_arena.UsedBytes() < m_tidyAt || textBytes > kMostBytes)
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
    std::unique_ptr<std::uint32_t[], LineStartsFree> starts(
        static_cast<std::uint32_t*>(std::malloc(startCount * sizeof(std::uint32_t))));
    std::unique_ptr<std::uint8_t[], LineStartsFree> tags(
        static_cast<std::uint8_t*>(std::calloc(startCount, 1)));
    if (bytes.data == nullptr || starts == nullptr || tags == nullptr)
        throw std::bad_alloc();
    char* const base = bytes.data.get();
    std::shared_ptr<const char> owner = OwnBlock(std::move(bytes));

    char* next = base;
    std::uint32_t line = 0;
    const auto move = [&](std::string_view raw) {
        starts[line++] = static_cast<std::uint32_t>(next - base);
        next = std::copy(raw.begin(), raw.end(), next);
        return next - raw.size();
    };
    for (const Section id : m_order) {
        SectionData& section = m_sections[id];
        if (section.header.size != 0)
            section.header = {move(section.header.Raw()), section.header.size, 0};
        const std::uint32_t first = line;
        for (std::uint32_t i = 0; i < section.count; ++i)
            move(Raw(section, i));
        section.edited.reset();
        section.first = first;
        section.tagged = false;
    }
    starts[line] = static_cast<std::uint32_t>(next - base);
    m_base = std::move(owner);
    m_starts = std::move(starts);
    m_startCount = m_startCapacity = startCount;
    m_tags = std::move(tags);
    m_arena = LineArena();
    m_cursor.section = kNoSection;
}

}  // namespace MeterUtil
