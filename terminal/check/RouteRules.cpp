// What can be wrong with the data file as a whole: which records there are and how they are numbered.
#include <algorithm>
#include <map>
#include <set>

#include "MeterUtil/IniLine.h"
#include "terminal/check/Rule.h"

namespace Check {
namespace {

constexpr int kMostAppendices = 100;
constexpr int kMostClients = 1000;

std::string HeaderText(RecordKind kind, int meter, int appendix) {
    const std::string number = "_" + std::to_string(meter) + "]";
    if (kind == RecordKind::Store)
        return "[*" + number;
    return kind == RecordKind::Main ? "[#" + number : "[#" + std::to_string(appendix) + number;
}

std::string Bracketed(const TextFile::Section& section) {
    return "[" + std::string(section.name) + "]";
}

// ---- spelling of headers

bool IsTaken(const TextFile& data, const std::string& header) {
    return data.Find(std::string_view(header).substr(1, header.size() - 2)) != nullptr;
}

void FindInexactHeaders(const Subject& subject, Findings& found) {
    for (const RecordHeader& header : subject.headers) {
        if (header.isExact)
            continue;
        const std::string exact = HeaderText(header.kind, header.meter, header.appendix);
        const bool isKnown =
            header.meter >= 1 && (header.kind != RecordKind::Appendix || header.appendix >= 1);
        std::vector<Repair> repairs;
        if (isKnown && !IsTaken(*subject.data, exact))
            repairs = {SetLine{header.section->header, exact}};
        found.At(header.section->header,
                 Bracketed(*header.section) + " is no record" + (isKnown ? ": it would be " + exact : ""),
                 repairs);
    }
}

// ---- appendices

struct Appendices {
    const RecordHeader* main = nullptr;
    std::map<int, const RecordHeader*> byNumber;
};

std::map<int, Appendices> AppendicesOfMeters(const Subject& subject) {
    std::map<int, Appendices> meters;
    for (const RecordHeader& header : subject.headers) {
        if (!header.isExact || header.kind == RecordKind::Store)
            continue;
        Appendices& meter = meters[header.meter];
        if (header.kind == RecordKind::Appendix)
            meter.byNumber.emplace(header.appendix, &header);
        else if (meter.main == nullptr)
            meter.main = &header;
    }
    return meters;
}

// The appendix gets another number, in its header and in the entry that names it.
std::vector<Repair> Renumbered(const TextFile& data, const RecordHeader& header, int number) {
    std::vector<Repair> repairs = {
        SetLine{header.section->header, HeaderText(RecordKind::Appendix, header.meter, number)}};
    const std::string ownKey = "#" + std::to_string(header.appendix);
    if (const auto own = data.Find(header.section->name, ownKey))
        repairs.emplace_back(SetLine{own->line, WithKey(data.Line(own->line), "#" + std::to_string(number))});
    return repairs;
}

// What looks like a gap may be a header that is spelled otherwise, and is put right first.
bool AreExact(const Subject& subject) {
    return std::all_of(subject.headers.begin(), subject.headers.end(),
                       [](const RecordHeader& header) { return header.isExact; });
}

void FindGapsInAppendices(const Subject& subject, Findings& found) {
    const bool areExact = AreExact(subject);
    for (const auto& [number, meter] : AppendicesOfMeters(subject)) {
        int expected = 1;
        for (const auto& [appendix, header] : meter.byNumber) {
            if (appendix != expected && meter.main != nullptr)
                found.At(header->section->header,
                         Bracketed(*header->section) + ", but there is no [#" + std::to_string(expected) +
                             "_" + std::to_string(number) + "]",
                         areExact ? Renumbered(*subject.data, *header, expected) : std::vector<Repair>());
            ++expected;
        }
    }
}

// ---- store meters

std::vector<const RecordHeader*> StoreMeters(const Subject& subject) {
    std::vector<const RecordHeader*> meters;
    for (const RecordHeader& header : subject.headers)
        if (header.kind == RecordKind::Store && header.isExact)
            meters.push_back(&header);
    std::stable_sort(meters.begin(), meters.end(),
                     [](const RecordHeader* a, const RecordHeader* b) { return a->meter < b->meter; });
    return meters;
}

void FindTwice(const std::map<std::string, std::vector<std::size_t>>& numbers, Findings& found) {
    for (const auto& [number, lines] : numbers)
        for (std::size_t i = 1; i < lines.size(); ++i)
            found.At(lines[i], "the number " + number + " is also that of the record in line " +
                                   std::to_string(lines.front()));
}

int MainRecords(const Subject& subject) {
    return static_cast<int>(
        std::count_if(subject.headers.begin(), subject.headers.end(),
                      [](const RecordHeader& header) { return header.kind == RecordKind::Main; }));
}

// Opening renumbers safely only where every appendix can be told to be of its meter.
std::vector<Repair> RenumberedByOpening(const Subject& subject) {
    std::set<int> meters;
    int current = 0;
    for (const RecordHeader& header : subject.headers) {
        if (header.kind == RecordKind::Main && !meters.insert(current = header.meter).second)
            return {};
        if (header.kind == RecordKind::Appendix && header.meter != current)
            return {};
    }
    return {ByOpening{}};
}

}  // namespace

// NOLINTNEXTLINE(readability-function-size): a table, as long as it has rules.
const std::vector<Rule>& RouteRules() {
    static const std::vector<Rule> rules = {
        {"R01", Severity::Error,
         "Records are looked for as [#_3], [#1_3] and [*_3]: spelled otherwise none is found.",
         FindInexactHeaders},
        {"R02", Severity::Error,
         "Records are numbered by the headers of the first column: others keep old numbers.",
         [](const Subject& subject, Findings& found) {
             for (const RecordHeader& header : subject.headers) {
                 const std::string_view line = subject.data->Line(header.section->header);
                 if (MeterText::IsBlank(line.front()))
                     found.At(header.section->header, Bracketed(*header.section) + " stands behind blanks",
                              {SetLine{header.section->header, std::string(MeterText::TrimBlanks(line))}});
             }
         }},
        {"R03", Severity::Warning,
         "Opening numbers the meters anew in their order: whoever knows a meter by its place misses it.",
         [](const Subject& subject, Findings& found) {
             int expected = 1;
             const std::vector<Repair> repairs = RenumberedByOpening(subject);
             for (const RecordHeader& header : subject.headers) {
                 if (header.kind != RecordKind::Main)
                     continue;
                 if (header.meter != expected)
                     found.At(header.section->header,
                              Bracketed(*header.section) + " stands where [#_" + std::to_string(expected) +
                                  "] should",
                              repairs);
                 expected = header.meter + 1;
             }
         }},
        {"R04", Severity::Error,
         "Two meters with one place: after renumbering their appendices cannot be told apart.",
         [](const Subject& subject, Findings& found) {
             std::map<int, std::size_t> lines;
             for (const RecordHeader& header : subject.headers)
                 if (header.kind == RecordKind::Main &&
                     !lines.emplace(header.meter, header.section->header).second)
                     found.At(header.section->header, "meter " + std::to_string(header.meter) +
                                                          " begins in line " +
                                                          std::to_string(lines[header.meter]) + " already");
         }},
        {"R05", Severity::Warning,
         "The number of meters is not what is there; opening corrects it and saves the file.",
         [](const Subject& subject, Findings& found) {
             const auto meters = subject.data->Find("General", "Meters");
             const int records = MainRecords(subject);
             if (!meters || MeterText::ToInt(meters->value) != records)
                 found.At(meters ? meters->line : 0,
                          (meters ? "Meters=" + std::string(meters->value) : "[General] has no Meters") +
                              ", but the file has " + std::to_string(records),
                          {ByOpening{}});
         }},
        {"R06", Severity::Error,
         "Appendices are counted up to the first gap: those behind it are never seen.", FindGapsInAppendices},
        {"R07", Severity::Error, "A meter has up to 100 appendices: those behind are never seen.",
         [](const Subject& subject, Findings& found) {
             for (const auto& [number, meter] : AppendicesOfMeters(subject))
                 if (meter.byNumber.size() > kMostAppendices)
                     found.At(std::next(meter.byNumber.begin(), kMostAppendices)->second->section->header,
                              "meter " + std::to_string(number) + " has " +
                                  std::to_string(meter.byNumber.size()) + " appendices");
         }},
        {"R08", Severity::Error, "An appendix of no meter is never seen.",
         [](const Subject& subject, Findings& found) {
             for (const auto& [number, meter] : AppendicesOfMeters(subject))
                 for (const auto& [appendix, header] : meter.byNumber)
                     if (meter.main == nullptr)
                         found.At(header->section->header, Bracketed(*header->section) +
                                                               ", but there is no [#_" +
                                                               std::to_string(number) + "]");
         }},
        {"R09", Severity::Warning,
         "An appendix that does not stand behind its meter may land in another when meters are renumbered.",
         [](const Subject& subject, Findings& found) {
             int current = 0;
             for (const RecordHeader& header : subject.headers) {
                 if (header.kind == RecordKind::Main)
                     current = header.meter;
                 else if (header.kind == RecordKind::Appendix && header.isExact && header.meter != current)
                     found.At(header.section->header, Bracketed(*header.section) + " stands behind [#_" +
                                                          std::to_string(current) + "]");
             }
         }},
        {"R10", Severity::Warning, "Clients have numbers from 1 to 1000: any other counts as the nearest.",
         [](const Subject& subject, Findings& found) {
             const auto client = subject.data->Find("General", "Client");
             if (client && (!IsInteger(client->value) || MeterText::ToInt(client->value) < 1 ||
                            MeterText::ToInt(client->value) > kMostClients))
                 found.At(client->line, "Client=" + std::string(client->value));
         }},
        {"R11", Severity::Warning,
         "Two records with the number of one meter: by its number neither is found.",
         [](const Subject& subject, Findings& found) { FindTwice(subject.facts.numbers, found); }},
        {"S01", Severity::Error, "Store meters are searched as far as [Store] counts.",
         [](const Subject& subject, Findings& found) {
             const auto meters = subject.data->Find("Store", "Meters");
             const std::size_t records = StoreMeters(subject).size();
             if (records !=
                 static_cast<std::size_t>(std::max(0, MeterText::ToInt(meters ? meters->value : "0"))))
                 found.At(meters ? meters->line : 0,
                          (meters ? "Meters=" + std::string(meters->value) : "[Store] has no Meters") +
                              ", but the file has " + std::to_string(records) + " store meters",
                          {WriteEntry{"Store", "Meters", std::to_string(records)}});
         }},
        {"S02", Severity::Error,
         "Store meters are numbered without gaps: what stands behind the count is never found.",
         [](const Subject& subject, Findings& found) {
             int expected = 1;
             const bool areExact = AreExact(subject);
             for (const RecordHeader* header : StoreMeters(subject)) {
                 std::vector<Repair> repairs;
                 if (areExact)
                     repairs = {SetLine{header->section->header, HeaderText(RecordKind::Store, expected, 0)}};
                 if (header->meter != expected)
                     found.At(
                         header->section->header,
                         Bracketed(*header->section) + " stands for [*_" + std::to_string(expected) + "]",
                         repairs);
                 ++expected;
             }
         }},
        {"S03", Severity::Warning, "Of two store meters with one number only the first is ever mounted.",
         [](const Subject& subject, Findings& found) { FindTwice(subject.facts.storeNumbers, found); }},
    };
    return rules;
}

}  // namespace Check
