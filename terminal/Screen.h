// What the program writes: lines in tones and tables whose columns stand under each other. It adapts to the
// width of the terminal and colours only what a person looks at; the words say the same without colours. For
// other programs it writes the rows of all tables as one JSON list in place of everything else.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

enum class Tone { Plain, Faint, Strong, Good, Warning, Bad };

// A piece of shown text.
struct Cell {
    Cell(std::string shown, Tone tone_ = Tone::Plain) : text(std::move(shown)), tone(tone_) {}
    Cell(const char* shown) : text(shown) {}

    std::string text;
    Tone tone = Tone::Plain;
};

struct Column {
    std::string title;
    bool right = false;    // numbers stand at the right
    bool shrinks = false;  // is cut when the terminal is too narrow
    int dispensable = 0;   // above 0: left out before any is cut, the highest first; below: when all are cut
    std::string key = {};  // its name for other programs; "": the title in small letters
};

struct Table {
    std::vector<Column> columns;
    std::vector<std::vector<Cell>> rows;  // as many cells as columns
    std::string list = {};                // which of several it is, for other programs
};

class Screen {
public:
    struct Style {
        bool colours = false;
        int columns = 0;                  // of the terminal; 0: no limit
        bool progress = false;            // a person waits in front of standard error
        std::istream* answers = nullptr;  // of that person; null: nobody can be asked
        bool watched = false;             // a person looks at standard output
    };

    Screen(std::ostream& out, std::ostream& errors, Style style)
        : m_out(out), m_errors(errors), m_style(style) {}

    void Line(const std::vector<Cell>& cells = {});
    void Heading(const std::string& text);
    void Print(const Table& table);

    // From now on a JSON list is written. `End` closes it; an empty one is written by a command that is done.
    void UseJson() { m_isJson = true; }
    bool UsesJson() const { return m_isJson; }
    void End(bool isDone);

    // Adds an object to the list, a text of one line.
    void Object(const std::string& json);

    // A sentence for standard error, behind the name of the program.
    void Problem(const std::string& text);
    void Warning(const std::string& text);

    bool CanAsk() const { return m_style.answers != nullptr; }

    // Whether a person who is asked says yes. Where nobody can be asked, nobody objects.
    bool Agrees(const std::string& question);

    bool ShowsProgress() const { return m_style.progress; }

    // Whether a line of so many columns leaves the cursor in it.
    bool HasRoomFor(std::size_t columns) const {
        return m_style.columns == 0 || columns < static_cast<std::size_t>(m_style.columns);
    }

    // Whether what is written goes to a person, who sees by it how far the work is.
    bool IsWatched() const { return m_style.watched; }

    // Text for standard error or standard output as it stands.
    void Raw(const std::string& text, bool isError);

private:
    std::string Toned(const std::string& text, Tone tone) const;
    std::string Row(const std::vector<Cell>& cells, const Table& table, const std::vector<int>& widths) const;
    void PrintObjects(const Table& table);
    std::vector<int> Widths(const Table& table) const;

    std::ostream& m_out;
    std::ostream& m_errors;
    Style m_style;
    bool m_isJson = false;
    bool m_hasObjects = false;
};
