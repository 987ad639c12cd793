// The types of meters that users may append, as the system ini lists them.
#include "tests/support/DatabaseFixture.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"

namespace {

class AppendTypes : public DatabaseFixture {
protected:
    static constexpr const char* kFallback = "[AppendElectricity]\n";

    void OpenSystemIni(const std::string& sections) {
        m_database.SetIniFile(L"");
        WriteSystemIni(sections);
        m_database.SetIniFile(L"system.ini");
    }

    // Name and label of a type, "name|label"; "" with both outputs empty when there is none.
    std::string Type(int number, int nameLen = 40, int labelLen = 40) {
        GuardedBuffer<> name(nameLen);
        GuardedBuffer<> label(labelLen);
        if (m_database.GetAppendType(number, name.Data(), nameLen, label.Data(), labelLen))
            return name.Text() + "|" + label.Text();
        EXPECT_EQ(name.Text() + label.Text(), "");
        return "";
    }
};

TEST_F(AppendTypes, AreNoneWithoutASystemIni) {
    EXPECT_EQ(m_database.GetAppendTypes(), 0);
    EXPECT_EQ(Type(1), "");
}

TEST_F(AppendTypes, NeedNoDataFile) {
    OpenSystemIni("[Append]\nTypes=1\nType1=Gas,gas meter\n");
    EXPECT_EQ(m_database.GetAppendTypes(), 1);
    EXPECT_EQ(Type(1), "Gas|gas meter");
}

TEST_F(AppendTypes, AreCounted) {
    const struct {
        const char* types;
        int count;
        int countWithFallback;
    } cases[] = {
        {"", 0, 1},
        {"Types=\n", 0, 1},
        {"Types=0\n", 0, 1},
        {"Types=-3\n", 0, 1},
        {"Types=x\n", 0, 1},
        {"Types=1\n", 1, 1},
        {"Types=3\n", 3, 3},
        {"Types=99\n", 99, 99},
        {"Types=100\n", 100, 100},
        {"Types=101\n", 100, 100},
        {"types= 250 types\n", 100, 100},
        {"Types=99999999999\n", 100, 100},
    };
    for (const auto& c : cases) {
        OpenSystemIni(std::string("[Append]\n") + c.types);
        EXPECT_EQ(m_database.GetAppendTypes(), c.count) << c.types;
        OpenSystemIni(std::string("[Append]\n") + c.types + kFallback);
        EXPECT_EQ(m_database.GetAppendTypes(), c.countWithFallback) << c.types;
    }
    OpenSystemIni("");
    EXPECT_EQ(m_database.GetAppendTypes(), 0);
    OpenSystemIni(kFallback);
    EXPECT_EQ(m_database.GetAppendTypes(), 1);
}

TEST_F(AppendTypes, AreReadByTheirNumbersAsGiven) {
    OpenSystemIni(
        "[Append]\nTypes=2\nType0=Zero,none\nType1=Gas,gas meter\nType2=Heat,heat "
        "meter\nType-1=Minus,below\n");
    EXPECT_EQ(Type(0), "Zero|none");
    EXPECT_EQ(Type(1), "Gas|gas meter");
    EXPECT_EQ(Type(2), "Heat|heat meter");
    EXPECT_EQ(Type(-1), "Minus|below");
    EXPECT_EQ(Type(3), "");
}

TEST_F(AppendTypes, LoseTheirQuotes) {
    const struct {
        const char* entry;
        const char* type;
    } cases[] = {
        {"\"Gas\",\"gas, small\"", "Gas|gas, small"},
        {"\"Gas, small\",gas", "Gas, small|gas"},
        {"Gas", "Gas|"},
        {"Gas,", "Gas|"},
        {",gas", "|gas"},
        {"", "|"},
        {"Gas,gas,more", "Gas|gas"},
        {" Gas , gas", " Gas | gas"},
    };
    for (const auto& c : cases) {
        OpenSystemIni(std::string("[Append]\nType1=") + c.entry + "\n" + kFallback);
        EXPECT_EQ(Type(1), c.type) << c.entry;
    }
}

TEST_F(AppendTypes, FallBackForEveryMissingEntry) {
    OpenSystemIni(std::string("[Append]\nTypes=3\nType1=Gas,gas\n") + kFallback);
    EXPECT_EQ(Type(1), "Gas|gas");
    for (const int missing : {0, 2, 3, 400})
        EXPECT_EQ(Type(missing), "Electricity|-----") << missing;
    OpenSystemIni(kFallback);
    EXPECT_EQ(Type(1), "Electricity|-----");
}

TEST_F(AppendTypes, StandInTheSectionOfTheLanguage) {
    const std::string sections =
        "[Append_de]\nTypes=2\nType1=Gas,Gaszaehler\n[Append_fr]\nType1=Gas,gaz\n"
        "[Append]\nTypes=3\nType1=Gas,gas meter\nType2=Heat,heat meter\n[Append_]\nTypes=9\n";
    const struct {
        const char* code;
        int count;
        const char* first;
        const char* second;
    } cases[] = {
        {"", 3, "Gas|gas meter", "Heat|heat meter"},
        {"de", 2, "Gas|Gaszaehler", ""},
        {"DE", 2, "Gas|Gaszaehler", ""},
        {"fr", 0, "Gas|gaz", ""},
        {"en", 3, "Gas|gas meter", "Heat|heat meter"},
    };
    OpenSystemIni(sections);
    for (const auto& c : cases) {
        m_database.SetLanguageCode(c.code);
        EXPECT_EQ(m_database.GetAppendTypes(), c.count) << c.code;
        EXPECT_EQ(Type(1), c.first) << c.code;
        EXPECT_EQ(Type(2), c.second) << c.code;
    }
    OpenSystemIni(sections + kFallback);
    m_database.SetLanguageCode("fr");
    EXPECT_EQ(m_database.GetAppendTypes(), 1);
    EXPECT_EQ(Type(2), "Electricity|-----");
}

TEST_F(AppendTypes, AreCutToTheBuffersAndFillThem) {
    for (const char* sections : {"[Append]\nType1=\"Electricity\",\"-----\"\n", "[AppendElectricity]\n"}) {
        OpenSystemIni(sections);
        EXPECT_EQ(Type(1, 12, 6), "Electricity|-----");
        EXPECT_EQ(Type(1, 11, 5), "Electricit|----");
        EXPECT_EQ(Type(1, 2, 1), "E|");
        GuardedBuffer<> name(40);
        EXPECT_TRUE(m_database.GetAppendType(1, name.Data(), 40, nullptr, 40));
        EXPECT_EQ(name.Data()[39], '\0');  // the last byte is always terminated
        GuardedBuffer<> unwanted(40);
        EXPECT_TRUE(m_database.GetAppendType(1, unwanted.Data(), 0, unwanted.Data(), -1));
        EXPECT_TRUE(m_database.GetAppendType(1, nullptr, 40, nullptr, 40));
        EXPECT_TRUE(unwanted.Untouched());
    }
}

TEST_F(AppendTypes, AreReadUpToAFixedLength) {
    OpenSystemIni("[Append]\nType1=" + std::string(100, 'n') + "," + std::string(300, 'l') + "\n");
    EXPECT_EQ(Type(1, 400, 400), std::string(100, 'n') + "|" + std::string(154, 'l'));
}

TEST_F(AppendTypes, AreNoneWithoutMemory) {
    OpenSystemIni("[Append_a language with a long name]\nTypes=1\nType1=Gas,gas meter\n");
    m_database.SetLanguageCode("a language with a long name");
    EXPECT_EQ(m_database.GetAppendTypes(), 1);
    char name[40] = "before";
    char label[40] = "before";
    const HeapFault fault(1, HeapFault::Times::FromThenOn);
    EXPECT_EQ(m_database.GetAppendTypes(), 0);
    EXPECT_FALSE(m_database.GetAppendType(1, name, sizeof name, label, sizeof label));
    EXPECT_STREQ(name, "");
    EXPECT_STREQ(label, "");
}

}  // namespace
