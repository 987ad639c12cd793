// The meter interface: what the reading application implements for one kind of meter, and what the database
// asks of it. It knows how a meter is reached and how its answer is parsed; the database knows neither.
//
// The database is in the midst of its work on a record when it calls. An implementation may read from the
// database that calls it, but it must not change anything there, move to another record or close a file.
#pragma once

class CMeterInterface {
public:
    virtual ~CMeterInterface() = default;

    // Prepares the parser for one run over the meter's last answer.
    //   monthsSinceHistory  months since the last history reading of the record, 0 to 99; 0 when unknown
    // The result is not used.
    virtual bool OpenParser(int monthsSinceHistory) = 0;

    // Looks a value up in the parsed answer.
    //   name       name of the value entry, terminated, at most 255 characters
    //   value      receives the value as terminated text; holds "" on entry
    //   valueSize  bytes in value, terminator included
    //   status     the entry's status letters so far, at most 255 characters; what is written there is ignored
    // True when the answer holds the value and it was written.
    virtual bool SearchValue(char* name, char* value, int valueSize, char* status) = 0;

    // Ends the run that OpenParser began. The result is not used.
    virtual bool CloseParser() = 0;

    // Number of the meter type that is connected or selected. `name` is null: the name is not wanted.
    virtual int GetActualMeterType(char* name) = 0;

    // Describes a meter type.
    //   type       a number that GetActualMeterType gave
    //   number     null: not wanted
    //   name       receives the name of the type, 40 bytes
    //   maker      null: not wanted
    //   functions  receives the codes of the functions that the type supports, one byte each, and a closing
    //              zero; 256 bytes
    // False when the type is unknown.
    virtual bool GetMeterType(int type, int* number, char* name, char* maker, unsigned char* functions) = 0;

    // Gives a text of the current meter type under a key such as "MeterTypeDialog[0]".
    //   buffer     holds "???" on entry; is shown as it is left
    //   bufferLen  bytes in buffer, terminator included
    //   result     may receive a number, which is not read
    // The result is not used.
    virtual bool GetSpecialData(char* key, void* buffer, int bufferLen, int* result) = 0;
};
