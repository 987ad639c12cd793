// A meter with data fields: its lists, and how one field is shown.
#pragma once

#include <ostream>
#include <string>
#include <tuple>

#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/GuardedBuffer.h"

inline constexpr int kValues = 0;
inline constexpr int kStatistic = 1;
inline constexpr int kExtra = 2;

// What GetDataField gives; `ok` is its result.
struct Shown {
    bool ok = false;
    std::string label;
    std::string value;
    std::string mark;

    bool operator==(const Shown& other) const {
        return std::tie(ok, label, value, mark) == std::tie(other.ok, other.label, other.value, other.mark);
    }
};

inline std::ostream& operator<<(std::ostream& stream, const Shown& shown) {
    return stream << (shown.ok ? "" : "failed ") << shown.label << " | " << shown.value << " | "
                  << shown.mark;
}

inline const Shown kNothing;

class DataFields : public DatabaseFixture {
protected:
    // A meter with the entries of `record`; `declarations` stand in "Values".
    void OpenFields(const std::string& declarations, const std::string& record) {
        Open("[#_1]\nState=U\n" + record, "[Values]\n" + declarations);
    }

    int List(int kind = kValues, const char* variant = nullptr) {
        return m_database.GetDataFields(nullptr, kind, variant);
    }

    Shown Field(int index, int size = 300, int kind = kValues, const char* variant = nullptr) {
        GuardedBuffer label(size), value(size), mark(size);
        Shown shown;
        shown.ok = m_database.GetDataField(nullptr, kind, variant, index, label.Data(), size, value.Data(),
                                           size, mark.Data(), size);
        shown.label = label.Text();
        shown.value = value.Text();
        shown.mark = mark.Text();
        return shown;
    }

    std::string Name(int index, int kind = kValues, const char* variant = nullptr) {
        GuardedBuffer name(40);
        return m_database.GetDataFieldName(kind, variant, index, name.Data(), name.Size()) ? name.Text()
                                                                                           : kMissing;
    }

    std::string Section(int kind, const char* variant) {
        GuardedBuffer section(40);
        Type_DataField* list = nullptr;
        int* count = nullptr;
        m_database.GetPtrToDataFields(kind, variant, section.Data(), &list, &count);
        return section.Text();
    }

    // A record with `m_record` and a field "X", which the two below change.
    void OpenOneField() {
        m_database.SetIniFile(L"");
        OpenFields("X=label\n", m_record);
        m_opened = m_record;
    }

    // What becomes of the label of "X".
    std::string LabelFor(const std::string& declaration, const std::string& entry = "A,D,8,1,\"\"") {
        if (m_database.m_dataFile == nullptr || m_opened != m_record)
            OpenOneField();
        EXPECT_TRUE(m_database.m_systemIni->WriteString("Values", "X", declaration.c_str()));
        EXPECT_TRUE(m_database.SetMeterItem("X", entry.c_str()));
        EXPECT_EQ(List(), 1);
        return Field(0).label;
    }

    // How "X" is shown with this entry.
    std::string ValueFor(const std::string& entry) {
        EXPECT_EQ(LabelFor("label", entry), "label");
        return Field(0).value;
    }

    std::string m_opened;
    std::string m_record;  // further entries of the record
    FakeSystem m_system;
};
