// The store against a naive model of it: long random sequences of operations over odd files, with fixed
// seeds. After every operation the results agree, and the saved bytes are those of the model.
#include <gtest/gtest.h>

#include <random>

#include "MeterUtil/MeterIniFile.h"
#include "tests/support/NaiveIni.h"
#include "tests/support/TestFolder.h"

namespace {

constexpr int kSize = 512;

class Pair {
public:
    Pair(const TestFolder& folder, const std::string& bytes)
        : m_folder(folder),
          m_naive(bytes),
          m_store((folder.Write("a.ini", bytes), folder.Wide("a.ini").c_str())) {}

    void Step(std::mt19937& random);
    void CompareAll();
    void CompareSaved();

private:
    std::string Any(std::mt19937& random, const std::vector<std::string>& from) {
        return from[random() % from.size()];
    }
    void CompareReads(std::mt19937& random);

    const TestFolder& m_folder;
    NaiveIni m_naive;
    CMeterIniFile m_store;
    int m_lines = 0;
};

const std::vector<std::string> kNames = {"a",   "A",  "b", "#_1", "#_2",      "#1_1",
                                         "x y", " a", "",  "c]",  "e\xC3\x84"};
const std::vector<std::string> kKeys = {"k",     "K",        "State",    " k ", "long key of a value",
                                        "1.8.0", "1.8.1*01", "",         " ",   "a=b",
                                        "[k",    ";k",       "k\xC3\xA4"};
const std::vector<std::string> kValues = {
    "",        "1",
    " 2 ",     "A,U,8,12,\"\"",
    "a=b",     "x\ny",
    "x\ry",    "[a]",
    ";",       "a value that is longer than the line it takes the place of",
    "\xFF\xFE"};
const std::vector<std::string> kLines = {"",        " ",      "\t",     "k=v",     " k = v ",
                                         ";k=v",    "[a]",    "[A] x",  " [b]",    "[#_1]",
                                         "[#_2]",   "[#1_1]", "[x y]",  "[",       "[a",
                                         "[k=v",    "]",      "=",      " =v",     "text",
                                         "State=E", "a\rb=c", "[]",     "[c\xC4]", "\xEF\xBB\xBF[a]",
                                         "k=",      "[ a]",   "k\t=v=w"};

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

void Pair::Step(std::mt19937& random) {
    const std::string section = Any(random, kNames);
    const std::string key = Any(random, kKeys);
    const std::string value = Any(random, kValues);
    const std::string text = Any(random, kLines);
    const int line = static_cast<int>(random() % 24) - 1;
    switch (random() % 12) {
        case 0:
        case 1:
        case 2:
            ASSERT_EQ(m_store.WriteString(section.c_str(), key.c_str(), value.c_str()),
                      m_naive.WriteString(section, key, value));
            break;
        case 3:
        case 4:
            ASSERT_EQ(m_store.SetString(line, text.c_str()), m_naive.SetString(line, text));
            break;
        case 5:
        case 6:
            ASSERT_EQ(m_store.AppendString(text.c_str()), m_naive.AppendString(text));
            break;
        case 7:
            ASSERT_EQ(m_store.DeleteSection(section.c_str()), m_naive.DeleteSection(section));
            break;
        case 8:
            ASSERT_EQ(m_store.DeleteKey(section.c_str(), key.c_str()), m_naive.DeleteKey(section, key));
            break;
        case 9:
            ASSERT_EQ(m_store.BackupSection(section.c_str()), m_naive.BackupSection(section));
            break;
        case 10:
            ASSERT_EQ(m_store.RestoreSection(section.c_str()), m_naive.RestoreSection(section));
            break;
        default:
            CompareReads(random);
    }
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

INSTANTIATE_TEST_SUITE_P(Seeds, MeterIniFileModel, testing::Range(1, 13));

}  // namespace
