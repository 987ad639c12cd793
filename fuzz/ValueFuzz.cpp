// Formatting, checking and placeholders over any value, definition and text, with a record that they may
// name.
#include "MeterDatabase/MeterDatabase.h"
#include "fuzz/MemoryDisk.h"
#include "fuzz/Script.h"

namespace {

constexpr std::string_view kSystemIni =
    "[System]\nAppFile=app.ini\nRawFile=raw.dat\nDataFile=data.ini\nParameterPath=parameters\n";

class Values {
public:
    explicit Values(Script& script) {
        MemoryDisk::Write("system.ini", kSystemIni);
        MemoryDisk::Write("data.ini", "[#_1]\nState=U\n" + std::string(script.File()));
        MemoryDisk::Write("parameters/p.par", script.File());
        m_database.SetIniFile(L"system.ini");
        Require(m_database.OpenDataFile(false), "the route opens");
        m_database.SetActualPosition(1);
    }

    void Do(Script& script) {
        const std::string operation = script.Word();
        const std::string first = script.Word();
        const std::string second = script.Word();
        const int number = script.Number();
        switch (operation.empty() ? ' ' : operation[0]) {
            case 'f':
                return Format(first, second);
            case 'c':
                return Check(first, second);
            case 's':
                return Substitute(first, number);
            case 'p':
                return FillPlaceholder(number, first, second);
            case 'd':
                return FormatNumber(MeterText::ToDouble(first), MeterText::ToInt(second), number);
            default:
                return;
        }
    }

private:
    void Format(const std::string& value, const std::string& definition) {
        Output out(256);
        out.Data()[0] = '\0';
        m_database.FormatValue(out.Data(), value.c_str(), definition.c_str());
        const std::string formatted = out.Text();
        // In place it gives the same.
        Output same(256);
        MeterText::CopyText(same.Data(), same.Size(), value);
        if (value.size() < 256) {
            m_database.FormatValue(same.Data(), same.Data(), definition.c_str());
            Require(same.Text() == formatted || formatted.empty(), "a value is formatted in place");
        }
    }

    void Check(const std::string& value, const std::string& definition) {
        const int result = m_database.CheckValue(value.c_str(), definition.c_str());
        Require(result >= 0 && result <= 3, "a check has four results");
    }

    void Substitute(const std::string& text, int number) {
        Output whole(1 << 16);
        Output cut(1 + static_cast<int>(static_cast<unsigned>(number) % 64));
        m_database.Substitute(whole.Data(), text.c_str(), whole.Size());
        m_database.Substitute(cut.Data(), text.c_str(), cut.Size());
        Require(cut.Text().size() < static_cast<std::size_t>(cut.Size()), "a text is cut to its buffer");
        static_cast<void>(whole.Text());
    }

    void FillPlaceholder(int code, const std::string& argument, const std::string& format) {
        Output out(256);
        m_database.FormatSubstValue(out.Data(), code, argument.c_str(), format.c_str());
        static_cast<void>(out.Text());
    }

    void FormatNumber(double value, int digits, int decimals) {
        Output out(22);
        m_database.FormatDoubleToString(out.Data(), value, digits, decimals);
        static_cast<void>(out.Text());
    }

    CMeterDatabase m_database{MemoryDisk::kDirectory};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Script script(data, size);
    MemoryDisk::Format();
    Values values(script);
    while (script.Next())
        values.Do(script);
    return 0;
}
