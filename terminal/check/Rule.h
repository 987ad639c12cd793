// A rule of the check: a fault that it knows, why that matters, and how it is found. A new rule is a line of
// one of the tables of the Rules units: its code, its severity, its reason, and a function that looks at one
// line, one value, one record, one file or the whole installation and says what it found.
//
// Codes are kept: people and scripts refer to them. That of a rule that is given up is not used again.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "terminal/check/Subject.h"

namespace Check {

enum class Severity {
    Note,     // worth a look
    Warning,  // is hardly what was meant
    Error,    // is lost, not seen, or always fails in the field
};

const char* NameOf(Severity severity);

// ---- repairs: what can be put right without losing anything

struct SetLine {
    std::size_t line;
    std::string text;
};
struct DeleteFirst {  // the first entry of the key
    std::string section;
    std::string key;
};
struct WriteEntry {
    std::string section;
    std::string key;
    std::string value;
};
struct ByOpening {};  // the database does it when it opens the file

using Repair = std::variant<SetLine, DeleteFirst, WriteEntry, ByOpening>;

// ---- findings

struct Rule;

struct Finding {
    const Rule* rule = nullptr;
    const TextFile* file = nullptr;
    std::size_t line = 0;         // from 1; 0: the whole file
    std::string words;            // what was found, as it stands in the file
    std::vector<Repair> repairs;  // all of them together; none when nothing can be done without loss
};

// Where the functions of the rules put what they find.
class Findings {
public:
    // The rule that looks now, and the place that its findings are of.
    void LookAt(const Rule& rule, const TextFile& file, std::size_t line) {
        m_rule = &rule;
        m_file = &file;
        m_line = line;
    }

    // The same rule looks into another file.
    void LookIn(const TextFile& file) { m_file = &file; }

    void operator()(std::string words, std::vector<Repair> repairs = {}) {
        At(*m_file, m_line, std::move(words), std::move(repairs));
    }

    void At(std::size_t line, std::string words, std::vector<Repair> repairs = {}) {
        At(*m_file, line, std::move(words), std::move(repairs));
    }

    void At(const TextFile& file, std::size_t line, std::string words, std::vector<Repair> repairs = {}) {
        m_all.push_back({m_rule, &file, line, std::move(words), std::move(repairs)});
    }

    const std::vector<Finding>& All() const { return m_all; }
    std::vector<Finding>& All() { return m_all; }

private:
    const Rule* m_rule = nullptr;
    const TextFile* m_file = nullptr;
    std::size_t m_line = 0;
    std::vector<Finding> m_all;
};

// ---- rules

// What the functions of rules look at, and so when they are called.
struct LineView {
    const TextFile& file;
    std::size_t line;
    std::string_view text;
};

struct RecordView {
    const Subject& subject;
    const Record& record;
};

struct ValueView {
    const Subject& subject;
    const Record& record;
    const Value& value;
};

using LineTest = void (*)(const LineView& line, Findings& found);        // of every file
using FileTest = void (*)(const TextFile& file, Findings& found);        // every file
using ValueTest = void (*)(const ValueView& value, Findings& found);     // of every record and template
using RecordTest = void (*)(const RecordView& record, Findings& found);  // every record and template
using RouteTest = void (*)(const Subject& subject, Findings& found);     // the data file as a whole
using SystemTest = void (*)(const TextFile& system, const Subject& subject, Findings& found);

struct Rule {
    const char* code;
    Severity severity;
    const char* why;  // a sentence
    std::variant<LineTest, FileTest, ValueTest, RecordTest, RouteTest, SystemTest> test;
};

// The tables of rules, one a unit.
const std::vector<Rule>& TextRules();
const std::vector<Rule>& SystemRules();
const std::vector<Rule>& RouteRules();
const std::vector<Rule>& RecordRules();
const std::vector<Rule>& ValueRules();
const std::vector<Rule>& FunctionRules();

// All of them, in the order of their codes.
const std::vector<const Rule*>& AllRules();

// ---- what the rules share

// The line of an entry with another key or another value.
std::string WithKey(std::string_view line, std::string_view key);
std::string WithValue(std::string_view line, std::string_view value);

// A text in quotes, as it is put into a sentence.
std::string Quoted(std::string_view text);

// The letters of a text that are not among the known ones, each once.
std::string LettersBeyond(std::string_view text, std::string_view known);

// A decimal number as the database reads one, all of the text.
bool IsDecimal(std::string_view text);

// An integer, all of the text.
bool IsInteger(std::string_view text);

}  // namespace Check
