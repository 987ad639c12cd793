// The repairs of a check. Edits are made in the store of the library, which saves a file whole or not at all;
// what the database puts right itself when it opens a file is left to it.
#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <set>

#include "MeterDatabase/MeterDatabase.h"
#include "terminal/Refusal.h"
#include "terminal/SaveListener.h"
#include "terminal/Utf8.h"
#include "terminal/check/Checker.h"

namespace Check {
namespace {

namespace fs = std::filesystem;

std::wstring WidePath(const fs::path& path) {
    return Utf8::ToWide(fs::absolute(path).u8string());
}

// A folder of its own for as long as it is needed.
class ScratchFolder {
public:
    ScratchFolder() {
        const fs::path base = fs::temp_directory_path();
        for (int number = 0; number < 1000 && m_path.empty(); ++number) {
            const fs::path path = base / ("meterdb-check-" + std::to_string(number));
            if (fs::create_directory(path))
                m_path = path;
        }
        if (m_path.empty())
            throw Refusal(kFileFailed, "there is no place for a temporary folder");
    }
    ~ScratchFolder() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const fs::path& Path() const { return m_path; }

private:
    fs::path m_path;
};

// ---- edits

struct Edits {
    std::vector<const SetLine*> lines;
    std::vector<const DeleteFirst*> deletions;
    std::vector<const WriteEntry*> entries;
};

// Lines keep their numbers as long as none is deleted.
bool Apply(const Edits& edits, CMeterIniFile* store) {
    bool done = true;
    for (const SetLine* edit : edits.lines)
        done = store->SetString(static_cast<int>(edit->line) - 1, edit->text.c_str()) && done;
    for (const WriteEntry* edit : edits.entries)
        done = store->WriteString(edit->section.c_str(), edit->key.c_str(), edit->value.c_str()) && done;
    for (const DeleteFirst* edit : edits.deletions)
        done = store->DeleteKey(edit->section.c_str(), edit->key.c_str()) && done;
    return done;
}

void ApplyAndSave(const TextFile& file, const Edits& edits) {
    const SaveListener saves;
    CMeterIniFile store(WidePath(file.Path()).c_str());
    if (store.m_error || !Apply(edits, &store) || !store.UpdateFile())
        throw Refusal(kFileFailed,
                      saves.Reason().empty() ? file.Name() + " could not be changed" : saves.Reason());
}

// ---- opening

void OpenAndClose(const std::wstring& directory, const std::wstring& ini) {
    const SaveListener saves;
    CMeterDatabase database(directory.c_str());
    database.SetIniFile(ini.c_str());
    const bool opened = database.OpenDataFile(false);
    database.CloseDataFile();
    if (!opened || !saves.Reason().empty())
        throw Refusal(kFileFailed, saves.Reason().empty() ? "the files could not be opened" : saves.Reason());
}

// A data file alone is opened by an installation that has nothing else.
void OpenDataFileAlone(const TextFile& data) {
    const ScratchFolder folder;
    CMeterIniFile ini(WidePath(folder.Path() / "meterdb.ini").c_str());
    const bool written =
        ini.WriteString("System", "DataFile", fs::absolute(data.Path()).u8string().c_str()) &&
        ini.WriteString("System", "AppFile", "app.ini") && ini.WriteString("System", "RawFile", "raw.dat") &&
        ini.UpdateFile();
    if (!written)
        throw Refusal(kFileFailed, "the temporary folder cannot be written");
    OpenAndClose(WidePath(folder.Path()), L"meterdb.ini");
}

void Open(const Subject& subject) {
    if (subject.system == nullptr)
        OpenDataFileAlone(*subject.data);
    else
        OpenAndClose(WidePath(subject.directory), Utf8::ToWide(subject.system->Path().filename().u8string()));
}

}  // namespace

namespace {

// What is done at once: of two repairs of one line the first, the other is found again in the changed line.
class Plan {
public:
    explicit Plan(const std::vector<Finding>& findings) {
        // Where meters cannot be renumbered without loss the file is not opened at all.
        const bool mayOpen = std::none_of(findings.begin(), findings.end(), [](const Finding& finding) {
            return std::string_view(finding.rule->code) == kRenumbering && finding.repairs.empty();
        });
        for (const Finding& finding : findings)
            if (!finding.repairs.empty() && IsFree(finding) && (mayOpen || !IsByOpening(finding)))
                Add(finding);
    }

    int Repaired() const { return m_repaired; }
    bool ByOpeningToo() const { return m_byOpening; }
    const std::map<const TextFile*, Edits>& OfFiles() const { return m_edits; }

private:
    static constexpr std::string_view kRenumbering = "R03";

    static bool IsByOpening(const Finding& finding) {
        return std::holds_alternative<ByOpening>(finding.repairs.front());
    }

    bool IsFree(const Finding& finding) {
        const std::set<std::size_t>& changed = m_changedLines[finding.file];
        return std::none_of(finding.repairs.begin(), finding.repairs.end(), [&changed](const Repair& repair) {
            const SetLine* edit = std::get_if<SetLine>(&repair);
            return edit != nullptr && changed.count(edit->line) != 0;
        });
    }

    void Add(const Finding& finding) {
        ++m_repaired;
        for (const Repair& repair : finding.repairs) {
            if (const SetLine* line = std::get_if<SetLine>(&repair)) {
                m_edits[finding.file].lines.push_back(line);
                m_changedLines[finding.file].insert(line->line);
            } else if (const DeleteFirst* deletion = std::get_if<DeleteFirst>(&repair)) {
                m_edits[finding.file].deletions.push_back(deletion);
            } else if (const WriteEntry* entry = std::get_if<WriteEntry>(&repair)) {
                m_edits[finding.file].entries.push_back(entry);
            } else {
                m_byOpening = true;
            }
        }
    }

    std::map<const TextFile*, Edits> m_edits;
    std::map<const TextFile*, std::set<std::size_t>> m_changedLines;
    bool m_byOpening = false;
    int m_repaired = 0;
};

}  // namespace

int RepairAll(const Subject& subject, const std::vector<Finding>& findings) {
    const Plan plan(findings);
    for (const auto& [file, edits] : plan.OfFiles())
        ApplyAndSave(*file, edits);
    if (plan.ByOpeningToo())
        Open(subject);
    return plan.Repaired();
}

}  // namespace Check
