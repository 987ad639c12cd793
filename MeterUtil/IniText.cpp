// Loading a text, finding sections, entries and lines in it, and handing it out for saving.
#include "MeterUtil/IniText.h"

#include <algorithm>
#include <functional>
#include <new>

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

void IniText::Load(Platform::FileBytes bytes) {
    m_lineEnd = kCrLf;
    m_sections.clear();
    m_order.assign(1, 0);
    m_firstLine.assign(1, 0);
    m_sections.emplace_back();
    m_startCount = 0;
    const std::size_t size = bytes.size;
    m_base = OwnBlock(std::move(bytes));

    const std::string_view text(size == 0 ? "" : m_base.get(), size);
    m_hasByteOrderMark = text.substr(0, kByteOrderMark.size()) == kByteOrderMark;
    const std::size_t skipped = m_hasByteOrderMark ? kByteOrderMark.size() : 0;
    ScanLines(text.data() + skipped, text.data() + size);
    BuildNameIndex();
}

std::shared_ptr<const char> IniText::OwnBlock(Platform::FileBytes bytes) {
    const std::shared_ptr<char> block(bytes.data.release(), Platform::FreeBlock());
    return block;
}

// One pass over the text: where each line begins, and which lines are headers.
void IniText::ScanLines(const char* begin, const char* end) {
    // Most files have longer lines, so that the block need not grow; what is not needed is given back.
    constexpr std::size_t kShortLine = 32;
    ResizeLineStarts(static_cast<std::size_t>(end - begin) / kShortLine + 2);
    Platform::ExpectRandomReads(m_starts.get(), m_startCapacity * sizeof(std::uint32_t));
    const std::size_t skipped = m_hasByteOrderMark ? kByteOrderMark.size() : 0;
    for (const char* line = begin; line != end;) {
        const auto* lf =
            static_cast<const char*>(std::memchr(line, '\n', static_cast<std::size_t>(end - line)));
        const char* const next = lf == nullptr ? end : lf + 1;
        if (*line == '[' || MeterText::IsBlank(*line))
            OpenSection({line, static_cast<std::size_t>(next - line)});
        AddLineStart(skipped + static_cast<std::size_t>(line - begin));
        line = next;
    }
    CloseSection();
    m_numbered = m_placed = static_cast<std::uint32_t>(m_order.size());
    m_lineCount = m_untouched = static_cast<std::uint32_t>(m_startCount);
    AddLineStart(skipped + static_cast<std::size_t>(end - begin));
    ResizeLineStarts(m_startCount);
    if (m_lineCount != 0 && LineEndOf({begin, m_starts[1] - skipped}) == kLf)
        m_lineEnd = kLf;
    // A tag that was never written costs no memory: the system gives zeroed pages when they are first
    // touched.
    m_tags.reset(static_cast<std::uint8_t*>(std::calloc(m_startCount, 1)));
    if (m_tags == nullptr)
        throw std::bad_alloc();
}

void IniText::AddLineStart(std::size_t offset) {
    if (m_startCount == m_startCapacity)
        ResizeLineStarts(m_startCapacity + m_startCapacity / 2 + 1024);
    m_starts[m_startCount++] = static_cast<std::uint32_t>(offset);
}

// realloc moves the pages of a large block instead of copying them.
void IniText::ResizeLineStarts(std::size_t capacity) {
    void* const block = std::realloc(m_starts.get(), capacity * sizeof(std::uint32_t));
    if (block == nullptr)
        throw std::bad_alloc();
    static_cast<void>(m_starts.release());  // realloc has taken it
    m_starts.reset(static_cast<std::uint32_t*>(block));
    m_startCapacity = capacity;
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
    section.header = {raw.data(), static_cast<std::uint32_t>(raw.size()), 0, 0};
    section.first = static_cast<std::uint32_t>(m_startCount) + 1;
    section.nameSize = static_cast<std::uint32_t>(name.size());
    section.position = static_cast<std::uint32_t>(m_order.size());
    m_order.push_back(static_cast<Section>(m_sections.size()));
    m_firstLine.push_back(static_cast<std::uint32_t>(m_startCount));
    m_sections.push_back(std::move(section));
}

void IniText::CloseSection() {
    SectionData& section = m_sections.back();
    section.count = static_cast<std::uint32_t>(m_startCount) - section.first;
}

// ---- lines

std::string_view IniText::BaseLine(std::size_t line) const {
    return {m_base.get() + m_starts[line], m_starts[line + 1] - m_starts[line]};
}

std::string_view IniText::Raw(const SectionData& section, std::uint32_t index) const {
    if (section.edited.Exists())
        return section.edited.Lines()[index].Raw();
    return BaseLine(std::size_t{section.first} + index);
}

const std::uint8_t* IniText::Tags(const SectionData& section) const {
    return section.edited.Exists() ? section.edited.Tags() : m_tags.get() + section.first;
}

std::uint32_t IniText::LinesOf(const SectionData& section) const {
    return section.count + (section.header.size != 0 ? 1 : 0);
}

// The line end that a new line with this text, or a last line that lacks one, gets. A CR at the end of a text
// stays text only with a CR LF behind it.
std::string_view IniText::LineEndFor(std::string_view text) const {
    return !text.empty() && text.back() == '\r' ? kCrLf : m_lineEnd;
}

std::string_view IniText::NameOf(const SectionData& section) const {
    const char* open = section.header.text;
    while (*open != '[')
        ++open;
    return {open + 1, section.nameSize};
}

// ---- finding

IniText::Section IniText::FindSection(std::string_view name) const {
    return m_names.Find(FoldedHash(name), [&](Section id) {
        const SectionData& section = m_sections[id];
        Prefetch(section);
        return MeterText::EqualIgnoringCase(NameOf(section), name);
    });
}

// The first section of the name.
IniText::Section IniText::FirstOf(std::uint32_t hash, std::string_view name) const {
    return m_names.Find(
        hash, [&](Section id) { return MeterText::EqualIgnoringCase(NameOf(m_sections[id]), name); });
}

// What the search for a key will touch, all of which may be far from the processor.
void IniText::Prefetch(const SectionData& section) const {
    Platform::Prefetch(section.header.text);
    const std::uint8_t* const tags = Tags(section);
    Platform::Prefetch(tags);
    Platform::Prefetch(tags + section.count);
}

// The text of the lines comes from far away, in the order of the file: it is fetched some lines ahead.
void IniText::Tag(SectionData& section) {
    constexpr std::uint32_t kAhead = 6;
    const bool isInBase = !section.edited.Exists();
    std::uint8_t* const tags = isInBase ? m_tags.get() + section.first : section.edited.Tags();
    for (std::uint32_t i = 0; i < section.count; ++i) {
        if (isInBase && i + kAhead < section.count)
            Platform::Prefetch(m_base.get() + m_starts[section.first + i + kAhead]);
        tags[i] = LineTag(Raw(section, i));
    }
    section.leading = static_cast<std::uint32_t>(std::find(tags, tags + section.count, kNoEntryTag) - tags);
    section.tagged = true;
}

std::uint32_t IniText::FindEntry(Section id, std::string_view key, std::string_view* value) {
    SectionData& section = m_sections[id];
    if (!section.tagged)
        Tag(section);
    const std::uint8_t* const tags = Tags(section);
    const std::uint8_t tag = KeyTag(key);
    for (std::uint32_t i = 0; i < section.count; ++i) {
        const void* const found = std::memchr(tags + i, tag, section.count - i);
        if (found == nullptr)
            return kNoLine;
        i = static_cast<std::uint32_t>(static_cast<const std::uint8_t*>(found) - tags);
        if (!IsEntryOf(Raw(section, i), key, value))
            continue;
        *value = WithoutLineEnd(*value);
        return i;
    }
    return kNoLine;
}

bool IniText::FindValue(Section id, std::string_view key, std::string_view* value) {
    return FindEntry(id, key, value) != kNoLine;
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
    if (m_sections[m_order[position]].header.size == 0)
        return {position, index};
    return {position, index == 0 ? kHeaderLine : index - 1};
}

bool IniText::LineAt(std::uint32_t line, std::string_view* text) {
    if (line >= m_lineCount)
        return false;
    if (line < m_untouched) {
        *text = WithoutLineEnd(BaseLine(line));
        return true;
    }
    const Place place = Locate(line);
    const SectionData& section = m_sections[m_order[place.position]];
    *text = WithoutLineEnd(place.index == kHeaderLine ? section.header.Raw() : Raw(section, place.index));
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
        const std::uint32_t behindHeader = first + (section.header.size != 0 ? 1 : 0);
        first = behindHeader + section.count;
        if (place.index == kHeaderLine && section.header.size != 0 && section.header.text[0] == '[')
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

// Enters a section under its name. Sections of one name form a list in the order of the file, of which the
// first alone stands in the table; the first knows the last one, so that a file of equal names is no slower.
// A copy of a deleted section of that name is dropped: the name means this section now.
void IniText::Link(Section id) {
    SectionData& section = m_sections[id];
    const std::string_view name = NameOf(section);
    const std::uint32_t hash = FoldedHash(name);
    const auto deleted = m_copiesOfDeleted.find(name);
    if (deleted != m_copiesOfDeleted.end())
        m_copiesOfDeleted.erase(deleted);
    const Section first = FirstOf(hash, name);
    if (first == kNoSection) {
        section.nextSame = kNoSection;
        section.prevSame = id;
        m_names.Insert(hash, id);
        return;
    }
    SectionData& head = m_sections[first];
    if (PositionOf(id) < PositionOf(first)) {
        section.nextSame = first;
        section.prevSame = head.prevSame;
        head.prevSame = id;
        m_names.Replace(hash, first, id);
        m_copies.erase(first);
        return;
    }
    Section before = head.prevSame;
    while (m_sections[before].position > section.position)  // both are up to date now
        before = m_sections[before].prevSame;
    const Section after = m_sections[before].nextSame;
    section.prevSame = before;
    section.nextSame = after;
    m_sections[before].nextSame = id;
    (after == kNoSection ? head : m_sections[after]).prevSame = id;
}

void IniText::Unlink(Section id) {
    const SectionData& section = m_sections[id];
    const std::uint32_t hash = FoldedHash(NameOf(section));
    const Section next = section.nextSame;
    const Section before = section.prevSame;
    const bool isFirst = m_sections[before].nextSame != id;
    if (!isFirst)
        m_sections[before].nextSame = next;
    else if (next != kNoSection)
        m_names.Replace(hash, id, next);
    else
        m_names.Erase(hash, id);
    if (next != kNoSection)
        m_sections[next].prevSame = before;
    else if (!isFirst)
        m_sections[FirstOf(hash, NameOf(section))].prevSame = before;  // the first knows the last
}

// ---- saving

bool IniText::IsInBase(std::string_view piece) const {
    const std::less<const char*> before;
    const char* const base = m_base.get();
    return base != nullptr && !before(piece.data(), base) &&
           before(piece.data(), base + m_starts[m_startCount - 1]);
}

// Lines that follow each other in the base are one piece.
bool IniText::ForEach(const std::function<bool(std::string_view)>& take) const {
    std::string_view run;  // of the base, not handed out yet
    const auto end = [&] { return run.empty() || take(run); };
    const auto add = [&](std::string_view piece) {
        if (piece.empty())
            return true;
        if (piece.data() == run.data() + run.size()) {
            run = {run.data(), run.size() + piece.size()};
            return true;
        }
        if (!end())
            return false;
        run = IsInBase(piece) ? piece : std::string_view();
        return !run.empty() || take(piece);
    };
    if (m_hasByteOrderMark && !take(kByteOrderMark))
        return false;
    for (const Section id : m_order) {
        const SectionData& section = m_sections[id];
        if (!add(section.header.Raw()))
            return false;
        if (section.edited.Exists()) {
            for (const Line& line : section.edited)
                if (!add(line.Raw()))
                    return false;
        } else if (section.count != 0) {
            const std::uint32_t start = m_starts[section.first];
            if (!add({m_base.get() + start, m_starts[section.first + section.count] - start}))
                return false;
        }
    }
    return end();
}

// So many pieces there may be.
std::size_t IniText::MostPieces() const {
    std::size_t most = 1;
    for (const Section id : m_order)
        most += m_sections[id].edited.Exists() ? m_sections[id].count + std::size_t{2} : 1;
    return most;
}

TextSnapshot IniText::Snapshot() {
    TextSnapshot snapshot;
    snapshot.pieces.reserve(MostPieces());
    ForEach([&](std::string_view piece) {
        snapshot.pieces.push_back(piece);
        return true;
    });
    snapshot.base = m_base;
    snapshot.changed = m_arena.Blocks();
    if (!m_arena.MayFreeze())
        ForbidWriting();
    m_arena.Freeze();
    return snapshot;
}

bool TextSnapshot::ForEach(const std::function<bool(std::string_view)>& take) const {
    return std::all_of(pieces.begin(), pieces.end(), std::cref(take));
}

}  // namespace MeterUtil
