// Data fields: which are listed and from which section, what stands behind them, and how they are written.
#include <gtest/gtest.h>

#include <limits>
#include <utility>

#include "tests/support/DataFieldsFixture.h"
#include "tests/support/HeapFault.h"
#include "tests/support/SubFieldTexts.h"

// ---- the section of a list

TEST_F(DataFields, StandInTheMostSpecialSectionThatExists) {
    const std::string sections[] = {"Values", "Values_de", "Values_A1", "Values_A1_de"};
    std::string ini;
    for (const std::string& section : sections) {
        ini += "[" + section + "]\nX=" + section + "\n";
        m_database.SetIniFile(L"");
        Open("[#_1]\nX=A,D,8,1,\"\"\n", ini);
        m_database.SetLanguageCode("de");
        EXPECT_EQ(Section(kValues, "A1"), section);
        ASSERT_EQ(List(kValues, "A1"), 1);
        EXPECT_EQ(Field(0, 300, kValues, "A1").label, section);
    }
    for (const char* none : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(Section(kValues, none), "Values_de");
        m_database.SetLanguageCode("");
        EXPECT_EQ(Section(kValues, none), "Values");
        EXPECT_EQ(Section(kValues, "A1"), "Values_A1");
        m_database.SetLanguageCode("de");
    }
    EXPECT_EQ(Section(kValues, "B2"), "Values_de");
    m_database.SetLanguageCode("fr");
    EXPECT_EQ(Section(kValues, "A1"), "Values_A1");
    EXPECT_EQ(Section(kValues, "B2"), "Values") << "taken without a look";
}

TEST_F(DataFields, HaveNoSectionForAnEmptyVariantOrLanguage) {
    Open("[#_1]\n", "[Values_]\n[Values__]\n[Values_A1_]\n[Values__de]\n");
    EXPECT_EQ(Section(kValues, nullptr), "Values");
    EXPECT_EQ(Section(kValues, ""), "Values");
    EXPECT_EQ(Section(kValues, "A1"), "Values");
    m_database.SetLanguageCode("de");
    EXPECT_EQ(Section(kValues, ""), "Values");
}

TEST_F(DataFields, HaveAListAndASectionPerKind) {
    Open("[#_1]\n");
    const std::pair<int, const char*> rows[] = {
        {0, "Values"},
        {1, "Statistic"},
        {2, "Extra"},
        {3, "Values"},
        {5, "Values"},
        {-1, "Values"},
        {std::numeric_limits<int>::max(), "Values"},
        {std::numeric_limits<int>::min(), "Values"},
    };
    for (const auto& [kind, section] : rows) {
        GuardedBuffer name(40);
        Type_DataField* list = nullptr;
        int* count = nullptr;
        m_database.GetPtrToDataFields(kind, nullptr, name.Data(), &list, &count);
        const auto& expected = m_database.m_fieldLists[kind == 1 || kind == 2 ? kind : 0];
        EXPECT_EQ(name.Text(), section);
        EXPECT_EQ(list, expected.fields);
        EXPECT_EQ(count, &expected.count);
    }
    m_database.GetPtrToDataFields(0, nullptr, nullptr, nullptr, nullptr);
}

TEST_F(DataFields, HaveSectionNamesOf39Characters) {
    const std::string cut = "Values_" + Text(32, 'v');
    Open("[#_1]\nX=A,D,8,1,\"\"\n", "[" + cut + "]\nX=cut\n[" + cut + "v]\nX=whole\n");
    for (const std::size_t length : {32U, 33U, 100U, 100000U}) {
        const std::string variant = Text(length, 'v');
        EXPECT_EQ(Section(kValues, variant.c_str()), cut) << length;
        EXPECT_EQ(List(kValues, variant.c_str()), 1);
        EXPECT_EQ(Field(0, 300, kValues, variant.c_str()).label, "cut");
    }
    EXPECT_EQ(Section(kValues, Text(31, 'v').c_str()), "Values");
    ASSERT_TRUE(m_database.m_systemIni->DeleteSection((cut + "v").c_str()));
    EXPECT_EQ(Section(kValues, Text(33, 'v').c_str()), cut) << "the name is cut before it is looked for";
    m_database.SetLanguageCode(Text(39, 'l').c_str());
    EXPECT_EQ(Section(kExtra, Text(39, 'w').c_str()), "Extra");
}

TEST_F(DataFields, HaveASectionNameWithoutASystemIni) {
    m_database.SetLanguageCode("de");
    EXPECT_EQ(Section(kStatistic, "A1"), "Statistic");
}

// ---- listing

TEST_F(DataFields, AreThoseThatTheCurrentRecordHas) {
    OpenFields("A=first\nMissing=no\nB=second\nEmpty=no\nItem=third\n",
               "A=A,D,8,1,\"\"\nB=A,D,8,2,\"\"\nEmpty=\nItem=Uhr\nOther=A,D,8,3,\"\"\n");
    EXPECT_EQ(List(), 3);
    EXPECT_EQ(Name(0), "A");
    EXPECT_EQ(Name(1), "B") << "the next field takes the index";
    EXPECT_EQ(Name(2), "Item");
    EXPECT_EQ(Field(1).label, "second");
    const Type_DataField* const list = m_database.m_fieldLists[0].fields;
    EXPECT_EQ(list[0].position, 1);
    EXPECT_EQ(list[1].position, 3);
    EXPECT_EQ(list[2].position, 5);
}

TEST_F(DataFields, AreListedAnewForAnotherRecord) {
    Open("[#_1]\nA=A,D,8,main,\"\"\n[#1_1]\nB=A,D,8,appendix,\"\"\n[#_2]\nState=U\n", "[Values]\nA=a\nB=b\n");
    EXPECT_EQ(List(), 1);
    EXPECT_EQ(Field(0), (Shown{true, "a", "main", "ok."}));
    ASSERT_TRUE(m_database.SetAppendix(1));
    EXPECT_EQ(List(), 1);
    EXPECT_EQ(Field(0), (Shown{true, "b", "appendix", "ok."}));
    m_database.SetActualPosition(2);
    EXPECT_EQ(List(), 0);
}

TEST_F(DataFields, Are200AtMost) {
    std::string declarations;
    std::string record;
    for (int i = 1; i <= 230; ++i) {
        declarations += "F" + std::to_string(i) + "=label " + std::to_string(i) + "\n";
        record += "F" + std::to_string(i) + "=A,D,8," + std::to_string(i) + ",\"\"\n";
    }
    OpenFields(declarations, record);
    EXPECT_EQ(List(), 200);
    EXPECT_EQ(Field(199), (Shown{true, "label 200", "200", "ok."}));
    EXPECT_EQ(Field(200), kNothing) << "behind the last place of the list";
    EXPECT_EQ(Field(201), kNothing);
}

TEST_F(DataFields, AreLookedForInThe255FirstDeclarations) {
    std::string declarations;
    for (int i = 1; i <= 257; ++i)
        declarations += "F" + std::to_string(i) + "=label\n";
    OpenFields(declarations, "F254=A,D,8,1,\"\"\nF255=A,D,8,1,\"\"\nF256=A,D,8,1,\"\"\n");
    EXPECT_EQ(List(), 2);
    EXPECT_EQ(Name(1), "F255");
}

TEST_F(DataFields, HaveNamesOf39Characters) {
    const std::string name = Text(39, 'n');
    OpenFields(name + "=exact\n" + name + "mmm=longer\n",
               name + "=A,D,8,1,\"\"\n" + name + "mmm=A,D,8,2,\"\"\n");
    EXPECT_EQ(List(), 2);
    EXPECT_EQ(Name(0), name);
    EXPECT_EQ(Name(1), name) << "a longer name is cut";
    EXPECT_EQ(Field(1), (Shown{true, "longer", "1", "ok."}));
}

TEST_F(DataFields, KeepOneListPerKind) {
    Open("[#_1]\nA=A,D,8,1,\"\"\nB=A,D,8,2,\"\"\nC=A,D,8,3,\"\"\n",
         "[Values]\nA=value\nB=value\n[Statistic]\nB=statistic\n[Extra]\nC=extra\n");
    EXPECT_EQ(List(kValues), 2);
    EXPECT_EQ(List(kStatistic), 1);
    EXPECT_EQ(List(kExtra), 1);
    EXPECT_EQ(Field(0, 300, kValues).label, "value");
    EXPECT_EQ(Field(0, 300, kStatistic).label, "statistic");
    EXPECT_EQ(Field(0, 300, kExtra).label, "extra");
    EXPECT_EQ(Field(0, 300, 5).label, "value") << "any other kind is the first list";
}

TEST_F(DataFields, AreNoneWithoutStoresOrACurrentMeter) {
    OpenFields("A=first\nB=second\n", "A=A,D,8,1,\"\"\nB=A,D,8,2,\"\"\n");
    ASSERT_EQ(List(), 2);
    for (CMeterIniFile** store : {&m_database.m_dataFile, &m_database.m_systemIni}) {
        CMeterIniFile* const kept = std::exchange(*store, nullptr);
        EXPECT_EQ(List(), 0);
        EXPECT_EQ(Field(0), kNothing);
        EXPECT_EQ(Name(0), kMissing);
        EXPECT_FALSE(m_database.SetDataFieldValue(kValues, nullptr, 0, "5", nullptr, nullptr));
        *store = kept;
    }
    EXPECT_EQ(Name(1), "B") << "the list is as it was";
    m_database.m_currentMeter = 0;
    EXPECT_EQ(Field(0), kNothing);
    EXPECT_FALSE(m_database.SetDataFieldValue(kValues, nullptr, 0, "5", nullptr, nullptr));
    EXPECT_EQ(List(), 0);
    EXPECT_EQ(Name(0), "A") << "left behind the count";
    EXPECT_EQ(Name(1), kMissing);
}

TEST_F(DataFields, AreNoneWithoutASection) {
    Open("[#_1]\nA=A,D,8,1,\"\"\n");
    EXPECT_EQ(List(), 0);
    EXPECT_EQ(Field(0), kNothing);
}

TEST(DataFieldLists, MayLackTheirMemory) {
    FakeSystem system;
    system.FailCall(FakeSystem::Call::Allocate, 1, FakeSystem::Times::FromThenOn);
    TestFolder folder;
    folder.Write("system.ini", "[System]\nAppFile=app.ini\nRawFile=r\nDataFile=data.ini\n[Values]\nA=a\n");
    folder.Write("data.ini", "[#_1]\nA=A,D,8,1,\"\"\n");
    TestDatabase database(folder.Wide().c_str());
    system.Heal();
    database.SetIniFile(L"system.ini");
    ASSERT_TRUE(database.OpenDataFile(false));
    ASSERT_EQ(database.m_fieldLists[0].fields, nullptr);
    EXPECT_EQ(database.GetDataFields(nullptr, kValues, nullptr), 0);
    char text[40] = "kept";
    EXPECT_FALSE(database.GetDataField(nullptr, kValues, nullptr, 0, text, 40, nullptr, 0, nullptr, 0));
    EXPECT_STREQ(text, "");
    EXPECT_FALSE(database.GetDataFieldName(kValues, nullptr, 0, text, 40));
    EXPECT_FALSE(database.SetDataFieldValue(kValues, nullptr, 0, "1", nullptr, nullptr));
}

// ---- indexes

TEST_F(DataFields, AreRefusedOutsideTheList) {
    OpenFields("A=first\nB=second\n", "A=A,D,8,1,\"\"\nB=A,D,8,2,\"\"\n");
    EXPECT_EQ(Field(0), kNothing) << "a list that was never built";
    EXPECT_EQ(Name(0), "") << "the place behind the last field";
    ASSERT_EQ(List(), 2);
    for (const int index : {-1, std::numeric_limits<int>::min(), 3, 200, std::numeric_limits<int>::max()}) {
        EXPECT_EQ(Field(index), kNothing) << index;
        EXPECT_EQ(Name(index), kMissing) << index;
        EXPECT_FALSE(m_database.SetDataFieldValue(kValues, nullptr, index, "5", nullptr, nullptr)) << index;
    }
}

TEST_F(DataFields, ShowWhatAnEarlierListLeftBehindTheLastField) {
    OpenFields("A=first\nB=second\n", "A=A,D,8,1,\"\"\nB=A,D,8,2,\"\"\n");
    ASSERT_EQ(List(), 2);
    EXPECT_EQ(Field(2), kNothing);
    EXPECT_EQ(Name(2), "");
    ASSERT_TRUE(m_database.DeleteMeterValue("B"));
    ASSERT_EQ(List(), 1);
    EXPECT_EQ(Name(1), "B");
    EXPECT_EQ(Field(1), kNothing) << "its value is gone";
    EXPECT_EQ(Name(2), kMissing);
}

TEST_F(DataFields, FailWhenTheirDeclarationOrValueIsGone) {
    OpenFields("A=first\n", "A=A,D,8,1,\"\"\n");
    ASSERT_EQ(List(), 1);
    ASSERT_TRUE(m_database.m_systemIni->DeleteKey("Values", "A"));
    EXPECT_EQ(Field(0), kNothing);
    ASSERT_TRUE(m_database.m_systemIni->WriteString("Values", "A", "again"));
    EXPECT_EQ(Field(0).label, "again");
    ASSERT_TRUE(m_database.DeleteMeterValue("A"));
    EXPECT_EQ(Field(0), kNothing);
    EXPECT_EQ(Name(0), "A");
}

// ---- outputs

TEST_F(DataFields, AreCutToTheirBuffers) {
    OpenFields("A=label,info\n", "A=A,D,8,value,\"\"\n");
    ASSERT_EQ(List(), 1);
    EXPECT_EQ(Field(0, 1), (Shown{true, "", "", ""}));
    EXPECT_EQ(Field(0, 3), (Shown{true, "la", "va", "ok"}));
    EXPECT_EQ(Field(0, 4), (Shown{true, "lab", "val", "ok."}));
    EXPECT_EQ(Field(0, 5), (Shown{true, "labe", "valu", "ok."}));
    EXPECT_EQ(Field(0, 6), (Shown{true, "label", "value", "ok."}));
}

TEST_F(DataFields, LeaveOutputsAloneThatAreNotWanted) {
    OpenFields("A=label,info\n", "A=A,D,8,value,\"\"\n");
    ASSERT_EQ(List(), 1);
    EXPECT_TRUE(m_database.GetDataField(nullptr, kValues, nullptr, 0, nullptr, 9, nullptr, 9, nullptr, 9));
    EXPECT_TRUE(m_database.GetDataFieldName(kValues, nullptr, 0, nullptr, 0));
    GuardedBuffer label(8), value(8), mark(8);
    EXPECT_TRUE(m_database.GetDataField(nullptr, kValues, nullptr, 0, label.Data(), 0, value.Data(), -1,
                                        mark.Data(), std::numeric_limits<int>::min()));
    EXPECT_TRUE(label.Untouched());
    EXPECT_TRUE(value.Untouched());
    EXPECT_TRUE(mark.Untouched());
    EXPECT_TRUE(
        m_database.GetDataField(nullptr, kValues, nullptr, 0, nullptr, 0, value.Data(), 8, nullptr, 0));
    EXPECT_EQ(value.Text(), "value");
}

TEST_F(DataFields, HaveTheirNamesCutToTheBuffer) {
    OpenFields("Name=label\n", "Name=A,D,8,1,\"\"\n");
    ASSERT_EQ(List(), 1);
    const std::pair<int, const char*> rows[] = {{1, ""}, {4, "Nam"}, {5, "Name"}, {6, "Name"}};
    for (const auto& [size, expected] : rows) {
        GuardedBuffer name(size);
        EXPECT_TRUE(m_database.GetDataFieldName(kValues, nullptr, 0, name.Data(), size));
        EXPECT_EQ(name.Text(), expected);
        EXPECT_FALSE(m_database.GetDataFieldName(kValues, nullptr, 7, name.Data(), size));
        EXPECT_EQ(name.Text(), "");
    }
    GuardedBuffer untouched(4);
    EXPECT_TRUE(m_database.GetDataFieldName(kValues, nullptr, 0, untouched.Data(), 0));
    EXPECT_TRUE(untouched.Untouched());
}

// ---- what stands behind a field

class DataFieldInfo : public DataFields {
protected:
    using Fields = std::vector<std::string>;  // info, value, attributes, status, definition, declaration

    Fields Info(int index, int size = 300) {
        GuardedBuffer i(size), v(size), a(size), s(size), d(size), l(size);
        const bool found =
            m_database.GetDataFieldInfo(kValues, nullptr, index, i.Data(), size, v.Data(), size, a.Data(),
                                        size, s.Data(), size, d.Data(), size, l.Data(), size);
        const Fields fields = {i.Text(), v.Text(), a.Text(), s.Text(), d.Text(), l.Text()};
        if (found)
            return fields;
        EXPECT_EQ(fields, Fields(6)) << "outputs of a failed call";
        return {};
    }
};

TEST_F(DataFieldInfo, IsHandedOutBareAndUnformatted) {
    OpenFields("A=label,\"info, long\",more\nB=label\nC=\"a,b\"\n",
               "A=\"RD\",\"DR\",\"8 kWh,C0;9,U---\",\"1,5\",\"text\"\nB=A,U,,,\"\"\nC=Uhr\n");
    ASSERT_EQ(List(), 3);
    EXPECT_EQ(Info(0),
              (Fields{"info, long", "1,5", "RD", "DR", "8 kWh,C0;9,U---", "label,\"info, long\",more"}));
    EXPECT_EQ(Info(1), (Fields{"", "", "A", "U", "", "label"}));
    EXPECT_EQ(Info(2), (Fields{"", "", "Uhr", "", "", "\"a,b\""})) << "a plain item";
}

TEST_F(DataFieldInfo, IsCutToItsBuffers) {
    OpenFields("A=l,info\n", "A=abcd,DRDR,8888,12345,\"\"\n");
    ASSERT_EQ(List(), 1);
    EXPECT_EQ(Info(0, 1), Fields(6));
    EXPECT_EQ(Info(0, 4), (Fields{"inf", "123", "abc", "DRD", "888", "l,i"}));
    EXPECT_EQ(Info(0, 5), (Fields{"info", "1234", "abcd", "DRDR", "8888", "l,in"}));
    EXPECT_EQ(Info(0, 6), (Fields{"info", "12345", "abcd", "DRDR", "8888", "l,inf"}));
    EXPECT_EQ(Info(0, 7), (Fields{"info", "12345", "abcd", "DRDR", "8888", "l,info"}));
    EXPECT_TRUE(m_database.GetDataFieldInfo(kValues, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr,
                                            0, nullptr, 0, nullptr, 0));
    GuardedBuffer untouched(8);
    EXPECT_TRUE(m_database.GetDataFieldInfo(kValues, nullptr, 0, untouched.Data(), 0, nullptr, 9, nullptr, 9,
                                            untouched.Data(), -1, nullptr, 9, nullptr, 9));
    EXPECT_TRUE(untouched.Untouched());
}

TEST_F(DataFieldInfo, CarriesSubFieldsOf255Characters) {
    OpenFields("A=" + Text(300) + "\n", "A=" + Text(300, 'a') + "," + Text(300, 's') + "," + Text(300, 'd') +
                                            "," + Text(300, 'v') + ",\n");
    ASSERT_EQ(List(), 1);
    EXPECT_EQ(Info(0, 400),
              (Fields{"", Text(255, 'v'), Text(255, 'a'), Text(255, 's'), Text(255, 'd'), Text(255)}));
}

TEST_F(DataFieldInfo, FailsWithoutFieldDeclarationValueOrStores) {
    OpenFields("A=label\n", "A=A,D,8,1,\"\"\n");
    ASSERT_EQ(List(), 1);
    for (const int index : {-1, 1, 2, 200})
        EXPECT_EQ(Info(index), Fields()) << index;
    for (CMeterIniFile** store : {&m_database.m_dataFile, &m_database.m_systemIni}) {
        CMeterIniFile* const kept = std::exchange(*store, nullptr);
        EXPECT_EQ(Info(0), Fields());
        *store = kept;
    }
    m_database.m_currentMeter = 0;
    EXPECT_EQ(Info(0), Fields());
    m_database.m_currentMeter = 1;
    ASSERT_TRUE(m_database.DeleteMeterValue("A"));
    EXPECT_EQ(Info(0), Fields());
    ASSERT_TRUE(m_database.SetMeterItem("A", "A,D,8,1,\"\""));
    EXPECT_NE(Info(0), Fields());
    ASSERT_TRUE(m_database.m_systemIni->DeleteSection("Values"));
    EXPECT_EQ(Info(0), Fields());
}

// ---- writing

TEST_F(DataFields, AreWrittenWithTheirAttributesAndDefinitionKept) {
    OpenFields("A=first\nB=second\n", "A=x,,,,\nB=RD,U,\"8 kWh,C0;9\",1,\"note, \"old\"\"\n");
    ASSERT_EQ(List(), 2);
    const struct {
        const char *value, *status, *text, *entry;
    } rows[] = {
        {"5", nullptr, nullptr, "RD,U,\"8 kWh,C0;9\",5,\"note, \"old\"\""},
        {nullptr, "D", nullptr, "RD,D,\"8 kWh,C0;9\",5,\"note, \"old\"\""},
        {nullptr, nullptr, "new", "RD,D,\"8 kWh,C0;9\",5,\"new\""},
        {"1,5", "CR", "a, b", "RD,CR,\"8 kWh,C0;9\",\"1,5\",\"a, b\""},
        {"", "", "", "RD,,\"8 kWh,C0;9\",,\"\""},
        {nullptr, nullptr, nullptr, "RD,,\"8 kWh,C0;9\",,\"\""},
    };
    for (const auto& row : rows) {
        EXPECT_TRUE(m_database.SetDataFieldValue(kValues, nullptr, 1, row.value, row.status, row.text));
        EXPECT_EQ(Data("#_1", "B"), row.entry);
    }
    EXPECT_EQ(Data("#_1", "A"), "x,,,,");
}

TEST_F(DataFields, AreWrittenToTheCurrentRecord) {
    Open("[#_1]\nA=A,U,8,1,\"\"\n[#1_1]\nA=A,U,8,2,\"\"\n", "[Extra]\nA=a\n");
    ASSERT_TRUE(m_database.SetAppendix(1));
    ASSERT_EQ(List(kExtra), 1);
    EXPECT_TRUE(m_database.SetDataFieldValue(kExtra, "", 0, "9", nullptr, nullptr));
    EXPECT_EQ(Data("#_1", "A"), "A,U,8,1,\"\"");
    EXPECT_EQ(Data("#1_1", "A"), "A,U,8,9,\"\"");
    const std::string before = DataLines();
    EXPECT_TRUE(m_database.SetDataFieldValue(kExtra, "", 1, "7", nullptr, nullptr))
        << "a field without a name";
    EXPECT_EQ(DataLines(), before);
}

// ---- without memory

TEST_F(DataFields, HaveNoSectionNameWithoutMemory) {
    Open("[#_1]\n");
    const std::string variant = Text(39, 'v');
    GuardedBuffer section(40);
    const HeapFault fault(1);
    m_database.GetPtrToDataFields(kValues, variant.c_str(), section.Data(), nullptr, nullptr);
    EXPECT_EQ(section.Data()[0], '\0');
}

TEST_F(DataFields, HaveNoInfoWithoutMemory) {
    LabelFor("Energy", "A,D,8,12345678901234567890,\"\"");
    const auto info = [this](char* text) {
        return m_database.GetDataFieldInfo(kValues, "", 0, text, 40, nullptr, 0, nullptr, 0, nullptr, 0,
                                           nullptr, 0, nullptr, 0);
    };
    char text[40];
    ASSERT_TRUE(info(text));
    const HeapFault fault(1, HeapFault::Times::FromThenOn);
    EXPECT_FALSE(info(text));
    EXPECT_STREQ(text, "");
}

TEST_F(DataFields, FailCleanlyWithoutMemory) {
    m_record = "0.1.0=R,D,8,12,\"\"\n";
    const std::string label = "A label that is long enough for the heap <~C> *1";
    LabelFor(label, "A,D,8 cubic metres of something,12345678901234567890,\"A text that is long, too\"");
    const Shown whole = Field(0);
    ASSERT_TRUE(whole.ok);
    m_database.SetLanguageCode("a language with a long name");
    bool failed = true;
    for (int n = 1; failed; ++n) {
        GuardedBuffer labelOut(300), value(300), mark(4);
        int listed = 0;
        bool ok = false;
        {
            const HeapFault fault(n);
            listed = m_database.GetDataFields(nullptr, kValues, "a variant with a long name");
            ok = m_database.GetDataField(nullptr, kValues, "a variant with a long name", 0, labelOut.Data(),
                                         300, value.Data(), 300, mark.Data(), 4);
            failed = fault.Happened();
        }
        EXPECT_TRUE(listed == 1 || listed == 0);
        const Shown shown{ok, labelOut.Text(), value.Text(), mark.Text()};
        EXPECT_EQ(shown, ok ? whole : kNothing) << n;
        EXPECT_TRUE(failed || ok);
    }
}
