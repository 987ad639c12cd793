#include "terminal/simulate/Simulation.h"

#include <algorithm>
#include <array>
#include <vector>

#include "MeterUtil/Text.h"
#include "terminal/simulate/Supply.h"

namespace Simulate {
namespace {

constexpr const char* kLineEnd = "\r\n";
constexpr int kClient = 12;
constexpr int kCounter = 33;  // of billing periods
constexpr std::size_t kMetersAStep = 100;

constexpr const char* kTowns[] = {"Northbridge", "Eastfield", "Weirham", "Old Harbour", "Stonegate"};
constexpr const char* kStreets[] = {"Mill Lane",     "School Walk",    "Harbour Road", "Weir Street",
                                    "Church Street", "Station Street", "Long Row",     "Quarry Path",
                                    "Meadow Way",    "Ropewalk",       "Lime Avenue",  "Market Square"};
constexpr const char* kInitials[] = {"A.", "B.", "D.", "E.", "F.", "H.", "J.", "K.", "L.", "M.", "P.", "S."};
constexpr const char* kNames[] = {"Baker",       "Carver", "Dyer",   "Fisher", "Gardner", "Hooper",
                                  "K\xC3\xBChn", "Mason",  "Miller", "Potter", "Sawyer",  "Shepherd",
                                  "Smith",       "Tanner", "Turner", "Weaver"};
constexpr const char* kFirms[] = {"Bakery at the mill", "Village school", "Sawmill", "Boathouse",
                                  "Town hall",          "Print shop",     "Dairy",   "Fire station"};
constexpr const char* kPlaces[] = {"\"Cellar, behind the stairs\"",
                                   "\"Hall, first floor\"",
                                   "Hall cupboard",
                                   "\"Yard, box beside the gate\"",
                                   "\"Cellar, plant room\"",
                                   "Cellar",
                                   "\"Landing, third floor\"",
                                   "Box outside"};
constexpr const char* kHints[] = {"Ring twice", "Key at the office, hook 117", "Dog in the yard",
                                  "Open from 7 to 15 h", "Report at the gate"};
constexpr const char* kReaders[] = {"reader03", "reader07", "reader11", "fitter02"};
constexpr const char* kReasons[] = {"01", "02", "03", "04", "99"};

// ---- a meter

enum class Trouble { None, OverLimit, Error, OtherMeter, Leak };

struct Meter {
    int place = 0;  // on the route
    Kind kind = Kind::SingleTariff;
    std::int64_t number = 0;
    char state = 'U';
    std::string action;
    Trouble trouble = Trouble::None;
    std::vector<Register> registers;

    std::string town;
    std::string street;
    std::string customer;
    std::string site;
    std::string hint;
    std::string reader;
    std::string changed;  // when the record was changed last
    std::string reason;   // why it could not be read

    bool IsRead() const { return state == 'H'; }
};

// A street with the meters of its houses one after the other.
class Walk {
public:
    explicit Walk(Random* random) : m_random(random) { NextStreet(); }

    void NextMeter(Meter* meter) {
        if (m_metersLeft == 0)
            NextHouse();
        --m_metersLeft;
        meter->town = m_town;
        meter->street = m_street + " " + std::to_string(m_house);
        meter->customer = m_random->Happens(60) ? std::string(m_random->OneOf(kFirms)) : m_household;
        meter->site = m_random->OneOf(kPlaces);
        meter->hint = m_random->Happens(120) ? m_random->OneOf(kHints) : "";
    }

private:
    void NextStreet() {
        m_town = m_random->OneOf(kTowns);
        m_street = m_random->OneOf(kStreets);
        m_house = 0;
        m_housesLeft = static_cast<int>(m_random->Between(6, 30));
    }

    void NextHouse() {
        if (m_housesLeft-- == 0)
            NextStreet();
        m_house += static_cast<int>(m_random->Between(1, 2));
        m_metersLeft = static_cast<int>(m_random->Between(1, 4));
        m_household = std::string(m_random->OneOf(kInitials)) + " " + m_random->OneOf(kNames);
    }

    Random* m_random;
    std::string m_town;
    std::string m_street;
    std::string m_household;
    int m_house = 0;
    int m_housesLeft = 0;
    int m_metersLeft = 0;
};

Kind DrawKind(Random* random) {
    const std::int64_t draw = random->Below(100);
    if (draw < 32)
        return Kind::TwoTariffs;
    if (draw < 60)
        return Kind::SingleTariff;
    if (draw < 73)
        return Kind::Gas;
    return draw < 91 ? Kind::Water : Kind::Heat;
}

// The first digit tells the type; the others are met once only, in an order that is none to the eye.
std::int64_t NumberOf(Kind kind, int place) {
    constexpr std::int64_t kNumbers = 10000000;
    constexpr std::int64_t kStep = 7368787;  // no divisor in common with them
    const std::int64_t first = kind == Kind::Gas ? 3 : kind == Kind::Water ? 4 : kind == Kind::Heat ? 7 : 1;
    return first * kNumbers + (place * kStep) % kNumbers;
}

char DrawState(int done, Random* random) {
    if (random->Below(100) < done)
        return random->Happens(35) ? 'C' : 'H';
    if (random->Happens(15))
        return 'M';
    return random->Happens(40) ? 'A' : 'U';
}

std::string DrawAction(Kind kind, Random* random) {
    const bool isElectricity = kind == Kind::SingleTariff || kind == Kind::TwoTariffs;
    const std::int64_t draw = random->Below(1000);
    if (draw < 35 && isElectricity)
        return "Change";
    if (draw < 60)
        return "Changeable";
    if (draw < 75 && isElectricity)
        return "SwitchOff";
    return draw < 85 ? "Unmount" : "";
}

Trouble DrawTrouble(Kind kind, Random* random) {
    const std::int64_t draw = random->Below(1000);
    if (draw < 25)
        return Trouble::OverLimit;
    if (draw < 36)
        return kind == Kind::Water ? Trouble::Leak : Trouble::Error;
    return draw < 40 ? Trouble::OtherMeter : Trouble::None;
}

std::string DrawTime(Random* random) {
    const auto part = [random](int first, int last) {
        return MeterText::ZeroPadded(random->Between(first, last), 2);
    };
    return "202603" + part(2, 6) + part(8, 16) + part(0, 59) + part(0, 59);
}

Meter DrawMeter(int place, const Request& request, Walk* walk, Random* random) {
    Meter meter;
    meter.place = place;
    meter.kind = DrawKind(random);
    meter.number = NumberOf(meter.kind, place);
    meter.registers = MakeRegisters(meter.kind, random);
    meter.state = DrawState(request.done, random);
    meter.action = DrawAction(meter.kind, random);
    meter.trouble = DrawTrouble(meter.kind, random);
    walk->NextMeter(&meter);
    meter.reader = random->OneOf(kReaders);
    meter.changed = meter.IsRead() || meter.state == 'C' ? DrawTime(random) : "20260202101544";
    meter.reason = meter.state == 'C' ? random->OneOf(kReasons) : "";
    if (meter.trouble == Trouble::OverLimit)
        for (Register& counted : meter.registers)
            counted.now = counted.upper + counted.upper / 50;
    return meter;
}

// ---- its record

class Record {
public:
    Record(std::string* text, const std::string& header) : m_text(*text) {
        m_text.append("[").append(header).append("]").append(kLineEnd);
    }
    ~Record() { m_text += kLineEnd; }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    void Item(const std::string& key, const std::string& value) {
        m_text.append(key).append("=").append(value).append(kLineEnd);
    }

    void Value(const std::string& key, const char* attributes, const std::string& status,
               const std::string& definition, const std::string& value, const std::string& text = "") {
        const bool isQuoted = definition.find(',') != std::string::npos;
        const char* quote = isQuoted ? "\"" : "";
        Item(key, std::string(attributes)
                      .append(",")
                      .append(status)
                      .append(",")
                      .append(quote)
                      .append(definition)
                      .append(quote)
                      .append(",")
                      .append(value)
                      .append(",\"")
                      .append(text)
                      .append("\""));
    }

private:
    std::string& m_text;
};

// A value that the meter is asked for: read with a status, or still empty.
void AddReading(const Meter& meter, Record* record, const std::string& key, const char* attributes,
                const std::string& definition, const std::string& value, const char* status = "DR") {
    record->Value(key, attributes, meter.IsRead() ? status : "U", definition, meter.IsRead() ? value : "");
}

void AddIdentity(const Meter& meter, Record* record) {
    const bool isOther = meter.trouble == Trouble::OtherMeter;
    const std::string number = std::to_string(meter.number);
    const std::string sent = std::to_string(meter.number + (isOther ? 9 : 0));
    AddReading(meter, record, "0.0.0", "RD", "16,V0.0.0-nom,BW,U---", sent, isOther ? "W" : "DR");
    record->Value("0.0.0-nom", "", "D", "16", number);
    const bool isKnown = meter.IsRead() && !isOther;
    record->Value("MeterID", "AD", isKnown ? "D" : "U", "08", isKnown ? number : "");
}

void AddCondition(const Meter& meter, Record* record) {
    switch (meter.kind) {
        case Kind::TwoTariffs:
        case Kind::SingleTariff: {
            const bool hasError = meter.trouble == Trouble::Error;
            AddReading(meter, record, "F.F", "RDV", "8,X00000000,BY,U---,NDnone,NCerror",
                       hasError ? "00000100" : "00000000", hasError ? "CR" : "DR");
            break;
        }
        case Kind::Water: {
            const bool leaks = meter.trouble == Trouble::Leak;
            AddReading(meter, record, "97.97.0", "RD", "B;battery low;leak;reversed;dry,X0000,BC,U---,NDnone",
                       leaks ? "0100" : "0000", leaks ? "CR" : "DR");
            record->Value("97.97.9", "RD", leaks && meter.IsRead() ? "DR" : "U", "DD.MM.YYYY,BD",
                          leaks && meter.IsRead() ? "20260227" : "");
            break;
        }
        case Kind::Gas: {
            const bool hasError = meter.trouble == Trouble::Error;
            AddReading(meter, record, "97.97.0", "RD",
                       "B;battery low;removed;reversed;magnet,X0000,U---,NDnone", hasError ? "1000" : "0000",
                       hasError ? "CR" : "DR");
            break;
        }
        case Kind::Heat:
            break;
    }
}

std::string RangeOf(const Register& counted) {
    return "C" + counted.Text(counted.lower) + ";" + counted.Text(counted.upper);
}

void AddRegisters(const Meter& meter, Record* record) {
    const bool isOver = meter.trouble == Trouble::OverLimit;
    for (const Register& counted : meter.registers)
        AddReading(meter, record, counted.name, "RD", counted.Format() + "," + RangeOf(counted) + ",BX,U---",
                   counted.Text(counted.now), isOver ? "CR" : "DR");
    for (const Register& counted : meter.registers) {
        Register difference = counted;
        difference.digits = 1;
        record->Value(counted.name + "-last", "", "D", counted.Format(), counted.Text(counted.last));
        record->Value(
            counted.name + "-DIFF", "AD", meter.IsRead() ? "D" : "U",
            std::to_string(counted.digits) + "." + std::to_string(counted.decimals) + " " + counted.unit,
            meter.IsRead() ? difference.Text(counted.now - counted.last) : "");
    }
}

std::string HistoryName(const Register& counted, int month) {
    return counted.name + "*" + MeterText::ZeroPadded(month, 2);
}

void AddHistory(const Meter& meter, Record* record) {
    const std::string counter = std::to_string(kCounter);
    AddReading(meter, record, "0.1.0", "RD", "2,U---", counter);
    for (const Register& counted : meter.registers)
        for (int month = 1; month <= kMonths; ++month)
            AddReading(meter, record, HistoryName(counted, month), "RD", counted.Format() + ",U---",
                       counted.Text(counted.history[static_cast<std::size_t>(month - 1)]));
}

void AddFunctions(const Meter& meter, Record* record) {
    const bool isElectricity = meter.kind == Kind::TwoTariffs || meter.kind == Kind::SingleTariff;
    const std::vector<int> codes = isElectricity              ? std::vector<int>{1, 2, 8, 100, 101}
                                   : meter.kind == Kind::Gas  ? std::vector<int>{1, 5, 11}
                                   : meter.kind == Kind::Heat ? std::vector<int>{1, 2}
                                                              : std::vector<int>{1, 11};
    int number = 0;
    for (const int code : codes) {
        ++number;
        record->Value("Func" + std::to_string(number), "", meter.IsRead() && code == 1 ? "DR" : "U", "",
                      std::to_string(code));
    }
}

// The meter that takes the place of one that is to be changed.
std::int64_t NewNumber(int place) {
    constexpr std::int64_t kFirst = 20000000;
    return kFirst + place;
}

void AddNewMeter(const Meter& meter, std::string* text) {
    Record record(text, "#1_" + std::to_string(meter.place));
    const std::string number = std::to_string(NewNumber(meter.place));
    record.Value("#1", "", "D", "", "New meter");
    record.Value("MeterNo", "", "D", "16", number);
    record.Value("0.0.0", "RD", "U", "16,V0.0.0-nom,BW,U---", "");
    record.Value("0.0.0-nom", "", "D", "16", number);
    record.Value("MeterID", "AD", "U", "08", "");
    record.Value("1.8.0", "RD", "U", "8.1 kWh,C0;50,BX,U---", "");
    record.Value("Func1", "", "U", "", "1");
}

void AddMeter(const Meter& meter, std::string* text) {
    Record record(text, "#_" + std::to_string(meter.place));
    record.Item("State", std::string(1, meter.state));
    record.Item("Stop", std::to_string(meter.place));
    record.Value("MeterType", "", "D", "", TypeOf(meter.kind));
    record.Value("MeterNo", "", "D", "16", std::to_string(meter.number));
    record.Value("CompanyID", "G", "D", "", "4711");
    record.Value("Customer", "", "D", "", meter.customer);
    record.Value("Town", "G", "D", "", meter.town);
    record.Value("Street", "", "D", "", meter.street);
    record.Value("Place", "", "D", "", meter.site, meter.hint);
    record.Value("Action", "", "D", "", meter.action);
    AddIdentity(meter, &record);
    AddCondition(meter, &record);
    AddRegisters(meter, &record);
    AddHistory(meter, &record);
    record.Value("Reason", "CU", meter.reason.empty() ? "U" : "D", "S;Reason", meter.reason);
    record.Value("Remark", "?U", "U", "", "");
    AddFunctions(meter, &record);
    record.Value("UserID", "A", "D", "", meter.reader);
    record.Value("LastChanges", "A", "D", "", meter.changed);
}

void AddStoreMeter(int place, std::size_t number, std::string* text) {
    Record record(text, "*_" + std::to_string(number));
    record.Value("MeterType", "", "D", "", "Electricity");
    record.Value("0.0.0-nom", "S", "D", "16", std::to_string(NewNumber(place)));
    record.Value("0.0.0", "RDS", "U", "16,V0.0.0-nom,BW,U---", "");
    record.Value("1.8.0", "RDS", "U", "8.1 kWh,C0;50,BX,U---", "");
    record.Value("CalibratedUntil", "S", "D", "YYYY-MM", "203412");
    record.Value("Func1", "", "U", "", "1");
}

// ---- what it answers

void AddLine(const std::string& name, const std::string& value, std::string* body) {
    body->append(name).append("(").append(value).append(")").append(kLineEnd);
}

// A data readout with its block check character.
std::string ReadoutOf(const Meter& meter) {
    constexpr char kStart = '\x02';
    constexpr char kEnd = '\x03';
    std::string body;
    AddLine("0.0.0", std::to_string(meter.number + (meter.trouble == Trouble::OtherMeter ? 9 : 0)), &body);
    if (meter.kind == Kind::TwoTariffs || meter.kind == Kind::SingleTariff)
        AddLine("F.F", meter.trouble == Trouble::Error ? "00000100" : "00000000", &body);
    if (meter.kind == Kind::Gas)
        AddLine("97.97.0", meter.trouble == Trouble::Error ? "1000" : "0000", &body);
    if (meter.kind == Kind::Water)
        AddLine("97.97.0", meter.trouble == Trouble::Leak ? "0100" : "0000", &body);
    AddLine("0.1.0", std::to_string(kCounter), &body);
    for (const Register& counted : meter.registers) {
        AddLine(counted.name, counted.Text(counted.now) + "*" + counted.unit, &body);
        for (int month = 1; month <= kMonths; ++month)
            AddLine(HistoryName(counted, month),
                    counted.Text(counted.history[static_cast<std::size_t>(month - 1)]) + "*" + counted.unit,
                    &body);
    }
    body.append("!").append(kLineEnd).push_back(kEnd);
    char check = 0;
    for (const char c : body)
        check = static_cast<char>(check ^ c);
    return "/XYZ5SIM" + std::string(kLineEnd) + kStart + body + check;
}

}  // namespace

void MakeRoute(const Request& request, const Sink& sink) {
    Random random(request.seed);
    Walk walk(&random);
    std::string text;
    {
        Record general(&text, "General");
        general.Item("Meters", std::to_string(request.meters));
        general.Item("Client", std::to_string(kClient));
        general.Item("CompanyID", "4711");
        general.Item("DBInfo", "Made-up route of " + std::to_string(request.meters) + " meters, March 2026");
        general.Item("Town", "Northbridge");
    }
    std::vector<int> changes;
    for (int place = 1; place <= request.meters; ++place) {
        const Meter meter = DrawMeter(place, request, &walk, &random);
        AddMeter(meter, &text);
        if (meter.action == "Change") {
            AddNewMeter(meter, &text);
            changes.push_back(place);
        }
        if (!meter.IsRead())
            sink.readout(std::to_string(meter.number), ReadoutOf(meter));
        if (static_cast<std::size_t>(place) % kMetersAStep == 0) {
            sink.route(text);
            text.clear();
            sink.progress(static_cast<double>(place) / request.meters);
        }
    }
    {
        Record store(&text, "Store");
        store.Item("Meters", std::to_string(changes.size()));
    }
    for (std::size_t i = 0; i < changes.size(); ++i)
        AddStoreMeter(changes[i], i + 1, &text);
    sink.route(text);
}

}  // namespace Simulate
