// What can be wrong with one record: its state, its action, its type, and what it should have.
#include <algorithm>
#include <iterator>

#include "MeterUtil/Text.h"
#include "terminal/check/Rule.h"

namespace Check {
namespace {

constexpr const char* kStateLetters = "NEMUAHCRI";
constexpr std::size_t kStateChars = 39;
constexpr const char* kActions[] = {"Change",      "Changeable", "Mount",    "Unmount",
                                    "Unmountable", "Collect",    "SwitchOn", "SwitchOff"};

bool IsMain(const RecordView& view) {
    return view.record.kind == RecordKind::Main;
}

// A record that only tells something.
bool IsInformation(const RecordView& view) {
    return MeterText::Contains(view.record.Text("State"), 'I');
}

bool IsAction(std::string_view word) {
    return std::any_of(std::begin(kActions), std::end(kActions),
                       [word](const char* action) { return MeterText::EqualIgnoringCase(action, word); });
}

}  // namespace

const std::vector<Rule>& RecordRules() {
    static const std::vector<Rule> rules = {
        {"R20", Severity::Error, "A record without a state is neither to do nor done: nobody is sent there.",
         [](const RecordView& view, Findings& found) {
             if (IsMain(view) && MeterText::TrimBlanks(view.record.Text("State")).empty())
                 found("[" + std::string(view.record.section.name) + "] has no State");
         }},
        {"R21", Severity::Error, "A state consists of the letters N E M U A H C R I; others mean nothing.",
         [](const RecordView& view, Findings& found) {
             const TextFile::Entry* state = IsMain(view) ? view.record.Find("State") : nullptr;
             if (state == nullptr)
                 return;
             const std::string letters = LettersBeyond(MeterText::TrimBlanks(state->value), kStateLetters);
             if (!letters.empty())
                 found.At(state->line, "State=" + std::string(state->value) + " has " + Quoted(letters));
         }},
        {"R22", Severity::Error, "States are read up to 39 bytes.",
         [](const RecordView& view, Findings& found) {
             const TextFile::Entry* state = view.record.Find("State");
             if (state != nullptr && state->value.size() > kStateChars)
                 found.At(state->line, "State has " + std::to_string(state->value.size()) + " bytes");
         }},
        {"R23", Severity::Error,
         "The action is the value of a value entry: written as an item it is not seen.",
         [](const RecordView& view, Findings& found) {
             const TextFile::Entry* action = view.record.Find("Action");
             if (action != nullptr && view.record.FindValue("Action") == nullptr)
                 found.At(action->line, "Action=" + std::string(action->value));
         }},
        {"R24", Severity::Warning,
         "An action that the system does not know has no text: nobody is told what to do.",
         [](const RecordView& view, Findings& found) {
             const Value* action = view.record.FindValue("Action");
             if (action != nullptr && !action->bare[kValue].empty() && !IsAction(action->bare[kValue]))
                 found.At(action->entry.line, Quoted(action->bare[kValue]) + " is no action");
         }},
        {"R25", Severity::Warning,
         "No function is listed or run on a meter whose type metertypes.ini does not know.",
         [](const RecordView& view, Findings& found) {
             const TextFile* types = view.subject.types.get();
             const TextFile::Entry* type = view.record.Find("MeterType");
             if (types == nullptr || type == nullptr || !IsMain(view) || IsInformation(view))
                 return;
             const std::string_view name = view.record.Text("MeterType");
             if (!name.empty() && types->GetState() == TextFile::State::Loaded &&
                 types->Find(name) == nullptr)
                 found.At(type->line, "type " + Quoted(name) + " is not in metertypes.ini");
         }},
        {"R26", Severity::Note,
         "Without 0.0.0-nom or 0.0.0 a meter is not found by its number, and a readout of another is not "
         "noticed.",
         [](const RecordView& view, Findings& found) {
             if (IsMain(view) && !IsInformation(view) && view.record.Find("0.0.0") == nullptr &&
                 view.record.Find("0.0.0-nom") == nullptr)
                 found("[" + std::string(view.record.section.name) + "] names no number of its meter");
         }},
        {"S04", Severity::Error, "A store meter is found by its number: without one it is never mounted.",
         [](const RecordView& view, Findings& found) {
             if (view.record.kind == RecordKind::Store && view.record.Number().empty())
                 found("[" + std::string(view.record.section.name) + "] has no number in 0.0.0-nom or 0.0.0");
         }},
        {"S05", Severity::Warning,
         "A store meter without store fields (S) brings nothing into the record of an exchange.",
         [](const RecordView& view, Findings& found) {
             const auto isStoreField = [](const Value& value) { return value.Has('S'); };
             if (view.record.kind == RecordKind::Store &&
                 std::none_of(view.record.Values().begin(), view.record.Values().end(), isStoreField))
                 found("[" + std::string(view.record.section.name) + "]");
         }},
    };
    return rules;
}

}  // namespace Check
