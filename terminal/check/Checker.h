// Runs the rules over an installation or a data file, and repairs what can be repaired without loss.
#pragma once

#include <functional>
#include <vector>

#include "terminal/check/Rule.h"

namespace Check {

// All that the rules find, in the order of files and lines. `progress` is told the share that is done, from 0
// to 1.
std::vector<Finding> Run(Subject& subject, const std::function<void(double)>& progress = {});

// Carries out the repairs of the findings and saves the files that change, each in one step. The number of
// findings that were repaired. Throws a Refusal when a file could not be saved.
int RepairAll(const Subject& subject, const std::vector<Finding>& findings);

}  // namespace Check
