// The check: each of its rules on a fault that is planted into a copy of the sample installation, in which
// nothing else is found, and the repairs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "terminal/Refusal.h"
#include "terminal/Terminal.h"
#include "terminal/check/Rule.h"
#include "tests/support/TestFolder.h"
#include "tests/terminal/MeterdbFixture.h"
#include "tests/terminal/Shown.h"

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

namespace {

// A fault: `text` in the place of `there`, in a file of the sample installation. Lines end with LF here.
struct Fault {
    const char* code;
    const char* file;
    std::string there;
    std::string text;
    std::string words;  // that the finding says
};

void PrintTo(const Fault& fault, std::ostream* out) {
    *out << fault.code;
}

std::string WithCrLf(const std::string& text) {
    std::string out;
    for (const char c : text)
        out += c == '\n' ? std::string("\r\n") : std::string(1, c);
    return out;
}

std::string Many(int count, const std::string& text) {
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

// Entries "NAME1=...", "NAME2=..." and so on.
std::string Numbered(int first, int last, const std::string& before, const std::string& behind) {
    std::string all;
    for (int i = first; i <= last; ++i)
        all.append(before).append(std::to_string(i)).append(behind);
    return all;
}

class Checked : public testing::Test {
protected:
    void SetUp() override { CopySamples(m_folder); }

    int Run(std::vector<std::string> arguments) {
        std::ostringstream out;
        std::ostringstream errors;
        Screen screen(out, errors, {});
        arguments.insert(arguments.begin(), {"--dir", m_folder.Path().string(), "check"});
        const int code = RunTerminal(arguments, screen);
        m_out = WithSlashes(out.str());
        m_errors = WithSlashes(errors.str());
        return code;
    }

    // Puts `text` in the place of the first `there`; an empty `there` is the end of the file.
    void Plant(const std::string& file, const std::string& there, const std::string& text) {
        std::string bytes = m_folder.Read(file);
        const std::size_t place = there.empty() ? bytes.size() : bytes.find(WithCrLf(there));
        ASSERT_NE(place, std::string::npos) << there;
        bytes.replace(place, WithCrLf(there).size(), WithCrLf(text));
        m_folder.Write(file, bytes);
    }

    // The findings of a code.
    json Found(const std::string& code, std::vector<std::string> arguments = {"--json"}) {
        Run(std::move(arguments));
        json found = json::array();
        for (const json& finding : json::parse(m_out))
            if (finding["code"] == code)
                found.push_back(finding);
        return found;
    }

    TestFolder m_folder;
    std::string m_out;
    std::string m_errors;
};

class PlantedFault : public Checked, public testing::WithParamInterface<Fault> {};

const std::string kRoute = "data/route.ini";
const std::string kNumbers = "0.0.0-nom=,D,16,30052217,\"\"";

// In a value of meter 3.
Fault InValue(const char* code, const std::string& entry, const std::string& words) {
    return {
        code, "data/route.ini", "Action=,D,,,\"\"\n0.0.0=RD,U,\"16,V0.0.0-nom,BW,U---\",,\"\"\n" + kNumbers,
        "Action=,D,,,\"\"\n0.0.0=RD,U,\"16,V0.0.0-nom,BW,U---\",,\"\"\n" + kNumbers + "\n" + entry, words};
}

// Behind the entries of meter 3.
Fault AsFunction(const char* code, const std::string& entries, const std::string& words) {
    return {
        code, "data/route.ini",
        "Func3=,U,,11,\"\"\nUserID=A,D,,reader07,\"\"\nLastChanges=A,D,,20260202103105,\"\"",
        "Func3=,U,,11,\"\"\n" + entries + "\nUserID=A,D,,reader07,\"\"\nLastChanges=A,D,,20260202103105,\"\"",
        words};
}

std::vector<Fault> Faults() {
    const char* const ini = "meterdb.ini";
    const char* const route = "data/route.ini";
    const char* const app = "data/app.ini";
    const char* const de = "languages/de.ini";
    const char* const types = "metertypes.ini";
    const std::string pathOf300 = "data\\" + std::string(300, 'x');
    return {
        // ---- any text
        {"T01", route, "[#_4]", "[#_3]\nState=U\n\n[#_4]", "[#_3] stands in line"},
        {"T01", ini, "[List]", "[List]\nMasterValue=0.0.0\n[list]", "[list] stands in line"},
        {"T02", route, "Stop=3\n", "Stop=3\nstop=3\n", "\"stop\" stands in line"},
        {"T02", ini, "#1=,D,,Converter,\"Volume converter\"",
         "#1=,D,,Converter,\"Volume converter\"\nC.1=R,U,8,,\"\"", "\"C.1\" stands in line"},
        {"T03", route, "[#_4]", "[#_4", "\"[#_4\" has no ]"},
        {"T04", route, "Stop=3\n", "Stop 3\n", "\"Stop 3\" is no entry"},
        {"T05", route, "[General]\n", "Note=before\n[General]\n", "\"Note\" stands before"},
        {"T06", route, "[#_4]\n", "[#_4] water\n", "\"water\" stands behind"},
        {"T07", route, "Stop=3\n", std::string("Stop=3\0x\n", 9), "a zero byte at place 7"},
        {"T08", route, "Stop=3\n", "Stop=3\rNote=4\n", "at place 7"},
        {"T09", route, "Stop=3\n", "Stop=3\x1B\n", "character 27 at place 7"},
        {"T10", de, "RawUsed=erledigt", "RawUsed=f\xE4llig", "no UTF-8"},
        {"T11", route, "Stop=3\n", std::string(256, 'k') + "=3\n", "256 bytes"},
        {"T12", route, "Stop=3\n", "Stop=" + std::string(4096, '3') + "\n", "4096 bytes"},

        // ---- system ini
        {"I01", ini, "AppFile=data\\app.ini\n", "", "AppFile is not set"},
        {"I02", ini, "AppFile=data\\app.ini", "AppFile=data\\..\\data\\route.ini",
         "AppFile is the file of DataFile"},
        {"I03", ini, "DataFile=data\\route.ini", "DataFile=data\\rout.ini", "is not there"},
        {"I04", ini, "RawPath=spool", "RawPath=spol", "RawPath=spol is not there"},
        {"I04", ini, "ParDefFile=tariff.par", "ParDefFile=tarif.par", "ParDefFile=tarif.par is not there"},
        {"I05", ini, "RawFile=data\\raw.dat", "RawFile=" + pathOf300, "RawFile has 305 bytes"},
        {"I06", ini, "RawFile=data\\raw.dat", "RawFile=data\\\xC3\xA4.dat", "RawFile="},
        {"I07", ini, "RawFile=data\\raw.dat", "RawFile= data\\raw.dat", "RawFile= data"},
        {"I07", ini, "RawFile=data\\raw.dat", "RawFile=\"data\\raw.dat\"", "RawFile=\"data"},
        {"I08", ini, "CheckAutoReadRegs=Yes", "CheckAutoReadRegs=1", "CheckAutoReadRegs=1"},
        {"I09", ini, "Languages=2", "Languages=3", "Language3 is missing"},
        {"I09", ini, "Types=4", "Types=5", "Type5 is missing"},
        {"I10", ini, "Languages=2", "Languages=1", "Language2 stands behind the 1 that Languages counts"},
        {"I11", ini, "Language2=de,languages\\de.ini", "Language2=EN,languages\\de.ini",
         "\"EN\" stands there twice"},
        {"I12", ini, "Language2=de,languages\\de.ini", "Language2=de", "\"de\" with file \"\""},
        {"I12", ini, "Language2=de,", "Language2=" + std::string(40, 'd') + ",", "with file"},
        {"I13", ini, "languages\\de.ini", "languages\\dd.ini", "is not there"},
        {"I14", ini, "MasterValue=0.0.0", "MasterValue=0.0.9", "no record has a value \"0.0.9\""},
        {"I15", ini, "[Values]\n", "[Values]\n9.8.7=Nothing\n", "no record has a value \"9.8.7\""},
        {"I16", ini, "[Values]\n", "[Values]\n" + std::string(40, '9') + "=Long\n", "has 40 bytes"},
        {"I17", ini, "[Values]\nMeterID=Identifier", "[Values]\nMeterID=" + std::string(256, 'I'), "bytes"},
        {"I18", ini, "[Values_Heat]\n", "[Values_Heat]\n" + Numbered(1, 256, "1.8.", "=Energy\n"), "fields"},
        {"I19", ini, "1.8.0=Energy,", "1.8.0=,", "\"1.8.0\" has no label"},
        {"I20", ini, "1.8.0*01=Energy *1,", "1.8.0*01=Energy *19,", "\"Energy *19\""},
        {"I21", ini, "[Values_Gas]", "[Values_" + std::string(33, 'G') + "]", "has 40 bytes"},
        {"I22", ini, "[Values_Gas_de]", "[Values_Ga_de]", "[Values_Gas_de] is missing"},
        {"I23", ini, "1.8.0=Energie,\"Wirkenergie Bezug, alle Tarife\"\n", "", "\"1.8.0\" of [Values]"},
        {"I24", ini, "[Survey_Tariff]", "[Survey_" + std::string(40, 'T') + "]", "TTTT"},
        {"I25", ini, "02=meter not found", "02=", "code \"02\" has no label"},
        {"I26", ini, "Options=101,120,125,202,1001", "Options=101,,125,202,1001", "\"\" is no code"},
        {"I27", ini, "Options=101", "Options=101" + Numbered(1, 60, ",10", ""), "codes in"},
        {"I28", ini, "22=Relais einschalten\n", "", "\"22\" of [Functions]"},
        {"I28", ini, "[Functions_de]\nOptions=101,120,125,202,1001\n", "[Functions_de]\n", "\"Options\""},
        {"I29", ini, "CHANGE_*=1,8,22,23", "CHANGED_*=1,8,22,23", "\"CHANGED_*\""},
        {"I29", ini, "NOROUTE_*=1,8", "NOROUTE=1,8", "\"NOROUTE\""},
        {"I30", ini, "NOROUTE_*=1,8", "NOROUTE_*=1,1000", "\"1000\" is no code"},
        {"I31", ini, "NOROUTE_*=1,8", "NOROUTE_*=1" + Many(254, ",8"), "bytes"},
        {"I34", ini, "[Append]\n", "[Append]\nTypes=1\nType1=Gas,Gas\n", "[Append] is both"},
        {"I35", ini, "[AppendGas]\n", "[AppendGas]\nState=E\n", "State=E"},
        {"I36", ini, "MeterType=,D,,Gas,\"\"\n", "", "[AppendGas] has no MeterType"},
        {"I37", ini, "[AppendGas]\n", "[AppendGas]\nNote=,D,,," + std::string(256, 'n') + "\n", "bytes"},
        {"I38", route, "Town=Northbridge\n", "", "has no \"Town\""},

        // ---- languages, app file, types of meters
        {"L01", de, "[StringTexts]", "[Texts]", "no section [StringTexts]"},
        {"L02", de, "RawUsed=erledigt", "RawUse=erledigt", "\"RawUse\""},
        {"L03", de, "RawUsed=erledigt\n", "", "RawUsed is missing"},
        {"L04", de, "RawUsed=erledigt", "RawUsed=\"erledigt", "\"erledigt"},
        {"A01", app, "Language=en", "Language=fr", "Language=fr"},
        {"A02", app, "MandatorIdx=12", "MandatorIdx=13", "MandatorIdx=13, but Client=12"},
        {"A03", app, "Sawmill,", "Sawmill, hall 2,", "hall 2"},
        {"A04", app, "Files=1", "Files=2", "File2 is missing"},
        {"A04", app, "Files=1", "Files=0", "File1 stands behind the 0"},
        {"P02", types, "Functions=1,5,8,11,100", "Functions=1,5,8,11,1000", "\"1000\" is no code"},
        {"P03", types, "Functions=1,5,8,11,100\nReadouts=1", "Functions=1,5,8,11,100\nReadouts=1,2",
         "function 2 is not among"},

        // ---- records
        {"R01", route, "[#_4]", "[#_04]", "[#_04] is no record: it would be [#_4]"},
        {"R01", route, "[#1_2]", "[#1_2 ]", "[#1_2 ] is no record"},
        {"R02", route, "[#_4]", " [#_4]", "[#_4] stands behind blanks"},
        {"R03", route, "[#_5]", "[#_50]", "[#_50] stands where [#_5] should"},
        {"R04", route, "[#_5]", "[#_4]", "meter 4 begins in line"},
        {"R05", route, "Meters=16", "Meters=15", "Meters=15, but the file has 16"},
        {"R05", route, "Meters=16\n", "", "[General] has no Meters"},
        {"R06", route, "[#2_2]", "[#3_2]", "[#3_2], but there is no [#2_2]"},
        {"R07", route, "[#_3]", Numbered(3, 101, "[#", "_2]\n") + "[#_3]", "meter 2 has 101 appendices"},
        {"R08", route, "[#2_2]", "[#1_22]", "[#1_22], but there is no [#_22]"},
        {"R09", route, "", "\n[#3_2]\nNote=late\n", "[#3_2] stands behind [#_16]"},
        {"R10", route, "Client=12", "Client=1200", "Client=1200"},
        {"R11", route, "0.0.0-nom=,D,16,30052217,\"\"", "0.0.0-nom=,D,16,0010044721,\"\"",
         "10044721 is also that"},
        {"R20", route, "State=U\nStop=3\n", "Stop=3\n", "[#_3] has no State"},
        {"R21", route, "State=U\nStop=3\n", "State=UX\nStop=3\n", "State=UX has \"X\""},
        {"R22", route, "State=U\nStop=3\n", "State=" + std::string(40, 'U') + "\nStop=3\n", "40 bytes"},
        {"R23", route, "Action=,D,,Change,\"\"", "Action=Change", "Action=Change"},
        {"R24", route, "Action=,D,,Change,\"\"", "Action=,D,,Chance,\"\"", "\"Chance\" is no action"},
        {"R25", route, "MeterType=,D,,Gas,\"\"", "MeterType=,D,,Steam,\"\"", "type \"Steam\""},
        {"R26", route, "0.0.0-nom=,D,16,70773001,\"\"\n", "", "[#_7] names no number"},
        {"S01", route, "[Store]\nMeters=3", "[Store]\nMeters=2", "Meters=2, but the file has 3"},
        {"S02", route, "[*_3]", "[*_4]", "[*_4] stands for [*_3]"},
        {"S03", route, "0.0.0-nom=S,D,16,20077152,\"\"", "0.0.0-nom=S,D,16,20077145,\"\"",
         "20077145 is also that"},
        {"S04", route, "0.0.0=S,D,16,30081166,\"\"", "0.0.0=S,D,16,,\"\"", "[*_3] has no number"},
        {"S05", route, "[Store]\nMeters=3\n", "[Store]\nMeters=4\n\n[*_4]\n0.0.0=,D,16,4711,\"\"\n", "[*_4]"},
        {"S06", route, "[*_2]", "[*_2]\nFunc1_Info=S,D,,text,\"\"", "Func1_Info"},

        // ---- values
        InValue("V01", "Note=Call first, then ring", "the attributes \"Call first\""),
        InValue("V02", "3.1.0=RD,X,8.2 m3,,\"\"", "the status \"X\""),
        InValue("V03", "3.1.0=RD,U,8.2 m3", "3 of 5 sub-fields"),
        InValue("V04", "3.1.0=RD,U,8.2 m3,,", "ends with a comma"),
        InValue("V04", "3.1.0=RD,U,8.2 m3,,volume", "ends with \"volume\""),
        InValue("V05", "3.1.0=RD,U,8.2 m3,C1;2,BX,,\"\"", "for its value"),
        InValue("V06", "3.1.0=RD,U,\"8.2 m3,,\"text\" again", "the definition \"8.2 m3"),
        InValue("V06", "3.1.0=RD,U, \"8.2 m3,C1;2\",,\"\"", "the definition  \"8.2 m3"),
        InValue("V07", "Pipe=,D,,12\" pipe,\"\"", "the value 12\" pipe"),
        InValue("V08", "3.1.0=RD,U,8.2 m3,,\"volume", "ends with \"volume"),
        InValue("V08", "3.1.0=RD,U,8.2 m3,,\"volume\" ", "ends with \"volume\""),
        InValue("V09", "3.1.0=RD,U,8.2 m3,," + ("\"" + std::string(256, 't') + "\""), "256 bytes of text"),
        InValue("V10", "Note=,D,,\"" + std::string(252, 'n') + ",\",\"\"", "253 bytes of value"),
        InValue("V11", "3.1.0=RD,U,8.2 m3 ,,\"\"", "the definition \"8.2 m3 \""),
        InValue("V12", "3.1.0=RD,U,\"8.2 m3,,BX\",,\"\"", "BX stands behind an empty token"),
        InValue("V12", "3.1.0=RD,U,\",C1;2\",,\"\"", "C1;2 stands behind an empty token"),
        InValue("V13", "3.1.0=RD,U,\"8.2 m3,C1;2,X000\",,\"\"", "X000 stands behind C1;2"),
        InValue("V14", "3.1.0=RD,U,\"8.2 m3,C;20\",,\"\"", "C;20"),
        InValue("V15", "3.1.0=RD,U,\"8.2 m3,C1;2O\",,\"\"", "C1;2O"),
        InValue("V16", "3.1.0=RD,U,\"8.2 m3,V3.1.0-nom\",,\"\"", "V3.1.0-nom"),
        InValue("V17", "3.1.0=RD,U,\"8.2 m3,BZ\",,\"\"", "BZ"),
        InValue("V18", "3.1.0=RD,U,\"8.2 m3,c1;2\",,\"\"", "c1;2"),
        InValue("V18", "3.1.0=RD,U,\"8.2 m3,NA---\",,\"\"", "NA---"),
        InValue("V19", "3.1.0=,U,\"8.2 m3,BX\",,\"\"", "BX"),
        InValue("V20", "Reason2=CU,U,S;Reasons,,\"\"", "no [Survey_Reasons]"),
        InValue("V21", "Position=,D,S;<Position>,01,\"\"", "no value Survey_Position"),
        InValue("V22", "Reason2=CU,U,S;" + std::string(40, 'R') + ",,\"\"", "RRRR"),
        InValue("V23", "3.1.0=,D,8.2 m3,\"12,5\",\"\"", "\"12,5\""),
        InValue("V24", "3.1.0=,D,8.2 m3,about 12,\"\"", "\"about 12\""),
        InValue("V25", "Reason2=CU,U,S;Reason,42,\"\"", "\"42\""),
        InValue("V25", "Site=,D,S;<Site>,02,\"\"\nSurvey_Site=,D,,01:cellar,\"\"", "\"02\""),
        InValue("V26", "Flags=,D,B;leak;empty,001,\"\"", "\"001\""),
        InValue("V26", "Flags=,D,B;leak;empty,x,\"\"", "\"x\""),
        InValue("V27", "Built=,D,DD.MM.YYYY,20261301,\"\"", "\"20261301\""),
        InValue("V27", "Built=,D,DD.MM.YYYY,1.3.2026,\"\"", "\"1.3.2026\""),
        InValue("V28", "Time=,D,dhms,0000021530,\"\"", "\"0000021530\""),
        InValue("V30", "3.1.0=A,D,8.2 m3,,\"\"", "3.1.0"),
        InValue("V31", "3.1.0-DIFF=AD,U,6.2 m3,,\"\"", "needs 3.1.0"),
        InValue("V31", "0.1.0-calc=A,U,2,,\"\"", "needs 0.1.0-last"),
        InValue("V32", "3.1.0=R,U,8.2 m3,,\"\"\n3.1.0-last=,U,8.2 m3,1,\"\"\n3.1.0-DIFF=AD,U,6.2 m3,,\"\"",
                "3.1.0-last, which has the status \"U\""),
        InValue("V33", "3.1.0=R,U,8.2 m3,,\"\"\n3.1.0-last=,D,8.2 m3,1,\"\"\n3.1.0-DIFF=AD,U,m3,,\"\"",
                "is defined as \"m3\""),
        InValue("V34", "Contact=T,D,,Mobile,\"\"", "shows \"Mobile\""),
        InValue("V35", "Contact=T,D,16,Place,\"\"", "is defined as \"16\""),
        InValue("V36", "Remark2=C?U,U,,,\"\"", "\"C?U\""),
        {"V37", route, "0.0.0=RD,U,\"16,V0.0.0-nom,BW,U---\",,\"\"", "0.0.0=RD,U,\"16,BW,U---\",,\"\"",
         "is defined as \"16,BW,U---\""},
        InValue("V38", "Site=,D,S;<Site>,01,\"\"\nSurvey_Site=,D,,01:cellar;hall,\"\"", "\"hall\""),

        // ---- functions
        AsFunction("F01", "Func5=,U,,8,\"\"", "Func5 (8), but there is no Func4"),
        AsFunction("F02", Numbered(4, 60, "Func", "=,U,,8,\"\"\n") + "Note=end", "Func60 (8)"),
        AsFunction("F03", "Func4=,U,,,\"\"", "Func4 has the code \"\""),
        AsFunction("F03", "Func4=,U,,5x,\"\"", "Func4 has the code \"5x\""),
        AsFunction("F04", "Func4=,U,,33,\"\"", "Func4 (33)"),
        AsFunction("F05", "Func4=,U,,1000,\"\"", "Func4 (1000) has an empty definition"),
        AsFunction("F05", "Func4=,U,\"1,,O100\",1000,\"\"", "has the token \"\""),
        AsFunction("F06", "Func4=,U,,200,\"\"", "type Gas has no function 200"),
        AsFunction("F06", "Func4=,U,\"1,120\",1000,\"\"", "type Gas has no function 120"),
        AsFunction("F07", "Func4=,U,,11,\"\"", "Func4 (11) has the code of Func3"),
        AsFunction("F08", "Func04=,U,,8,\"\"", "\"Func04\""),
        AsFunction("F09", "Func4=,U,\"1[I2026,O100\",1000,\"\"", "has the token \"1[I2026\""),
        AsFunction("F10", "Func4=,U,\"202[Xtariff.par2]\",1001,\"\"", "202[Xtariff.par2]"),
        AsFunction("F11", "Func4=,U,\"202[Xtariff.par{9}]\",1001,\"\"", "tariff.par has no set 9"),
        AsFunction("F11", "Func4=,U,\"202[Xother.par{2}]\",1001,\"\"", "the file other.par is not there"),
    };
}

template <typename Planted>
std::string TestName(const testing::TestParamInfo<Planted>& info) {
    return std::string(info.param.code) + "_" + std::to_string(info.index);
}

}  // namespace

TEST_P(PlantedFault, IsFoundWhereItStands) {
    const Fault& fault = GetParam();
    ASSERT_EQ(Found(fault.code), json::array()) << "the sample has the fault already";
    Plant(fault.file, fault.there, fault.text);
    const json found = Found(fault.code);
    ASSERT_FALSE(found.empty()) << m_out << m_errors;
    const bool isNamed = std::any_of(found.begin(), found.end(), [&fault](const json& finding) {
        return finding["found"].get<std::string>().find(fault.words) != std::string::npos;
    });
    EXPECT_TRUE(isNamed) << found.dump(2);
}

INSTANTIATE_TEST_SUITE_P(OfTheSample, PlantedFault, testing::ValuesIn(Faults()), TestName<Fault>);

TEST_F(Checked, NothingIsFoundInTheSample) {
    EXPECT_EQ(Run({}), kDone);
    EXPECT_EQ(m_out, "Nothing found in 6 files, 16 meters\n");
    EXPECT_EQ(m_errors, "");
    EXPECT_EQ(Run({"--json"}), kDone);
    EXPECT_EQ(m_out, "[]\n");
}

TEST_F(Checked, EveryRuleHasAFaultThatItFinds) {
    std::set<std::string> planted = {"I32", "I33", "P01"};  // below
    for (const Fault& fault : Faults())
        planted.insert(fault.code);
    std::set<std::string> known;
    for (const Check::Rule* rule : Check::AllRules())
        EXPECT_TRUE(known.insert(rule->code).second) << rule->code << " is the code of two rules";
    EXPECT_EQ(planted, known);
}

TEST_F(Checked, EveryRuleIsDocumentedAsItIs) {
    std::string table = "| Code | Severity | Why it matters |\n|---|---|---|\n";
    for (const Check::Rule* rule : Check::AllRules())
        table.append("| ")
            .append(rule->code)
            .append(" | ")
            .append(Check::NameOf(rule->severity))
            .append(" | ")
            .append(rule->why)
            .append(" |\n");
    std::ifstream file(fs::path(PROJECT_DIR) / "docs" / "check.md", std::ios::binary);
    const std::string page{std::istreambuf_iterator<char>(file), {}};
    EXPECT_NE(page.find(table), std::string::npos) << "the page should hold:\n" << table;
}

TEST_F(Checked, MissingMeterTypesAreFound) {
    fs::remove(m_folder.Path() / "metertypes.ini");
    EXPECT_EQ(Found("P01").size(), 1U);
}

TEST_F(Checked, AccessWithoutAnyLevelIsFound) {
    for (const char* level : {"AccessLevel1", "AccessLevel2", "AccessLevel3"})
        Plant("meterdb.ini", level, "Level");
    EXPECT_EQ(Found("I32").size(), 1U);
}

TEST_F(Checked, TypeWithoutATemplateIsFound) {
    Plant("meterdb.ini", "[Append]", "[AppendWind]");
    Plant("meterdb.ini", "Type1=Electricity,Electricity meter", "Type1=Steam,Steam meter");
    EXPECT_EQ(Found("I33").size(), 1U);
    EXPECT_THAT(m_out, HasSubstr("[AppendSteam] is missing"));
}

TEST_F(Checked, FindingsNameFileLineAndSection) {
    Plant(kRoute, "State=U\nStop=1\n", "State=UX\nStop=1\n");
    EXPECT_EQ(Run({}), kRefused);
    EXPECT_EQ(m_out,
              "data/route.ini\n"
              "  Line  Section  Severity  Code  Found\n"
              "  ----  -------  --------  ----  ----------------\n"
              "    10  [#_1]    error     R21   State=UX has \"X\"\n"
              "\n"
              "Why it matters\n"
              "  R21  A state consists of the letters N E M U A H C R I; others mean nothing.\n"
              "\n"
              "1 error, 0 warnings, 0 notes in 6 files, 16 meters\n");
    EXPECT_EQ(m_errors, "");
}

TEST_F(Checked, NotesAloneAreNoFault) {
    Plant("meterdb.ini", "[Values]\n", "[Values]\n9.8.7=Nothing\n");
    Plant("meterdb.ini", "[Values_de]\n", "[Values_de]\n9.8.7=Nichts\n");
    EXPECT_EQ(Run({}), kDone);
    EXPECT_THAT(m_out, HasSubstr("0 errors, 0 warnings, 2 notes"));
}

TEST_F(Checked, ManyFindingsOfOneKindAreCounted) {
    Plant(kRoute, "Stop=3\n", Numbered(1, 25, "Line ", "\n"));
    EXPECT_EQ(Run({}), kRefused);
    EXPECT_THAT(m_out, HasSubstr("and 5 more, which --all shows"));
    EXPECT_EQ(Run({"--all"}), kRefused);
    EXPECT_THAT(m_out, HasSubstr("Line 25"));
}

TEST_F(Checked, LooksOnly) {
    Plant(kRoute, "[#_5]", "[#_50]");
    const std::string route = m_folder.Read(kRoute);
    EXPECT_EQ(Run({}), kRefused);
    EXPECT_EQ(m_folder.Read(kRoute), route);
}

TEST_F(Checked, DataFileAloneIsLookedAtWithoutItsInstallation) {
    m_folder.Write("alone.ini", "[General]\nMeters=1\n\n[#_1]\nState=X\nReason=CU,U,S;Reason,42,\"\"\n");
    EXPECT_EQ(Run({(m_folder.Path() / "alone.ini").string()}), kRefused);
    EXPECT_THAT(m_out, HasSubstr("State=X has \"X\""));
    EXPECT_THAT(m_out, testing::Not(HasSubstr("V20")));
    EXPECT_EQ(Run({(m_folder.Path() / "none.ini").string()}), kFileFailed);
    EXPECT_THAT(m_errors, HasSubstr("does not exist"));
}

TEST_F(Checked, RulesAreListed) {
    EXPECT_EQ(Run({"--rules"}), kDone);
    EXPECT_THAT(m_out, HasSubstr("V03  warning  A value entry has five sub-fields"));
    EXPECT_EQ(Run({"--rules", "--json"}), kDone);
    EXPECT_EQ(json::parse(m_out).size(), Check::AllRules().size());
}

// ---- repairs

namespace {

// A fault and the same place as the repair leaves it.
struct Repaired {
    const char* code;
    const char* file;
    std::string there;
    std::string fault;
    std::string repaired;
};

void PrintTo(const Repaired& repaired, std::ostream* out) {
    *out << repaired.code;
}

class PlantedRepair : public Checked, public testing::WithParamInterface<Repaired> {};

std::vector<Repaired> Repairs() {
    const char* const route = "data/route.ini";
    const std::string stop = "Stop=3\n";
    return {
        {"T02", route, stop, "Stop=3\nStop=3\n", stop},
        {"R01", route, "[#_4]", "[#_04]", "[#_4]"},
        {"R01", route, "[#1_2]", "[#1_2 ]", "[#1_2]"},
        {"R02", route, "[#_4]", "  [#_4]", "[#_4]"},
        {"R03", route, "[#_5]", "[#_50]", "[#_5]"},
        {"R05", route, "Meters=16", "Meters=15", "Meters=16"},
        {"R06", route, "[#2_2]\n#2=,D,,Ripple receiver,\"\"", "[#7_2]\n #7 =,D,,Ripple receiver,\"\"",
         "[#2_2]\n #2 =,D,,Ripple receiver,\"\""},
        {"S01", route, "[Store]\nMeters=3", "[Store]\nMeters=2", "[Store]\nMeters=3"},
        {"S02", route, "[*_3]", "[*_4]", "[*_3]"},
        {"A01", "data/app.ini", "Language=en", "Language=fr", "Language=en"},
        {"A02", "data/app.ini", "MandatorIdx=12", "MandatorIdx=13", "MandatorIdx=12"},
        {"V03", route, stop, "3.1.0 =RD,U,8.2 m3\n" + stop, "3.1.0 =RD,U,8.2 m3,,\"\"\n" + stop},
        {"V04", route, stop, "3.1.0=RD,U,8.2 m3,,volume\n" + stop, "3.1.0=RD,U,8.2 m3,,\"volume\"\n" + stop},
        {"V08", route, stop, "3.1.0=RD,U,8.2 m3,,\"volume\n" + stop,
         "3.1.0=RD,U,8.2 m3,,\"volume\"\n" + stop},
        {"V08", route, stop, "3.1.0=RD,U,8.2 m3,,\"volume\" \n" + stop,
         "3.1.0=RD,U,8.2 m3,,\"volume\"\n" + stop},
        {"F01", route, "Func12=,U,\"1,O101,1\",1002,\"\"\nFunc13=,U,,211,\"\"",
         "Func14=,U,\"1,O101,1\",1002,\"\"\nFunc14_Info=,D,,text,\"\"\nFunc23=,U,,211,\"\"",
         "Func12=,U,\"1,O101,1\",1002,\"\"\nFunc12_Info=,D,,text,\"\"\nFunc13=,U,,211,\"\""},
    };
}

}  // namespace

TEST_P(PlantedRepair, LeavesEverythingElseAsItWas) {
    const Repaired& repaired = GetParam();
    Plant(repaired.file, repaired.there, repaired.repaired);
    const std::string wanted = m_folder.Read(repaired.file);
    Plant(repaired.file, repaired.repaired, repaired.fault);
    ASSERT_FALSE(Found(repaired.code).empty()) << m_out;
    EXPECT_EQ(Run({"--fix"}), kDone);
    EXPECT_EQ(m_folder.Read(repaired.file), wanted);
    EXPECT_EQ(m_errors, "");
    EXPECT_THAT(m_out, HasSubstr("repaired and saved."));
    EXPECT_THAT(m_out, HasSubstr("Nothing found"));
}

INSTANTIATE_TEST_SUITE_P(OfTheSample, PlantedRepair, testing::ValuesIn(Repairs()), TestName<Repaired>);

TEST_F(Checked, SeveralFaultsOfOneLineAreRepairedOneBehindTheOther) {
    Plant(kRoute, "Stop=3\n", "Stop=3\n3.1.0=RD,U,8.2 m3\n3.1.0=RD,U,8.2 m3\n");
    EXPECT_EQ(Run({"--fix"}), kDone);
    EXPECT_THAT(m_folder.Read(kRoute), HasSubstr("Stop=3\r\n3.1.0=RD,U,8.2 m3,,\"\"\r\nMeterType"));
}

TEST_F(Checked, WhatCouldLoseSomethingIsLeftToAPerson) {
    // The first entry counts: deleting it would bring the second into effect.
    Plant(kRoute, "Stop=3\n", "Stop=3\nStop=4\nStop=3\nNote=a, b and c\n");
    const std::string route = m_folder.Read(kRoute);
    EXPECT_EQ(Run({"--fix"}), kRefused);
    EXPECT_EQ(m_folder.Read(kRoute), route);
    EXPECT_THAT(m_out, HasSubstr("\"Stop\" stands in line"));
}

TEST_F(Checked, MetersAreNotRenumberedWhenAppendicesCouldChangeHands) {
    Plant(kRoute, "[#_4]", "[#_2]");
    const std::string route = m_folder.Read(kRoute);
    EXPECT_EQ(Run({"--fix"}), kRefused);
    EXPECT_EQ(m_folder.Read(kRoute), route);
}

TEST_F(Checked, RepairOfADataFileAloneNumbersItsRecords) {
    const fs::path alone = m_folder.Path() / "alone.ini";
    m_folder.Write("alone.ini",
                   "[General]\nMeters=1\n\n[#_3]\nState=U\n0.0.0=,D,,1,\"\"\n[#_7]\nState=U\n0.0.0=,D,,2,\n");
    EXPECT_EQ(Run({"--fix", alone.string()}), kDone);
    EXPECT_EQ(m_folder.Read("alone.ini"),
              "[General]\nMeters=2\n\n[#_1]\nState=U\n0.0.0=,D,,1,\"\"\n[#_2]\nState=U\n0.0.0=,D,,2,\"\"\n");
}

TEST_F(Checked, RepairThatCannotBeSavedSaysSo) {
    Plant(kRoute, "Stop=3\n", "Stop=3\nStop=3\n");
    const std::string route = m_folder.Read(kRoute);
    fs::permissions(m_folder.Path() / kRoute, fs::perms::owner_read);
    EXPECT_EQ(Run({"--fix"}), kFileFailed);
    EXPECT_THAT(m_errors, HasSubstr("route.ini"));
    EXPECT_EQ(m_folder.Read(kRoute), route);
    fs::permissions(m_folder.Path() / kRoute, fs::perms::owner_all);
}
