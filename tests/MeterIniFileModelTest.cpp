// The store against a naive model of it: long random sequences of operations over odd files, with fixed
// seeds. After every operation the results agree, and the saved bytes are those of the model.
#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "MeterUtil/MeterIniFile.h"
#include "tests/support/HeapFault.h"
#include "tests/support/NaiveIni.h"
#include "tests/support/TestFolder.h"

namespace {

constexpr int kSize = 512;

// An edit of both, with what is given back when it is refused.
struct Edit {
    std::function<int(CMeterIniFile&)> ofStore;
    std::function<int(NaiveIni&)> ofNaive;
    int refused = 0;
};

class Pair {
public:
    Pair(const TestFolder& folder, const std::string& bytes)
        : m_folder(folder),
          m_naive(bytes),
          m_store((folder.Write("a.ini", bytes), folder.Wide("a.ini").c_str())) {}

    void Step(std::mt19937& random);
    void StepWithoutMemory(std::mt19937& random);
    void CompareAll();
    void CompareSaved();
    int Failed() const { return m_failed; }

private:
    std::string Any(std::mt19937& random, const std::vector<std::string>& from) {
        return from[random() % from.size()];
    }
    Edit AnyEdit(std::mt19937& random);
    void CompareReads(std::mt19937& random);

    const TestFolder& m_folder;
    NaiveIni m_naive;
    CMeterIniFile m_store;
    int m_failed = 0;
};

const std::vector<std::string> kNames = {"a",   "A",  "b", "#_1", "#_2",      "#1_1",
                                         "x y", " a", "",  "c]",  "e\xC3\x84"};
const std::vector<std::string> kKeys = {"k",     "K",        "State",     " k ",   "long key of a value",
                                        "1.8.0", "1.8.1*01", "",          " ",     "a=b",
                                        "[k",    ";k",       "k\xC3\xA4", "[state"};
const std::vector<std::string> kValues = {
    "",        "1",
    " 2 ",     "A,U,8,12,\"\"",
    "a=b",     "x\ny",
    "x\ry",    "[a]",
    ";",       "a value that is longer than the line it takes the place of",
    "\xFF\xFE"};
const std::vector<std::string> kLines = {"",
                                         " ",
                                         "\t",
                                         "k=v",
                                         " k = v ",
                                         ";k=v",
                                         "[a]",
                                         "[A] x",
                                         " [b]",
                                         "[#_1]",
                                         "[#_2]",
                                         "[#1_1]",
                                         "[x y]",
                                         "[",
                                         "[a",
                                         "[k=v",
                                         "]",
                                         "=",
                                         " =v",
                                         "text",
                                         "State=E",
                                         "a\rb=c",
                                         "[]",
                                         "[c\xC4]",
                                         "\xEF\xBB\xBF[a]",
                                         "k=",
                                         "[ a]",
                                         "k\t=v=w",
                                         "State=a text of some size",
                                         "1.8.1*01=0123456.789*kWh",
                                         "[State=no header, a key"};

void Pair::CompareReads(std::mt19937& random) {
    char dst[kSize];
    char key[kSize];
    std::string text;
    std::string name;
    const std::string section = Any(random, kNames);
    const std::string wanted = Any(random, kKeys);
    ASSERT_EQ(m_store.ReadString(section.c_str(), wanted.c_str(), dst, kSize),
              m_naive.ReadString(section, wanted, &text))
        << section << " " << wanted;
    ASSERT_EQ(dst, text);
    const int index = static_cast<int>(random() % 12);
    ASSERT_EQ(m_store.ReadByIndex(section.c_str(), index, key, kSize, dst, kSize),
              m_naive.ReadByIndex(section, index, &name, &text));
    ASSERT_EQ(key, name);
    ASSERT_EQ(dst, text);
    ASSERT_EQ(m_store.ReadLineByIndex(section.c_str(), index, dst, kSize),
              m_naive.ReadLineByIndex(section, index, &text));
    ASSERT_EQ(dst, text);
    ASSERT_EQ(m_store.SectionExists(section.c_str()), m_naive.SectionExists(section));
    const int line = static_cast<int>(random() % 40) - 1;
    ASSERT_EQ(m_store.GetString(line, dst, kSize), m_naive.GetString(line, &text));
    ASSERT_EQ(dst, text);
    ASSERT_EQ(m_store.FindBracketLine(line), m_naive.FindBracketLine(line));
}

Edit Pair::AnyEdit(std::mt19937& random) {
    const std::string section = Any(random, kNames);
    const std::string key = Any(random, kKeys);
    const std::string value = Any(random, kValues);
    const std::string text = Any(random, kLines);
    const int line = static_cast<int>(random() % 24) - 1;
    switch (random() % 11) {
        case 0:
        case 1:
        case 2:
            return {[=](auto& s) { return s.WriteString(section.c_str(), key.c_str(), value.c_str()); },
                    [=](auto& naive) { return naive.WriteString(section, key, value); }};
        case 3:
        case 4:
            return {[=](auto& s) { return s.SetString(line, text.c_str()); },
                    [=](auto& naive) { return naive.SetString(line, text); }};
        case 5:
        case 6:
            return {[=](auto& s) { return s.AppendString(text.c_str()); },
                    [=](auto& naive) { return naive.AppendString(text); }, -1};
        case 7:
            return {[=](auto& s) { return s.DeleteSection(section.c_str()); },
                    [=](auto& naive) { return naive.DeleteSection(section); }};
        case 8:
            return {[=](auto& s) { return s.DeleteKey(section.c_str(), key.c_str()); },
                    [=](auto& naive) { return naive.DeleteKey(section, key); }};
        case 9:
            return {[=](auto& s) { return s.BackupSection(section.c_str()); },
                    [=](auto& naive) { return naive.BackupSection(section); }};
        default:
            return {[=](auto& s) { return s.RestoreSection(section.c_str()); },
                    [=](auto& naive) { return naive.RestoreSection(section); }};
    }
}

void Pair::Step(std::mt19937& random) {
    if (random() % 12 == 0) {
        CompareReads(random);
        return;
    }
    const Edit edit = AnyEdit(random);
    ASSERT_EQ(edit.ofStore(m_store), edit.ofNaive(m_naive));
}

void Pair::StepWithoutMemory(std::mt19937& random) {
    const Edit edit = AnyEdit(random);
    const auto times = random() % 2 == 0 ? HeapFault::Times::Once : HeapFault::Times::FromThenOn;
    const int failing = 1 + static_cast<int>(random() % 6);
    int result;
    bool happened;
    {
        const HeapFault fault(failing, times);
        result = edit.ofStore(m_store);
        happened = fault.Happened();
    }
    if (happened && result == edit.refused)
        ++m_failed;
    else
        ASSERT_EQ(result, edit.ofNaive(m_naive));
}

void Pair::CompareAll() {
    char dst[kSize];
    std::string text;
    int line = 0;
    for (; m_naive.GetString(line, &text); ++line) {
        ASSERT_TRUE(m_store.GetString(line, dst, kSize));
        ASSERT_EQ(dst, text) << "line " << line;
    }
    ASSERT_FALSE(m_store.GetString(line, dst, kSize));
}

void Pair::CompareSaved() {
    ASSERT_TRUE(m_store.UpdateFile());
    ASSERT_EQ(m_folder.Read("a.ini"), m_naive.Bytes());
}

std::string RandomFile(std::mt19937& random) {
    std::string bytes;
    if (random() % 8 == 0)
        bytes = "\xEF\xBB\xBF";
    for (unsigned lines = random() % 16; lines != 0; --lines) {
        bytes += kLines[random() % (kLines.size())];
        if (lines != 1 || random() % 2 == 0)
            bytes += random() % 3 == 0 ? "\n" : "\r\n";
    }
    return bytes;
}

class MeterIniFileModel : public testing::TestWithParam<int> {};

TEST_P(MeterIniFileModel, AgreesOverRandomOperations) {
    const TestFolder folder;
    std::mt19937 random(static_cast<unsigned>(GetParam()));
    for (int file = 0; file < 60; ++file) {
        Pair pair(folder, RandomFile(random));
        for (int step = 0; step < 120; ++step) {
            ASSERT_NO_FATAL_FAILURE(pair.Step(random))
                << "seed " << GetParam() << " file " << file << " step " << step;
            ASSERT_NO_FATAL_FAILURE(pair.CompareAll())
                << "seed " << GetParam() << " file " << file << " step " << step;
        }
        ASSERT_NO_FATAL_FAILURE(pair.CompareSaved()) << "seed " << GetParam() << " file " << file;
    }
}

// Now and then an allocation fails during an edit, or all do from then on: the edit is done or nothing changed.
TEST_P(MeterIniFileModel, AgreesWhenMemoryIsShort) {
    const TestFolder folder;
    std::mt19937 random(static_cast<unsigned>(GetParam()));
    int failed = 0;
    for (int file = 0; file < 40; ++file) {
        Pair pair(folder, RandomFile(random));
        for (int step = 0; step < 120; ++step) {
            SCOPED_TRACE("seed " + std::to_string(GetParam()) + " file " + std::to_string(file) + " step " +
                         std::to_string(step));
            if (step % 2 == 0)
                ASSERT_NO_FATAL_FAILURE(pair.StepWithoutMemory(random));
            else
                ASSERT_NO_FATAL_FAILURE(pair.Step(random));
            ASSERT_NO_FATAL_FAILURE(pair.CompareAll());
        }
        ASSERT_NO_FATAL_FAILURE(pair.CompareSaved());
        failed += pair.Failed();
    }
    EXPECT_GT(failed, 100);
}

INSTANTIATE_TEST_SUITE_P(Seeds, MeterIniFileModel, testing::Range(1, 13));

}  // namespace
