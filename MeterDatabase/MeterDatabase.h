// The meter-reading database of a handheld data terminal: the records of a route of meters, their values and
// states, and what a meter's parser reads into them.
//
// The object works with four files, all INI-style texts but the last: the system ini (configuration), the
// data file (meter records), the app file (application state) and the raw data file. docs/files.md describes
// them.
//
// Records. The data file holds one main record per meter, section "#_N" of meter N (from 1), and up to 100
// appendix records of it, section "#A_N" of appendix A (from 1). Operations work on the current record: the
// current meter (0: none) and its current appendix (0: the main record).
//
// Conventions
// - Sizes are in bytes, terminator included (wide texts: in characters). A null output, or a size below 1,
//   means that the output is not wanted. Outputs are emptied first, always terminated, and cut to fit.
// - A null input counts as an empty text, except where it has a meaning of its own.
// - Nothing throws. A bool is false when a store is missing, there is no current record, a key or section is
//   not found, or a write or save failed; the records are then as they were.
// - Edits change the data file in memory; the destructor saves. What a call puts on the medium is said there.
// - The object starts no threads and takes no locks: one thread at a time.
//
// Copies are shallow: they share stores, texts and work buffers. Only one of the copies may be destroyed.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "MeterInterface/MeterInterface.h"
#include "MeterUtil/MeterIniFile.h"
#include "Platform/Export.h"

// One field of a data field list.
struct Type_DataField {
    std::int32_t position;  // of the declaration in its section, from 1
    char name[40];          // name of the field and of its value, terminated
};
static_assert(sizeof(Type_DataField) == 44, "200 fields fill a work buffer of 8800 bytes");

class METER_PUBLIC_CLASS CMeterDatabase {
public:
    // ---- object and configuration

    // Builds a database without stores. `applicationPath`: directory of the application, without a closing
    // separator, at most 259 characters; every relative path starts there.
    explicit CMeterDatabase(const wchar_t* applicationPath);

    // Saves the data file and the app file and releases everything. Failures are ignored: save before where
    // they matter.
    virtual ~CMeterDatabase();

    CMeterDatabase(const CMeterDatabase&) = default;
    CMeterDatabase& operator=(const CMeterDatabase&) = default;

    // Opens the system ini; a relative name starts at the application path. An earlier one stays allocated,
    // so that pointers that GetPtrToIniFile gave stay valid: whoever holds one may delete it. The empty name
    // closes and releases the system ini. Always true.
    bool SetIniFile(const wchar_t* name);

    // True when one of the stores failed to load or to save.
    bool IniFileError();

    // Set the second place to which the data file, the app file and the raw data file are also written ("":
    // none), for the stores that are open now: opening does not apply an earlier mirror.
    void SetDataMirror(const wchar_t* path);
    void SetAppMirror(const wchar_t* path);
    void SetRawMirror(const wchar_t* path);

    // true: turns the mirrors of all open stores off; their paths are kept. false: nothing.
    void NoSave(bool off);

    // Copies the application path into dst of `size` characters; what is behind the text is filled with
    // zeros.
    void GetApplicationPath(wchar_t* dst, int size);

    // The stores, owned by the database; null when there is none. The data file is reached through the
    // database alone.
    CMeterIniFile* GetPtrToIniFile();
    CMeterIniFile* GetPtrToAppFile();

    // ---- opening and closing

    // Opens the app file and the data file that the system ini names, loads the texts of the language, adds
    // missing defaults, brings the numbers of the records into order and makes meter 1 current when there is
    // one. An open database is closed first, without saving.
    //   moduleMode  lets section "ModuleMode" override "System" for the three file names
    // False without a system ini, when "AppFile", "RawFile" or "DataFile" is not set, when the app file is the data
    // file, or when a default could not be saved; stores that are open by then stay open. New defaults and new
    // numbers are on the medium on return.
    bool OpenDataFile(bool moduleMode);

    // Drops the data file and the app file without saving; no meter is current. Always true.
    bool CloseDataFile();

    // Deletes the data file and the raw data file from the disk and opens an empty data file. False, with
    // nothing done, unless all stores are open.
    bool DeleteAllData();

    // ---- texts and language

    // Chooses the language of sections such as "Functions_de"; at most 39 characters are kept.
    void SetLanguageCode(const char* code);

    // ---- navigation

    // Number of meter records; -1 without a data file.
    int GetNumberOfMeters();

    // Number of the current meter; 0 when there is none or it lies behind the last one; -1 without a data
    // file.
    int GetActualPosition();

    // Makes the main record of a meter (from 1) current. An unknown number changes nothing.
    void SetActualPosition(int meter);

    // Number of appendices of the current meter, counted from 1 up to the first gap, at most 100.
    int GetAppendixCount();

    // Makes an appendix (from 1) of the current meter current, or its main record (below 1). False, with
    // nothing changed, when there is no such appendix or no current meter.
    bool SetAppendix(int appendix);

    // The current appendix; 0 for the main record.
    int GetAppendix();

    // Copies one line of the current record: its section name in brackets (`line` below 1) or its line `line`
    // (from 1). False when the line does not exist.
    bool GetRecordData(int line, char* dst, int size);

    // ---- appending and deleting

    // Adds a meter record to the data file in memory, made from the system ini's template "Append" +
    // meterType, or "Append" when there is no such one. The record begins in state E; an entry of the
    // template whose key begins with '#' and a number opens that appendix. Entries of the template are taken
    // as they stand, but for those whose attributes hold G among their first 8 letters: they take their value
    // from the entry of the same name in "General" of the data file, when there is one, and are cut to 255
    // characters. Number of the new meter, which becomes current with the last appendix that was opened; 0,
    // with nothing changed, without a template or memory.
    int AppendNewMeterToDataFile(const char* meterType);

    // Name of the meter type that a template makes, into dst of `size` bytes, at least 2; "" when the
    // template names none. 1; 0 without a template.
    int GetMeterTypeFromAppendSection(const char* meterType, char* dst, int size);

    // Deletes the current meter with its appendices, counted as GetAppendixCount does; the meters behind it
    // move down by one. Saves the data file; no meter is current then. Appendices behind a gap stay in the
    // file, for the meter that gets the number. False without a current meter, or when memory did not
    // suffice: the meter is still there then.
    bool DeleteActualMeter();

    // Keeps a copy of the current record, main record or appendix, in place of an earlier copy of it, and
    // puts it back. A copy stays with its record when other meters are deleted, and lives as long as the data
    // file is open. True once a meter is current, whether or not there was something to copy.
    bool BackupRecord();
    bool RestoreRecord();

    // ---- saving

    // Arranges a save of the data file and returns: edits that follow are not part of it. False without a
    // data file.
    bool UpdateDatabase();

    // Saves the data file now; it is on the medium on return. False without a data file and when the save
    // failed; then the error flags of the data file and the app file are set.
    bool UpdateDatabaseForeground();

    // ---- record state and meter action

    // State letters of the current meter into dst, at least 40 bytes. False without a current meter or a
    // state.
    bool GetRecordState(char* dst);
    bool SetRecordState(const char* state);

    // State of the current meter as the user reads it, with the meter's action in parentheses. `dst` must
    // hold the state text, " (", 39 characters and ")".
    void GetRecordStateText(wchar_t* dst);

    // Text of a plant state that the caller holds; "<DEFER>" is a deferred plant. `dst` must hold the state
    // text.
    void GetPlantStateText(const char* state, wchar_t* dst);

    // What is to be done with the current meter, a word such as "Change", into dst, at least 255 bytes; ""
    // when it is simply to be read. Always true.
    bool GetMeterAction(char* dst);

    // The action as the user reads it; "" for an unknown word. Always true.
    bool GetMeterActionText(char* dst, int size);

    // ---- values

    // Values are entries with five sub-fields: attributes, status, definition, value, "text". Sub-fields are
    // handed out as they stand in the file, enclosing quotes included; the fifth is everything behind the
    // fourth comma.

    // Sub-fields of a value of the current record. False when the record has no such entry.
    bool GetMeterValue(const char* name, char* attributes, int attributesSize, char* status, int statusSize,
                       char* definition, int definitionSize, char* value, int valueSize, char* text,
                       int textSize);
    bool GetMeterValueMain(const char* name, char* attributes, int attributesSize, char* status,
                           int statusSize, char* definition, int definitionSize, char* value, int valueSize,
                           char* text, int textSize);

    // Entry number `index` (from 1) of the current record. `key`: at least 256 bytes, or null; it is not
    // emptied first.
    bool GetMeterValueByIndex(int index, char* key, char* attributes, int attributesSize, char* status,
                              int statusSize, char* definition, int definitionSize, char* value,
                              int valueSize, char* text, int textSize);

    // Writes a value of the current record; a null sub-field is kept. A new entry starts from A,U,8,,"". Of
    // the first four sub-fields at most 255 characters are written, without double quotes; one that holds a
    // comma and is shorter than 253 characters is enclosed in quotes. The text is written as given between
    // quotes. A line break becomes a blank. True once there is a current record.
    bool SetMeterValue(const char* name, const char* attributes, const char* status, const char* definition,
                       const char* value, const char* text);
    bool SetMeterValueMain(const char* name, const char* attributes, const char* status,
                           const char* definition, const char* value, const char* text);

    // Removes an entry of the current record. True once there is a current record.
    bool DeleteMeterValue(const char* name);

    // ---- data fields

    // Data fields are values of a record that the system ini declares, with a label each, in one of three
    // lists: kind 1 "Statistic", kind 2 "Extra", any other "Values". `variant` (null or "": none) and the
    // language code choose the section of a list that is used; its name is cut to 39 characters. The lists
    // belong to the current meter: build them anew after moving to another. Sub-fields are handed out without
    // enclosing quotes. `iface` is not used. An index (from 0) must not be above the number of fields; that
    // number itself reaches what an earlier, longer list left there.

    // Builds a list: those of the first 255 declarations whose name is an entry of the current record that is
    // not empty, at most 200. Number of fields; 0 also without a system ini, a data file or a current meter.
    int GetDataFields(CMeterInterface* iface, int kind, const char* variant);

    // A field as the user sees it.
    //   label  with the number of its billing period and the text of the office filled in
    //   value  a fixed text for the status, or the value in the format of its definition; without a
    //          definition the value as it stands, or - attribute T - the value that it names. At most 255
    //          characters
    //   mark   of the status: "ok." (D), "?" (W), "!" (C) or ""
    // False, with the outputs empty, when the index, the declaration or the value does not exist.
    bool GetDataField(CMeterInterface* iface, int kind, const char* variant, int index, char* label,
                      int labelSize, char* value, int valueSize, char* mark, int markSize);

    // What stands behind a field: the information text (token 2 of the declaration), sub-fields of the value
    // as they are stored, and the whole declaration. False as for GetDataField.
    bool GetDataFieldInfo(int kind, const char* variant, int index, char* info, int infoSize, char* value,
                          int valueSize, char* attributes, int attributesSize, char* status, int statusSize,
                          char* definition, int definitionSize, char* declaration, int declarationSize);

    // Name of a field and of its value. False for an index that does not exist.
    bool GetDataFieldName(int kind, const char* variant, int index, char* name, int nameSize);

    // Writes the value of a field like SetMeterValue; attributes and definition are kept, and so is what is
    // null. False for an index that does not exist or without a current record.
    bool SetDataFieldValue(int kind, const char* variant, int index, const char* value, const char* status,
                           const char* text);

    // ---- formatting

    // Shows a value as token 1 of its definition says (docs/files.md lists the formats), cut to 255
    // characters.
    //   out  at least 256 bytes, or null; may be `value`. It keeps what it holds when a selection list of the
    //        record does not know the value: empty it first
    // Without a system ini or a data file, and for any other definition, the value as it stands.
    void FormatValue(char* out, const char* value, const char* definition);

    // Writes a number with a decimal point, rounded half away from zero, whatever the locale. -0.001 with two
    // decimals is "-0.00".
    //   dst       at least 22 bytes, or null
    //   digits    width of the integer part, filled with zeros: 1 to 10, others are brought into that range
    //   decimals  0 to 9, others are brought into that range
    // The integer part is at most 9999999999, which (with zeros behind the point) stands for all that is
    // larger. Not-a-number is written as 0.
    void FormatDoubleToString(char* dst, double value, int digits, int decimals);

    // ---- checking

    // Tests a value against the first check token of a definition: "Cl;u" (range; l > u: forbidden band),
    // "Xe" (expected value), "Vname" (equal to another value of the current record).
    //   0  passes, or nothing to check
    //   1  deviates, or cannot be checked (no data file, no such other value)
    //   2  below the lower limit
    //   3  above the upper limit
    int CheckValue(const char* value, const char* definition);

    // ---- reading

    // Asks the meter's parser for every value of the current record whose attributes contain R, stores what
    // it finds with a status - DR, CR (its check found something) or W (so did that of the master value) -
    // and tests the alarm tokens of their definitions. 1 when an alarm holds, else 0, also without a data
    // file, a parser or a current meter.
    int StartParser(CMeterInterface* iface);

    // ---- automatic fields and clearing

    // Calculates the values of the current record whose attributes contain A, and writes those that changed,
    // with status D. One that cannot be calculated stays as it is. `iface` must not be null, and is not used.
    void StartAutoFields(CMeterInterface* iface);

    // Clears values of the current record by the letters of their attributes. Mode 0: C empties the value, ?
    // (without C) makes it "?", U makes the status U. Mode 1: D empties the value and makes the status U. Any
    // other mode does nothing.
    void ClearFields(int mode);

    // ---- placeholders in texts

    // Copies `text` into out of `outSize` bytes. "<#NAME>" becomes the value of NAME in the current record,
    // "<*NAME>" what follows the X (or x) of the first token of its definition that begins with one; a value
    // that the record lacks becomes nothing. Then "\n" and "\N" become CR LF. A name has 1 to 251 characters;
    // what is no such placeholder stays as it is.
    void Substitute(char* out, const char* text, int outSize);

    // ---- functions, commands and options

    // The functions of the current record are its value entries "Func1", "Func2" ... up to the first missing
    // one, at most 59: the value is the function's code, the definition holds its parameters or, for a
    // composite function (codes 1000 to 1999), the functions that it needs. A function is offered when the
    // meter's type supports it, the access level allows it and no list flag withdraws it; a composite one
    // when it has all that it needs.

    // Lists the functions that are offered.
    //   codes, numbers  receive the code of each function and the number of its entry, `capacity` elements;
    //                   may be null
    //   count           receives how many were listed; null: none are listed
    //   mode            0 all, 1 commands, 2 options (the codes in "Options" of the system ini), else none
    //   available       receives the codes of all single functions that are offered, one byte each and a
    //                   zero, cut to fit; left alone when it is null or `availableSize` below 2
    // False, with a count of 0, when the interface does not know the meter's type.
    bool BuildFuncCodeList(CMeterInterface* iface, int* codes, int* numbers, int* count, int capacity,
                           int mode, unsigned char* available, int availableSize);

    // Number of commands and of options that are offered; 0 when the meter's type is not known.
    int GetCommands(CMeterInterface* iface);
    int GetOptions(CMeterInterface* iface);

    // Command or option number `index` (from 0): its text, with the placeholders of a composite function
    // filled; its mark ("?" waiting, "ok." done, "!"), its code and its status letters. A value that the text
    // has no room for is left out. False when there is none.
    bool GetCommand(CMeterInterface* iface, int index, char* text, int textLen, char* mark, int markLen,
                    int* code, char* flags, int flagsLen);
    bool GetOption(CMeterInterface* iface, int index, char* text, int textLen, char* mark, int markLen,
                   int* code, char* flags, int flagsLen);

    // Text of a function code: a display text, a text of the meter interface ("???" when it has none), or a
    // text of the system ini. False, with "?", when there is none.
    bool GetCommandText(CMeterInterface* iface, int code, char* text, int textLen);

    // The first function with that code that is offered: its definition, of a composite function only what
    // will be run; its state (0 none, 1 waiting, 2 status C, 3 done) and state text. False when it is not
    // offered.
    bool GetCommandFormat(CMeterInterface* iface, int code, char* format, int formatLen);
    bool GetCommandState(CMeterInterface* iface, int code, int* state, char* stateText, int stateTextLen);

    // Notes that a function was done (state 3) or waits (any other): writes its status and, unless null, its
    // state text.
    bool SetCommandState(CMeterInterface* iface, int code, int state, const char* stateText);

    // What fills a placeholder.
    //   out     at least 256 bytes; at most 255 characters are written
    //   code    4, 5 or 6: a number or a time out of the argument; 202: the version of a parameter set
    //   arg     "M" or "D" and a number; "I" and YYYYMMDDhhmmss, as far as known; "X", a parameter file and
    //           "{number}"
    //   format  of a time: YYYY MM DD HH NN SS (minutes are N), a single letter without a leading zero, other
    //           characters as they are, "": MM-DD-YYYY; "BODKIN" of a version; "*..." gives "*"
    // "" when there is no such value. Reads the parameter file.
    void FormatSubstValue(char* out, int code, const char* arg, const char* format);

    // ---- items and user stamp

    // Items are entries without sub-fields: their whole text, as it stands. Into dst; false when the key does
    // not exist.
    bool GetMeterItem(const char* key, char* dst, int size);
    bool GetMeterItemMain(const char* key, char* dst, int size);
    bool SetMeterItem(const char* key, const char* text);
    bool SetMeterItemMain(const char* key, const char* text);

    // Stamps the main record of the current meter with the actual user ("UserID") and the local time
    // ("LastChanges", YYYYMMDDhhmmss), and sets the general data "Dirty" to "Yes". True when all three were
    // written.
    bool SetUser();

    // ---- general data and database information

    // A value of section "State" of the app file. Setting or deleting one saves the app file at once; when
    // that fails the error flags of the data file and the app file are set and the result is false.
    bool GetGeneralData(const char* key, char* value, int valueLen);
    bool SetGeneralData(const char* key, const char* value);
    bool DeleteGeneralData(const char* key);

    // True when "Dirty" of the general data is "Yes", ignoring case.
    bool GetDirtyFlag();

    // A value of section "General" of the data file; "DBInfo" is the description, "CompanyID" the company.
    // Setting one saves nothing. Reading is false for a null output or a size below 1.
    bool GetDBInfo(char* info, int infoLen);
    bool GetDBGeneralData(const char* key, char* value, int valueLen);
    bool SetDBGeneralData(const char* key, const char* value);
    bool SetCompany(const char* company);

    // The client number, 1 to 1000; 1 when none is set.
    int GetClient();

    // The user whom stamps name; at most 255 characters are kept. Always true.
    bool SetActualUser(const char* user);

    // Sets the access level and settles whether it is respected ("RespectAccessLevel" of the system ini).
    void SetAccessLevel(int level);

    // ---- raw data

    // Raw data that meters leave as files is gathered into one archive, the raw data file, as blocks that are
    // found by the names of the files. Archives of any size are read piece by piece.

    // Moves files into the archive and, when one is set, into its mirror. `names` lists them with commas
    // between; its characters count by their low bytes, and at most 255 of them. The files stand in the
    // directory "RawPath" of the system ini, or of the application. Each is deleted when its bytes are in the
    // archive and on the medium; one that cannot be copied whole stays, and archive or mirror are as they
    // were before it. Files of the database itself are never moved, and nothing is added to one that a store
    // saves. Always false: what was moved shows in the files that are gone.
    bool CopyRawDataFiles(const wchar_t* names);

    // Opens the archive at the first content byte of the first block of a name. A std::FILE* for reading,
    // which the caller closes with fclose; null when there is no archive or no such block. The block of an
    // empty file is not found while it is the last one.
    //   marker  null, or at least 256 bytes: receives the marker of the block
    void* OpenRawDataFile(const char* name, char* marker);

    // Writes the content of a block into a file, line by line: it ends before the next line that begins like
    // a marker, and a zero byte cuts its line short. The line break before the next block comes along. The
    // file is on the medium on return. False, with an empty file, when there is no such block or a read or
    // write failed; false without a file when it cannot be created, or is a file of the database itself.
    bool ExtractRawDataFile(const char* name, const wchar_t* target);

    // Deletes the archive and its mirror. Always true.
    bool DeleteRawDataFile();

    // ---- types to append

    // Number of the types that users may append, at most 100: "Types" of section "Append_" + language code,
    // or of "Append" when there is no such section. Without a number it is 1 when the template
    // "AppendElectricity" exists, else 0.
    int GetAppendTypes();

    // Name and label of a type, from entry "Type" + number of that section. For a missing entry "Electricity"
    // and "-----" when that template exists, else false.
    bool GetAppendType(int number, char* name, int nameLen, char* label, int labelLen);

    // ---- parameter files

    // Registers a parameter file in the app file with the local time and two texts, and saves the app file. A
    // path that is registered already, ignoring case, keeps its number. A comma in a text shifts the path,
    // which is then not found again; a line break becomes a blank. When the save fails the error flags of the
    // data file and the app file are set.
    void AppendToParameterFilesInAppFile(const char* text1, const char* text2, const wchar_t* path);

    // ---- store meters

    // The meters carried along for exchanges stand in the data file as the records "*_1", "*_2" and so on.
    // Their store fields, the values whose attributes hold S, are what a record takes over from one of them.

    // True when any meter of the route has an action. Reads only; the current record stays.
    bool MeterChangeOrderAvailable();

    // The number of store meters as the data file has it; 0 without one.
    int GetStoreMeters();

    // The store meter (from 1) with a number; 0 when there is none. Numbers are compared as integers: "0042"
    // finds 42. Its number is the value of "0.0.0-nom", or of "0.0.0" when that is missing or empty. The
    // first 100000 store meters are searched.
    int SearchStoreMeter(const char* number);

    // Sub-fields of a value of a store meter, as GetMeterValue hands them out. False for an unknown meter or
    // key.
    bool GetStoreValue(int store, const char* key, char* attributes, int attributesLen, char* status,
                       int statusLen, char* definition, int definitionLen, char* value, int valueLen,
                       char* text, int textLen);

    // True when a store field of the current record was worked on: its status holds D, C or W, and R or E.
    bool CheckStoreFields();

    // Removes the store fields of the current record; one call takes names of up to 4085 characters in all,
    // separators included. True once the record exists.
    bool DeleteStoreFields();

    // Copies the store fields of a store meter into the current record, over entries of the same name.
    // Functions ("Func" and a number) are numbered on behind the highest of the record. False, with nothing
    // changed, when the store meter or the record does not exist, or an entry could not be written.
    bool AppendStoreFields(int store);

protected:
    // Renumbers the records in the order of their headers, which become "[#_N]" also when they have their
    // number in another form, corrects "Meters" and the client number, and saves what changed. Appendices
    // follow the first 10000 meters that are renumbered. Number of meter records, 0 when a save failed. The
    // data file must be open.
    int CheckConsistency();

    // Loads the texts of the current language.
    void DefineTexts();

    // Applies a mode to one display text or to all: 1 forgets it, 2 sets its default, 3 loads it from the
    // store (a missing key changes nothing), 4 releases it. `store` is used by mode 3 only.
    void HandleText(CMeterIniFile* store, int mode, char** slot, const char* section, const char* key,
                    const char* text);
    void HandleAllTexts(CMeterIniFile* store, int mode);

    // The list of a kind, its count, and the name of the section that declares it, cut to 39 characters;
    // outputs that are null are not wanted.
    //   section  40 bytes
    //   list     200 fields; null when there was no memory for them
    void GetPtrToDataFields(int kind, const char* variant, char* section, Type_DataField** list, int** count);

    // Calculates a field of the current record by its name: "MeterID", "NAME-DIFF" or "0.1.0-calc", ignoring
    // case.
    //   recordState  state of the record; with N or E an identifier that was not read is ""
    //   stateField   becomes "U" in that case, at least 2 bytes, else it is kept; null allowed
    //   format       definition of the field: lengths of its result
    //   result       at least 256 bytes; null allowed
    // False, with nothing written, for any other name and when a value that is needed was not read. spare1
    // and spare2 are not used.
    bool CalculateField(const char* recordState, const char* name, char* spare1, char* stateField,
                        char* format, char* result, char* spare2);

    // True when `element` is one of the words of a list, which commas separate; blanks and case count. No
    // list holds the empty word.
    bool IsElementOf(const char* element, const char* list);

    // The first place of a pattern in a buffer, zero bytes included; null without one. A pattern that ends
    // with the buffer is not found.
    char* SearchInBufWithLen(char* buffer, int length, const char* pattern, int patternLength);

    // True when a composite function can be run with the available functions (codes, one byte each, and a
    // zero): each token of its definition names an available function, or begins with O. Setting the clock
    // (101) may be missing while list flag B withdraws it. False without a data file and for a token that
    // names no function.
    bool CheckFunctionList(const char* definition, const unsigned char* available);

    // The catalogue by list mode, see BuildFuncCodeList.
    int GetFunctions(CMeterInterface* iface, int kind);
    bool GetFunction(CMeterInterface* iface, int index, char* text, int textLen, char* mark, int markLen,
                     int* code, char* flags, int flagsLen, int kind);

    static constexpr int kTexts = 35;
    static constexpr int kPathChars = 261;
    static constexpr int kFieldLists = 3;

    struct FieldList {
        Type_DataField* fields;  // 8800 bytes from the local heap, zeroed; null when there was no memory
        std::int32_t count;
    };

    wchar_t m_applicationPath[260];
    wchar_t m_systemIniName[kPathChars];  // as given to SetIniFile
    wchar_t m_systemIniPath[kPathChars];
    wchar_t m_dataFilePath[kPathChars];
    wchar_t m_appFilePath[kPathChars];
    wchar_t m_rawFilePath[kPathChars];
    wchar_t m_parameterRootPath[kPathChars];
    wchar_t m_parameterFilePath[kPathChars];
    wchar_t m_appMirrorPath[kPathChars];
    wchar_t m_dataMirrorPath[kPathChars];
    wchar_t m_rawMirrorPath[kPathChars];
    wchar_t m_downloadedIniPath[kPathChars];
    wchar_t m_downloadedTempPath[kPathChars];
    char* m_texts[kTexts];  // blocks of the local heap; null without memory

public:
    // Switches of the function list, set by the application: A offers the functions 6, 7 and 200, B withdraws
    // 101.
    bool m_functionListFlagA;
    bool m_functionListFlagB;

protected:
    CMeterIniFile* m_dataFile;       // owned; null when no data file is open
    CMeterIniFile* m_systemIni;      // owned; null when none is set
    CMeterIniFile* m_appFile;        // owned; null when no data file is open
    wchar_t m_spareText[256];        // not used
    std::int32_t m_currentMeter;     // from 1; 0: none
    std::int32_t m_currentAppendix;  // from 1; 0: the main record
    char m_actualUser[256];
    char m_masterValue[256];  // name of the value whose failed check gives status W
    char m_languageCode[40];
    std::int32_t m_accessLevel;
    bool m_accessFlag;
    FieldList m_fieldLists[kFieldLists];

private:
    bool HasRecord() const;             // the stores are open and a meter is current
    bool HasRecordSection() const;      // and the data file has the current record
    std::string RecordSection() const;  // of the current record
    std::string MainSection() const;    // of the current meter's main record
    const char* Text(int slot) const;   // never null
    std::string ConfiguredFile(const char* key, bool moduleMode) const;
    bool FindFile(wchar_t (&path)[kPathChars], const char* key, bool moduleMode) const;
    void FindParameterFiles();
    std::string LanguageFile();
    std::string ActionText() const;
    std::string ChangeText() const;
    bool SaveNow(CMeterIniFile& store);
    int BringIntoOrder(std::size_t most);

    struct Field;  // of a list, with what the files hold of it
    const Type_DataField* FieldAt(int kind, const char* variant, int index, char* section);
    std::optional<Field> ReadField(int kind, const char* variant, int index);
    std::string LabelOf(const Field& field) const;
    std::string ShownValue(const Field& field) const;
    std::optional<std::string> Formatted(std::string_view value, std::string_view definition) const;
    std::optional<std::string> Selected(std::string_view value, std::string_view list) const;

    struct Function;
    struct FunctionList;
    bool ListFunctions(CMeterInterface* iface, int mode, int capacity, FunctionList* list);
    bool ReadFunction(int number, Function* function) const;
    bool IsOffered(const Function& function, const std::string& available);
    bool FindFunction(CMeterInterface* iface, int code, Function* function, std::string* available);
    std::string AvailableFunctions(std::string available, const std::string& meterType);
    std::string AccessList(const std::string& meterType);
    std::string FunctionsSection() const;
    bool ShowCommandText(CMeterInterface* iface, int code, char* text, int textLen);
    void ShowFunction(CMeterInterface* iface, const Function& function, char* text, int textLen);
    std::string Filled(std::string text, int textLen, std::string_view definition) const;
    std::string SubstValue(int code, std::string_view argument, std::string_view format) const;

    bool IsStoreFile(const std::wstring& path) const;
    bool IsOwnFile(const std::wstring& path) const;
    std::wstring RawDirectory() const;
    void GatherFile(const std::wstring& directory, std::string_view name) const;
    bool FindBlock(std::FILE* archive, const std::string& marker);
};
