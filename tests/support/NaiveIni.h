// The INI store as simply as it can be written: a list of lines that every operation walks from the start.
// The store is compared with it.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

class NaiveIni {
public:
    explicit NaiveIni(std::string_view bytes);

    std::string Bytes() const;

    bool ReadString(const std::string& section, const std::string& key, std::string* value) const;
    bool ReadByIndex(const std::string& section, int index, std::string* key, std::string* value) const;
    bool ReadLineByIndex(const std::string& section, int index, std::string* text) const;
    bool GetString(int line, std::string* text) const;
    int FindBracketLine(int line) const;
    bool SectionExists(const std::string& section) const;

    bool WriteString(const std::string& section, std::string key, const std::string& value);
    bool SetString(int line, const std::string& text);
    int AppendString(const std::string& text);
    bool DeleteSection(const std::string& section);
    bool DeleteKey(const std::string& section, const std::string& key);
    bool BackupSection(const std::string& section);
    bool RestoreSection(const std::string& section);

private:
    struct Line {
        std::string text;
        std::string end;
        int section = 0;  // of a header: a number of its own; 0 for other lines
    };
    struct Copy {
        Line header;
        std::vector<Line> lines;
    };
    using Index = std::size_t;

    static bool IsHeader(const std::string& text, std::string* name);
    static bool IsEntry(const std::string& text, std::string* key, std::string* value);
    static bool Same(const std::string& a, const std::string& b);
    Index Find(const std::string& section) const;  // of the header; the number of lines when there is none
    Index End(Index header) const;                 // behind the last line of the section
    Index FindKey(const std::string& section, const std::string& key) const;
    Line NewLine(const std::string& text) const;
    void EndLast();
    void Named(Index header);
    void Unnamed(Index header);
    static bool FitsOneLine(const std::string& text);

    bool m_byteOrderMark = false;
    std::string m_end = "\r\n";
    std::vector<Line> m_lines;
    int m_sections = 0;
    std::map<int, Copy> m_copies;
    std::vector<Copy> m_copiesOfDeleted;
};
