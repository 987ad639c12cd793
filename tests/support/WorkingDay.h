// A day of a worker, as a reading application plays it: the route is opened, meters are visited, exchanged,
// appended and deleted, raw data is gathered, and everything is saved again and again, at once and in the
// background, with mirrors on a card. The day goes on whatever fails, and keeps account of what it was
// promised. Its own work needs no memory of the heap while calls are made, so that allocations can be made to
// fail around it.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/TestFolder.h"

class WorkingDay {
public:
    static constexpr const char* kSystemIni = "system.ini";
    static constexpr const char* kDataFile = "data.ini";
    static constexpr const char* kAppFile = "app.ini";
    static constexpr const char* kRawFile = "raw.dat";
    static constexpr const char* kDataMirror = "card/data.ini";
    static constexpr const char* kAppMirror = "card/app.ini";
    static constexpr const char* kRawMirror = "card/raw.dat";

    // A whole state that a file was to get.
    struct State {
        std::optional<std::string> text;      // nothing: no file
        std::size_t asked;                    // size of the journal before the save was asked for
        std::optional<std::size_t> promised;  // and when its success was told
    };

    // A file with the answer of a meter, and what it is in the archive.
    struct Answer {
        std::string name;
        std::string content;
        std::string block;
    };

    // Writes the files of a route with `meters` meters, at least 5, into an empty folder.
    WorkingDay(TestFolder* folder, FakeSystem* system, int meters);
    ~WorkingDay();
    WorkingDay(const WorkingDay&) = delete;
    WorkingDay& operator=(const WorkingDay&) = delete;

    // ---- the day, in its order

    bool Open();  // tries once more when it fails
    void Visit();
    void Exchange();
    void DeleteAndAppend();
    void Gather(std::size_t first, std::size_t count);  // some of the answers
    void GatherDuringASave(std::size_t first, std::size_t count);
    void SaveData();
    void SaveDataInTheBackground();
    void Close();  // what is not saved is saved then

    // Drops all data of the route, without those of the mirrors, and starts with an empty one. The archive is
    // expected to be gone from then on.
    void StartOver();

    // ---- the account

    const std::vector<Answer>& Answers() const { return m_answers; }
    const std::vector<State>& States(const std::string& file) { return m_states[file]; }
    std::size_t StartedOver() const { return m_startedOver; }  // size of the journal then; 0: not at all

    // Numbers of the meters that the route must have, and of those among them whose visit was noted.
    const std::multiset<std::string>& Meters() const { return m_meters; }
    const std::set<std::string>& Visited() const { return m_visited; }
    bool Exchanged() const { return m_exchanged; }  // meter "M3" has the values of store meter 4711

    int FailuresTold() const { return m_failuresTold; }  // saves that the process was told to have failed

    TestDatabase* Database() { return m_database.get(); }  // null before the opening and after the close

private:
    class Saving;

    bool TryToOpen();
    bool MoveTo(int meter);
    std::string Number() const;
    std::string Text(CMeterIniFile* store) const;
    void Renumber(const std::string& from, const char* to);

    TestFolder* m_folder;
    FakeSystem* m_system;
    std::unique_ptr<TestDatabase> m_database;
    std::wstring m_application;
    std::wstring m_dataMirror;
    std::wstring m_appMirror;
    std::wstring m_rawMirror;
    std::vector<Answer> m_answers;
    std::vector<std::wstring> m_names;
    std::map<std::string, std::vector<State>> m_states;
    std::size_t m_startedOver = 0;
    std::multiset<std::string> m_meters;
    std::set<std::string> m_visited;
    bool m_exchanged = false;
    bool m_mirrored = false;
    bool m_waitsForSave = false;   // one in the background may be under way
    const char* m_lineEnd = "\n";  // of the data file
    std::atomic<int> m_failuresTold{0};
    int m_failuresBeforeOpening = 0;
};
