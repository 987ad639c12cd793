// How the public classes lie in memory: other modules are compiled against it.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "MeterDatabase/MeterDatabase.h"

namespace {

// The fields of a database in their order, behind the pointer to its operation table.
struct Fields {
    void* operations;
    wchar_t applicationPath[260];
    wchar_t systemIniName[261];
    wchar_t systemIniPath[261];
    wchar_t dataFilePath[261];
    wchar_t appFilePath[261];
    wchar_t rawFilePath[261];
    wchar_t parameterRootPath[261];
    wchar_t parameterFilePath[261];
    wchar_t appMirrorPath[261];
    wchar_t dataMirrorPath[261];
    wchar_t rawMirrorPath[261];
    wchar_t downloadedIniPath[261];
    wchar_t downloadedTempPath[261];
    char* texts[35];
    bool functionListFlagA;
    bool functionListFlagB;
    CMeterIniFile* dataFile;
    CMeterIniFile* systemIni;
    CMeterIniFile* appFile;
    wchar_t spareText[256];
    std::int32_t currentMeter;
    std::int32_t currentAppendix;
    char actualUser[256];
    char masterValue[256];
    char languageCode[40];
    std::int32_t accessLevel;
    bool accessFlag;
    struct {
        Type_DataField* fields;
        std::int32_t count;
    } fieldLists[3];
};

static_assert(sizeof(CMeterDatabase) == sizeof(Fields));

// The place of an operation in the table of its class, the destructor's two entries included. A pointer to a
// virtual member holds that place in bytes; a mark may be added.
template <typename Operation>
std::size_t PlaceInTable(Operation operation) {
    std::size_t place = 0;
    std::memcpy(&place, &operation, sizeof(place));
    return place / sizeof(void*);
}

// Reaches what derived classes may reach.
class Database : public CMeterDatabase {
public:
    Database() : CMeterDatabase(L"\\app") {}

    virtual void FirstOfItsOwn() {}

    void ExpectLayout() const {
        ExpectField(m_applicationPath, offsetof(Fields, applicationPath));
        ExpectField(m_systemIniName, offsetof(Fields, systemIniName));
        ExpectField(m_systemIniPath, offsetof(Fields, systemIniPath));
        ExpectField(m_dataFilePath, offsetof(Fields, dataFilePath));
        ExpectField(m_appFilePath, offsetof(Fields, appFilePath));
        ExpectField(m_rawFilePath, offsetof(Fields, rawFilePath));
        ExpectField(m_parameterRootPath, offsetof(Fields, parameterRootPath));
        ExpectField(m_parameterFilePath, offsetof(Fields, parameterFilePath));
        ExpectField(m_appMirrorPath, offsetof(Fields, appMirrorPath));
        ExpectField(m_dataMirrorPath, offsetof(Fields, dataMirrorPath));
        ExpectField(m_rawMirrorPath, offsetof(Fields, rawMirrorPath));
        ExpectField(m_downloadedIniPath, offsetof(Fields, downloadedIniPath));
        ExpectField(m_downloadedTempPath, offsetof(Fields, downloadedTempPath));
        ExpectField(m_texts, offsetof(Fields, texts));
        ExpectField(m_functionListFlagA, offsetof(Fields, functionListFlagA));
        ExpectField(m_functionListFlagB, offsetof(Fields, functionListFlagB));
        ExpectField(m_dataFile, offsetof(Fields, dataFile));
        ExpectField(m_systemIni, offsetof(Fields, systemIni));
        ExpectField(m_appFile, offsetof(Fields, appFile));
        ExpectField(m_spareText, offsetof(Fields, spareText));
        ExpectField(m_currentMeter, offsetof(Fields, currentMeter));
        ExpectField(m_currentAppendix, offsetof(Fields, currentAppendix));
        ExpectField(m_actualUser, offsetof(Fields, actualUser));
        ExpectField(m_masterValue, offsetof(Fields, masterValue));
        ExpectField(m_languageCode, offsetof(Fields, languageCode));
        ExpectField(m_accessLevel, offsetof(Fields, accessLevel));
        ExpectField(m_accessFlag, offsetof(Fields, accessFlag));
        ExpectField(m_fieldLists, offsetof(Fields, fieldLists));
    }

private:
    template <typename Member>
    void ExpectField(const Member& member, std::size_t place) const {
        const auto* object = reinterpret_cast<const char*>(static_cast<const CMeterDatabase*>(this));
        EXPECT_EQ(static_cast<std::size_t>(reinterpret_cast<const char*>(&member) - object), place);
    }
};

}  // namespace

TEST(Layout, TheFieldsOfADatabaseStandInTheirOrder) {
    Database().ExpectLayout();
}

TEST(Layout, TheOnlyVirtualOperationOfADatabaseIsItsDestructor) {
    EXPECT_EQ(PlaceInTable(&Database::FirstOfItsOwn), 2u) << "behind the two entries of the destructor";
}

TEST(Layout, TheOperationsOfAMeterInterfaceStandInTheirOrder) {
    EXPECT_EQ(PlaceInTable(&CMeterInterface::OpenParser), 2u);
    EXPECT_EQ(PlaceInTable(&CMeterInterface::SearchValue), 3u);
    EXPECT_EQ(PlaceInTable(&CMeterInterface::CloseParser), 4u);
    EXPECT_EQ(PlaceInTable(&CMeterInterface::GetActualMeterType), 5u);
    EXPECT_EQ(PlaceInTable(&CMeterInterface::GetMeterType), 6u);
    EXPECT_EQ(PlaceInTable(&CMeterInterface::GetSpecialData), 7u);
}

TEST(Layout, TheErrorFlagIsTheFirstByteOfAStore) {
    CMeterIniFile store(L"");
    EXPECT_EQ(static_cast<void*>(&store.m_error), static_cast<void*>(&store));
    EXPECT_EQ(sizeof(store.m_error), 1u);
    auto* const first = reinterpret_cast<unsigned char*>(&store);
    store.m_error = true;
    EXPECT_EQ(*first, 1u);
    store.m_error = false;
    EXPECT_EQ(*first, 0u);
}

TEST(Layout, AFieldOfAListHas44Bytes) {
    EXPECT_EQ(sizeof(Type_DataField), 44u);
    EXPECT_EQ(offsetof(Type_DataField, position), 0u);
    EXPECT_EQ(offsetof(Type_DataField, name), 4u);
    EXPECT_EQ(200 * sizeof(Type_DataField), 8800u);
}
