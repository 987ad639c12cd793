// Store meters: the meters carried along for exchanges and their fields.
#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"

namespace {

using ChangeOrder = DatabaseFixture;
using StoreMeters = DatabaseFixture;
using StoreFields = DatabaseFixture;

constexpr const char* kChange = "Action=A,U,8,Change,\"\"\n";

// ---- change orders

TEST_F(ChangeOrder, IsAnActionOfAnyMeter) {
    const struct {
        const char* records;
        bool available;
    } cases[] = {
        {"", false},
        {"[#_1]\n[#_2]\n", false},
        {"[#_1]\nAction=A,U,8,Change,\"\"\n[#_2]\n", true},
        {"[#_1]\n[#_2]\nAction=A,U,8,Collect,\"\"\n", true},
        {"[#_1]\n[#_2]\naction=,,,unknown word,\n", true},
        {"[#_1]\nAction=A,U,8,,\"Change\"\n", false},
        {"[#_1]\nAction=A,U,8,\"\",\"\"\n", false},
        {"[#_1]\nAction=Change\n", false},
        {"[#_1]\n[#1_1]\nAction=A,U,8,Change,\"\"\n", false},
    };
    for (const auto& c : cases) {
        Open(c.records);
        EXPECT_EQ(m_database.MeterChangeOrderAvailable(), c.available) << c.records;
    }
}

TEST_F(ChangeOrder, IsSearchedWithoutMoving) {
    for (const char* action : {kChange, ""}) {
        Open(std::string("[#_1]\n[#_2]\n[#1_2]\n[#_3]\n") + action);
        m_database.SetActualPosition(2);
        ASSERT_TRUE(m_database.SetAppendix(1));
        EXPECT_EQ(m_database.MeterChangeOrderAvailable(), action == kChange);
        EXPECT_EQ(m_database.GetActualPosition(), 2);
        EXPECT_EQ(m_database.GetAppendix(), 1);
        m_database.m_currentMeter = 0;
        m_database.m_currentAppendix = 0;
        EXPECT_EQ(m_database.MeterChangeOrderAvailable(), action == kChange);
        EXPECT_EQ(m_database.m_currentMeter, 0);
        EXPECT_EQ(m_database.m_currentAppendix, 0);
    }
}

TEST_F(ChangeOrder, NeedsItsStores) {
    EXPECT_FALSE(m_database.MeterChangeOrderAvailable());
    Open(std::string("[#_1]\n") + kChange);
    EXPECT_TRUE(m_database.MeterChangeOrderAvailable());
    m_database.SetIniFile(L"");
    EXPECT_FALSE(m_database.MeterChangeOrderAvailable());
}

TEST_F(ChangeOrder, IsSearchedAmongTheMetersThatThereAre) {
    Open(std::string("[#_1]\n[#_2]\n") + kChange);
    ASSERT_TRUE(m_database.SetDBGeneralData("Meters", "1"));
    EXPECT_FALSE(m_database.MeterChangeOrderAvailable());
    ASSERT_TRUE(m_database.SetDBGeneralData("Meters", "2147483647"));
    EXPECT_TRUE(m_database.MeterChangeOrderAvailable());
    ASSERT_TRUE(m_database.m_dataFile->DeleteKey("#_2", "Action"));
    EXPECT_FALSE(m_database.MeterChangeOrderAvailable());  // at once, not after two thousand million meters
}

// ---- counting and searching

TEST_F(StoreMeters, AreCountedByTheFile) {
    const struct {
        const char* section;
        int meters;
    } cases[] = {{"", 0},
                 {"[Store]\n", 0},
                 {"[Store]\nMeters=\n", 0},
                 {"[Store]\nMeters=x\n", 0},
                 {"[Store]\nMeters=12\n", 12},
                 {"[store]\nMETERS= 3 meters\n", 3},
                 {"[Store]\nMeters=00000000000000000012\n", 1}};
    EXPECT_EQ(m_database.GetStoreMeters(), 0);
    for (const auto& c : cases) {
        Open(c.section);
        EXPECT_EQ(m_database.GetStoreMeters(), c.meters) << c.section;
    }
}

TEST_F(StoreMeters, AreFoundByTheirNumbers) {
    const struct {
        const char* values;
        const char* number;
        bool found;
    } cases[] = {
        {"0.0.0=S,U,8,42,\"\"", "42", true},
        {"0.0.0=S,U,8,42,\"\"", "0042", true},
        {"0.0.0=S,U,8,0042,\"\"", " 42 kWh", true},
        {"0.0.0=S,U,8,\"42\",\"\"", "42", true},
        {"0.0.0=S,U,8,42,\"\"", "43", false},
        {"0.0.0=S,U,8,42,\"\"", "4", false},
        {"0.0.0-nom=S,U,8,42,\"\"", "42", true},
        {"0.0.0-nom=S,U,8,,\"\"\n0.0.0=S,U,8,42,\"\"", "42", true},
        {"0.0.0=S,U,8,42,\"\"\n0.0.0-nom=S,U,8,\"\",\"\"", "42", true},
        {"0.0.0-nom=S,U,8,41,\"\"\n0.0.0=S,U,8,42,\"\"", "42", false},
        {"0.0.0-nom=none\n0.0.0=S,U,8,42,\"\"", "42", true},
        {"0.0.0=42", "42", false},
        {"0.0.1=S,U,8,42,\"\"", "42", false},
        // no numbers to search for
        {"0.0.0=S,U,8,0,\"\"", "0", false},
        {"0.0.0=S,U,8,-5,\"\"", "-5", false},
        {"0.0.0=S,U,8,x,\"\"", "x", false},
        {"0.0.0=S,U,8,,\"\"", "", false},
        {"0.0.0=S,U,8,,\"\"", nullptr, false},
        // long numbers are told apart
        {"0.0.0=S,U,8,99999999990001,\"\"", "99999999990001", true},
        {"0.0.0=S,U,8,99999999990001,\"\"", "99999999990002", false},
        {"0.0.0=S,U,8,00000000000000000000000000000000000000123,\"\"", "1", true},  // 39 characters are read
    };
    for (const auto& c : cases) {
        Open(std::string("[Store]\nMeters=2\n[*_1]\nNote=1\n[*_2]\n") + c.values + "\n");
        EXPECT_EQ(m_database.SearchStoreMeter(c.number), c.found ? 2 : 0) << c.values;
    }
}

TEST_F(StoreMeters, AreSearchedInTheirOrderAndUpToTheirCount) {
    const std::string meters =
        "[*_1]\n0.0.0=S,U,8,1,\"\"\n[*_3]\n0.0.0=S,U,8,42,\"\"\n[*_2]\n0.0.0=S,U,8,42,\"\"\n";
    Open("[Store]\nMeters=3\n" + meters);
    EXPECT_EQ(m_database.SearchStoreMeter("1"), 1);
    EXPECT_EQ(m_database.SearchStoreMeter("42"), 2);
    Open("[Store]\nMeters=1\n" + meters);
    EXPECT_EQ(m_database.SearchStoreMeter("42"), 0);
    Open(meters);
    EXPECT_EQ(m_database.SearchStoreMeter("42"), 0);
    m_database.CloseDataFile();
    EXPECT_EQ(m_database.SearchStoreMeter("42"), 0);
}

TEST_F(StoreMeters, AreSearchedUpToASensibleNumber) {
    Open("[Store]\nMeters=2147483647\n[*_100000]\n0.0.0=S,U,8,42,\"\"\n[*_100001]\n0.0.0=S,U,8,43,\"\"\n");
    EXPECT_EQ(m_database.SearchStoreMeter("42"), 100000);
    EXPECT_EQ(m_database.SearchStoreMeter("43"), 0);
}

// ---- values

class StoreValue : public DatabaseFixture {
protected:
    struct Fields {
        GuardedBuffer<> attributes, status, definition, value, text;
        explicit Fields(int size = 40)
            : attributes(size), status(size), definition(size), value(size), text(size) {}
        std::string Joined() const {
            return attributes.Text() + '|' + status.Text() + '|' + definition.Text() + '|' + value.Text() +
                   '|' + text.Text();
        }
    };

    bool Get(int store, const char* key, Fields* fields) {
        return m_database.GetStoreValue(
            store, key, fields->attributes.Data(), fields->attributes.Size(), fields->status.Data(),
            fields->status.Size(), fields->definition.Data(), fields->definition.Size(), fields->value.Data(),
            fields->value.Size(), fields->text.Data(), fields->text.Size());
    }
};

TEST_F(StoreValue, IsHandedOutAsItStands) {
    Open(
        "[Store]\nMeters=2\n[*_2]\n1.8.0=RDS,U,\"8.1 kWh,C0;50\",\"1,5\",\"a, "
        "\"b\"\"\nShort=S,U\nItem=text\n");
    const struct {
        const char* key;
        const char* fields;
    } cases[] = {
        {"1.8.0", "RDS|U|\"8.1 kWh,C0;50\"|\"1,5\"|\"a, \"b\"\""}, {"short", "S|U|||"}, {"Item", "text||||"}};
    for (const auto& c : cases) {
        Fields fields;
        EXPECT_TRUE(Get(2, c.key, &fields)) << c.key;
        EXPECT_EQ(fields.Joined(), c.fields);
    }
}

TEST_F(StoreValue, IsCutToTheBuffers) {
    Open("[Store]\nMeters=1\n[*_1]\nA=abc,def,ghi,jkl,\"mno\"\n");
    Fields small(3);
    EXPECT_TRUE(Get(1, "A", &small));
    EXPECT_EQ(small.Joined(), "ab|de|gh|jk|\"m");
    GuardedBuffer<> value(10);
    EXPECT_TRUE(
        m_database.GetStoreValue(1, "A", nullptr, 0, nullptr, 10, nullptr, 0, value.Data(), 10, nullptr, 0));
    EXPECT_EQ(value.Text(), "jkl");
    GuardedBuffer<> unwanted(10);
    EXPECT_TRUE(m_database.GetStoreValue(1, "A", unwanted.Data(), 0, unwanted.Data(), -1, nullptr, 0, nullptr,
                                         0, nullptr, 0));
    EXPECT_TRUE(unwanted.Untouched());
}

TEST_F(StoreValue, IsEmptyForWhatDoesNotExist) {
    Fields fields;
    EXPECT_FALSE(Get(1, "A", &fields));
    EXPECT_EQ(fields.Joined(), "||||");
    Open("[Store]\nMeters=2\n[*_0]\nA=S,U,8,0,\"\"\n[*_1]\nA=S,U,8,1,\"\"\n[*_3]\nA=S,U,8,3,\"\"\n");
    const struct {
        int store;
        const char* key;
    } cases[] = {{0, "A"}, {-1, "A"}, {3, "A"}, {2, "A"}, {1, "B"}, {1, ""}, {1, nullptr}, {2147483647, "A"}};
    for (const auto& c : cases) {
        Fields outputs;
        EXPECT_FALSE(Get(c.store, c.key, &outputs)) << c.store;
        EXPECT_EQ(outputs.Joined(), "||||");
    }
    m_database.SetIniFile(L"");
    EXPECT_TRUE(Get(1, "A", &fields));
}

// ---- store fields of the current record

TEST_F(StoreFields, AreWorkedOnByTheirStatus) {
    const struct {
        const char* entry;
        bool worked;
    } cases[] = {
        {"A=S,DR,8,,\"\"", true},
        {"A=S,CE,8,,\"\"", true},
        {"A=RSD,UWE,8,,\"\"", true},
        {"A=\"S\",\"DR\",8,,\"\"", true},
        {"A=S,D,8,,\"\"", false},
        {"A=S,DCW,8,,\"\"", false},
        {"A=S,RE,8,,\"\"", false},
        {"A=S,U,8,,\"\"", false},
        {"A=S,dr,8,,\"\"", false},
        {"A=s,DR,8,,\"\"", false},
        {"A=R,DR,8,,\"\"", false},
        {"S=A,DR,8,,\"S\"", false},
        {"A=SDR", false},
        {"A=S", false},
    };
    for (const auto& c : cases) {
        Open(std::string("[#_1]\nState=U\n; S,DR\nB=S,U,8,,\"\"\n") + c.entry + "\n");
        EXPECT_EQ(m_database.CheckStoreFields(), c.worked) << c.entry;
    }
}

TEST_F(StoreFields, AreThoseOfTheCurrentRecord) {
    Open(
        "[#_1]\nA=S,U,8,,\"\"\n[#1_1]\nA=S,DR,8,,\"\"\n[#_2]\n[Store]\nMeters=1\n[*_1]\nA=S,DR,8,new,\"\"\n");
    EXPECT_FALSE(m_database.CheckStoreFields());
    ASSERT_TRUE(m_database.SetAppendix(1));
    EXPECT_TRUE(m_database.CheckStoreFields());
    EXPECT_TRUE(m_database.DeleteStoreFields());
    EXPECT_EQ(Data("#_1", "A"), "S,U,8,,\"\"");
    EXPECT_EQ(Data("#1_1", "A"), kMissing);
    EXPECT_TRUE(m_database.AppendStoreFields(1));
    EXPECT_EQ(Data("#_1", "A"), "S,U,8,,\"\"");
    EXPECT_EQ(Data("#1_1", "A"), "S,DR,8,new,\"\"");
    m_database.SetActualPosition(2);
    EXPECT_FALSE(m_database.CheckStoreFields());
    EXPECT_TRUE(m_database.DeleteStoreFields());
}

TEST_F(StoreFields, NeedARecord) {
    const auto expectRefused = [this] {
        EXPECT_FALSE(m_database.CheckStoreFields());
        EXPECT_FALSE(m_database.DeleteStoreFields());
        EXPECT_FALSE(m_database.AppendStoreFields(1));
    };
    const std::string file = "[Store]\nMeters=1\n[*_1]\nA=S,DR,8,,\"\"\n";
    expectRefused();
    Open(file);
    expectRefused();  // no current meter
    Open(file + "[#_1]\nA=S,DR,8,,\"\"\n");
    m_database.m_currentAppendix = 3;
    const std::string before = DataLines();
    expectRefused();  // no such appendix
    EXPECT_EQ(DataLines(), before);
    m_database.m_currentAppendix = 0;
    m_database.SetIniFile(L"");
    expectRefused();
    EXPECT_EQ(DataLines(), before);
}

TEST_F(StoreFields, AreAllDeletedFromTheRecord) {
    const std::string file =

        "[General]\nMeters=1\n[#_1]\nState=S\nA=S,U,8,,\"\"\n; "
        "S\nB=A,S,S,S,\"S\"\na,b=RS,U,8,,\"\"\nb=A,U,8,,\"\"\n"
        "Func1=S,U,,3,\"\"\n[x=S,U,8,,\"\"\n\nC=\"S\",,,,\n";
    Open(file);
    EXPECT_TRUE(m_database.DeleteStoreFields());
    EXPECT_EQ(DataLines(), "[General]\nMeters=1\n[#_1]\nState=S\n; S\nB=A,S,S,S,\"S\"\nb=A,U,8,,\"\"\n\n");
    EXPECT_EQ(m_folder.Read(kDataFile), file);  // nothing is saved
    EXPECT_TRUE(m_database.DeleteStoreFields());
}

// The names of one call are listed with a separator between them; a name is taken while the list, the name
// and ten characters stay below 4096.
TEST_F(StoreFields, AreDeletedUpToTheLengthOfTheirNames) {
    const auto name = [](int number, std::size_t length) {
        std::string text = std::to_string(number);
        return text.append(length - text.size(), 'x');
    };
    std::string record = "[#_1]\n";
    for (int i = 0; i < 15; ++i)
        record += name(i, 255) + "=S,U,8,,\"\"\n";
    record += name(15, 247) + "=S,U,8,,\"\"\n";  // 3839 + 247 + 10: one too many
    record += name(16, 246) + "=S,U,8,,\"\"\n";
    Open(record);
    EXPECT_TRUE(m_database.DeleteStoreFields());
    EXPECT_EQ(Data("#_1", name(0, 255)), kMissing);
    EXPECT_EQ(Data("#_1", name(14, 255)), kMissing);
    EXPECT_EQ(Data("#_1", name(15, 247)), "S,U,8,,\"\"");
    EXPECT_EQ(Data("#_1", name(16, 246)), kMissing);
    EXPECT_TRUE(m_database.DeleteStoreFields());
    EXPECT_EQ(Data("#_1", name(15, 247)), kMissing);
}

TEST_F(StoreFields, LeaveWhatAnotherEntryOfTheirNameHides) {
    Open("[#_1]\nA=A,U,8,1,\"\"\nA=S,DR,8,2,\"\"\n[General]\nMeters=1\n");
    EXPECT_FALSE(m_database.CheckStoreFields());
    EXPECT_TRUE(m_database.DeleteStoreFields());
    EXPECT_EQ(DataLines(), "[#_1]\nA=A,U,8,1,\"\"\nA=S,DR,8,2,\"\"\n[General]\nMeters=1\n");
}

// ---- taking them over

TEST_F(StoreFields, AreTakenOverFromTheStoreMeter) {
    Open(
        "[General]\nMeters=1\n[#_1]\nState=U\nA=A,D,8,old,\"kept?\"\n\n[Store]\nMeters=2\n[*_1]\nX=S,U,8,,"
        "\"\"\n"
        "[*_2]\nA=S,U,8,\"1,5\",\"new \"text\"\"\nB=A,U,8,,\"S\"\nItem=S\nC=DS,U,\"8,C1;2\",,\"\"\n; "
        "S,U\nA=S,U,8,twice,\"\"\n");
    EXPECT_TRUE(m_database.AppendStoreFields(2));
    EXPECT_EQ(
        DataLines(),
        "[General]\nMeters=1\n[#_1]\nState=U\nA=S,U,8,\"1,5\",\"new \"text\"\"\nC=DS,U,\"8,C1;2\",,\"\"\n\n"
        "[Store]\nMeters=2\n[*_1]\nX=S,U,8,,\"\"\n[*_2]\nA=S,U,8,\"1,5\",\"new "
        "\"text\"\"\nB=A,U,8,,\"S\"\nItem=S\n"
        "C=DS,U,\"8,C1;2\",,\"\"\n; S,U\nA=S,U,8,twice,\"\"\n");
}

TEST_F(StoreFields, NumberTheirFunctionsOnBehindThoseOfTheRecord) {
    const struct {
        const char* record;
        const char* stored;
        const char* appended;
    } cases[] = {
        {"Func1=A,U,,1,\"\"\nFunc2=A,U,,1,\"\"\nFunc3=A,U,,1,\"\"\n", "Func2", "Func5"},
        {"", "Func2", "Func2"},
        {"FUNC07=A,U,,1,\"\"\nFunc3=A,U,,1,\"\"\n", "fUNC1", "Func8"},
        {"Func4_Info=A,U,,1,\"\"\n", "Func1", "Func5"},
        {"Func9=plain\n", "Func1", "Func10"},
        {"Func=A,U,,1,\"\"\nFunction=A,U,,1,\"\"\nFunc-3=A,U,,1,\"\"\n", "Func1", "Func1"},
        {"Func3=A,U,,1,\"\"\n", "Func2_Info", "Func5"},
        {"Func3=A,U,,1,\"\"\n", "Func", "Func"},
        {"Func3=A,U,,1,\"\"\n", "Fun2", "Fun2"},
        {"Func3=A,U,,1,\"\"\n", "Function", "Func3"},
        {"Func2147483647=A,U,,1,\"\"\n", "Func2147483647", "Func4294967294"},
    };
    for (const auto& c : cases) {
        Open(std::string("[#_1]\n") + c.record + "[Store]\nMeters=1\n[*_1]\n" + c.stored +
             "=S,U,,101,\"new\"\n");
        EXPECT_TRUE(m_database.AppendStoreFields(1));
        EXPECT_EQ(Data("#_1", c.appended), "S,U,,101,\"new\"") << c.record << c.stored;
    }
}

TEST_F(StoreFields, NeedAStoreMeter) {
    Open("[#_1]\nA=1\n[Store]\nMeters=3\n[*_0]\nB=S,U,8,,\"\"\n[*_2]\n; nothing\n[*_4]\nB=S,U,8,,\"\"\n");
    const std::string before = DataLines();
    for (const int unknown : {0, -1, 1, 3, 4, 2147483647})
        EXPECT_FALSE(m_database.AppendStoreFields(unknown)) << unknown;
    EXPECT_TRUE(m_database.AppendStoreFields(2));
    EXPECT_EQ(DataLines(), before);
}

TEST_F(StoreFields, LoseNoEntryToALineBreak) {
    Open("[#_1]\n[Store]\nMeters=1\n[*_1]\nA=S,U,8,1,\"a\rb\"\n");
    EXPECT_TRUE(m_database.AppendStoreFields(1));
    EXPECT_EQ(Data("#_1", "A"), "S,U,8,1,\"a b\"");
}

TEST_F(StoreFields, AreTakenOverWholeOrNotAtAll) {
    for (int n = 1;; ++n) {
        Open(
            "[#_1]\nA=A,U,8,1,\"\"\nFunc1=A,U,,1,\"\"\n[Store]\nMeters=1\n[*_1]\nA=S,U,8,2,\"longer than "
            "before\"\n"
            "Func1=S,U,,2,\"\"\nB=S,U,8,3,\"\"\n");
        const std::string before = DataLines();
        HeapFault fault(n);
        const bool appended = m_database.AppendStoreFields(1);
        if (!fault.Happened()) {
            EXPECT_GT(n, 5);
            EXPECT_TRUE(appended);
            return;
        }
        EXPECT_EQ(DataLines() == before, !appended) << n;
    }
}

// Calls `call` with each of its allocations failing in turn, then without a failure; check(failed) each time.
template <typename Call, typename Check>
void WithEachAllocationFailing(Call call, Check check) {
    int n = 0;
    for (bool failed = true; failed;) {
        failed = FailAllocation(++n, call);
        check(failed);
    }
    EXPECT_GT(n, 1);
}

TEST_F(StoreMeters, AreFoundOrNotWithoutMemory) {
    const std::string text = "a text that is too long to stand in a string object";
    Open("[#_1]\nAction=A,U,8,Change,\"" + text + "\"\nA=S,DR,8,,\"" + text +
         "\"\n[Store]\nMeters=1\n[*_1]\n0.0.0=S,U,8,42,\"" + text + "\"\n");
    bool isOrdered = false;
    WithEachAllocationFailing([&] { isOrdered = m_database.MeterChangeOrderAvailable(); },
                              [&](bool failed) { EXPECT_EQ(isOrdered, !failed); });
    int found = 9;
    WithEachAllocationFailing([&] { found = m_database.SearchStoreMeter("42"); },
                              [&](bool failed) { EXPECT_EQ(found, failed ? 0 : 1); });
    char value[8];
    bool isRead = false;
    WithEachAllocationFailing(
        [&] {
            isRead = m_database.GetStoreValue(1, "0.0.0", nullptr, 0, nullptr, 0, nullptr, 0, value, 8,
                                              nullptr, 0);
        },
        [&](bool failed) {
            EXPECT_EQ(isRead, !failed);
            EXPECT_STREQ(value, failed ? "" : "42");
        });
    bool isWorkedOn = false;
    WithEachAllocationFailing([&] { isWorkedOn = m_database.CheckStoreFields(); },
                              [&](bool failed) { EXPECT_EQ(isWorkedOn, !failed); });
}

TEST_F(StoreFields, AreAllDeletedOrNoneWithoutMemory) {
    int n = 0;
    for (bool failed = true; failed;) {
        Open(
            "[#_1]\nA=S,U,8,1,\"\"\nB=A,U,8,1,\"a text that is too long to stand in a string "
            "object\"\nC=S,U,8,1,\"\"\n");
        const std::string before = DataLines();
        bool deleted = false;
        failed = FailAllocation(++n, [&] { deleted = m_database.DeleteStoreFields(); });
        EXPECT_EQ(deleted, !failed) << n;
        EXPECT_EQ(DataLines() == before, failed) << n;
    }
    EXPECT_GT(n, 1);
}

TEST_F(StoreFields, ThatCannotBeWrittenChangeNothing) {
    Open(
        "[#_1]\nA=A,U,8,1,\"\"\n[Store]\nMeters=1\n[*_1]\nA=S,U,8,2,\"\"\nB=S,U,8,2,\"\"\n[no "
        "header=S,U,8,2,\"\"\n");
    const std::string before = DataLines();
    EXPECT_FALSE(m_database.AppendStoreFields(1));
    EXPECT_EQ(DataLines(), before);
}

}  // namespace
