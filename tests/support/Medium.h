// A model of the medium below the libraries: it follows the calls that a FakeSystem recorded, and tells what
// directories a power cut may leave behind at any moment.
//
// What was flushed is there. Of what was not, any part may be: of the writes to a file each may be missing,
// or be there in part - shorter, or with zeros or stale bytes in the place of what is missing -, and of the
// changes of a directory each may be missing, independent of all others.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/FakeSystem.h"

class Medium {
public:
    // Bytes of the files by their paths below a root, with '/' between the names.
    using Directory = std::map<std::string, std::string>;

    // `root`: narrow path in front of the files' paths, with '/' too. `files` are on the medium.
    Medium(std::string root, const Directory& files);

    // Does what a recorded call did. A call that changes a file and flushes it takes two steps, with a power
    // cut between them possible: `between` is called there.
    void Apply(const FakeSystem::Entry& entry, const std::function<void()>& between);

    // What programs see: as if all was flushed.
    Directory Seen() const;

    // Visits what a power cut may leave now. Parts of a file are tried out only where a name leads to it that
    // `matters` says yes to. A directory may be visited more than once.
    void ForEachCut(const std::function<bool(const std::string& path)>& matters,
                    const std::function<void(const Directory&)>& visit) const;

private:
    struct Change {
        bool cuts = false;  // the file ends at `place`; else bytes are written there
        std::uint64_t place = 0;
        std::string bytes;
    };
    struct File {
        std::string flushed;
        std::string seen;
        std::vector<Change> changes;  // between the two
    };
    using Names = std::map<std::string, std::shared_ptr<File>>;
    struct NameChange {
        std::string removed;  // "": none
        std::string added;    // "": none
        std::shared_ptr<File> file;
    };

    void MayHaveBeenDone(const FakeSystem::Entry& entry);
    std::string Below(const std::wstring& path) const;
    void Open(const std::string& path);
    void Write(const std::string& path, Change change);
    void ChangeNames(NameChange change);
    void Flush(const std::string& path);
    enum class OfSubsets { All, Extremes };  // of the changes of a directory: every one; none and all
    std::vector<Names> PossibleNames(OfSubsets which) const;
    static void VisitContents(const Names& names, const std::function<bool(const std::string&)>& matters,
                              const std::function<void(const Directory&)>& visit);
    static std::vector<std::string> PossibleContents(const File& file);
    static void Do(const Change& change, std::string* content);
    static void Do(const NameChange& change, Names* names);

    std::string m_root;
    Names m_flushed;
    Names m_seen;
    std::map<std::string, std::vector<NameChange>> m_nameChanges;  // by the directory they happened in
};
