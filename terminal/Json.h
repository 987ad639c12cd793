// Output for other programs: objects with their members in the order in which they are put there.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "terminal/Screen.h"
#include "terminal/Utf8.h"

using Json = nlohmann::ordered_json;

// A text of a file. What cannot be shown is replaced, as on the screen.
inline std::string JsonText(std::string_view bytes) {
    return Utf8::Shown(bytes);
}

// One line.
inline std::string JsonLine(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

// A list that is written object by object, each in a line, whatever their number.
class JsonList {
public:
    explicit JsonList(Screen& screen) : m_screen(screen) { m_screen.Raw("[", false); }
    ~JsonList() { m_screen.Raw(m_isEmpty ? "]\n" : "\n]\n", false); }
    JsonList(const JsonList&) = delete;
    JsonList& operator=(const JsonList&) = delete;

    void Add(const Json& object) {
        std::string line = JsonLine(object);
        line.pop_back();
        m_screen.Raw((m_isEmpty ? "\n" : ",\n") + line, false);
        m_isEmpty = false;
    }

private:
    Screen& m_screen;
    bool m_isEmpty = true;
};
