// The types of meters that the terminal knows, from the file metertypes.ini of the installation, which
// docs/files.md describes.
#pragma once

#include <optional>
#include <string>

#include "terminal/Installation.h"
#include "terminal/MeterType.h"

constexpr const char* kMeterTypesFile = "metertypes.ini";

// The type of a name, with the texts of the installation's language. Nothing for an unknown type. Throws a
// Refusal when the file cannot be read.
std::optional<MeterType> FindMeterType(Installation& installation, const std::string& name);
