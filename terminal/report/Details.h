// What the page shows of one record when it is opened: its values, their marks, and drawings of its
// histories.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "terminal/RouteRecords.h"
#include "terminal/report/Phrases.h"

namespace Report {

// A sentence for each value that deviates, by its name.
using Sentences = std::map<std::string, std::string>;

std::string SentenceOf(const Sentences& sentences, const std::string& name);

// A text in an element of a class; nothing for an empty text.
std::string Span(const char* name, const std::string& text);

// The class of a mark of a field.
std::string MarkClass(const std::string& mark);

// Whether a value of the record was read from its meter.
bool IsVisited(const RouteRecord& record);

// The alarms that a value of a record raises.
std::vector<std::string> AlarmsIn(const RouteRecord& record, const RouteValue& value);

std::string DetailsOf(const RouteRecord& record, const Sentences& sentences, Phrases& phrases);

}  // namespace Report
