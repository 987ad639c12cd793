// The text store over any file and any edits, beside the naive model of the tests: both give the same
// answers, hold the same lines, and save the same bytes.
#include "MeterUtil/MeterIniFile.h"
#include "fuzz/MemoryDisk.h"
#include "fuzz/Script.h"
#include "tests/support/NaiveIni.h"

namespace {

constexpr int kSize = 1 << 16;  // more than any input has

class Pair {
public:
    explicit Pair(std::string_view bytes)
        : m_naive(bytes), m_store((MemoryDisk::Write("a.ini", bytes), MemoryDisk::Path("a.ini").c_str())) {}

    void Do(Script& script) {
        const std::string operation = script.Word();
        const std::string first = script.Word();
        const std::string second = script.Word();
        const std::string third = script.Word();
        switch (operation.empty() ? ' ' : operation[0]) {
            case 'w':
                return Write(first, second, third);
            case 's':
                return SetLine(MeterText::ToInt(first), second);
            case 'a':
                return Append(first);
            case 'd':
                return Same(first, &CMeterIniFile::DeleteSection, &NaiveIni::DeleteSection);
            case 'b':
                return Same(first, &CMeterIniFile::BackupSection, &NaiveIni::BackupSection);
            case 'r':
                return Same(first, &CMeterIniFile::RestoreSection, &NaiveIni::RestoreSection);
            case 'k':
                return DeleteKey(first, second);
            case 'g':
                return Read(first, second, MeterText::ToInt(third));
            case 'u':
                return CompareSaved(true);
            case 'h':
                return CompareSaved(false);
            default:
                return;
        }
    }

    void CompareLines() {
        std::string text;
        int line = 0;
        for (; m_naive.GetString(line, &text); ++line) {
            Require(m_store.GetString(line, m_text.Data(), kSize) && m_text.Text() == Cut(text), "line");
            Require(m_store.FindBracketLine(line) == m_naive.FindBracketLine(line), "header line");
        }
        Require(!m_store.GetString(line, m_text.Data(), kSize), "number of lines");
    }

    void CompareSaved(bool inForeground) {
        if (!inForeground)
            Require(m_store.UpdateFileBackground(), "save in the background");
        Require(m_store.UpdateFile(), "save");
        Require(MemoryDisk::Read("a.ini") == m_naive.Bytes(), "saved bytes");
    }

private:
    // A line as callers see it: up to its first zero.
    static std::string Cut(const std::string& text) { return text.c_str(); }

    void Write(const std::string& section, const std::string& key, const std::string& value) {
        const bool wrote = m_store.WriteString(section.c_str(), key.c_str(), value.c_str());
        Require(wrote == m_naive.WriteString(section, key, value), "write");
    }
    void SetLine(int line, const std::string& text) {
        Require(m_store.SetString(line, text.c_str()) == m_naive.SetString(line, text), "set line");
    }
    void Append(const std::string& text) {
        Require(m_store.AppendString(text.c_str()) == m_naive.AppendString(text), "append");
    }
    void DeleteKey(const std::string& section, const std::string& key) {
        Require(m_store.DeleteKey(section.c_str(), key.c_str()) == m_naive.DeleteKey(section, key),
                "delete key");
    }
    void Same(const std::string& section, bool (CMeterIniFile::*ours)(const char*),
              bool (NaiveIni::*naive)(const std::string&)) {
        Require((m_store.*ours)(section.c_str()) == (m_naive.*naive)(section), "operation on a section");
    }

    void Read(const std::string& section, const std::string& key, int index) {
        std::string text;
        std::string name;
        const bool found = m_store.ReadString(section.c_str(), key.c_str(), m_text.Data(), kSize);
        Require(found == m_naive.ReadString(section, key, &text) && m_text.Text() == Cut(text), "read");
        const bool listed =
            m_store.ReadByIndex(section.c_str(), index, m_name.Data(), kSize, m_text.Data(), kSize);
        Require(listed == m_naive.ReadByIndex(section, index, &name, &text), "entry");
        Require(m_name.Text() == Cut(name) && m_text.Text() == Cut(text), "entry");
        const bool isLine = m_store.ReadLineByIndex(section.c_str(), index, m_text.Data(), kSize);
        Require(isLine == m_naive.ReadLineByIndex(section, index, &text) && m_text.Text() == Cut(text),
                "line of a section");
        Require(m_store.SectionExists(section.c_str()) == m_naive.SectionExists(section), "section");
        ReadIntoLittle(section, key);
    }

    // A value that is cut is the beginning of the whole one.
    void ReadIntoLittle(const std::string& section, const std::string& key) {
        Output little(4);
        const bool found = m_store.ReadString(section.c_str(), key.c_str(), m_text.Data(), kSize);
        Require(m_store.ReadString(section.c_str(), key.c_str(), little.Data(), 4) == found &&
                    little.Text() == m_text.Text().substr(0, 3),
                "value that is cut");
    }

    NaiveIni m_naive;
    CMeterIniFile m_store;
    Output m_text{kSize};
    Output m_name{kSize};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Script script(data, size);
    MemoryDisk::Format();
    Pair pair(script.File());
    pair.CompareLines();
    while (script.Next()) {
        pair.Do(script);
        pair.CompareLines();
    }
    pair.CompareSaved(true);
    return 0;
}
