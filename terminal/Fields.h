// The data fields of the current record, as the installation declares them and the user sees them.
#pragma once

#include <string>
#include <vector>

#include "MeterDatabase/MeterDatabase.h"
#include "terminal/Record.h"

// A value as the user sees it.
struct ShownValue {
    std::string label;  // "" when the installation has none
    std::string value;
    std::string mark;  // "ok.", "?", "!" or ""
};

class Fields {
public:
    static constexpr int kValues = 0;
    static constexpr int kStatistic = 1;
    static constexpr int kExtra = 2;

    struct Field {
        int kind;
        int index;  // in the list of the kind
        std::string name;
    };

    // Lists the fields of the current record: those of its meter type where the installation has any. They
    // are of no use once another record is current.
    explicit Fields(CMeterDatabase& database);

    // In the order of the lists: values, extra, statistic.
    const std::vector<Field>& All() const { return m_fields; }

    // The first field of a name, ignoring case; null when the record has none.
    const Field* Find(const std::string& name) const;

    ShownValue Show(const Field& field) const;

    // An entry of the record, by its first field; without one its value in the format of its definition.
    ShownValue Show(const Entry& entry) const;

    // An entry that no field is declared for: its value in the format of its definition.
    ShownValue ShowUndeclared(const Entry& entry) const;

    // Writes the value and the status of a field. False when the record is none of the database.
    bool Write(const Field& field, const std::string& value, const std::string& status) const;

private:
    CMeterDatabase& m_database;
    std::string m_variant;
    std::vector<Field> m_fields;
};

// The mark of a status.
std::string MarkOf(const std::string& status);
