// The types of meters that can be appended to the route.
#pragma once

#include <string>
#include <vector>

#include "MeterDatabase/MeterDatabase.h"

struct AppendType {
    std::string name;
    std::string label;
};

// In the order of the installation.
std::vector<AppendType> AppendTypes(CMeterDatabase& database);
