#include "terminal/RouteRecords.h"

#include <algorithm>
#include <array>
#include <unordered_map>

#include "MeterUtil/Text.h"

namespace {

constexpr int kMetersAStep = 50;  // between two reports of progress

std::string Folded(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(), MeterText::ToLower);
    return name;
}

std::vector<RouteValue> ValuesOf(CMeterDatabase& database) {
    const Fields fields(database);
    std::unordered_map<std::string, const Fields::Field*> declared;
    for (const Fields::Field& field : fields.All())
        declared.emplace(Folded(field.name), &field);
    std::vector<RouteValue> values;
    for (Entry& entry : Entries(database)) {
        const auto field = declared.find(Folded(entry.name));
        RouteValue value;
        value.entry = std::move(entry);
        value.kind = field == declared.end() ? RouteValue::kUndeclared : field->second->kind;
        value.shown =
            field == declared.end() ? fields.ShowUndeclared(value.entry) : fields.Show(*field->second);
        values.push_back(std::move(value));
    }
    return values;
}

RouteRecord CurrentRecord(CMeterDatabase& database) {
    std::array<char, 40> letters{};
    database.GetRecordState(letters.data());
    RouteRecord record;
    record.place = {database.GetActualPosition(), database.GetAppendix()};
    record.number = MeterNumber(database);
    record.type = MeterTypeOf(database);
    record.stateLetters = letters.data();
    record.state = StateText(database);
    record.action = ActionText(database);
    record.values = ValuesOf(database);
    return record;
}

}  // namespace

const std::string& RouteRecord::Shown(const std::string& name) const {
    static const std::string none;
    const auto found = std::find_if(values.begin(), values.end(), [&name](const RouteValue& value) {
        return MeterText::EqualIgnoringCase(value.entry.name, name);
    });
    return found == values.end() ? none : found->shown.value;
}

void ForEachRecord(CMeterDatabase& database, const std::function<void(const RouteRecord& record)>& look,
                   const std::function<void(double share)>& progress) {
    const int meters = database.GetNumberOfMeters();
    for (int meter = 1; meter <= meters; ++meter) {
        database.SetActualPosition(meter);
        const int appendices = database.GetAppendixCount();
        for (int appendix = 0; appendix <= appendices; ++appendix) {
            database.SetAppendix(appendix);
            look(CurrentRecord(database));
        }
        if (meter % kMetersAStep == 0)
            progress(static_cast<double>(meter) / meters);
    }
}
