#include "terminal/check/Checker.h"

#include <algorithm>
#include <tuple>

#include "MeterUtil/Text.h"

namespace Check {
namespace {

constexpr std::size_t kLinesAStep = 10000;  // between two reports of progress
constexpr std::size_t kRecordsAStep = 200;

// The rules of one kind.
template <typename Test>
struct Tests {
    Tests() {
        for (const Rule* rule : AllRules())
            if (const Test* test = std::get_if<Test>(&rule->test))
                all.push_back({rule, *test});
    }

    std::vector<std::pair<const Rule*, Test>> all;
};

class Checker {
public:
    Checker(Subject& subject, const std::function<void(double)>& progress)
        : m_subject(subject), m_progress(progress) {}

    std::vector<Finding> All() {
        LookAtLines();
        LookAtRecords();
        LookAtRest();
        return InOrder();
    }

private:
    void Report(double share) const {
        if (m_progress)
            m_progress(share);
    }

    void LookAtLines();
    void LookAtRecords();
    void LookAtRecord(const Record& record);
    void Gather(const Record& record);
    void LookAtRest();
    std::vector<Finding> InOrder();

    Subject& m_subject;
    const std::function<void(double)>& m_progress;
    Findings m_found;
    const Tests<LineTest> m_lineTests;
    const Tests<ValueTest> m_valueTests;
    const Tests<RecordTest> m_recordTests;
};

void Checker::LookAtLines() {
    for (const TextFile* file : m_subject.Files()) {
        for (std::size_t line = 1; line <= file->Lines(); ++line) {
            const LineView view{*file, line, file->Line(line)};
            for (const auto& [rule, test] : m_lineTests.all) {
                m_found.LookAt(*rule, *file, line);
                test(view, m_found);
            }
            if (line % kLinesAStep == 0)
                Report(0.3 * static_cast<double>(line) / static_cast<double>(file->Lines()));
        }
        for (const auto& [rule, test] : Tests<FileTest>().all) {
            m_found.LookAt(*rule, *file, 0);
            test(*file, m_found);
        }
    }
}

void Checker::LookAtRecord(const Record& record) {
    for (const auto& [rule, test] : m_recordTests.all) {
        m_found.LookAt(*rule, record.file, record.section.header);
        test({m_subject, record}, m_found);
    }
    for (const Value& value : record.Values()) {
        const ValueView view{m_subject, record, value};
        for (const auto& [rule, test] : m_valueTests.all) {
            m_found.LookAt(*rule, record.file, value.entry.line);
            test(view, m_found);
        }
    }
}

// What other files say about records is looked at behind them all.
void Checker::Gather(const Record& record) {
    for (const TextFile::Entry& entry : record.Entries())
        m_subject.facts.names.insert(Folded(entry.key));
    std::string_view number = MeterText::TrimBlanks(record.Number());
    number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
    if (number.empty() || record.kind == RecordKind::Template)
        return;
    auto& numbers = record.kind == RecordKind::Store ? m_subject.facts.storeNumbers : m_subject.facts.numbers;
    numbers[Folded(number)].push_back(record.section.header);
}

void Checker::LookAtRecords() {
    std::size_t done = 0;
    for (const auto& [file, headers] : {std::pair(m_subject.data.get(), &m_subject.headers),
                                        std::pair(m_subject.system.get(), &m_subject.templates)}) {
        for (const RecordHeader& header : *headers) {
            const Record record(*file, *header.section, header.kind, header.meter, header.appendix);
            LookAtRecord(record);
            Gather(record);
            if (++done % kRecordsAStep == 0)
                Report(0.3 + 0.7 * static_cast<double>(done) / static_cast<double>(m_subject.headers.size()));
        }
    }
}

void Checker::LookAtRest() {
    for (const Rule* rule : AllRules()) {
        if (const RouteTest* test = std::get_if<RouteTest>(&rule->test);
            test != nullptr && m_subject.data != nullptr &&
            m_subject.data->GetState() == TextFile::State::Loaded) {
            m_found.LookAt(*rule, *m_subject.data, 0);
            (*test)(m_subject, m_found);
        }
        if (const SystemTest* systemTest = std::get_if<SystemTest>(&rule->test);
            systemTest != nullptr && m_subject.system != nullptr) {
            m_found.LookAt(*rule, *m_subject.system, 0);
            (*systemTest)(*m_subject.system, m_subject, m_found);
        }
    }
}

std::vector<Finding> Checker::InOrder() {
    const std::vector<const TextFile*> files = m_subject.Files();
    const auto place = [&files](const Finding& finding) {
        return std::tuple(std::find(files.begin(), files.end(), finding.file), finding.line,
                          std::string_view(finding.rule->code));
    };
    std::vector<Finding> all = std::move(m_found.All());
    std::stable_sort(all.begin(), all.end(),
                     [&place](const Finding& a, const Finding& b) { return place(a) < place(b); });
    return all;
}

}  // namespace

std::vector<Finding> Run(Subject& subject, const std::function<void(double)>& progress) {
    return Checker(subject, progress).All();
}

}  // namespace Check
