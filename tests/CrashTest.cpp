// Power cuts and programs that are stopped, at every moment of a working day: whatever the medium kept of
// what was not flushed, every file is a whole state that was saved, and every answer of a meter is there.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <iostream>
#include <unordered_set>

#include "tests/support/Medium.h"
#include "tests/support/OneIn.h"
#include "tests/support/WorkingDay.h"

namespace {

using Call = FakeSystem::Call;
using Directory = Medium::Directory;
namespace fs = std::filesystem;

Directory FilesIn(const TestFolder& folder) {
    Directory files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder.Path()))
        if (entry.is_regular_file()) {
            const std::string name = fs::relative(entry.path(), folder.Path()).generic_string();
            files[name] = folder.Read(name);
        }
    return files;
}

// A save that was not finished leaves such a file behind, which nobody ever opens.
bool IsTemporary(const std::string& path) {
    return path.find('~') != std::string::npos;
}

std::size_t HashOf(const Directory& files) {
    std::size_t hash = 0;
    for (const auto& [path, bytes] : files)
        hash = hash * 31 + std::hash<std::string>()(path) * 17 + std::hash<std::string>()(bytes);
    return hash;
}

// What a power cut left, opened by a program that starts anew.
class NewStart {
public:
    void ExpectAllIsThere(const Directory& files, const std::vector<const WorkingDay::Answer*>& gathered) {
        Materialise(files);
        FakeSystem system;
        system.SkipFlushes();
        {
            TestDatabase database(m_folder.Wide().c_str());
            database.SetIniFile(L"system.ini");
            EXPECT_TRUE(database.OpenDataFile(false));
            EXPECT_FALSE(database.IniFileError());
            const auto data = files.find(WorkingDay::kDataFile);
            EXPECT_EQ(database.GetNumberOfMeters(), data == files.end() ? 0 : Meters(data->second));
            for (const WorkingDay::Answer* answer : gathered)
                ExpectFound(&database, *answer);
            database.SetRawMirror(m_folder.Wide(WorkingDay::kRawMirror).c_str());
            for (const auto& [path, bytes] : files)
                if (path.compare(0, 6, "spool/") == 0)
                    database.CopyRawDataFiles(Platform::WideFromNarrow(path.substr(6)).c_str());
            for (const auto& [path, bytes] : files)
                if (path.compare(0, 6, "spool/") == 0) {
                    EXPECT_FALSE(m_folder.Exists(path)) << path;
                    ExpectFound(&database, {path.substr(6), bytes, {}});
                }
        }
        // What the program wrote itself.
        for (const FakeSystem::Entry& entry : system.Journal())
            if (entry.call == Call::Write || entry.call == Call::Rename || entry.call == Call::Remove)
                Forget(entry.call == Call::Rename ? entry.to : entry.path);
    }

private:
    static int Meters(const std::string& data) {
        int meters = 0;
        for (std::size_t at = data.find("[#_"); at != std::string::npos; at = data.find("[#_", at + 1))
            ++meters;
        return meters;
    }

    static void ExpectFound(TestDatabase* database, const WorkingDay::Answer& answer) {
        std::FILE* const block =
            static_cast<std::FILE*>(database->OpenRawDataFile(answer.name.c_str(), nullptr));
        ASSERT_NE(block, nullptr) << answer.name;
        std::string found(answer.content.size(), '\0');
        found.resize(std::fread(found.data(), 1, found.size(), block));
        std::fclose(block);
        EXPECT_EQ(found, answer.content) << answer.name;
    }

    // Writes what differs from what is there.
    void Materialise(const Directory& files) {
        for (const char* directory : {"card", "spool"})
            fs::create_directory(m_folder.Path() / directory);
        for (auto there = m_there.begin(); there != m_there.end();) {
            if (files.count(there->first) == 0) {
                fs::remove(m_folder.Path() / there->first);
                there = m_there.erase(there);
            } else {
                ++there;
            }
        }
        for (const auto& [path, bytes] : files) {
            const auto there = m_there.find(path);
            if (IsTemporary(path) || (there != m_there.end() && there->second == bytes))
                continue;
            m_folder.Write(path, bytes);
            m_there[path] = bytes;
        }
    }

    void Forget(const std::wstring& path) {
        std::string name = Platform::NarrowFromWide(path).substr(m_folder.Path().string().size() + 1);
        std::replace(name.begin(), name.end(), '\\', '/');
        if (!IsTemporary(name))
            m_there[name] = "?";
    }

    TestFolder m_folder;
    Directory m_there;
};

// Cuts the power at every moment of a day that was recorded.
constexpr std::size_t kOpenedArchive = 61;

class PowerCuts {
public:
    PowerCuts(WorkingDay* day, std::vector<FakeSystem::Entry> journal)
        : m_day(day), m_journal(std::move(journal)) {}

    // `thoroughly`: files that were not flushed are there in part, too, and what is left is opened.
    // `first`: calls after which the first cut comes.
    void TryAll(Medium* medium, bool thoroughly, std::size_t first = 0) {
        m_opens = thoroughly;
        const auto cut = [&] {
            if (m_done < first || ++m_moments % m_step != 0)
                return;
            medium->ForEachCut([=](const std::string& path) { return thoroughly && !IsTemporary(path); },
                               [this](const Directory& files) {
                                   if (++m_met % m_step == 0)
                                       Try(files);
                               });
        };
        cut();
        for (const FakeSystem::Entry& entry : m_journal) {
            medium->Apply(entry, [&] {
                ++m_done;  // it has begun
                cut();
                --m_done;
            });
            ++m_done;
            if (MayChangeTheMedium(entry))
                cut();
            if (testing::Test::HasFailure())
                return;
        }
        cut();
    }

    // A mirror that could not be written misses what the archive has.
    void AllowGapsInTheMirror() { m_mirrorIsWhole = false; }

    std::size_t Tried() const { return m_tried; }
    std::size_t Different() const { return m_seen.size(); }
    std::size_t Opened() const { return m_opened; }

private:
    static inline const std::vector<const WorkingDay::Answer*> kNoAnswers;

    // Behind other calls a power cut leaves what it leaves before them, and behind the next one, too.
    static bool MayChangeTheMedium(const FakeSystem::Entry& entry) {
        return entry.done && entry.call != Call::Inspect && entry.call != Call::OpenForReading &&
               entry.call != Call::Close;
    }

    void Try(const Directory& files) {
        ++m_tried;
        if (testing::Test::HasFailure())
            return;
        // What was promised before counts as well.
        const bool isNew = m_seen.insert(HashOf(files) * 31 + Promises()).second;
        if (!isNew)
            return;
        for (const char* file :
             {WorkingDay::kDataFile, WorkingDay::kAppFile, WorkingDay::kDataMirror, WorkingDay::kAppMirror})
            ExpectSavedState(files, file);
        const std::vector<const WorkingDay::Answer*> gathered = Gathered(files);
        ExpectBlocks(files, WorkingDay::kRawMirror, m_mirrorIsWhole ? gathered : kNoAnswers);
        const std::vector<const WorkingDay::Answer*> kept = WithoutDropped(gathered);
        ExpectBlocks(files, WorkingDay::kRawFile, kept);
        Directory opened;
        for (const auto& [path, bytes] : files)
            if (!IsTemporary(path))
                opened[path] = bytes;
        if (m_opens && IsToBeOpened(opened)) {
            ++m_opened;
            m_newStart.ExpectAllIsThere(opened, kept);
        }
        if (testing::Test::HasFailure())
            std::cerr << "after call " << m_done << " of " << m_journal.size() << '\n';
    }

    // All, but of those that differ in the bytes of an archive alone only some.
    bool IsToBeOpened(Directory files) {
        for (const char* archive : {WorkingDay::kRawFile, WorkingDay::kRawMirror})
            if (files.count(archive) != 0)
                files[archive].clear();
        return m_seenWithoutArchives.insert(HashOf(files)).second || ++m_archives % kOpenedArchive == 0;
    }

    // Tells states apart in which other contents are allowed.
    std::size_t Promises() {
        std::size_t promises = m_day->StartedOver() != 0 && m_done > m_day->StartedOver() ? 1 : 0;
        for (const char* file :
             {WorkingDay::kDataFile, WorkingDay::kAppFile, WorkingDay::kDataMirror, WorkingDay::kAppMirror})
            for (const WorkingDay::State& state : m_day->States(file))
                promises +=
                    (state.promised && *state.promised <= m_done ? 1 : 0) + (state.asked <= m_done ? 1 : 0);
        return promises;
    }

    // One that was asked for by then, and not an older one than that which is promised to be there.
    void ExpectSavedState(const Directory& files, const char* file) {
        const auto found = files.find(file);
        const std::vector<WorkingDay::State>& states = m_day->States(file);
        for (auto state = states.rbegin(); state != states.rend(); ++state) {
            const bool same = found == files.end() ? !state->text : state->text == found->second;
            if (same && state->asked <= m_done)
                return;
            if (state->promised && *state->promised <= m_done)
                break;
        }
        ADD_FAILURE() << file << " is no state that was saved: "
                      << (found == files.end() ? "(missing)" : found->second);
    }

    // The answers whose own files are gone.
    std::vector<const WorkingDay::Answer*> Gathered(const Directory& files) const {
        std::vector<const WorkingDay::Answer*> gathered;
        for (const WorkingDay::Answer& answer : m_day->Answers()) {
            const auto source = files.find("spool/" + answer.name);
            if (source == files.end()) {
                gathered.push_back(&answer);
            } else {
                EXPECT_EQ(source->second, answer.content);
            }
        }
        return gathered;
    }

    // Without those that were in the archive when all data was to be deleted.
    std::vector<const WorkingDay::Answer*> WithoutDropped(
        std::vector<const WorkingDay::Answer*> answers) const {
        if (m_day->StartedOver() == 0 || m_done <= m_day->StartedOver())
            return answers;
        const auto isDropped = [this](const WorkingDay::Answer* answer) {
            const std::wstring name = Platform::WideFromNarrow("\\" + answer->name);
            for (std::size_t i = 0; i < m_day->StartedOver(); ++i)
                if (m_journal[i].call == Call::Remove && m_journal[i].path.find(name) != std::wstring::npos)
                    return true;
            return false;
        };
        answers.erase(std::remove_if(answers.begin(), answers.end(), isDropped), answers.end());
        return answers;
    }

    // What is gathered is there, and the first block of an answer, which is the one that is found, is whole.
    void ExpectBlocks(const Directory& files, const char* archive,
                      const std::vector<const WorkingDay::Answer*>& gathered) const {
        const auto file = files.find(archive);
        const std::string bytes = file == files.end() ? "" : file->second;
        for (const WorkingDay::Answer& answer : m_day->Answers()) {
            const std::size_t marker = answer.block.size() - answer.content.size();
            const std::size_t block = bytes.find(answer.block.substr(0, marker));
            if (block == std::string::npos) {
                EXPECT_EQ(std::count(gathered.begin(), gathered.end(), &answer), 0)
                    << answer.name << " is not in " << archive;
            } else {
                EXPECT_EQ(bytes.compare(block, answer.block.size(), answer.block), 0)
                    << "half of " << answer.name << " is in " << archive;
            }
        }
    }

    WorkingDay* m_day;
    std::vector<FakeSystem::Entry> m_journal;
    std::size_t m_done = 0;     // calls
    std::size_t m_moments = 0;  // at which the power may be cut
    std::size_t m_met = 0;      // cuts
    std::size_t m_step = static_cast<std::size_t>(OneIn());
    std::size_t m_tried = 0;
    std::unordered_set<std::size_t> m_seen;
    bool m_opens = false;
    bool m_mirrorIsWhole = true;
    std::size_t m_opened = 0;
    std::size_t m_archives = 0;
    std::unordered_set<std::size_t> m_seenWithoutArchives;
    NewStart m_newStart;
};

constexpr Platform::SystemTime kNow = {2026, 11, 6, 21, 9, 30, 0, 0};

// A day whose calls reach a medium that is told what they did.
class PowerCut : public testing::Test {
protected:
    struct Day {
        Day() {
            system.SetTime(kNow);
            system.SkipFlushes();
        }

        TestFolder folder;
        FakeSystem system;
        WorkingDay day{&folder, &system, 5};
        Medium medium{folder.Path().generic_string(), FilesIn(folder)};
    };
};

TEST_F(PowerCut, LeavesWholeFilesAndEveryAnswer) {
    Day recorded;
    auto& [folder, system, day, medium] = recorded;
    ASSERT_TRUE(day.Open());
    day.Visit();
    day.Gather(0, 1);
    day.Exchange();
    day.GatherDuringASave(1, 2);
    day.SaveData();
    day.DeleteAndAppend();
    day.Gather(3, 1);
    day.StartOver();
    day.Gather(4, 2);
    day.Close();
    const std::vector<FakeSystem::Entry> journal = system.Journal();
    for (const FakeSystem::Entry& entry : journal)
        EXPECT_TRUE(entry.done || entry.call == Call::Remove);

    PowerCuts cuts(&day, journal);
    cuts.TryAll(&medium, true);
    EXPECT_EQ(medium.Seen(), FilesIn(folder)) << "a call was not recorded";
    std::cout << journal.size() << " calls, " << cuts.Tried() << " power cuts, " << cuts.Different()
              << " different states, " << cuts.Opened() << " opened\n";
    RecordProperty("PowerCuts", static_cast<int>(cuts.Tried()));
    EXPECT_GT(cuts.Different(), 3000U / static_cast<std::size_t>(OneIn()));
}

// What a stopped program left behind is not flushed by anybody, until the next one does.
TEST_F(PowerCut, LosesNothingThatWasDoneAfterAProgramWasStopped) {
    std::size_t tried = 0;
    bool stopped = true;
    for (int n = 1; stopped; n += OneIn()) {
        SCOPED_TRACE("stopped before call " + std::to_string(n));
        Day recorded;
        auto& [folder, system, day, medium] = recorded;
        ASSERT_TRUE(day.Open());
        system.FailAnyCall(n, FakeSystem::Times::FromThenOn);
        day.Gather(0, 2);
        day.SaveData();
        day.Close();  // none of its calls has an effect
        stopped = system.FaultHappened();
        const std::size_t calls = system.JournalSize();
        system.Heal();
        ASSERT_TRUE(day.Open());
        day.Gather(0, 2);
        day.Close();
        PowerCuts cuts(&day, system.Journal());
        cuts.TryAll(&medium, false, calls);
        EXPECT_EQ(medium.Seen(), FilesIn(folder)) << "a call was not recorded";
        tried += cuts.Tried();
        if (HasFailure())
            return;
    }
    std::cout << tried << " power cuts\n";
    RecordProperty("PowerCuts", static_cast<int>(tried));
    EXPECT_GT(tried, 0U);
}

// What a call that failed had to take back may be cut short as well.
TEST_F(PowerCut, LosesNothingBehindACallThatFailed) {
    std::size_t tried = 0;
    bool failed = true;
    for (int n = 1; failed; n += OneIn()) {
        SCOPED_TRACE("call " + std::to_string(n) + " fails");
        Day recorded;
        auto& [folder, system, day, medium] = recorded;
        ASSERT_TRUE(day.Open());
        const std::size_t calls = system.JournalSize();
        system.FailAnyCall(n);
        day.Gather(0, 1);
        day.SaveData();
        day.Gather(0, 2);
        day.Close();
        failed = system.FaultHappened();
        PowerCuts cuts(&day, system.Journal());
        cuts.AllowGapsInTheMirror();
        cuts.TryAll(&medium, false, calls);
        EXPECT_TRUE(medium.Seen() == FilesIn(folder)) << "a call was not recorded";
        tried += cuts.Tried();
        if (HasFailure())
            return;
    }
    std::cout << tried << " power cuts\n";
    RecordProperty("PowerCuts", static_cast<int>(tried));
    EXPECT_GT(tried, 0U);
}

}  // namespace
