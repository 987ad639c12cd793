// Every operation of the public classes, with the exact types of its arguments and its result. This does not
// compile when one of them differs, and does not link when a library does not show it.
#include <cstring>
#include <type_traits>

#include "MeterDatabase/MeterDatabase.h"

namespace {

using Text = const char*;
using Path = const wchar_t*;
using Interface = CMeterInterface*;
using Store = CMeterIniFile*;

// Protected operations are for derived classes.
class Database : public CMeterDatabase {
public:
    using CMeterDatabase::CalculateField;
    using CMeterDatabase::CheckConsistency;
    using CMeterDatabase::CheckFunctionList;
    using CMeterDatabase::CMeterDatabase;
    using CMeterDatabase::DefineTexts;
    using CMeterDatabase::GetFunction;
    using CMeterDatabase::GetFunctions;
    using CMeterDatabase::GetPtrToDataFields;
    using CMeterDatabase::HandleAllTexts;
    using CMeterDatabase::HandleText;
    using CMeterDatabase::IsElementOf;
    using CMeterDatabase::SearchInBufWithLen;
};

volatile unsigned char use = 0;

// Takes the address in a way that no compiler leaves out.
template <typename Operation>
void Use(Operation operation) {
    unsigned char bytes[sizeof(operation)];
    std::memcpy(bytes, &operation, sizeof(operation));
    use = bytes[0];
}

template <typename Signature>
void Has(Signature CMeterDatabase::*operation) {
    Use(operation);
}

template <typename Signature>
void StoreHas(Signature CMeterIniFile::*operation) {
    Use(operation);
}

template <typename Signature>
void InterfaceHas(Signature CMeterInterface::*operation) {
    Use(operation);
}

void StoreOperations() {
    StoreHas<bool(Text, Text, char*, int) const>(&CMeterIniFile::ReadString);
    StoreHas<bool(Text, Text, Text)>(&CMeterIniFile::WriteString);
    StoreHas<bool(Text, int, char*, int, char*, int) const>(&CMeterIniFile::ReadByIndex);
    StoreHas<bool(Text, int, char*, int) const>(&CMeterIniFile::ReadLineByIndex);
    StoreHas<bool(int, char*, int) const>(&CMeterIniFile::GetString);
    StoreHas<bool(int, Text)>(&CMeterIniFile::SetString);
    StoreHas<int(Text)>(&CMeterIniFile::AppendString);
    StoreHas<int(int) const>(&CMeterIniFile::FindBracketLine);
    StoreHas<bool(Text) const>(&CMeterIniFile::SectionExists);
    StoreHas<bool(Text)>(&CMeterIniFile::DeleteSection);
    StoreHas<bool(Text, Text)>(&CMeterIniFile::DeleteKey);
    StoreHas<bool(Text)>(&CMeterIniFile::BackupSection);
    StoreHas<bool(Text)>(&CMeterIniFile::RestoreSection);
    StoreHas<bool()>(&CMeterIniFile::UpdateFile);
    StoreHas<bool()>(&CMeterIniFile::UpdateFileBackground);
    StoreHas<void(Path)>(&CMeterIniFile::SetMirror);
    StoreHas<bool(Path)>(&CMeterIniFile::PowerButtonControl);
    StoreHas<void(Path)>(&CMeterIniFile::SetSaveErrorText);
    StoreHas<Path() const>(&CMeterIniFile::GetSaveErrorText);
    Use<void (*)(void (*)(void*, Path, Path), void*)>(&CMeterIniFile::SetSaveErrorHandler);
    Use<bool (*)(Path)>(&CMeterIniFile::FileExists);
    Use<void (*)(char*)>(&CMeterIniFile::EliminateQuotes);
    Use<char* (*)(Text, char*, int, int, Text)>(&CMeterIniFile::ExtractTokenDelimitedBy);
    static_assert(std::is_constructible_v<CMeterIniFile, Path> &&
                  !std::is_convertible_v<Path, CMeterIniFile>);
    static_assert(!std::is_copy_constructible_v<CMeterIniFile> && !std::is_copy_assignable_v<CMeterIniFile>);
    static_assert(!std::is_polymorphic_v<CMeterIniFile> && sizeof(CMeterIniFile::m_error) == 1);
}

void InterfaceOperations() {
    InterfaceHas<bool(int)>(&CMeterInterface::OpenParser);
    InterfaceHas<bool(char*, char*, int, char*)>(&CMeterInterface::SearchValue);
    InterfaceHas<bool()>(&CMeterInterface::CloseParser);
    InterfaceHas<int(char*)>(&CMeterInterface::GetActualMeterType);
    InterfaceHas<bool(int, int*, char*, char*, unsigned char*)>(&CMeterInterface::GetMeterType);
    InterfaceHas<bool(char*, void*, int, int*)>(&CMeterInterface::GetSpecialData);
    static_assert(std::has_virtual_destructor_v<CMeterInterface> && std::is_abstract_v<CMeterInterface>);
}

void FilesAndTexts() {
    static_assert(std::is_constructible_v<CMeterDatabase, Path> &&
                  !std::is_convertible_v<Path, CMeterDatabase>);
    static_assert(std::has_virtual_destructor_v<CMeterDatabase>);
    static_assert(std::is_copy_constructible_v<CMeterDatabase> && std::is_copy_assignable_v<CMeterDatabase>);
    Has<bool(Path)>(&Database::SetIniFile);
    Has<bool()>(&Database::IniFileError);
    Has<void(Path)>(&Database::SetDataMirror);
    Has<void(Path)>(&Database::SetAppMirror);
    Has<void(Path)>(&Database::SetRawMirror);
    Has<void(bool)>(&Database::NoSave);
    Has<void(wchar_t*, int)>(&Database::GetApplicationPath);
    Has<Store()>(&Database::GetPtrToIniFile);
    Has<Store()>(&Database::GetPtrToAppFile);
    Has<bool(bool)>(&Database::OpenDataFile);
    Has<int()>(&Database::CheckConsistency);
    Has<bool()>(&Database::CloseDataFile);
    Has<bool()>(&Database::DeleteAllData);
    Has<void(Store, int, char**, Text, Text, Text)>(&Database::HandleText);
    Has<void(Store, int)>(&Database::HandleAllTexts);
    Has<void()>(&Database::DefineTexts);
    Has<void(Text)>(&Database::SetLanguageCode);
    Has<bool(Text, Text)>(&Database::IsElementOf);
    Has<char*(char*, int, Text, int)>(&Database::SearchInBufWithLen);
    Has<void(char*, Text, int)>(&Database::Substitute);
}

void Records() {
    Has<int()>(&Database::GetNumberOfMeters);
    Has<int()>(&Database::GetActualPosition);
    Has<void(int)>(&Database::SetActualPosition);
    Has<int()>(&Database::GetAppendixCount);
    Has<bool(int)>(&Database::SetAppendix);
    Has<int()>(&Database::GetAppendix);
    Has<bool(int, char*, int)>(&Database::GetRecordData);
    Has<int(Text)>(&Database::AppendNewMeterToDataFile);
    Has<int(Text, char*, int)>(&Database::GetMeterTypeFromAppendSection);
    Has<bool()>(&Database::DeleteActualMeter);
    Has<bool()>(&Database::BackupRecord);
    Has<bool()>(&Database::RestoreRecord);
    Has<bool()>(&Database::UpdateDatabase);
    Has<bool()>(&Database::UpdateDatabaseForeground);
    Has<bool(char*)>(&Database::GetRecordState);
    Has<bool(Text)>(&Database::SetRecordState);
    Has<void(wchar_t*)>(&Database::GetRecordStateText);
    Has<void(Text, wchar_t*)>(&Database::GetPlantStateText);
    Has<bool(char*)>(&Database::GetMeterAction);
    Has<bool(char*, int)>(&Database::GetMeterActionText);
}

void Values() {
    Has<bool(Text, char*, int, char*, int, char*, int, char*, int, char*, int)>(&Database::GetMeterValue);
    Has<bool(Text, char*, int, char*, int, char*, int, char*, int, char*, int)>(&Database::GetMeterValueMain);
    Has<bool(int, char*, char*, int, char*, int, char*, int, char*, int, char*, int)>(
        &Database::GetMeterValueByIndex);
    Has<bool(Text, Text, Text, Text, Text, Text)>(&Database::SetMeterValue);
    Has<bool(Text, Text, Text, Text, Text, Text)>(&Database::SetMeterValueMain);
    Has<bool(Text)>(&Database::DeleteMeterValue);
    Has<bool(Text, char*, int)>(&Database::GetMeterItem);
    Has<bool(Text, char*, int)>(&Database::GetMeterItemMain);
    Has<bool(Text, Text)>(&Database::SetMeterItem);
    Has<bool(Text, Text)>(&Database::SetMeterItemMain);
    Has<bool()>(&Database::SetUser);
}

void DataFields() {
    Has<int(Interface, int, Text)>(&Database::GetDataFields);
    Has<bool(Interface, int, Text, int, char*, int, char*, int, char*, int)>(&Database::GetDataField);
    Has<bool(int, Text, int, char*, int)>(&Database::GetDataFieldName);
    Has<bool(int, Text, int, char*, int, char*, int, char*, int, char*, int, char*, int, char*, int)>(
        &Database::GetDataFieldInfo);
    Has<bool(int, Text, int, Text, Text, Text)>(&Database::SetDataFieldValue);
    Has<void(int, Text, char*, Type_DataField**, int**)>(&Database::GetPtrToDataFields);
    Has<void(char*, Text, Text)>(&Database::FormatValue);
    Has<int(Text, Text)>(&Database::CheckValue);
    Has<void(char*, double, int, int)>(&Database::FormatDoubleToString);
    Has<bool(Text, Text, char*, char*, char*, char*, char*)>(&Database::CalculateField);
}

void ReadingAndCommands() {
    Has<bool(Interface, int*, int*, int*, int, int, unsigned char*, int)>(&Database::BuildFuncCodeList);
    Has<bool(Text, const unsigned char*)>(&Database::CheckFunctionList);
    Has<int(Interface)>(&Database::StartParser);
    Has<void(Interface)>(&Database::StartAutoFields);
    Has<void(int)>(&Database::ClearFields);
    Has<int(Interface)>(&Database::GetCommands);
    Has<int(Interface)>(&Database::GetOptions);
    Has<bool(Interface, int, char*, int, char*, int, int*, char*, int)>(&Database::GetCommand);
    Has<bool(Interface, int, char*, int, char*, int, int*, char*, int)>(&Database::GetOption);
    Has<int(Interface, int)>(&Database::GetFunctions);
    Has<bool(Interface, int, char*, int, char*, int, int*, char*, int, int)>(&Database::GetFunction);
    Has<void(char*, int, Text, Text)>(&Database::FormatSubstValue);
    Has<bool(Interface, int, char*, int)>(&Database::GetCommandText);
    Has<bool(Interface, int, char*, int)>(&Database::GetCommandFormat);
    Has<bool(Interface, int, int*, char*, int)>(&Database::GetCommandState);
    Has<bool(Interface, int, int, Text)>(&Database::SetCommandState);
}

void RawDataAndTheRest() {
    Has<bool(Path)>(&Database::CopyRawDataFiles);
    Has<void*(Text, char*)>(&Database::OpenRawDataFile);
    Has<bool(Text, Path)>(&Database::ExtractRawDataFile);
    Has<bool()>(&Database::DeleteRawDataFile);
    Has<bool(Text, char*, int)>(&Database::GetGeneralData);
    Has<bool(Text, Text)>(&Database::SetGeneralData);
    Has<bool(Text)>(&Database::DeleteGeneralData);
    Has<bool()>(&Database::GetDirtyFlag);
    Has<bool(char*, int)>(&Database::GetDBInfo);
    Has<bool(Text, char*, int)>(&Database::GetDBGeneralData);
    Has<bool(Text, Text)>(&Database::SetDBGeneralData);
    Has<bool(Text)>(&Database::SetCompany);
    Has<int()>(&Database::GetClient);
    Has<bool(Text)>(&Database::SetActualUser);
    Has<void(int)>(&Database::SetAccessLevel);
    Has<int()>(&Database::GetAppendTypes);
    Has<bool(int, char*, int, char*, int)>(&Database::GetAppendType);
    Has<void(Text, Text, Path)>(&Database::AppendToParameterFilesInAppFile);
    Has<bool()>(&Database::MeterChangeOrderAvailable);
    Has<int()>(&Database::GetStoreMeters);
    Has<int(Text)>(&Database::SearchStoreMeter);
    Has<bool(int, Text, char*, int, char*, int, char*, int, char*, int, char*, int)>(
        &Database::GetStoreValue);
    Has<bool()>(&Database::CheckStoreFields);
    Has<bool()>(&Database::DeleteStoreFields);
    Has<bool(int)>(&Database::AppendStoreFields);
}

}  // namespace

int main() {
    StoreOperations();
    InterfaceOperations();
    FilesAndTexts();
    Records();
    Values();
    DataFields();
    ReadingAndCommands();
    RawDataAndTheRest();
    return 0;
}
