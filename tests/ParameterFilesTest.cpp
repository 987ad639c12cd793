// The register of parameter files in the app file.
#include "Platform/Platform.h"
#include "tests/support/DatabaseFixture.h"
#include "tests/support/FakeSystem.h"
#include "tests/support/HeapFault.h"

namespace {

class ParameterFiles : public DatabaseFixture {
protected:
    static constexpr const char* kSection = "ParameterFiles";

    ParameterFiles() { m_system.SetTime({2026, 2, 2, 3, 4, 5, 6, 7}); }

    void Register(const char* text1, const char* text2, const wchar_t* path) {
        m_database.AppendToParameterFilesInAppFile(text1, text2, path);
    }

    // Opens with the given lines of the register.
    void OpenWith(const std::string& entries) {
        Open("", "", "[State]\nDirty=No\n[ParameterFiles]\n" + entries);
    }

    std::string Entry(int number) { return App(kSection, "File" + std::to_string(number)); }

    FakeSystem m_system;
};

TEST_F(ParameterFiles, AreRegisteredFromNumberOne) {
    Open("", "", "[State]\nDirty=No\n");
    Register("Sawmill", "set 1", L"parameters\\tariff.par");
    EXPECT_EQ(m_folder.Read(kAppFile),
              "[State]\nDirty=No\n[ParameterFiles]\nFiles=1\n"
              "File1=20260203040506,Sawmill,set 1,parameters\\tariff.par\n");
    Register("", nullptr, L"other.par");
    EXPECT_EQ(m_folder.Read(kAppFile),
              "[State]\nDirty=No\n[ParameterFiles]\nFiles=2\n"
              "File1=20260203040506,Sawmill,set 1,parameters\\tariff.par\n"
              "File2=20260203040506,,,other.par\n");
}

TEST_F(ParameterFiles, DoNothingWithoutAnAppFile) {
    Register("a", "b", L"a.par");
    Open("");
    m_database.CloseDataFile();
    const std::string before = m_folder.Read(kAppFile);
    Register("a", "b", L"a.par");
    EXPECT_EQ(m_folder.Read(kAppFile), before);
}

TEST_F(ParameterFiles, KeepTheirNumberWhenTheyAreRegisteredAgain) {
    OpenWith("Files=2\nFile1=20250101000000,x,y,C:\\a.par\nFile2=20250101000000,x,y,b.par\n");
    Register("new", "texts", L"c:\\A.PAR");
    EXPECT_EQ(App(kSection, "Files"), "2");
    EXPECT_EQ(Entry(1), "20260203040506,new,texts,c:\\A.PAR");
    EXPECT_EQ(Entry(2), "20250101000000,x,y,b.par");
    m_system.SetTime({1999, 12, 0, 31, 23, 59, 58, 0});
    Register("", "", L"b.par");
    EXPECT_EQ(Entry(2), "19991231235958,,,b.par");
    EXPECT_EQ(App(kSection, "Files"), "2");
}

TEST_F(ParameterFiles, AreFoundByTheirPathAlone) {
    const struct {
        const char* entry;
        const wchar_t* path;
        bool found;
    } cases[] = {
        {"t,x,y,a.par", L"a.par", true},
        {"t,x,y,a.par,more", L"a.par", true},
        {"t,\"x,1\",\"y,2\",a.par", L"a.par", true},
        {"t,x,y,", L"", true},
        {"t,x,y,a.par ", L"a.par", false},
        {"t,x,y,sub\\a.par", L"a.par", false},
        {"t,x,y,a.pa", L"a.par", false},
        {"t,a.par,a.par,b.par", L"a.par", false},
        {"t,x,a.par", L"a.par", false},
        {"t,x,1,y,a.par", L"a.par", false},  // a text with a comma shifts the path
        {"a.par", L"a.par", false},
    };
    for (const auto& c : cases) {
        OpenWith(std::string("Files=1\nFile1=") + c.entry + "\n");
        Register("1", "2", c.path);
        EXPECT_EQ(App(kSection, "Files"), c.found ? "1" : "2") << c.entry;
        EXPECT_EQ(Entry(c.found ? 1 : 2), "20260203040506,1,2," + Platform::NarrowFromWide(c.path))
            << c.entry;
    }
}

TEST_F(ParameterFiles, HaveWidePaths) {
    OpenWith("");
    Register("1", "2", L"\u00e4.par");
    Register("1", "2", L"\u00e4.PAR");
    EXPECT_EQ(App(kSection, "Files"), "1");
    EXPECT_EQ(Entry(1), "20260203040506,1,2," + Platform::NarrowFromWide(L"\u00e4.PAR"));
}

TEST_F(ParameterFiles, TakeTheLowestNumberOfTheirPath) {
    OpenWith("File3=t,x,y,a.par\nFile2=t,x,y,a.par\nFiles=4\nFILE1=t,x,y,b.par\nFile4=t,x,y,a.par\n");
    Register("1", "2", L"a.par");
    EXPECT_EQ(Entry(2), "20260203040506,1,2,a.par");
    EXPECT_EQ(Entry(3), "t,x,y,a.par");
    Register("1", "2", L"b.par");
    EXPECT_EQ(Entry(1), "20260203040506,1,2,b.par");
    EXPECT_EQ(App(kSection, "Files"), "4");
}

TEST_F(ParameterFiles, AreSearchedUnderTheKeysOfTheRegister) {
    const struct {
        const char* key;
        bool found;
    } cases[] = {{"File1", true},   {"FILE2", true},  {"File0", false}, {"File-1", false},
                 {"File01", false}, {"File3", false}, {"File", false},  {"File1x", false},
                 {"Fil1", false},   {"Path1", false}, {"Filex", false}};
    for (const auto& c : cases) {
        OpenWith(std::string("Files=2\n") + c.key + "=t,x,y,a.par\n");
        Register("1", "2", L"a.par");
        EXPECT_EQ(App(kSection, "Files"), c.found ? "2" : "3") << c.key;
    }
    OpenWith("Files=1\nFile1=t,x,y,b.par\nFile1=t,x,y,a.par\n");  // the first entry of a key counts
    Register("1", "2", L"a.par");
    EXPECT_EQ(App(kSection, "Files"), "2");
    EXPECT_EQ(Entry(1), "t,x,y,b.par");
}

TEST_F(ParameterFiles, AreCountedByTheFile) {
    const struct {
        const char* count;
        const char* next;
    } cases[] = {{"", "1"},          {"x", "1"},         {"-5", "1"},
                 {"0", "1"},         {"7 files", "8"},   {"9999", "10000"},
                 {"10000", "10001"}, {"10001", "10001"}, {"99999999999", "10001"}};
    for (const auto& c : cases) {
        OpenWith(std::string("Files=") + c.count + "\nFile1=t,x,y,old.par\nFile10001=t,x,y,a.par\n");
        Register("1", "2", L"a.par");
        EXPECT_EQ(App(kSection, "Files"), c.next) << c.count;
        EXPECT_EQ(App(kSection, std::string("File") + c.next), "20260203040506,1,2,a.par") << c.count;
    }
    OpenWith("Files=10000\nFile10000=t,x,y,a.par\n");
    Register("1", "2", L"a.par");
    EXPECT_EQ(App(kSection, "Files"), "10000");
    EXPECT_EQ(Entry(10000), "20260203040506,1,2,a.par");
}

TEST_F(ParameterFiles, WriteTextsAsTheyStandButForLineBreaks) {
    OpenWith("");
    Register("a,\"b\"", "c\r\nd\re\nf", L"p\r\nq.par");
    EXPECT_EQ(Entry(1), "20260203040506,a,\"b\",c d e f,p q.par");
    Register("a", "b", L"p\r\nq.par");  // the comma of the first text hid the path
    EXPECT_EQ(App(kSection, "Files"), "2");
    Register("c", "d", L"p\r\nq.par");
    EXPECT_EQ(App(kSection, "Files"), "2");
    EXPECT_EQ(Entry(2), "20260203040506,c,d,p q.par");
}

TEST_F(ParameterFiles, AreReadUpToAFixedLength) {
    const auto path = [](std::size_t length) { return std::wstring(length, L'p'); };
    OpenWith("");
    Register("", "", path(259).c_str());
    Register("", "", path(259).c_str());
    EXPECT_EQ(App(kSection, "Files"), "1");
    Register("", "", path(260).c_str());
    Register("", "", path(260).c_str());
    EXPECT_EQ(App(kSection, "Files"), "3");
    EXPECT_EQ(Entry(3), "20260203040506,,," + std::string(260, 'p'));
    // 14 digits, three commas, 251 + 40 characters: the last one that is read
    const std::string text(251, 't');
    Register(text.c_str(), "", path(40).c_str());
    Register(text.c_str(), "", path(40).c_str());
    EXPECT_EQ(App(kSection, "Files"), "4");
    Register((text + "t").c_str(), "", path(41).c_str());
    Register((text + "t").c_str(), "", path(41).c_str());
    EXPECT_EQ(App(kSection, "Files"), "6");
}

TEST_F(ParameterFiles, RememberThatTheyCouldNotBeSaved) {
    OpenWith("");
    m_system.FailCall(FakeSystem::Call::Rename, 1);
    Register("1", "2", L"a.par");
    EXPECT_EQ(m_folder.Read(kAppFile), "[State]\nDirty=No\n[ParameterFiles]\n");
    EXPECT_EQ(Entry(1), "20260203040506,1,2,a.par");
    EXPECT_TRUE(m_database.m_appFile->m_error);
    EXPECT_TRUE(m_database.m_dataFile->m_error);
}

TEST_F(ParameterFiles, CanBeRegisteredWithoutADataFile) {
    OpenWith("");
    delete m_database.m_dataFile;
    m_database.m_dataFile = nullptr;
    m_system.FailCall(FakeSystem::Call::Rename, 1);
    Register("1", "2", L"a.par");
    EXPECT_TRUE(m_database.m_appFile->m_error);
    Register("1", "2", L"b.par");
    EXPECT_EQ(Entry(2), "20260203040506,1,2,b.par");
}

TEST_F(ParameterFiles, LoseNothingWithoutMemory) {
    // A long entry needs memory when the short count already has its own.
    for (const std::string& text : {std::string("1"), std::string(100000, '1')}) {
        bool happened = true;
        for (int n = 1; happened; ++n) {
            OpenWith("Files=1\nFile1=t,x,y,a.par\n");
            {
                HeapFault fault(n);
                Register(text.c_str(), "2", L"b.par");
                happened = fault.Happened();
            }
            EXPECT_EQ(Entry(1), "t,x,y,a.par");
            EXPECT_EQ(App(kSection, "Files"), Entry(2) == kMissing ? "1" : "2") << n;
        }
        EXPECT_EQ(Entry(2).substr(0, 16), "20260203040506,1");

        happened = true;
        for (int n = 1; happened; ++n) {
            OpenWith("Files=1\nFile1=t,x,y,a.par\n");
            {
                HeapFault fault(n);
                Register(text.c_str(), "2", L"a.par");
                happened = fault.Happened();
            }
            const std::string entry = Entry(1).substr(0, 16);
            EXPECT_TRUE(entry == "20260203040506,1" || (happened && entry == "t,x,y,a.par")) << n;
            EXPECT_EQ(App(kSection, "Files"), "1");
        }
    }
}

}  // namespace
