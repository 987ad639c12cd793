// What a check of the database found, in words.
#pragma once

#include <string>

#include "terminal/Record.h"

// Why the value of an entry fails the check of its definition; "" when it passes.
std::string FindingOf(CMeterDatabase& database, const Entry& entry);
