#include "tests/support/Medium.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "Platform/Platform.h"

namespace {

using Call = FakeSystem::Call;

constexpr std::size_t kMostCombined = 10;  // changes of which every subset is tried
constexpr std::size_t kEveryPlace = 300;   // writes up to that size are torn at every byte
constexpr std::size_t kPlacesAtEnds = 32;  // longer ones at that many bytes at both ends, and in between
constexpr std::size_t kStep = 997;
constexpr char kStale = '\xE5';

std::string DirectoryOf(const std::string& path) {
    const std::size_t name = path.rfind('/');
    return name == std::string::npos ? "" : path.substr(0, name);
}

std::vector<std::size_t> PlacesToTear(std::size_t size) {
    std::vector<std::size_t> places;
    for (std::size_t place = 1; place < size; ++place)
        if (size <= kEveryPlace || place <= kPlacesAtEnds || place + kPlacesAtEnds >= size ||
            place % kStep == 0)
            places.push_back(place);
    return places;
}

// What may be there of a write.
std::vector<std::string> Torn(const std::string& bytes) {
    std::vector<std::string> parts;
    if (bytes.empty())
        return parts;
    for (const std::size_t place : PlacesToTear(bytes.size())) {
        const std::string front = bytes.substr(0, place);
        parts.push_back(front);
        for (const char lost : {'\0', kStale}) {
            parts.push_back(front + std::string(bytes.size() - place, lost));
            parts.push_back(std::string(place, lost) + bytes.substr(place));
        }
    }
    for (const char lost : {'\0', kStale})
        parts.emplace_back(bytes.size(), lost);
    return parts;
}

// Subsets of `count` changes, as one flag each: all, or where those are too many, each beginning of the
// sequence, and the whole without one of them.
std::vector<std::vector<bool>> Subsets(std::size_t count, bool onlyExtremes = false) {
    std::vector<std::vector<bool>> subsets;
    if (onlyExtremes)
        return {std::vector<bool>(count, false), std::vector<bool>(count, true)};
    if (count <= kMostCombined) {
        for (std::size_t bits = 0; bits < std::size_t{1} << count; ++bits) {
            subsets.emplace_back(count);
            for (std::size_t i = 0; i < count; ++i)
                subsets.back()[i] = (bits >> i & 1) != 0;
        }
        return subsets;
    }
    for (std::size_t there = 0; there <= count; ++there) {
        subsets.emplace_back(count, false);
        std::fill_n(subsets.back().begin(), there, true);
        subsets.emplace_back(count, true);
        if (there < count)
            subsets.back()[there] = false;
    }
    return subsets;
}

}  // namespace

Medium::Medium(std::string root, const Directory& files) : m_root(std::move(root)) {
    for (const auto& [path, bytes] : files)
        m_flushed[path] = std::make_shared<File>(File{bytes, bytes, {}});
    m_seen = m_flushed;
}

void Medium::Apply(const FakeSystem::Entry& entry, const std::function<void()>& between) {
    if (!entry.done) {
        MayHaveBeenDone(entry);
        return;
    }
    const std::string path = Below(entry.path);
    switch (entry.call) {
        case Call::CreateNew:
        case Call::OpenForAppending:
            Open(path);
            return;
        case Call::Write:
            Write(path, {false, m_seen.at(path)->seen.size(), entry.bytes});
            return;
        case Call::Flush:
            Flush(path);
            return;
        case Call::Overwrite:
            Write(path, {false, entry.place, entry.bytes});
            between();
            Flush(path);
            return;
        case Call::Cut:
            Write(path, {true, entry.place, {}});
            between();
            Flush(path);
            return;
        case Call::Rename:
            ChangeNames({path, Below(entry.to), m_seen.at(path)});
            return;
        case Call::Remove:
            ChangeNames({path, {}, nullptr});
            return;
        case Call::FlushDirectory:
            for (const NameChange& change : m_nameChanges[DirectoryOf(path)])
                Do(change, &m_flushed);
            m_nameChanges[DirectoryOf(path)].clear();
            return;
        default:
            return;
    }
}

// Such a call changes and flushes in one: what could not be flushed may have reached the medium all the same.
void Medium::MayHaveBeenDone(const FakeSystem::Entry& entry) {
    const auto file = m_seen.find(Below(entry.path));
    if (file == m_seen.end())
        return;
    if (entry.call == Call::Overwrite)
        file->second->changes.push_back({false, entry.place, entry.bytes});
    else if (entry.call == Call::Cut)
        file->second->changes.push_back({true, entry.place, {}});
}

Medium::Directory Medium::Seen() const {
    Directory directory;
    for (const auto& [path, file] : m_seen)
        directory[path] = file->seen;
    return directory;
}

void Medium::ForEachCut(const std::function<bool(const std::string&)>& matters,
                        const std::function<void(const Directory&)>& visit) const {
    for (const bool tears : {false, true})
        for (const Names& names : PossibleNames(tears ? OfSubsets::Extremes : OfSubsets::All))
            VisitContents(names, tears ? matters : nullptr, visit);
}

// Everything that files of these names may hold: all as flushed and all as written, and one of those that
// matter in any other way beside them.
void Medium::VisitContents(const Names& names, const std::function<bool(const std::string&)>& matters,
                           const std::function<void(const Directory&)>& visit) {
    Directory kept;
    Directory written;
    for (const auto& [path, file] : names) {
        kept[path] = file->flushed;
        written[path] = file->seen;
    }
    if (matters == nullptr) {
        visit(kept);
        visit(written);
        return;
    }
    for (const auto& [path, file] : names) {
        if (file->changes.empty() || !matters(path))
            continue;
        kept[path] = written[path];
        const bool isAlone = kept == written;
        kept[path] = file->flushed;
        for (const std::string& content : PossibleContents(*file))
            for (Directory* others : {&kept, &written}) {
                if (isAlone && others == &written)
                    continue;
                const std::string whole = std::exchange((*others)[path], content);
                visit(*others);
                (*others)[path] = whole;
            }
    }
}

std::string Medium::Below(const std::wstring& path) const {
    std::string narrow = Platform::NarrowFromWide(path);
    std::replace(narrow.begin(), narrow.end(), '\\', '/');
    EXPECT_EQ(narrow.compare(0, m_root.size() + 1, m_root + "/"), 0) << narrow;
    return narrow.substr(std::min(narrow.size(), m_root.size() + 1));
}

void Medium::Open(const std::string& path) {
    if (m_seen.count(path) == 0)
        ChangeNames({{}, path, std::make_shared<File>()});
}

void Medium::Write(const std::string& path, Change change) {
    File& file = *m_seen.at(path);
    Do(change, &file.seen);
    file.changes.push_back(std::move(change));
}

void Medium::Flush(const std::string& path) {
    File& file = *m_seen.at(path);
    file.flushed = file.seen;
    file.changes.clear();
}

void Medium::ChangeNames(NameChange change) {
    const std::string directory = DirectoryOf(change.added.empty() ? change.removed : change.added);
    Do(change, &m_seen);
    m_nameChanges[directory].push_back(std::move(change));
}

std::vector<Medium::Names> Medium::PossibleNames(OfSubsets which) const {
    std::vector<Names> possible = {m_flushed};
    for (const auto& [directory, changes] : m_nameChanges) {
        if (changes.empty())
            continue;
        std::vector<Names> more;
        for (const Names& names : possible)
            for (const std::vector<bool>& subset : Subsets(changes.size(), which == OfSubsets::Extremes)) {
                more.push_back(names);
                for (std::size_t i = 0; i < changes.size(); ++i)
                    if (subset[i])
                        Do(changes[i], &more.back());
            }
        possible = std::move(more);
    }
    return possible;
}

std::vector<std::string> Medium::PossibleContents(const File& file) {
    std::vector<std::string> contents;
    for (const std::vector<bool>& subset : Subsets(file.changes.size())) {
        contents.push_back(file.flushed);
        for (std::size_t i = 0; i < subset.size(); ++i)
            if (subset[i])
                Do(file.changes[i], &contents.back());
        // Each of those that are there may be there in part.
        for (std::size_t torn = 0; torn < subset.size(); ++torn) {
            if (!subset[torn])
                continue;
            for (const std::string& part : Torn(file.changes[torn].bytes)) {
                contents.push_back(file.flushed);
                for (std::size_t i = 0; i < subset.size(); ++i)
                    if (i == torn)
                        Do({false, file.changes[i].place, part}, &contents.back());
                    else if (subset[i])
                        Do(file.changes[i], &contents.back());
            }
        }
    }
    return contents;
}

void Medium::Do(const Change& change, std::string* content) {
    const std::size_t place = static_cast<std::size_t>(change.place);
    const std::size_t end = place + change.bytes.size();
    if (change.cuts || content->size() < end)
        content->resize(end, '\0');
    content->replace(place, change.bytes.size(), change.bytes);
}

void Medium::Do(const NameChange& change, Names* names) {
    if (!change.removed.empty())
        names->erase(change.removed);
    if (!change.added.empty())
        (*names)[change.added] = change.file;
}
