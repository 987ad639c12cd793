// What fills the placeholders of texts: numbers and times out of an argument, versions of parameter sets.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/GuardedBuffer.h"
#include "tests/support/HeapFault.h"

namespace {

class SubstitutionValue : public DatabaseFixture {
protected:
    std::string Format(int code, const char* arg, const char* format) {
        GuardedBuffer<char> out(256);
        m_database.FormatSubstValue(out.Data(), code, arg, format);
        return out.Text();
    }
    std::string Format(int code, const std::string& arg, const std::string& format) {
        return Format(code, arg.c_str(), format.c_str());
    }
};

using SubstitutionTime = SubstitutionValue;

// Parameter files stand in the folder "par".
class ParameterVersion : public SubstitutionValue {
protected:
    void SetUp() override {
        std::filesystem::create_directory(m_folder.Path() / "par");
        Open("", "ParDefRoot=par\n");
    }

    // The version that set `number` of a file with these bytes has.
    std::string VersionIn(const std::string& bytes, const std::string& number = "{1}") {
        m_folder.Write("par/p.ini", bytes);
        return Format(202, "Xp.ini" + number + "]", "BODKIN");
    }
};

}  // namespace

// ---- which value is made

TEST_F(SubstitutionValue, IsChosenByFormatCodeAndArgument) {
    struct Row {
        int code;
        const char* arg;
        const char* format;
        const char* value;
    };
    const Row rows[] = {
        {4, "M07", "", "7"},
        {5, "m07", "x", "7"},
        {6, "D31", "", "31"},
        {4, "d31]", "YYYY", "31"},
        {6, "M", "", "0"},
        {6, "M-3", "", "-3"},
        {6, "Dx", "", "0"},
        {4, "M99999999999", "", "2147483647"},
        {4, "", "", "0"},
        {5, "", "YYYY", "0"},
        {6, nullptr, nullptr, "0"},
        {4, "I20100315", "", "03-15-2010"},
        {5, "i20100315", "DD.MM.YYYY", "15.03.2010"},
        {3, "M07", "", ""},
        {7, "M07", "", ""},
        {0, "I20100315", "", ""},
        {-4, "M07", "", ""},
        {260, "M07", "", ""},
        {4, "X07", "", ""},
        {4, "07", "", ""},
        {4, " M07", "", ""},
        {202, "M07", "BODKIN", ""},
        {202, "I20100315", "BODKIN", ""},
        {202, "", "BODKIN", ""},
        {202, nullptr, "BODKIN", ""},
        {0, nullptr, nullptr, ""},
        {4, "M07", "*", "*"},
        {4, "M07", "*DD", "*"},
        {5, "I20100315", "*", "*"},
        {202, "Xp.ini{1}", "*BODKIN", "*"},
        {0, "", "*", "*"},
        {-1, nullptr, "*", "*"},
        {4, "M07", " *", "7"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Format(row.code, row.arg, row.format), row.value)
            << row.code << '/' << (row.arg == nullptr ? "null" : row.arg) << '/' << row.value;
}

TEST_F(SubstitutionValue, ThatIsNotWantedIsNotWritten) {
    m_database.FormatSubstValue(nullptr, 4, "M07", "");
}

TEST_F(SubstitutionValue, MayBeWrittenOverItsArgument) {
    char text[256] = "M07";
    m_database.FormatSubstValue(text, 4, text, "");
    EXPECT_STREQ(text, "7");
    char format[256] = "DD.MM.YYYY";
    m_database.FormatSubstValue(format, 4, "I20100315", format);
    EXPECT_STREQ(format, "15.03.2010");
}

// ---- times

TEST_F(SubstitutionTime, IsReadAsFarAsItIsKnown) {
    const char* const kPattern = "YYYY.M.D.H.N.S";
    const std::vector<std::pair<const char*, const char*>> rows = {
        {"I20100315123456", "2010.3.15.12.34.56"},
        {"I20100315123456789", "2010.3.15.12.34.56"},
        {"I2010031512345", "2010.3.15.12.34.0"},
        {"I201003151234", "2010.3.15.12.34.0"},
        {"I20100315123", "2010.3.15.12.0.0"},
        {"I2010031512", "2010.3.15.12.0.0"},
        {"I201003151", "2010.3.15.0.0.0"},
        {"I20100315", "2010.3.15.0.0.0"},
        {"I2010031", "2010.3.0.0.0.0"},
        {"I201003", "2010.3.0.0.0.0"},
        {"I20100", "2010.0.0.0.0.0"},
        {"I2010", "2010.0.0.0.0.0"},
        {"I201", "0000.0.0.0.0.0"},
        {"I", "0000.0.0.0.0.0"},
        {"I20100315]", "2010.3.15.0.0.0"},
        {"I2010031]", "2010.3.1.0.0.0"},
        {"I20x003 5-1", "0020.3.5.-1.0.0"},
        {"I-123-4-5", "-123.-4.-5.0.0.0"},
    };
    for (const auto& [arg, value] : rows)
        EXPECT_EQ(Format(4, arg, kPattern), value) << arg;
}

TEST_F(SubstitutionTime, IsLaidOutByItsPattern) {
    const std::vector<std::pair<const char*, const char*>> rows = {
        {"", "03-05-2010"},
        {"YYYY", "2010"},
        {"yyyy", "2010"},
        {"YyYy", "2010"},
        {"YY", "2010"},
        {"yy", "2010"},
        {"YYY", "2010Y"},
        {"Y", "Y"},
        {"y", "y"},
        {"YYYYYY", "20102010"},
        {"MM", "03"},
        {"mM", "03"},
        {"M", "3"},
        {"m", "3"},
        {"MMM", "033"},
        {"DD", "05"},
        {"D", "5"},
        {"d", "5"},
        {"HH", "07"},
        {"H", "7"},
        {"h", "7"},
        {"NN", "08"},
        {"N", "8"},
        {"n", "8"},
        {"SS", "09"},
        {"S", "9"},
        {"sS", "09"},
        {"DD.MM.YYYY", "05.03.2010"},
        {"HH:NN", "07:08"},
        {"YYYYMMDDHHNNSS", "20100305070809"},
        {"am D. um H", "a3 5. u3 7"},
        {"%i*]", "%i*]"},
        {"\xC4\xFF", "\xC4\xFF"},
    };
    for (const auto& [pattern, value] : rows)
        EXPECT_EQ(Format(5, "I20100305070809", pattern), value) << pattern;
}

TEST_F(SubstitutionTime, HasZerosForWhatIsNotKnown) {
    EXPECT_EQ(Format(5, "I20100315", "HH:NN:SS"), "00:00:00");
    EXPECT_EQ(Format(5, "I", ""), "00-00-0000");
    EXPECT_EQ(Format(5, "I", "YYYY YY MM M"), "0000 00 00 0");
    EXPECT_EQ(Format(5, "I2010", "YY"), "2010");
    EXPECT_EQ(Format(5, "I0007", "YY YYYY"), "07 0007");
}

TEST_F(SubstitutionTime, KeepsToItsBuffer) {
    const std::string text(254, '-');
    EXPECT_EQ(Format(4, "I20100315", text + "D"), text + "1");
    EXPECT_EQ(Format(4, "I20100315", text + "xy"), text + "x");
    std::string years;
    for (int i = 0; i < 64; ++i)
        years += "2010";
    EXPECT_EQ(Format(4, "I2010", std::string(200, 'Y')), years.substr(0, 200));
    EXPECT_EQ(Format(4, "I2010", std::string(5000, 'Y')), years.substr(0, 255));
}

// ---- versions of parameter sets

TEST_F(ParameterVersion, IsThatOfTheNumberedSet) {
    const std::string file =
        "[File_-1]\r\nVersion=7\r\n[File_0]\r\nVersion=8\r\n[File_1]\r\nVersion=9\r\n[File_12]\r\nVersion="
        "10\r\n";
    m_folder.Write("par/p.ini", file);
    const std::vector<std::pair<const char*, const char*>> rows = {
        {"Xp.ini{default}", "7"},
        {"xp.ini{DEFAULT}", "7"},
        {"Xp.ini{-1}", "7"},
        {"Xp.ini", "8"},
        {"Xp.ini{0}", "8"},
        {"Xp.ini{}", "8"},
        {"Xp.ini{x}", "8"},
        {"Xp.ini{1}", "9"},
        {"Xp.ini{1", "9"},
        {"Xp.ini{1}]", "9"},
        {"Xp.ini{1]", "9"},
        {"Xp.ini{12}34", "10"},
        {"Xp.ini{ 01x}{0}", "9"},
        {"Xp.ini{2}", ""},
        {"Xp.ini{defaults}", "8"},
        {"Xq.ini{1}", ""},
        {"Xp.ini]", ""},
        {"X{1}", ""},
        {"X", ""},
        {" Xp.ini{1}", ""},
    };
    for (const auto& [arg, version] : rows)
        EXPECT_EQ(Format(202, arg, "BODKIN"), version) << arg;
}

TEST_F(ParameterVersion, IsAskedForByTheWordBodkin) {
    m_folder.Write("par/p.ini", "[File_0]\nVersion=8\n");
    EXPECT_EQ(Format(202, "Xp.ini", "bodKIN"), "8");
    for (const char* const format : {"", "BODKI", "BODKINS", " BODKIN"})
        EXPECT_EQ(Format(202, "Xp.ini", format), "") << format;
    EXPECT_EQ(Format(201, "Xp.ini", "BODKIN"), "");
}

TEST_F(ParameterVersion, IsReadLineByLine) {
    const std::vector<std::pair<std::string, const char*>> rows = {
        {"[File_1]\nVersion=5\n", "5"},
        {"[File_1]\r\nVersion=5\r\n", "5"},
        {"[File_1]\nVersion=5", "5"},
        {"[file_1]\nVERSION=5\n", "5"},
        {"[File_1] and more\nversion= +5 and more\n", "5"},
        {"Version=4\n[File_0]\nVersion=3\n[File_1]\nName=x\nVersion=5\nVersion=6\n", "5"},
        {"[File_1]\nVersion=5\n[File_1]\nVersion=6\n", "5"},
        {"[File_1]\n[File_1]\nVersion=6\n", ""},
        {"[File_1]\n[File_2]\nVersion=6\n", ""},
        {"[File_1]\n[\nVersion=6\n", ""},
        {"[File_1]\n [x]\nVersion=6\n", "6"},
        {"[File_1]Version=5\n", ""},
        {" [File_1]\nVersion=5\n", ""},
        {"[File_1\nVersion=5\n", ""},
        {"[File_11]\nVersion=5\n", ""},
        {"[File_01]\nVersion=5\n", ""},
        {"[File_1]\n Version=5\n", ""},
        {"[File_1]\nVersion =5\n", ""},
        {"[File_1]\nVersion\n", ""},
        {"[File_1]\n;Version=5\n", ""},
        {"[File_1]\n", ""},
        {"", ""},
        {"[File_1]\nVersion=1\n", "1"},
        {"[File_1]\nVersion=0\nVersion=5\n", ""},
        {"[File_1]\nVersion=-1\n", ""},
        {"[File_1]\nVersion=\n5\n", ""},
        {"[File_1]\nVersion=\r5\n", ""},
        {"[File_1]\nVersion=x\n", ""},
        {"[File_1]\nVersion=99999999999\n", "2147483647"},
        {"[File_1]\rVersion=5\n", ""},
        {"[File_1]\nName=\rVersion=5\n", ""},
        {"\n\n[File_1]\n\nVersion=5\n", "5"},
    };
    for (const auto& [bytes, version] : rows)
        EXPECT_EQ(VersionIn(bytes), version) << bytes;
}

TEST_F(ParameterVersion, EndsAtALineThatBeginsWithAZero) {
    const std::string zero(1, '\0');
    EXPECT_EQ(VersionIn("[File_1]\n" + zero + "x\nVersion=5\n"), "");
    EXPECT_EQ(VersionIn(zero + "\n[File_1]\nVersion=5\n"), "");
    EXPECT_EQ(VersionIn("x" + zero + "\n[File_1]" + zero + "\nVersion=5" + zero + "6\n"), "5");
    EXPECT_EQ(VersionIn("[File_1" + zero + "]\nVersion=5\n"), "");
}

TEST_F(ParameterVersion, TakesALongLineAsSeveralOf255Characters) {
    EXPECT_EQ(VersionIn(std::string(255, 'x') + "[File_1]\nVersion=5\n"), "5");
    EXPECT_EQ(VersionIn(std::string(254, 'x') + "[File_1]\nVersion=5\n"), "");
    EXPECT_EQ(VersionIn(std::string(256, 'x') + "[File_1]\nVersion=5\n"), "");
    EXPECT_EQ(VersionIn("[File_1]\n" + std::string(255, 'x') + "[\nVersion=5\n"), "");
    EXPECT_EQ(VersionIn("[File_1]\n" + std::string(510, 'x') + "Version=5\n"), "5");
    EXPECT_EQ(VersionIn("[File_1]\nVersion=" + std::string(246, '0') + "12\n"), "1");
    EXPECT_EQ(VersionIn("[File_1]\nVersion=" + std::string(245, '0') + "12\n"), "12");
    EXPECT_EQ(VersionIn("[File_1]\n" + std::string(255, 'x') + "\nVersion=5\n"), "5");
    EXPECT_EQ(VersionIn("[File_1]\n" + std::string(255, 'x') + std::string(1, '\0') + "\nVersion=5\n"), "");
}

TEST_F(ParameterVersion, IsReadBelowTheParameterRootOrWhereThePathSays) {
    m_folder.Write("par/p.ini", "[File_0]\nVersion=1\n");
    m_folder.Write("p.ini", "[File_0]\nVersion=2\n");
    EXPECT_EQ(Format(202, "Xp.ini", "BODKIN"), "1");
    EXPECT_EQ(Format(202, "X..\\p.ini", "BODKIN"), "2");
    std::string absolute = (m_folder.Path() / "p.ini").string();
    EXPECT_EQ(Format(202, "X" + absolute, "BODKIN"), "2");
    std::replace(absolute.begin(), absolute.end(), '/', '\\');
    EXPECT_EQ(Format(202, "X" + absolute, "BODKIN"), "2");
    m_folder.Write("par/Z\xC3\xA4hler.ini", "[File_0]\nVersion=3\n");
    EXPECT_EQ(Format(202, "XZ\xC3\xA4hler.ini", "BODKIN"), "3");
}

TEST_F(ParameterVersion, IsReadFromADeepFolder) {
    const std::string folder = std::string(150, 'n') + "/" + std::string(100, 'm');
    std::error_code refused;
    std::filesystem::create_directories(m_folder.Path() / "par" / folder, refused);
    if (refused)
        GTEST_SKIP() << "the system has no paths of that length";
    m_folder.Write("par/" + folder + "/p", "[File_0]\nVersion=4\n");
    EXPECT_EQ(Format(202, "X" + folder + "/p", "BODKIN"), "4");
}

TEST_F(ParameterVersion, IsMissingWhenTheFileCannotBeRead) {
    m_folder.Write("par/p.ini", "[File_0]\nVersion=1\n");
    std::filesystem::create_directory(m_folder.Path() / "par" / "folder");
    EXPECT_EQ(Format(202, "Xfolder", "BODKIN"), "");
    EXPECT_EQ(Format(202, "Xp.ini" + std::string(2000, 'x'), "BODKIN"), "");
    FakeSystem system;
    system.FailCall(FakeSystem::Call::OpenStream, 1);
    EXPECT_EQ(Format(202, "Xp.ini", "BODKIN"), "");
    EXPECT_TRUE(system.FaultHappened());
    EXPECT_EQ(Format(202, "Xp.ini", "BODKIN"), "1");
}

// ---- memory

TEST_F(ParameterVersion, IsWholeOrEmptyWithoutMemory) {
    m_folder.Write("par/with a name that does not fit a string.ini", "[File_1]\nVersion=5\n");
    int n = 0;
    for (bool failed = true; failed;) {
        GuardedBuffer<char> out(256);
        failed = FailAllocation(++n, [&] {
            m_database.FormatSubstValue(out.Data(), 202, "Xwith a name that does not fit a string.ini{1}",
                                        "BODKIN");
        });
        EXPECT_EQ(out.Text(), failed ? "" : "5") << n;
    }
    EXPECT_GT(n, 1);
}
