// The whole database, driven over hostile files: any operations in any order. What was saved opens again with
// the same meters.
#include "MeterDatabase/MeterDatabase.h"
#include "Platform/Platform.h"
#include "fuzz/MemoryDisk.h"
#include "fuzz/Script.h"
#include "tests/support/FakeParser.h"

namespace {

constexpr std::string_view kSystemIni =
    "[System]\nAppFile=app.ini\nRawFile=raw.dat\nDataFile=data.ini\nRawPath=spool\nParameterPath="
    "parameters\n";
constexpr int kSize = 512;

class Session {
public:
    explicit Session(Script& script) {
        MemoryDisk::Write("system.ini", std::string(kSystemIni) + std::string(script.File()));
        MemoryDisk::Write("data.ini", script.File());
        MemoryDisk::Write("app.ini", script.File());
        MemoryDisk::Write("raw.dat", script.File());
        m_database.SetIniFile(L"system.ini");
        Open();
    }

    void Do(Script& script) {
        const std::string operation = script.Word();
        const std::string first = script.Word();
        const std::string second = script.Word();
        const std::string third = script.Word();
        const char letter = operation.empty() ? ' ' : operation[0];
        Move(letter, MeterText::ToInt(first));
        Route(letter, first);
        Values(letter, first, second, third);
        Fields(letter, MeterText::ToInt(first), second, MeterText::ToInt(third));
        Store(letter, first, second);
        Texts(letter, first, second);
        CheckPlace();
    }

    // Opening again finds the meters that were saved.
    void Reopen() {
        const int meters = m_database.GetNumberOfMeters();
        Require(m_database.UpdateDatabaseForeground(), "the route is saved");
        Open();
        Require(m_database.GetNumberOfMeters() == meters, "the same meters are found again");
        Require(m_database.UpdateDatabaseForeground(), "the route is saved");
        const std::string once = MemoryDisk::Read("data.ini");
        Open();
        Require(MemoryDisk::Read("data.ini") == once, "a file in order stays as it is");
    }

private:
    void Open() {
        Require(m_database.OpenDataFile(false), "the route opens");
        Require(!m_database.IniFileError(), "without an error");
        CheckPlace();
    }

    void CheckPlace() {
        const int meters = m_database.GetNumberOfMeters();
        const int meter = m_database.GetActualPosition();
        Require(meter >= 0 && meter <= meters, "the current meter is one of the route");
        const int appendix = m_database.GetAppendix();
        Require(appendix == 0 || m_database.SetAppendix(appendix), "the current appendix exists");
    }

    void Move(char letter, int number) {
        if (letter == 'm')
            m_database.SetActualPosition(number);
        else if (letter == 'x' && m_database.SetAppendix(number))
            Require(number < 1 || m_database.GetAppendix() == number, "the appendix is current");
    }

    void Route(char letter, const std::string& type) {
        const int meters = m_database.GetNumberOfMeters();
        if (letter == 'a') {
            const int meter = m_database.AppendNewMeterToDataFile(type.c_str());
            Require(meter == 0 || m_database.GetActualPosition() == meter, "the new meter is current");
            m_database.GetMeterTypeFromAppendSection(type.c_str(), m_out.Data(), kSize);
        } else if (letter == 'd' && m_database.DeleteActualMeter()) {
            Require(m_database.GetNumberOfMeters() == std::max(meters - 1, 0), "one meter less");
        } else if (letter == 'b') {
            m_database.BackupRecord();
        } else if (letter == 'r') {
            m_database.RestoreRecord();
        } else if (letter == 'X') {
            m_database.DeleteAllData();
        } else if (letter == 'O') {
            Reopen();
        } else if (letter == 'U') {
            m_database.UpdateDatabase();
        }
    }

    void Values(char letter, const std::string& name, const std::string& second, const std::string& third) {
        Output definition(kSize);
        switch (letter) {
            case 'v':
                m_database.GetMeterValue(name.c_str(), m_out.Data(), kSize, m_out.Data(), 3,
                                         definition.Data(), kSize, m_out.Data(), 1, m_out.Data(), kSize);
                return;
            case 'w':
                m_database.SetMeterValue(name.c_str(), nullptr, second.c_str(), nullptr, third.c_str(),
                                         nullptr);
                return;
            case 'W':
                m_database.SetMeterValueMain(name.c_str(), third.c_str(), nullptr, second.c_str(), nullptr,
                                             second.c_str());
                return;
            case 'k':
                m_database.DeleteMeterValue(name.c_str());
                return;
            case 'p': {
                FakeParser parser;
                parser.m_answer[name] = second;
                parser.m_answer["0.0.0"] = third;
                m_database.StartParser(&parser);
                return;
            }
            case 'A': {
                FakeParser parser;
                m_database.StartAutoFields(&parser);
                return;
            }
            case 'c':
                m_database.ClearFields(MeterText::ToInt(name));
                return;
            case 'i':
                m_database.SetMeterItem(name.c_str(), second.c_str());
                m_database.GetMeterItemMain(name.c_str(), m_out.Data(), kSize);
                return;
            case 'I':
                m_database.GetMeterValueByIndex(MeterText::ToInt(name), definition.Data(), m_out.Data(),
                                                kSize, m_out.Data(), kSize, m_out.Data(), kSize, m_out.Data(),
                                                kSize, m_out.Data(), kSize);
                m_database.GetRecordData(MeterText::ToInt(name), m_out.Data(), kSize);
                return;
            default:
                return;
        }
    }

    void Fields(char letter, int kind, const std::string& variant, int index) {
        if (letter != 'f' && letter != 'F')
            return;
        const int fields = m_database.GetDataFields(nullptr, kind, variant.c_str());
        Require(fields >= 0 && fields <= 200, "a list has at most 200 fields");
        const int field = fields == 0 ? 0 : std::abs(index % fields);
        Output name(64);
        if (letter == 'F') {
            m_database.SetDataFieldValue(kind, variant.c_str(), field, variant.c_str(), nullptr,
                                         variant.c_str());
            return;
        }
        m_database.GetDataField(nullptr, kind, variant.c_str(), field, m_out.Data(), kSize, m_out.Data(),
                                kSize, m_out.Data(), 4);
        m_database.GetDataFieldInfo(kind, variant.c_str(), field, m_out.Data(), kSize, m_out.Data(), kSize,
                                    m_out.Data(), kSize, m_out.Data(), 2, m_out.Data(), kSize, m_out.Data(),
                                    kSize);
        m_database.GetDataFieldName(kind, variant.c_str(), field, name.Data(), 64);
    }

    void Store(char letter, const std::string& first, const std::string& second) {
        const int store = MeterText::ToInt(first);
        switch (letter) {
            case 's':
                Require(
                    m_database.SearchStoreMeter(first.c_str()) <= std::max(m_database.GetStoreMeters(), 0),
                    "a store meter that was found is one of them");
                m_database.GetStoreValue(store, second.c_str(), m_out.Data(), kSize, m_out.Data(), kSize,
                                         m_out.Data(), kSize, m_out.Data(), kSize, m_out.Data(), kSize);
                return;
            case 'S':
                m_database.AppendStoreFields(store);
                m_database.CheckStoreFields();
                return;
            case 'D':
                m_database.DeleteStoreFields();
                return;
            case 'G': {
                MemoryDisk::Write("spool/a", second);
                m_database.CopyRawDataFiles(Platform::WideFromNarrow(first).c_str());
                return;
            }
            case 'E':
                m_database.ExtractRawDataFile(first.c_str(), L"out.dat");
                return;
            default:
                return;
        }
    }

    void Texts(char letter, const std::string& first, const std::string& second) {
        wchar_t wide[kSize];
        switch (letter) {
            case 'z':
                m_database.SetRecordState(first.c_str());
                m_database.GetRecordState(m_out.Data());
                m_database.GetRecordStateText(wide);
                m_database.GetPlantStateText(second.c_str(), wide);
                return;
            case 'Z':
                m_database.MeterChangeOrderAvailable();
                m_database.GetMeterAction(m_out.Data());
                m_database.GetMeterActionText(m_out.Data(), kSize);
                return;
            case 'u':
                m_database.SetActualUser(first.c_str());
                m_database.SetUser();
                return;
            case 'g':
                m_database.SetGeneralData(first.c_str(), second.c_str());
                m_database.GetGeneralData(second.c_str(), m_out.Data(), kSize);
                m_database.DeleteGeneralData(second.c_str());
                return;
            case 'h':
                m_database.SetDBGeneralData(first.c_str(), second.c_str());
                m_database.GetDBGeneralData(second.c_str(), m_out.Data(), kSize);
                m_database.GetClient();
                return;
            case 't':
                m_database.GetAppendTypes();
                m_database.GetAppendType(MeterText::ToInt(first), m_out.Data(), kSize, m_out.Data(), kSize);
                return;
            case 'P':
                m_database.AppendToParameterFilesInAppFile(first.c_str(), second.c_str(),
                                                           Platform::WideFromNarrow(second).c_str());
                return;
            case 'l':
                m_database.SetLanguageCode(first.c_str());
                return;
            default:
                return;
        }
    }

    CMeterDatabase m_database{MemoryDisk::kDirectory};
    Output m_out{kSize};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Script script(data, size);
    MemoryDisk::Format();
    Session session(script);
    while (script.Next())
        session.Do(script);
    session.Reopen();
    return 0;
}
