// What a check of the database found, in words.
#pragma once

#include <string>
#include <vector>

#include "terminal/Record.h"

// Why the value of an entry fails the check of its definition; "" when it passes.
std::string FindingOf(CMeterDatabase& database, const Entry& entry);

// The alarm tokens of an entry's definition that hold for its status.
std::vector<std::string> AlarmsOf(const Entry& entry);
