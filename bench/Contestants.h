// Who takes part. Each adds its measurements to the list.
#pragma once

#include <string>

namespace Bench {

void AddOurStore(const std::string& diskDirectory);  // a directory on a medium, for saves that are flushed
void AddFloors(const std::string& diskDirectory);
void AddSimpleIni();
void AddGKeyFile();
void AddPropertyTree();
void AddIniParser();
void AddSqlite(const std::string& diskDirectory);

}  // namespace Bench
