#include "terminal/Edit.h"

#include <algorithm>
#include <array>
#include <functional>
#include <list>

#include "MeterUtil/Text.h"
#include "terminal/Record.h"
#include "terminal/Refusal.h"
#include "terminal/SaveListener.h"
#include "terminal/Utf8.h"

namespace {

constexpr const char* kDirty = "Dirty";

// ---- changed lines

// The key of an entry; any other line as it is.
std::string_view KeyOf(std::string_view line) {
    return MeterText::TrimBlanks(line.substr(0, line.find('=')));
}

// Takes the first line with the key out of the lines; "" when none has it.
std::string TakeLine(std::list<std::string>* lines, std::string_view key) {
    const auto found = std::find_if(lines->begin(), lines->end(), [key](const std::string& line) {
        return MeterText::EqualIgnoringCase(KeyOf(line), key);
    });
    if (found == lines->end())
        return {};
    std::string line = std::move(*found);
    lines->erase(found);
    return line;
}

// Lines that changed or are new in their order, then those that are gone.
ChangedLines ChangesOf(const RecordText& before, const RecordText& after) {
    ChangedLines changed{after.header.empty() ? before.header : after.header, {}};
    std::list<std::string> left(before.lines.begin(), before.lines.end());
    for (const std::string& line : after.lines)
        if (const std::string old = TakeLine(&left, KeyOf(line)); old != line)
            changed.changes.push_back({old, line});
    for (const std::string& line : left)
        if (!line.empty())
            changed.changes.push_back({line, ""});
    return changed;
}

std::vector<ChangedLines> ChangesOf(std::vector<RecordText> before, std::vector<RecordText> after) {
    const std::size_t records = std::max(before.size(), after.size());
    before.resize(records);
    after.resize(records);
    std::vector<ChangedLines> changes;
    for (std::size_t i = 0; i < records; ++i)
        if (ChangedLines changed = ChangesOf(before[i], after[i]); !changed.changes.empty())
            changes.push_back(std::move(changed));
    return changes;
}

// ---- saving

// The app file is saved with its mark of changed data before the data file is; when the data file then cannot
// be saved, the app file gets its earlier mark back.
void SaveOrRefuse(CMeterDatabase& database, const std::function<bool()>& save) {
    const SaveListener saves;
    std::array<char, 256> dirty{};
    database.GetGeneralData(kDirty, dirty.data(), static_cast<int>(dirty.size()));
    if (save() && saves.Reason().empty())
        return;
    const std::string reason = saves.Reason().empty() ? "the record could not be changed" : saves.Reason();
    database.SetGeneralData(kDirty, dirty.data());
    throw Refusal(kFileFailed, reason + ". Nothing was changed.");
}

std::string MainValue(CMeterDatabase& database, const char* name) {
    std::array<char, 256> value{};
    database.GetMeterValueMain(name, nullptr, 0, nullptr, 0, nullptr, 0, value.data(), 256, nullptr, 0);
    return std::string(MeterText::WithoutQuotes(value.data()));
}

}  // namespace

std::vector<RecordText> RecordsOfMeter(CMeterDatabase& database) {
    const int current = database.GetAppendix();
    const int appendices = database.GetAppendixCount();
    std::vector<RecordText> records;
    for (int appendix = 0; appendix <= appendices; ++appendix) {
        database.SetAppendix(appendix);
        records.push_back({RecordHeader(database), RecordLines(database)});
    }
    database.SetAppendix(current);
    return records;
}

SavedEdit StampAndSave(CMeterDatabase& database, const std::string& user,
                       const std::vector<RecordText>& before) {
    database.SetActualUser(user.c_str());
    SaveOrRefuse(database, [&database] { return database.SetUser() && database.UpdateDatabaseForeground(); });
    return {MainValue(database, "UserID"), MainValue(database, "LastChanges"),
            ChangesOf(before, RecordsOfMeter(database))};
}

void SaveGeneral(CMeterDatabase& database, const std::string& key, const std::string& value) {
    if (!database.SetDBGeneralData(key.c_str(), value.c_str()))
        throw Refusal(kRefused, "\"" + Utf8::Shown(key) +
                                    "\" with this text is no entry of one line. Nothing was changed.");
    SaveOrRefuse(database, [&database] {
        return database.SetGeneralData(kDirty, "Yes") && database.UpdateDatabaseForeground();
    });
}

SavedEdit DeleteAndSave(CMeterDatabase& database) {
    const std::vector<RecordText> before = RecordsOfMeter(database);
    SaveOrRefuse(database, [&database] {
        return database.SetGeneralData(kDirty, "Yes") && database.DeleteActualMeter();
    });
    return {"", "", ChangesOf(before, {})};
}
