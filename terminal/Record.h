// The current record of the database as whole texts: entries with bare sub-fields, lines, and what the
// record's words mean to the terminal.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "MeterDatabase/MeterDatabase.h"

// A value entry, its sub-fields without the quotes that enclose them.
struct Entry {
    std::string name;
    std::string attributes;
    std::string status;
    std::string definition;
    std::string value;
    std::string text;
};

// The value entry of a name; nothing when the record has none or only a plain item.
std::optional<Entry> ReadEntry(CMeterDatabase& database, const std::string& name);

// The value entries in the order of the record.
std::vector<Entry> Entries(CMeterDatabase& database);

// Those with an attribute: R is filled by the meter's parser, A is calculated, S comes from the store.
std::vector<Entry> EntriesWith(CMeterDatabase& database, char attribute);

// An entry as it stands; nothing when the record has none of that name.
std::optional<std::string> ReadItem(CMeterDatabase& database, const std::string& name);

// The value of an entry, or a plain item as it stands; "" when the record has neither.
std::string ReadValue(CMeterDatabase& database, const std::string& name);

// The type of the meter, that of the main record where an appendix has none; "" when it has none.
std::string MeterTypeOf(CMeterDatabase& database);

// The number by which the route knows the record's meter, "0.0.0-nom", else "0.0.0"; "" when it has none.
std::string MeterNumber(CMeterDatabase& database);

// The lines of the record behind its header, closing empty lines left out.
std::vector<std::string> RecordLines(CMeterDatabase& database);

// The header line of the record.
std::string RecordHeader(CMeterDatabase& database);

// The state of the meter and what is to be done with it, in the language of the installation.
std::string StateText(CMeterDatabase& database);
std::string ActionText(CMeterDatabase& database);
std::string StateAndAction(CMeterDatabase& database);  // the action in parentheses
bool IsHandled(CMeterDatabase& database);

// The tokens of a check definition, up to the first empty one: nothing behind it counts.
std::vector<std::string> DefinitionTokens(const std::string& definition);

// A text of nothing but digits.
bool IsCount(const std::string& text);

// The unit that a check definition shows values in; "" when it names none.
std::string UnitOf(const std::string& definition);
