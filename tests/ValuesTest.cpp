// Values of the current record: handed out as they stand, written with their quotes, deleted.
#include <gtest/gtest.h>

#include "tests/support/DatabaseFixture.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"
#include "tests/support/SubFieldTexts.h"

namespace {

using Fields = std::vector<std::string>;

class Values : public DatabaseFixture {
protected:
    void OpenRecord(const std::string& entries) { Open("[General]\nMeters=1\n[#_1]\nState=U\n" + entries); }

    // A meter with two appendices; each of the three records has an X of its own.
    void OpenAppendices() {
        Open("[#_1]\nX=A,U,8,main,\"m\"\n[#1_1]\nX=A,U,8,first,\"1\"\n[#2_1]\nX=A,U,8,second,\"2\"\n");
        ASSERT_TRUE(m_database.SetAppendix(2));
    }

    // The five sub-fields of a value of the current record; none when it has no such value.
    Fields Get(const char* name, int size = 512) {
        return Read(size, [&](char* a, char* s, char* d, char* v, char* t) {
            return m_database.GetMeterValue(name, a, size, s, size, d, size, v, size, t, size);
        });
    }
    Fields GetMain(const char* name, int size = 512) {
        return Read(size, [&](char* a, char* s, char* d, char* v, char* t) {
            return m_database.GetMeterValueMain(name, a, size, s, size, d, size, v, size, t, size);
        });
    }
    Fields GetByIndex(int index, char* key, int size = 512) {
        return Read(size, [&](char* a, char* s, char* d, char* v, char* t) {
            return m_database.GetMeterValueByIndex(index, key, a, size, s, size, d, size, v, size, t, size);
        });
    }

    bool SetValue(const char* name, const char* value) {
        return m_database.SetMeterValue(name, nullptr, nullptr, nullptr, value, nullptr);
    }

private:
    template <typename Call>
    Fields Read(int size, Call call) {
        GuardedBuffer a(size), s(size), d(size), v(size), t(size);
        const bool found = call(a.Data(), s.Data(), d.Data(), v.Data(), t.Data());
        const Fields fields = {a.Text(), s.Text(), d.Text(), v.Text(), t.Text()};
        if (found)
            return fields;
        EXPECT_EQ(fields, Fields(5)) << "outputs of a failed call";
        return {};
    }
};

const Fields kNone;

}  // namespace

// ---- reading

TEST_F(Values, AreHandedOutAsTheyStand) {
    OpenRecord("X=RV,\"U\",\"8,C0;9\",\"1,5\",\"say \"hi\", or no\"\n");
    EXPECT_EQ(Get("X"), (Fields{"RV", "\"U\"", "\"8,C0;9\"", "\"1,5\"", "\"say \"hi\", or no\""}));
    EXPECT_EQ(Get("x"), Get("X")) << "the case of names is ignored";
    EXPECT_EQ(Get(" X "), Get("X")) << "blanks around a name are ignored";
}

TEST_F(Values, WithMissingSubFieldsHaveThemEmpty) {
    OpenRecord("Item=Uhr\nTwo=A,U\nNone=\nFive=,,,,\n");
    EXPECT_EQ(Get("Item"), (Fields{"Uhr", "", "", "", ""}));
    EXPECT_EQ(Get("Two"), (Fields{"A", "U", "", "", ""}));
    EXPECT_EQ(Get("None"), Fields(5));
    EXPECT_EQ(Get("Five"), Fields(5));
}

TEST_F(Values, AreCutToTheirBuffers) {
    OpenRecord("X=abcd,abcd,\"8,9\",abcd,\"ab\"\n");
    EXPECT_EQ(Get("X", 1), Fields(5));
    EXPECT_EQ(Get("X", 4), (Fields{"abc", "abc", "\"8,", "abc", "\"ab"}));
    EXPECT_EQ(Get("X", 5), (Fields{"abcd", "abcd", "\"8,9", "abcd", "\"ab\""}));
    EXPECT_EQ(Get("X", 6), (Fields{"abcd", "abcd", "\"8,9\"", "abcd", "\"ab\""}));
}

TEST_F(Values, AreReadUpTo4095CharactersOfTheirEntry) {
    const std::string head = "A,U,8,1,";
    OpenRecord("Fits=" + head + Text(4095 - head.size()) + "\nLong=" + head + Text(4096 - head.size()) +
               "\n");
    EXPECT_EQ(Get("Fits", 5000)[4], Text(4095 - head.size()));
    EXPECT_EQ(Get("Long", 5000)[4], Text(4095 - head.size()));
}

TEST_F(Values, LeaveOutputsAloneThatAreNotWanted) {
    OpenRecord("X=A,U,8,12,\"t\"\n");
    GuardedBuffer zero(8), negative(8), value(8);
    EXPECT_TRUE(m_database.GetMeterValue("X", nullptr, 8, zero.Data(), 0, negative.Data(), -1, value.Data(),
                                         8, nullptr, 0));
    EXPECT_TRUE(zero.Untouched());
    EXPECT_TRUE(negative.Untouched());
    EXPECT_EQ(value.Text(), "12");
    EXPECT_TRUE(m_database.GetMeterValue("X", nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0));
    EXPECT_FALSE(m_database.GetMeterValue("Y", nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0));
}

TEST_F(Values, ThatDoNotExistLeaveTheOutputsEmpty) {
    OpenRecord("X=A,U,8,12,\"t\"\n");
    EXPECT_EQ(Get("Y"), kNone);
    EXPECT_EQ(Get(""), kNone);
    EXPECT_EQ(Get(nullptr), kNone);
    EXPECT_EQ(GetMain("Y"), kNone);
    m_database.m_currentAppendix = 7;
    EXPECT_EQ(Get("X"), kNone) << "a record that does not exist";
}

TEST_F(Values, NeedTheStoresAndACurrentMeter) {
    OpenRecord("X=A,U,8,12,\"t\"\n");
    WithoutPreconditions([&](const char* what) {
        char key[256] = "kept";
        EXPECT_EQ(Get("X"), kNone) << what;
        EXPECT_EQ(GetMain("X"), kNone) << what;
        EXPECT_EQ(GetByIndex(1, key), kNone) << what;
        EXPECT_STREQ(key, "kept") << what;
    });
}

TEST_F(Values, OfAnAppendixStandBesideThoseOfTheMainRecord) {
    OpenAppendices();
    EXPECT_EQ(Get("X")[3], "second");
    EXPECT_EQ(GetMain("X")[3], "main");
    EXPECT_EQ(m_database.GetAppendix(), 2) << "the appendix stays current";
    EXPECT_EQ(GetMain("Y"), kNone);
    EXPECT_EQ(m_database.GetAppendix(), 2) << "also when there is no such value";
}

// ---- reading by position

TEST_F(Values, AreCountedFromOneAmongTheEntriesOfTheRecord) {
    Open("[#_1]\n; comment\nState=U\n\nX=A,U,8,12,\"t\"\nno entry\nY=B,,,\"1,5\",\n[#1_1]\nZ=A,,,,\n");
    GuardedBuffer key(256);
    EXPECT_EQ(GetByIndex(1, key.Data()), (Fields{"U", "", "", "", ""}));
    EXPECT_EQ(key.Text(), "State");
    EXPECT_EQ(GetByIndex(2, key.Data()), (Fields{"A", "U", "8", "12", "\"t\""}));
    EXPECT_EQ(key.Text(), "X");
    EXPECT_EQ(GetByIndex(3, key.Data()), (Fields{"B", "", "", "\"1,5\"", ""}));
    EXPECT_EQ(key.Text(), "Y");
    for (const int index : {4, 0, -1})
        EXPECT_EQ(GetByIndex(index, key.Data()), kNone) << index;
    EXPECT_EQ(key.Text(), "Y") << "a key buffer is not emptied";
    ASSERT_TRUE(m_database.SetAppendix(1));
    EXPECT_EQ(GetByIndex(1, key.Data()), (Fields{"A", "", "", "", ""}));
    EXPECT_EQ(key.Text(), "Z");
}

TEST_F(Values, ByPositionNeedNoKeyBuffer) {
    OpenRecord("X=A,U,8,12,\"t\"\n");
    EXPECT_EQ(GetByIndex(2, nullptr)[3], "12");
    EXPECT_EQ(GetByIndex(2, nullptr, 2), (Fields{"A", "U", "8", "1", "\""})) << "sub-fields are cut";
    char key[256];
    EXPECT_TRUE(
        m_database.GetMeterValueByIndex(2, key, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0));
    EXPECT_STREQ(key, "X");
}

TEST_F(Values, ByPositionHaveTheirKeyCutTo255Characters) {
    OpenRecord(Text(255, 'k') + "=A,U,8,1,\n" + Text(300, 'l') + "=A,U,8,2,\n");
    GuardedBuffer key(256);
    EXPECT_EQ(GetByIndex(2, key.Data())[3], "1");
    EXPECT_EQ(key.Text(), Text(255, 'k'));
    EXPECT_EQ(GetByIndex(3, key.Data())[3], "2");
    EXPECT_EQ(key.Text(), Text(255, 'l'));
}

// ---- writing

TEST_F(Values, ThatAreNewStartFromTheirDefaults) {
    OpenRecord("");
    struct Row {
        const char *attributes, *status, *definition, *value, *text, *entry;
    };
    const Row rows[] = {
        {nullptr, nullptr, nullptr, nullptr, nullptr, "A,U,8,,\"\""},
        {nullptr, nullptr, nullptr, "12", nullptr, "A,U,8,12,\"\""},
        {"R", nullptr, nullptr, nullptr, nullptr, "R,U,8,,\"\""},
        {nullptr, "D", nullptr, nullptr, nullptr, "A,D,8,,\"\""},
        {nullptr, nullptr, "8,C0;9", nullptr, nullptr, "A,U,\"8,C0;9\",,\"\""},
        {nullptr, nullptr, nullptr, nullptr, "note", "A,U,8,,\"note\""},
        {"", "", "", "", "", ",,,,\"\""},
        {"R", "D", "8", "1,5", "a, \"b\"", "R,D,8,\"1,5\",\"a, \"b\"\""},
    };
    for (const Row& row : rows) {
        m_database.DeleteMeterValue("X");
        EXPECT_TRUE(
            m_database.SetMeterValue("X", row.attributes, row.status, row.definition, row.value, row.text));
        EXPECT_EQ(Data("#_1", "X"), row.entry);
    }
}

TEST_F(Values, KeepTheSubFieldsThatAreNotGiven) {
    struct Row {
        const char *attributes, *status, *definition, *value, *text, *entry;
    };
    const Row rows[] = {
        {nullptr, nullptr, nullptr, nullptr, nullptr, "R,U,\"8,C0;9\",\"1,5\",\"a \"b\", c\""},
        {"V", nullptr, nullptr, nullptr, nullptr, "V,U,\"8,C0;9\",\"1,5\",\"a \"b\", c\""},
        {nullptr, "DR", nullptr, nullptr, nullptr, "R,DR,\"8,C0;9\",\"1,5\",\"a \"b\", c\""},
        {nullptr, nullptr, "9", nullptr, nullptr, "R,U,9,\"1,5\",\"a \"b\", c\""},
        {nullptr, nullptr, nullptr, "6", nullptr, "R,U,\"8,C0;9\",6,\"a \"b\", c\""},
        {nullptr, nullptr, nullptr, nullptr, "t", "R,U,\"8,C0;9\",\"1,5\",\"t\""},
        {"", nullptr, "", nullptr, "", ",U,,\"1,5\",\"\""},
    };
    OpenRecord("");
    for (const Row& row : rows) {
        ASSERT_TRUE(m_database.SetMeterItem("X", "R,U,\"8,C0;9\",\"1,5\",\"a \"b\", c\""));
        EXPECT_TRUE(
            m_database.SetMeterValue("X", row.attributes, row.status, row.definition, row.value, row.text));
        EXPECT_EQ(Data("#_1", "X"), row.entry);
    }
}

TEST_F(Values, KeepWhatAnExistingEntryHoldsHoweverLittle) {
    OpenRecord("Item=Uhr\nNone=\nFree=A,U,8,1,free, text\n");
    EXPECT_TRUE(SetValue("Item", "5"));
    EXPECT_EQ(Data("#_1", "Item"), "Uhr,,,5,\"\"");
    EXPECT_TRUE(SetValue("None", "5"));
    EXPECT_EQ(Data("#_1", "None"), ",,,5,\"\"") << "the defaults are those of a missing entry";
    EXPECT_TRUE(SetValue("Free", "5"));
    EXPECT_EQ(Data("#_1", "Free"), "A,U,8,5,\"free, text\"");
}

TEST_F(Values, LoseQuotesAndAreQuotedForACommaBelow253Characters) {
    OpenRecord("");
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"1,5", "\"1,5\""},
        {"say \"hi\"", "say hi"},
        {"\"1,5\"", "\"1,5\""},
        {WithComma(252), InQuotes(WithComma(252))},
        {WithComma(253), WithComma(253)},
        {InQuotes(WithComma(252)), InQuotes(WithComma(252))},
        {Text(255), Text(255)},
        {Text(256), Text(255)},
        {Text(9000), Text(255)},
        {"12\r\n34\n", "12 34 "},
    };
    for (const auto& [given, stored] : rows) {
        const char* const text = given.c_str();
        EXPECT_TRUE(m_database.SetMeterValue("X", text, text, text, text, ""));
        EXPECT_EQ(Data("#_1", "X"), stored + ',' + stored + ',' + stored + ',' + stored + ",\"\"");
    }
}

TEST_F(Values, StoreATextAsItIsGiven) {
    OpenRecord("");
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"say \"hi\", or no", "say \"hi\", or no"},
        {"\"quoted\"", "\"quoted\""},
        {"\"", "\""},
        {Text(255), Text(255)},
        {Text(256), Text(255)},
        {WithComma(255), WithComma(255)},
        {"two\r\nlines", "two lines"},
    };
    for (const auto& [given, stored] : rows) {
        EXPECT_TRUE(m_database.SetMeterValue("X", nullptr, nullptr, nullptr, nullptr, given.c_str()));
        EXPECT_EQ(Data("#_1", "X"), "A,U,8,,\"" + stored + '"');
        EXPECT_TRUE(SetValue("X", "")) << "a kept text";
        EXPECT_EQ(Data("#_1", "X"), "A,U,8,,\"" + stored + '"');
    }
}

TEST_F(Values, ThatAreKeptStayInQuotesWhateverTheirLength) {
    const std::string definition = InQuotes(WithComma(255));
    OpenRecord("X=R,U," + definition + ",1,\"t\"\n");
    for (const char* value : {"2", "3"}) {
        EXPECT_TRUE(SetValue("X", value));
        EXPECT_EQ(Data("#_1", "X"), "R,U," + definition + ',' + value + ",\"t\"");
    }
}

TEST_F(Values, KeepTheirPlaceAndTheSpellingOfTheirName) {
    OpenRecord("First=A,U,8,1,\"\"\n Second = A,U,8,2,\"\"\nThird=A,U,8,3,\"\"\n\n");
    EXPECT_TRUE(SetValue("SECOND", "5"));
    EXPECT_TRUE(SetValue("Fourth", "4"));
    EXPECT_EQ(DataLines(),
              "[General]\nMeters=1\n[#_1]\nState=U\nFirst=A,U,8,1,\"\"\n Second = A,U,8,5,\"\"\n"
              "Third=A,U,8,3,\"\"\nFourth=A,U,8,4,\"\"\n\n");
}

TEST_F(Values, UnderANameThatCannotBeStoredChangeNothing) {
    OpenRecord("X=A,U,8,12,\"t\"\n");
    const std::string before = DataLines();
    for (const char* name : {"", " ", "a=b", "[a]", ";a", "a\nb"})
        EXPECT_TRUE(SetValue(name, "1")) << name;
    EXPECT_TRUE(SetValue(nullptr, "1"));
    EXPECT_EQ(DataLines(), before);
}

TEST_F(Values, AreWrittenOnlyIntoACurrentRecord) {
    OpenRecord("X=A,U,8,12,\"t\"\n");
    const std::string before = DataLines();
    WithoutPreconditions([&](const char* what) {
        EXPECT_FALSE(SetValue("X", "1")) << what;
        EXPECT_FALSE(m_database.SetMeterValueMain("X", "", "", "", "", "")) << what;
        EXPECT_FALSE(m_database.DeleteMeterValue("X")) << what;
    });
    EXPECT_EQ(DataLines(), before);
}

TEST_F(Values, AreWrittenToTheAppendixOrToTheMainRecord) {
    OpenAppendices();
    EXPECT_TRUE(SetValue("X", "5"));
    EXPECT_TRUE(m_database.SetMeterValueMain("X", nullptr, "D", nullptr, "6", nullptr));
    EXPECT_EQ(m_database.GetAppendix(), 2);
    EXPECT_EQ(Data("#_1", "X"), "A,D,8,6,\"m\"");
    EXPECT_EQ(Data("#1_1", "X"), "A,U,8,first,\"1\"");
    EXPECT_EQ(Data("#2_1", "X"), "A,U,8,5,\"2\"");
}

TEST_F(Values, StayInMemoryUntilTheFileIsSaved) {
    OpenRecord("X=A,U,8,12,\"t\"\n");
    const std::string file = m_folder.Read(kDataFile);
    EXPECT_TRUE(SetValue("X", "13"));
    EXPECT_TRUE(m_database.DeleteMeterValue("State"));
    EXPECT_EQ(m_folder.Read(kDataFile), file);
}

// ---- deleting

TEST_F(Values, AreDeletedFromTheCurrentRecordOnly) {
    OpenAppendices();
    EXPECT_TRUE(m_database.DeleteMeterValue("x"));
    EXPECT_EQ(Data("#2_1", "X"), kMissing);
    EXPECT_NE(Data("#1_1", "X"), kMissing);
    EXPECT_NE(Data("#_1", "X"), kMissing);
}

TEST_F(Values, ThatDoNotExistAreDeletedWithSuccess) {
    OpenRecord("X=A,U,8,12,\"t\"\n");
    const std::string before = DataLines();
    EXPECT_TRUE(m_database.DeleteMeterValue("Y"));
    EXPECT_TRUE(m_database.DeleteMeterValue(""));
    EXPECT_TRUE(m_database.DeleteMeterValue(nullptr));
    EXPECT_EQ(DataLines(), before);
}

// ---- failures

TEST_F(Values, AreWholeOrUnchangedWhenMemoryRunsOut) {
    const std::string before = "A,U,8," + Text(90) + ",\"" + Text(90) + '"';
    const std::string after = "A,U,\"8," + Text(90) + "\"," + Text(90) + ",\"" + Text(90) + '"';
    const std::string definition = "8," + Text(90);
    OpenRecord("X=\n");
    bool happened = true;
    for (int n = 1; happened; ++n) {
        ASSERT_TRUE(m_database.SetMeterItem("X", before.c_str()));
        bool written = false;
        {
            const HeapFault fault(n);
            written = m_database.SetMeterValue("X", nullptr, nullptr, definition.c_str(), nullptr, nullptr);
            happened = fault.Happened();
        }
        EXPECT_EQ(Data("#_1", "X"), happened ? before : after) << n;
        EXPECT_TRUE(written || happened);
        EXPECT_TRUE(happened || n > 1) << "nothing failed";
    }
}

TEST_F(Values, AreReadWholeOrNotAtAllWhenMemoryRunsOut) {
    const std::string value = Text(90);
    OpenRecord("X=A,U,8," + value + ",\"\"\n");
    bool happened = true;
    for (int n = 1; happened; ++n) {
        GuardedBuffer byName(100), byIndex(100);
        bool found[2] = {};
        {
            const HeapFault fault(n, HeapFault::Times::FromThenOn);
            found[0] = m_database.GetMeterValue("X", nullptr, 0, nullptr, 0, nullptr, 0, byName.Data(), 100,
                                                nullptr, 0);
            found[1] = m_database.GetMeterValueByIndex(2, nullptr, nullptr, 0, nullptr, 0, nullptr, 0,
                                                       byIndex.Data(), 100, nullptr, 0);
            happened = fault.Happened();
        }
        EXPECT_EQ(byName.Text(), found[0] ? value : "") << n;
        EXPECT_EQ(byIndex.Text(), found[1] ? value : "") << n;
        EXPECT_EQ(found[1], !happened) << n;
    }
}

// The name of an appendix may be too long for a string that needs no memory.
TEST_F(Values, OfARecordWithALongNameFailCleanlyWithoutMemory) {
    std::string route;
    for (int meter = 1; meter <= 1000; ++meter)
        route += "[#_" + std::to_string(meter) + "]\n";
    const std::string record = "[#2147483647_1000]\nX=A,U,8,7,\"\"\n";
    Open(route + record);
    m_database.SetActualPosition(1000);
    ASSERT_TRUE(m_database.SetAppendix(2147483647));
    const std::string before = DataLines();
    char text[40];
    {
        const HeapFault fault(1, HeapFault::Times::FromThenOn);
        EXPECT_FALSE(m_database.SetAppendix(2147483647));
        EXPECT_FALSE(m_database.DeleteMeterValue("X"));
        EXPECT_FALSE(m_database.GetMeterItem("X", text, sizeof text));
        EXPECT_FALSE(m_database.SetMeterItem("X", "8"));
        EXPECT_FALSE(m_database.GetRecordData(1, text, sizeof text));
        EXPECT_FALSE(m_database.BackupRecord());
        EXPECT_FALSE(m_database.RestoreRecord());
    }
    EXPECT_EQ(DataLines(), before);
    EXPECT_TRUE(m_database.GetMeterItem("X", text, sizeof text));
    EXPECT_STREQ(text, "A,U,8,7,\"\"");
}
