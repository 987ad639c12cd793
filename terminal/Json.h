// Output for other programs: objects with their members in the order in which they are put there.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "terminal/Utf8.h"

using Json = nlohmann::ordered_json;

// A text of a file. What cannot be shown is replaced, as on the screen.
inline std::string JsonText(std::string_view bytes) {
    return Utf8::Shown(bytes);
}

// In one line, without a line end.
inline std::string JsonLine(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}
