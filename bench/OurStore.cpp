// The store that is measured. It loads so quickly that every repetition has a fresh one: what it puts off
// until a section is first asked for is part of every figure.
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "MeterUtil/MeterIniFile.h"
#include "Platform/Platform.h"
#include "bench/Contestants.h"
#include "bench/Medium.h"
#include "bench/PeakMemory.h"
#include "bench/Workloads.h"

namespace Bench {
namespace {

class OurStore {
public:
    static constexpr bool kFresh = true;
    static constexpr std::size_t kMost = SIZE_MAX;

    explicit OurStore(const std::string& path) : m_store(Platform::WideFromNarrow(path).c_str()) {}

    bool Find(const Query& query, char* dst, std::size_t size) {
        return m_store.ReadString(query.section, query.key, dst, static_cast<int>(size));
    }
    bool EntryAt(const char* section, int index, char* key, char* value, std::size_t size) {
        return m_store.ReadByIndex(section, index, key, static_cast<int>(size), value,
                                   static_cast<int>(size));
    }
    bool LineAt(std::size_t line, char* dst, std::size_t size) {
        return m_store.GetString(static_cast<int>(line), dst, static_cast<int>(size));
    }
    bool Set(const Query& query, const std::string& value) {
        return m_store.WriteString(query.section, query.key, value.c_str());
    }
    bool DeleteSection(const char* section) { return m_store.DeleteSection(section); }

    CMeterIniFile& File() { return m_store; }

private:
    CMeterIniFile m_store;
};

// A copy of the route's file, to be saved over.
class RouteCopy {
public:
    RouteCopy(const Route& route, const std::string& directory) : m_path(directory + "/ours.ini") {
        std::filesystem::copy_file(route.Path(), m_path, std::filesystem::copy_options::overwrite_existing);
        // What a disk still has to write of the copy must not become part of a save that flushes.
        std::FILE* const copy = std::fopen(m_path.c_str(), "rb");
        fsync(fileno(copy));
        std::fclose(copy);
    }
    ~RouteCopy() {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }
    RouteCopy(const RouteCopy&) = delete;
    RouteCopy& operator=(const RouteCopy&) = delete;

    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

// The floor writes over its file and gets the memory of the medium back that this had a moment before. A save
// writes beside the file: it finds memory in the same state when a file of that size has just gone. Other
// memory a machine may first have to ask its host for, which takes longer than the save.
void LeaveMemoryOfAFile(const Route& route) {
    const std::string gone = route.Directory() + "/gone.ini";
    std::filesystem::copy_file(route.Path(), gone, std::filesystem::copy_options::overwrite_existing);
    std::filesystem::remove(gone);
}

bool Holds(const std::string& path, const std::string& text) {
    std::ifstream file(path, std::ios::binary);
    std::string bytes(static_cast<std::size_t>(std::filesystem::file_size(path)), '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes == text;
}

// A whole record as lines, as a program appends it that has the lines already.
Measured AppendLines(Route& route) {
    // One behind the other in memory: a heap in pieces would have each fetched from elsewhere.
    std::string text;
    std::vector<std::size_t> lines;
    for (int i = 0; i < kAppended; ++i) {
        for (const std::string& line : MakeRecord(1000000 + i)) {
            lines.push_back(text.size());
            (text += line) += '\0';
        }
    }
    Loaded<OurStore> store(route);
    return Timed(lines.size(),
                 [&](std::size_t i) { return store->File().AppendString(text.c_str() + lines[i]) >= 0; });
}

// The first record goes; the headers of all others get the number before theirs. A header is an operation.
Measured Renumber(Route& route) {
    Loaded<OurStore> store(route);
    CMeterIniFile& file = store->File();
    bool done =
        file.DeleteSection(RecordSection(1).c_str()) && file.DeleteSection(AppendixSection(1).c_str());
    std::size_t headers = 0;
    const Stopwatch<> watch;
    char text[kValueBytes];
    for (int line = file.FindBracketLine(0); line >= 0; line = file.FindBracketLine(line + 1)) {
        done = done && file.GetString(line, text, sizeof text);
        const std::string header = text;
        const std::size_t number = header.find('_') + 1;
        if (number == 0)
            continue;
        const int meter = std::stoi(header.substr(number)) - 1;
        done = done && file.SetString(line, (header.substr(0, number) + std::to_string(meter) + "]").c_str());
        ++headers;
    }
    return {watch.Seconds(), done ? headers : 0, 0};
}

enum class Changes { None, One, Many };

bool Change(OurStore& store, Route& route, Changes changes) {
    if (changes == Changes::Many)
        return UpdateEntries(store, route).operations != 0;
    return changes == Changes::None || store.Set(route.Random().front(), route.NewValue(0));
}

template <typename Clock = WorkClock>
Measured SaveOurs(Route& route, Changes changes, const std::string& directory) {
    const RouteCopy copy(route, directory);
    OurStore store(copy.Path());
    if (!Change(store, route, changes))
        return {};
    LeaveMemoryOfAFile(route);
    const Stopwatch<Clock> watch;
    const bool saved = store.File().UpdateFile();
    const double seconds = watch.Seconds();
    if (changes == Changes::Many && !Holds(copy.Path(), route.UpdatedText()))
        return {};
    return {seconds, saved ? 1U : 0U, std::filesystem::file_size(copy.Path())};
}

Measured ChangeAndSaveOurs(Route& route) {
    const RouteCopy copy(route, route.Directory());
    OurStore store(copy.Path());
    LeaveMemoryOfAFile(route);
    const Stopwatch<> watch;
    const bool saved = Change(store, route, Changes::One) && store.File().UpdateFile();
    return {watch.Seconds(), saved ? 1U : 0U, route.Bytes()};
}

// What the caller spends; it waits for nothing. The thread is there already: only the first save of a store
// starts it.
Measured SaveInBackground(Route& route, Changes changes) {
    const RouteCopy copy(route, route.Directory());
    OurStore store(copy.Path());
    if (!store.File().UpdateFileBackground() || !store.File().UpdateFile() || !Change(store, route, changes))
        return {};
    const Stopwatch<> watch;
    const bool arranged = store.File().UpdateFileBackground();
    return {watch.Seconds(), arranged ? 1U : 0U, route.Bytes()};
}

void AddSaves(const std::string& diskDirectory) {
    Add("save", kOurs, 9, [](Route& route) { return SaveOurs(route, Changes::None, route.Directory()); });
    Add("save-one", kOurs, 9, ChangeAndSaveOurs);
    Add("save-many", kOurs, 5,
        [](Route& route) { return SaveOurs(route, Changes::Many, route.Directory()); });
    Add("background-one", kOurs, 9, [](Route& route) { return SaveInBackground(route, Changes::One); });
    Add("background-many", kOurs, 5, [](Route& route) { return SaveInBackground(route, Changes::Many); });
    Add("save-flushed", kOurs, 3, [diskDirectory](Route& route) {
        const Flushing flushing;
        return SaveOurs<WallClock>(route, Changes::One, diskDirectory);
    });
}

}  // namespace

void AddOurStore(const std::string& diskDirectory) {
    Add("load", kOurs, 15, Load<OurStore>);
    Add("random", kOurs, 5, RandomLookup<OurStore>);
    Add("random-again", kOurs, 5, RandomLookupAgain<OurStore>);
    Add("local", kOurs, 5, LocalLookup<OurStore>);
    Add("entry", kOurs, 5, EntriesByIndex<OurStore>);
    Add("line", kOurs, 5, LinesInOrder<OurStore>);
    Add("line-anywhere", kOurs, 5, LinesAnywhere<OurStore>);
    Add("update", kOurs, 5, Update<OurStore>);
    Add("insert", kOurs, 5, Insert<OurStore>);
    Add("append", kOurs, 5, AppendLines);
    Add("append-keys", kOurs, 5, AppendByEntry<OurStore>);
    Add("delete", kOurs, 5, DeleteRecords<OurStore>);
    Add("renumber", kOurs, 5, Renumber);
    AddSaves(diskDirectory);
    AddPeakMemory(
        kOurs, [](const std::string& path) { KeepLoaded(OurStore(path)); }, 3);
}

}  // namespace Bench
