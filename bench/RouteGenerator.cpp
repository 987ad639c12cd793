#include "bench/RouteGenerator.h"

#include <iterator>
#include <numeric>

namespace Bench {
namespace {

// One entry a line; each '@' becomes a digit, the same for all digits of one meter number.
constexpr const char* kRecordEntries[] = {
    "State=U",
    "Stop=@@@@@",
    "MeterType=,D,,Electricity,\"type\"",
    "MeterNo=,D,16,100@@@@@,\"number on the name plate\"",
    "CompanyID=G,D,,4711,\"utility\"",
    "Customer=,D,,M. Baker @@@,\"customer of the supply point\"",
    "Contact=T,D,,Phone,\"whom to call before\"",
    "Phone=,D,,0100 5550 @@@,\"only before eight in the evening\"",
    "Town=G,D,,Northbridge,\"district\"",
    "Street=,D,,Mill Lane @@@,\"side entrance\"",
    "Place=,D,,\"Cellar, behind the stairs\",\"Ring twice; the key hangs at the office, hook @@@\"",
    "Action=,D,,,\"\"",
    "Position=,D,S;<Position>,01,\"where the meter hangs\"",
    "Survey_Position=,D,,01:cellar;02:hall;03:\"box outside\",\"\"",
    "Free1=,D,,K-@@@,\"Cellar key,inner side of the board\"",
    "0.0.0=RD,U,\"16,V0.0.0-nom,BW,U---\",,\"number as the meter gives it\"",
    "0.0.0-nom=,D,16,100@@@@@,\"number of the meter expected here\"",
    "MeterID=AD,U,08,,\"identifier\"",
    "C.1=R,U,\"16,NXnot confirmed\",,\"number of the device\"",
    "F.F=RDV,U,\"8,X00000000,BY,U---,NDnone,NCerror\",,\"errors\"",
    "0.9.1=RD,U,,,\"clock\"",
    "0.9.2=RD,U,,,\"calendar\"",
    "1.8.0=RD,U,\"8.1 kWh,C10000;99999,BX,U---\",,\"energy, all tariffs\"",
    "1.8.1=RD,U,\"8.1 kWh,C10000;99999,BX,U---\",,\"energy, day tariff\"",
    "1.8.2=RD,U,\"8.1 kWh,C10000;99999,BX,U---\",,\"energy, night tariff\"",
    "1.8.1-last=,D,8.1 kWh,0@@@@@.6,\"at the last reading\"",
    "1.8.2-last=,D,8.1 kWh,0@@@@@.2,\"at the last reading\"",
    "1.8.1-DIFF=AD,U,6.1 kWh,,\"used since the last reading\"",
    "1.8.2-DIFF=AD,U,6.1 kWh,,\"used since the last reading\"",
    "1.6.0=RD,U,\"6.3 kW,C0;30,U---\",,\"highest demand\"",
    "0.1.0=RD,U,\"2,U---\",,\"billing period\"",
    "0.1.0-last=,D,2,@@,\"billing period at the last reading\"",
    "0.1.0-DTlast=,D,DD.MM.YYYY,20260202,\"day of the last reading\"",
    "0.1.0-calc=A,U,2,,\"billing period expected\"",
    "1.8.1*01=RD,U,\"8.1 kWh,U---\",,\"energy T1, 1 period back\"",
    "1.8.1*02=RD,U,\"8.1 kWh,U---\",,\"energy T1, 2 periods back\"",
    "1.8.1*03=RD,U,\"8.1 kWh,U---\",,\"energy T1, 3 periods back\"",
    "1.8.1*04=RD,U,\"8.1 kWh,U---\",,\"energy T1, 4 periods back\"",
    "1.8.1*05=RD,U,\"8.1 kWh,U---\",,\"energy T1, 5 periods back\"",
    "1.8.1*06=RD,U,\"8.1 kWh,U---\",,\"energy T1, 6 periods back\"",
    "1.8.1*07=RD,U,\"8.1 kWh,U---\",,\"energy T1, 7 periods back\"",
    "1.8.1*08=RD,U,\"8.1 kWh,U---\",,\"energy T1, 8 periods back\"",
    "1.8.1*09=RD,U,\"8.1 kWh,U---\",,\"energy T1, 9 periods back\"",
    "1.8.1*10=RD,U,\"8.1 kWh,U---\",,\"energy T1, 10 periods back\"",
    "1.8.2*01=RD,U,\"8.1 kWh,U---\",,\"energy T2, 1 period back\"",
    "1.8.2*02=RD,U,\"8.1 kWh,U---\",,\"energy T2, 2 periods back\"",
    "1.8.2*03=RD,U,\"8.1 kWh,U---\",,\"energy T2, 3 periods back\"",
    "1.8.2*04=RD,U,\"8.1 kWh,U---\",,\"energy T2, 4 periods back\"",
    "1.8.2*05=RD,U,\"8.1 kWh,U---\",,\"energy T2, 5 periods back\"",
    "1.8.2*06=RD,U,\"8.1 kWh,U---\",,\"energy T2, 6 periods back\"",
    "1.8.2*07=RD,U,\"8.1 kWh,U---\",,\"energy T2, 7 periods back\"",
    "1.8.2*08=RD,U,\"8.1 kWh,U---\",,\"energy T2, 8 periods back\"",
    "Reason=CU,U,S;Reason,,\"why the meter could not be read\"",
    "Remark=?U,U,,,\"what the reader noticed at the meter\"",
    "Func1=,U,,1,\"standard list\"",
    "Func2=,U,,2,\"second list\"",
    "Func3=,U,,100,\"load profile\"",
    "Func4=,U,,101,\"reset of the demand\"",
    "UserID=A,D,,reader07,\"who changed the record last\"",
    "LastChanges=A,D,,20260202101544,\"when the record was changed\"",
};
static_assert(std::size(kRecordEntries) == 60, "what the sizes of the routes are promised with");

constexpr const char* kAppendixEntries[] = {
    "MeterType=,D,,Converter,\"volume converter at the gas meter\"",
    "MeterNo=,D,16,200@@@@@,\"number on the name plate\"",
    "Place=,D,,\"Hall, ground floor\",\"behind the panel with the two screws\"",
    "0.0.0=RD,U,\"16,V0.0.0-nom,BW,U---\",,\"number as the converter gives it\"",
    "0.0.0-nom=,D,16,200@@@@@,\"number of the converter expected here\"",
    "MeterID=AD,U,08,,\"identifier\"",
    "C.1=R,U,\"16,NXnot confirmed\",,\"number of the device\"",
    "F.F=RDV,U,\"8,X00000000,BY,U---,NDnone,NCerror\",,\"errors\"",
    "3.0.0=RD,U,\"8.2 m3,C10000;99999,BX,U---\",,\"volume as measured\"",
    "3.1.0=RD,U,\"8.2 m3,C10000;99999,BX,U---\",,\"volume as converted\"",
    "3.0.0-last=,D,8.2 m3,0@@@@@.61,\"at the last reading\"",
    "3.0.0-DIFF=AD,U,6.2 m3,,\"used since the last reading\"",
    "7.0.0=RD,U,\"4.1 bar,U---\",,\"pressure\"",
    "6.0.0=RD,U,\"3.1 C,U---\",,\"temperature\"",
    "3.0.0*01=RD,U,\"8.2 m3,U---\",,\"volume, 1 period back\"",
    "3.0.0*02=RD,U,\"8.2 m3,U---\",,\"volume, 2 periods back\"",
    "3.0.0*03=RD,U,\"8.2 m3,U---\",,\"volume, 3 periods back\"",
    "Reason=CU,U,S;Reason,,\"why the meter could not be read\"",
    "Func1=,U,,1,\"standard list\"",
    "Func2=,U,,8,\"load profile\"",
};
static_assert(std::size(kAppendixEntries) == 20, "what the sizes of the routes are promised with");

template <std::size_t count>
std::vector<std::string> KeysOf(const char* const (&entries)[count]) {
    std::vector<std::string> keys;
    for (const std::string entry : entries)
        keys.push_back(entry.substr(0, entry.find('=')));
    return keys;
}

// The entry with the digits of this meter.
std::string Filled(std::string entry, Sequence* digits) {
    for (char& c : entry)
        if (c == '@')
            c = static_cast<char>('0' + digits->Below(10));
    return entry;
}

template <std::size_t count>
std::vector<std::string> MakeSection(const std::string& name, const char* const (&entries)[count],
                                     int meter) {
    std::vector<std::string> lines = {"[" + name + "]"};
    Sequence digits(static_cast<std::uint64_t>(meter));
    for (const char* entry : entries)
        lines.push_back(Filled(entry, &digits));
    return lines;
}

void AddLines(std::string* text, const std::vector<std::string>& lines) {
    for (const std::string& line : lines)
        (*text += line) += kLineEnd;
    *text += kLineEnd;
}

}  // namespace

std::string MakeRoute(int meters) {
    std::string text;
    AddLines(&text, {"[General]", "Meters=" + std::to_string(meters), "Client=12", "CompanyID=4711",
                     "DBInfo=Northbridge, March 2026", "Town=Northbridge"});
    for (int meter = 1; meter <= meters; ++meter) {
        AddLines(&text, MakeRecord(meter));
        AddLines(&text, MakeSection(AppendixSection(meter), kAppendixEntries, meter));
    }
    return text;
}

const std::vector<std::string>& RecordKeys() {
    static const std::vector<std::string> keys = KeysOf(kRecordEntries);
    return keys;
}

const std::vector<std::string>& AppendixKeys() {
    static const std::vector<std::string> keys = KeysOf(kAppendixEntries);
    return keys;
}

std::string RecordSection(int meter) {
    return "#_" + std::to_string(meter);
}

std::string AppendixSection(int meter) {
    return "#1_" + std::to_string(meter);
}

std::vector<std::string> MakeRecord(int meter) {
    return MakeSection(RecordSection(meter), kRecordEntries, meter);
}

std::string MakeReading(int meter, const std::string& key) {
    const std::uint64_t seed =
        std::accumulate(key.begin(), key.end(), static_cast<std::uint64_t>(meter),
                        [](std::uint64_t sum, char c) { return sum * 31 + static_cast<unsigned char>(c); });
    Sequence digits(seed);
    return Filled("0@@@@@.@", &digits);
}

}  // namespace Bench
