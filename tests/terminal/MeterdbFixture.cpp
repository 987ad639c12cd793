#include "tests/terminal/MeterdbFixture.h"

#include <cctype>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/terminal/Shown.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kSystem =
    "[System]\nAppFile=app.ini\nRawFile=raw.dat\nDataFile=route.ini\nCheckAutoReadRegs=Yes\n"
    "[List]\nMasterValue=0.0.0\n"
    "[Languages]\nLanguages=2\nLanguage1=en,en.ini\nLanguage2=de,de.ini\n"
    "[Values]\n1.8.0=Energy\n3.0.0=Volume\n"
    "[Values_Gas]\n3.0.0=\"Gas volume\",Information\n"
    "[Values_de]\n1.8.0=Energie\n"
    "[Extra]\nCustomer=Customer\nPlace=Meter place\n"
    "[Extra_de]\nCustomer=Kunde\n";

constexpr const char* kGasAlarm =
    "/ABC4GE4\r\n\x02"
    "7-0:0.0.0*255(30052217)\r\n7-0:3.0.0*255(0021.40*m3)\r\n97.97.0(0100)\r\n1.7.0(4*kW)\r\n!\r\n";
constexpr const char* kElectricity =
    "/ABC5EL\r\n\x02"
    "0.0.0(20481632)\r\n1.8.0(000123.4*kWh)\r\n!\r\n";

// Puts "(now)" in the place of the times of stamps.
std::string WithoutTimes(std::string text) {
    const std::vector<std::pair<std::string, std::size_t>> stamps = {
        {"stamped ", 19}, {"LastChanges=A,D,,", 14}, {"readout-", 14}, {"File1=", 14}, {"File2=", 14}};
    for (const auto& [before, size] : stamps)
        for (std::size_t at = text.find(before); at != std::string::npos; at = text.find(before, at + 1))
            if (std::isdigit(static_cast<unsigned char>(text[at + before.size()])) != 0)
                text.replace(at + before.size(), size, "(now)");
    return text;
}

}  // namespace

// The standard library's own copy takes any two folders of Windows for one and the same.
void CopySamples(const TestFolder& folder) {
    const fs::path samples = fs::path(PROJECT_DIR) / "samples" / "installation";
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(samples)) {
        const fs::path target = folder.Path() / entry.path().lexically_relative(samples);
        if (entry.is_directory())
            fs::create_directory(target);
        else
            std::ofstream(target, std::ios::binary) << std::ifstream(entry.path(), std::ios::binary).rdbuf();
    }
}

const char* const Meterdb::kRoute =
    "[General]\nMeters=4\nDBInfo=Route 7\n"
    "\n"
    "[#_1]\nState=U\nMeterType=,D,,Gas,\"\"\nCustomer=,D,,Bakery,\"\"\nPlace=,D,,\"Yard, left\",\"\"\n"
    "Note=Reader\nRead=R\n"
    "0.0.0=R,U,\"16,V0.0.0-nom,BW\",,\"\"\n"
    "0.0.0-nom=,D,16,30052217,\"\"\n"
    "3.0.0=R,U,\"8.2 m3,C10;20,BC\",0009.10,\"\"\n"
    "97.97.0=R,U,\"8,X0000\",,\"\"\n"
    "1.7.0=R,U,\"6.1 kW,C5;3\",,\"\"\n"
    "9.9.9=R,U,\"8,BU\",,\"\"\n"
    "\n"
    "[#_2]\nState=H\nMeterType=,D,,Electricity,\"\"\nCustomer=,D,,B\xC3\xA4"
    "ckerei,\"\"\nAction=,D,,Change,\"\"\n"
    "0.0.0=R,D,16,20481632,\"\"\n1.8.0=R,D,8.1 kWh,000100.0,\"\"\n"
    "\n"
    "[#1_2]\n0.0.0=R,U,16,20481700,\"\"\n1.8.0=R,U,8.1 kWh,,\"\"\n"
    "\n"
    "[#_3]\nState=I\nCustomer=,D,,Office,\"\"\n"
    "\n"
    "[#_4]\nState=U\n0.0.0-nom=,D,16,20481700,\"\"\n1.8.0=R,U,8.1 kWh,,\"\"\n";

const char* const Meterdb::kGas =
    "/ABC4GE4\r\n\x02"
    "7-0:0.0.0*255(30052217)\r\n7-0:3.0.0*255(0012.40*m3)\r\n97.97.0(0000)\r\n1.7.0(7*kW)\r\n!\r\n";
void Meterdb::SetUp() {
    m_folder.Write("meterdb.ini", kSystem);
    m_folder.Write("route.ini", kRoute);
    m_folder.Write("app.ini", "[State]\nDirty=No\n[System]\nLanguage=en\n");
    m_folder.Write("en.ini", "[StringTexts]\nActionMeterChange=change to <0.0.0>\n");
    m_folder.Write("de.ini", "[StringTexts]\nRawNotUsed=offen\nActionMeterReadout=ablesen\n");
    m_folder.Write("gas.txt", kGas);
    m_folder.Write("alarm.txt", kGasAlarm);
    m_folder.Write("electricity.txt", kElectricity);
}

int Meterdb::Run(std::vector<std::string> arguments, Screen::Style style) {
    std::ostringstream out;
    std::ostringstream errors;
    Screen screen(out, errors, style);
    arguments.insert(arguments.begin(), {"--dir", m_folder.Path().string()});
    const int code = RunTerminal(arguments, screen);
    m_out = WithSlashes(WithoutTimes(out.str()));
    m_errors = WithSlashes(errors.str());
    return code;
}

std::string Meterdb::Read(const std::string& name) const {
    return WithoutTimes(m_folder.Read(name));
}

void Meterdb::ExpectRefusal(ExitCode code, std::vector<std::string> arguments, const std::string& sentence) {
    const std::string route = m_folder.Read("route.ini");
    const std::string app = m_folder.Read("app.ini");
    EXPECT_EQ(Run(std::move(arguments)), code);
    EXPECT_THAT(m_errors, testing::HasSubstr(sentence));
    EXPECT_EQ(m_out, "");
    EXPECT_EQ(m_folder.Read("route.ini"), route);
    EXPECT_EQ(m_folder.Read("app.ini"), app);
}

void Meterdb::ExpectFailedSaves(const std::vector<std::string>& arguments) {
    for (const char* name : {"route.ini", "app.ini"}) {
        fs::permissions(m_folder.Path() / name, fs::perms::owner_read);
        ExpectRefusal(kFileFailed, arguments, "save error: " + File(name) + ". Nothing was changed.");
        fs::permissions(m_folder.Path() / name, fs::perms::owner_all);
    }
}
