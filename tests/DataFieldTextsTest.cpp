// How a data field is shown: its mark, its value in the format of its definition, and its label.
#include <gtest/gtest.h>

#include <utility>

#include "tests/support/DataFieldsFixture.h"
#include "tests/support/SubFieldTexts.h"

// ---- marks

TEST_F(DataFields, AreMarkedByTheirStatus) {
    const std::pair<const char*, const char*> rows[] = {
        {"D", "ok."}, {"DR", "ok."}, {"DW", "ok."}, {"CD", "ok."}, {"W", "?"}, {"WC", "?"}, {"CW", "?"},
        {"C", "!"},   {"CR", "!"},   {"U", ""},     {"", ""},      {"d", ""},  {"R", ""},   {"\"D\"", "ok."},
    };
    for (const auto& [status, mark] : rows) {
        LabelFor("label", std::string("A,") + status + ",8,1,\"\"");
        EXPECT_EQ(Field(0).mark, mark) << status;
    }
}

// ---- values

TEST_F(DataFields, ShowAFixedTextForTheirStatus) {
    const std::pair<const char*, const char*> rows[] = {
        {"A,D,\"8,NDread\",5,\"\"", "read"},
        {"A,U,\"8,U---\",5,\"\"", "---"},
        {"A,U,\"8,NUnot yet\",5,\"\"", "not yet"},
        {"A,U,\"8,NXopen\",5,\"\"", "open"},
        {"A,U,\"8,NYopen\",5,\"\"", "5"},
        {"A,U,\"8,NXx,Uu\",5,\"\"", "x"},
        {"A,U,\"8,Uu,NXx\",5,\"\"", "u"},
        {"A,W,\"8,NWw\",5,\"\"", "w"},
        {"A,W,\"8,NXx\",5,\"\"", "x"},
        {"A,W,\"8,NYy\",5,\"\"", "y"},
        {"A,W,\"8,NCc,NUu\",5,\"\"", "5"},
        {"A,C,\"8,NCc\",5,\"\"", "c"},
        {"A,C,\"8,NXx\",5,\"\"", "x"},
        {"A,C,\"8,NYy\",5,\"\"", "y"},
        {"A,C,\"8,NWw\",5,\"\"", "5"},
        {"A,CR,\"8,NWw,NYy,NCc\",5,\"\"", "y"},
        {"A,D,\"8,NXx,NYy,U---\",5,\"\"", "5"},
        {"A,UD,\"8,NDd,Uu\",5,\"\"", "u"},
        {"A,DU,\"8,NDd,Uu\",5,\"\"", "u"},
        {"A,DU,\"8,NDd\",5,\"\"", "5"},
        {"A,WD,\"8,NWw,NDd\",5,\"\"", "d"},
        {"A,CW,\"8,NCc,NWw\",5,\"\"", "w"},
        {"A,R,\"8,NDd,Uu\",5,\"\"", "5"},
        {"A,,\"8,NDd,Uu\",5,\"\"", "5"},
        {"A,u,\"8,Uu\",5,\"\"", "5"},
        {"A,D,\"8,ndd,Nd\",5,\"\"", "5"},
        {"A,D,\"8,ND,NDlater\",5,\"\"", "5"},
        {"A,D,\"8 kWh,ND\",5,\"\"", "5 kWh"},
        {"A,D,\"8,,NDbehind\",5,\"\"", "behind"},
        {"A,D,\"8,C0;9,BX,NDread\",5,\"\"", "read"},
        {"A,D,NDfirst,5,\"\"", "first"},
        {"A,U,U,5,\"\"", "5"},
        {"A,U,\"8, U---\",5,\"\"", "5"},
        {"A,U,\"8,U--- \",5,\"\"", "--- "},
        {"\"A\",\"U\",\"8,U---\",\"5\",\"\"", "---"},
    };
    for (const auto& [entry, value] : rows)
        EXPECT_EQ(ValueFor(entry), value) << entry;
}

TEST_F(DataFields, ShowTheirValueInItsFormat) {
    m_record = "Survey_L=A,D,,1:one;2:\"two\",\"\"\n";
    const std::pair<const char*, const char*> rows[] = {
        {"A,DR,\"8.1 kWh,C13440;14400,BX,U---\",013799.1,\"\"", "013799.1 kWh"},
        {"A,U,\"8.1 kWh,C13440;14400,BX,U---\",,\"\"", "---"},
        {"A,D,DD.MM.YYYY,20100315,\"\"", "15.03.2010"},
        {"A,D,dhms,+0001021530,\"\"", "+ 1, 02:15:30"},
        {"A,D,B;low;high,11,\"\"", "low,high"},
        {"A,D,S;<L>,2,\"\"", "two"},
        {"A,D,S;<L>,3,\"\"", ""},
        {"A,D,8 kWh,\"1,5\",\"\"", "1,5 kWh"},
        {"A,D,8,say \"hi\",\"\"", "say \"hi\""},
        {"A,D,8", ""},
    };
    for (const auto& [entry, value] : rows)
        EXPECT_EQ(ValueFor(entry), value) << entry;
}

TEST_F(DataFields, ShowAtMost255CharactersOfAValue) {
    EXPECT_EQ(ValueFor("A,D,8 kWh," + Text(252) + ",\"\""), Text(252) + " kW");
    EXPECT_EQ(ValueFor("A,D,8," + Text(255) + ",\"\""), Text(255));
    EXPECT_EQ(ValueFor("A,D,8," + Text(280) + ",\"\""), Text(255));
    EXPECT_EQ(ValueFor("A,D,," + Text(280) + ",\"\""), Text(255));
    EXPECT_EQ(ValueFor("A,D,\"8,ND" + Text(251) + "\",5,\"\""), Text(251)) << "a definition of 255";
    EXPECT_EQ(ValueFor("A,D,\"8,ND" + Text(280) + "\",5,\"\""), Text(251));
}

TEST_F(DataFields, ShowTheValueThatTheyReferTo) {
    m_record =
        "Other=A,D,8 kWh,42,\"\"\nQuoted=A,D,8,\"4,2\",\"\"\nItem=Uhr\nEmpty=A,D,8,,\"\"\n"
        "Next=T,D,,Other,\"\"\nLong=A,D,8," +
        Text(60) + ",\"\"\nOwn=T,D,,Own,\"\"\n" + Text(39, 'n') + "=A,D,8,named,\"\"\n";
    const std::string name = Text(39, 'n');
    const std::pair<std::string, std::string> rows[] = {
        {"T,D,,Other,\"\"", "42"},
        {"AT,D,,other,\"\"", "42"},
        {"\"T\",D,\"\",\"Other\",\"\"", "42"},
        {"T,D,,\"Other,rest\",\"\"", "42"},
        {"T,D,,Quoted,\"\"", "4,2"},
        {"T,D,,Missing,\"\"", ""},
        {"T,D,,Item,\"\"", ""},
        {"T,D,,Empty,\"\"", ""},
        {"T,D,,Next,\"\"", "Other"},
        {"T,D,,X,\"\"", "X"},
        {"T,D,,Own,\"\"", "Own"},
        {"T,D,,Long,\"\"", Text(39)},
        {"T,D,," + name + ",\"\"", "named"},
        {"T,D,," + name + "longer,\"\"", "named"},
        {"T,D,,,\"\"", ""},
        {"T,D,,\",rest\",\"\"", ",rest"},
        {"A,D,,Other,\"\"", "Other"},
        {"t,D,,Other,\"\"", "Other"},
        {"T,D,8,Other,\"\"", "Other"},
        {"T,D,8 kWh,Other,\"\"", "Other kWh"},
        {Text(38) + "T,D,,Other,\"\"", "42"},
        {Text(39) + "T,D,,Other,\"\"", "Other"},
        {"A,D,,\"1,5\",\"\"", "1,5"},
        {"A,D", ""},
    };
    for (const auto& [entry, value] : rows)
        EXPECT_EQ(ValueFor(entry), value) << entry;
}

// ---- labels

TEST_F(DataFields, AreLabelledByTheFirstTokenOfTheirDeclaration) {
    const std::pair<std::string, std::string> rows[] = {
        {"Energy T1,info", "Energy T1"},
        {"\"Energy, T1\",info", "Energy, T1"},
        {"\"Energy\"", "Energy"},
        {" Energy ", " Energy "},
        {",info", ""},
        {"", ""},
        {"a \"b\"", "a \"b\""},
        {Text(255), Text(255)},
        {Text(300), Text(255)},
    };
    for (const auto& [declaration, label] : rows)
        EXPECT_EQ(LabelFor(declaration), label) << declaration;
}

TEST_F(DataFields, NumberTheBillingPeriodOfAHistoricValue) {
    m_record = "0.1.0=R,D,8,12,\"\"\n";
    const std::pair<const char*, const char*> rows[] = {
        {"Energy *1", "Energy *12"},
        {"Energy *01", "Energy *12"},
        {"Energy *2", "Energy *11"},
        {"Energy *12", "Energy *01"},
        {"Energy *13", "Energy *00"},
        {"Energy *14", "Energy *99"},
        {"Energy *18", "Energy *95"},
        {"Energy *19", "Energy *19"},
        {"Energy *0", "Energy *0"},
        {"Energy *00", "Energy *00"},
        {"Energy *", "Energy *"},
        {"Energy *1 ", "Energy *12"},
        {"Energy *1x", "Energy *12"},
        {"Energy * 1", "Energy *12"},
        {"Energy *+1", "Energy *12"},
        {"Energy *-1", "Energy *-1"},
        {"Energy *x1", "Energy *x1"},
        {"Energy *100", "Energy *100"},
        {"Energy *1 h", "Energy *1 h"},
        {"*1", "*12"},
        {"A *1 B *2", "A *1 B *11"},
        {"A *1*", "A *1*"},
        {"**3", "**10"},
        {"Energy 1", "Energy 1"},
        {"Energy *1,Energy *2", "Energy *12"},
    };
    for (const auto& [declaration, label] : rows)
        EXPECT_EQ(LabelFor(declaration), label) << declaration;
}

TEST_F(DataFields, CountPeriodsFromTheFirstCounterThatWasRead) {
    const std::pair<const char*, const char*> rows[] = {
        {"0.1.0=R,D,8,12,\"\"\n0.1.0-calc=A,D,8,20,\"\"\n", "*12"},
        {"0.1.0=R,C,8,12,\"\"\n", "*12"},
        {"0.1.0=R,WR,8,12,\"\"\n", "*12"},
        {"0.1.0=R,U,8,12,\"\"\n", "*1"},
        {"0.1.0=R,U,8,12,\"\"\n0.1.0-calc=A,D,8,20,\"\"\n0.1.0-nom=A,D,8,30,\"\"\n", "*20"},
        {"0.1.0-nom=A,D,8,30,\"\"\n", "*30"},
        {"0.1.0-calc=A,,8,20,\"\"\n0.1.0-nom=A,C,8,30,\"\"\n", "*30"},
        {"0.1.0=R,D,8,012,\"\"\n", "*12"},
        {"0.1.0=R,D,8,x,\"\"\n", "*00"},
        {"0.1.0=R,D,8,,\"\"\n", "*00"},
        {"0.1.0=R,D,8,112,\"\"\n", "*12"},
        {"0.1.0=R,D,8,99999999999,\"\"\n", "*47"},
        {"0.1.0=R,D,8,-99999999999,\"\"\n", "*-48"},
        {"0.1.0=R,D,8,-201,\"\"\n", "*-1"},
        {"0.1.0=12\n", "*1"},
        {"", "*1"},
    };
    for (const auto& [record, label] : rows) {
        m_record = record;
        EXPECT_EQ(LabelFor("*1"), label) << record;
    }
}

TEST_F(DataFields, CountPeriodsBackFromTheHistory) {
    m_system.SetTime({2010, 3, 1, 15, 8, 0, 0, 0});
    const std::pair<const char*, const char*> rows[] = {
        {"History1=R,D,,201003,\"\"\n", "*12"},
        {"History1=R,D,,201001,\"\"\n", "*10"},
        {"History1=R,C,,20100115,\"\"\n", "*10"},
        {"History1=R,W,,200912,\"\"\n", "*09"},
        {"History1=R,D,,200803,\"\"\n", "*88"},
        {"History1=R,D,,200111,\"\"\n", "*12"},
        {"History1=R,D,,200110,\"\"\n", "*11"},
        {"History1=R,D,,201004,\"\"\n", "*12"},
        {"History1=R,D,,20100,\"\"\n", "*12"},
        {"History1=R,U,,201001,\"\"\n", "*12"},
        {"History1=201001\n", "*12"},
    };
    for (const auto& [history, label] : rows) {
        m_record = std::string("0.1.0=R,D,8,12,\"\"\n") + history;
        EXPECT_EQ(LabelFor("*1"), label) << history;
    }
}

TEST_F(DataFields, TakeInATextOfTheOffice) {
    const struct {
        const char* declaration;
        const char* text;
        const char* label;
    } rows[] = {
        {"<~C>", "Cellar key,inner side", "Cellar key"},
        {"<~c>", "Cellar key", "Cellar key"},
        {"a <~C> b", "key", "a key b"},
        {"a <~c> b", "key", "a key b"},
        {"<~c><~C>", "key", "<~c>key"},
        {"<~C><~C>", "key", "key<~C>"},
        {"<~c><~c>", "key", "key<~c>"},
        {"a<~C>b", "", "ab"},
        {"a<~C>b", ",rest", "ab"},
        {"a<~C>b", "\"key, big\",rest", "akey, bigb"},
        {"a<~C>b", "say \"hi\"", "asay \"hi\"b"},
        {"<~C", "key", "<~C"},
        {"< ~C>", "key", "< ~C>"},
        {"<C>", "key", "<C>"},
        {"a <~C> *3", "key", "a key *3"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(LabelFor(row.declaration, std::string("A,D,8,1,\"") + row.text + "\""), row.label)
            << row.declaration << " / " << row.text;
    EXPECT_EQ(LabelFor("a<~C>b", "A,D,8,1"), "ab") << "an entry without a text";
    EXPECT_EQ(LabelFor("a<~C>b", "A,D,8,1,key, free"), "akeyb") << "a text without quotes";
}

TEST_F(DataFields, LeaveOutATextThatMakesTheLabelTooLong) {
    const auto label = [this](std::size_t text) {
        return LabelFor("ab<~C>cd", "A,D,8,1,\"" + Text(text) + "\"");
    };
    EXPECT_EQ(label(248), "ab" + Text(248) + "cd");
    EXPECT_EQ(label(249), "ab" + Text(249) + "cd");
    EXPECT_EQ(label(250), "abcd");
    EXPECT_EQ(label(2000), "abcd");
    EXPECT_EQ(LabelFor("ab<~C>cd", "A,D,8,1,\"\"key, " + Text(300) + "\",rest\""), "ab\"keycd")
        << "255 characters of a text are looked at, and its quote then closes nowhere";
    EXPECT_EQ(LabelFor("<~C>", "A,D,8,1,\"" + Text(253) + "\""), Text(253));
    EXPECT_EQ(LabelFor("<~C>", "A,D,8,1,\"" + Text(254) + "\""), "");
}

TEST_F(DataFields, NumberThePeriodBeforeTheyTakeInAText) {
    m_record = "0.1.0=R,D,8,12,\"\"\n";
    EXPECT_EQ(LabelFor("<~C> *1", "A,D,8,1,\"key *2\""), "key *2 *12");
    EXPECT_EQ(LabelFor("a *1<~C>", "A,D,8,1,\"key\""), "a *1key") << "the star is not near the end";
}
