// The commands of the program. Each writes to the screen and throws a Refusal when it cannot do what was
// asked. A meter is given by the number of its record ("3", "3/1" for its appendix 1) or by its own number.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "terminal/Installation.h"
#include "terminal/Screen.h"

// ---- the route

struct RouteRequest {
    std::vector<std::string> columns;  // names of values; none: what tells a person where to go
};

// Shows every meter of the route with its state and what is to be done with it.
void ShowRoute(const Options& options, const RouteRequest& request, Screen& screen);

// ---- records

struct ShowRequest {
    std::string meter;
    bool raw = false;  // the lines of the record as they stand
};

// Shows the data fields of a meter.
void ShowRecord(const Options& options, const ShowRequest& request, Screen& screen);

struct SetRequest {
    std::string meter;
    std::string field;
    std::string value;  // "" clears the field
};

// Enters the value of a data field by hand, and calculates what depends on it.
void SetField(const Options& options, const SetRequest& request, Screen& screen);

struct StateRequest {
    std::string meter;
    std::optional<std::string> state;
};

// Shows the state of a meter, or gives it another one.
void ShowOrSetState(const Options& options, const StateRequest& request, Screen& screen);

struct ItemRequest {
    std::string meter;
    std::string key;
    std::optional<std::string> text;
};

// Shows an entry of a record as it stands, or writes it.
void ShowOrSetItem(const Options& options, const ItemRequest& request, Screen& screen);

struct ClearRequest {
    std::string meter;
    int mode = 0;
};

// Clears the values of a record whose attributes say so.
void ClearRecord(const Options& options, const ClearRequest& request, Screen& screen);

struct GeneralRequest {
    std::optional<std::string> key;  // none: all of them
    std::optional<std::string> value;
};

// Shows the values of the whole route, or gives one of them another text.
void ShowOrSetGeneral(const Options& options, const GeneralRequest& request, Screen& screen);

struct AppendRequest {
    std::string type;
};

// Adds a meter of one of the installation's types to the route.
void AppendMeter(const Options& options, const AppendRequest& request, Screen& screen);

struct DeleteRequest {
    std::string meter;
    bool yes = false;  // without asking
};

// Deletes a meter, appendices included, from the route.
void DeleteMeter(const Options& options, const DeleteRequest& request, Screen& screen);

struct WipeRequest {
    bool yes = false;  // without asking
};

// Deletes the route and its archive; an empty route is left.
void WipeRoute(const Options& options, const WipeRequest& request, Screen& screen);

struct TypesRequest {};

// Shows the types that can be appended.
void ShowTypes(const Options& options, const TypesRequest& request, Screen& screen);

// ---- reading

struct ReadRequest {
    std::string meter;
    std::string readout;  // name of a file
    bool force = false;   // also when the readout is of another meter
};

// Takes a meter's readout into its record.
void ReadMeter(const Options& options, const ReadRequest& request, Screen& screen);

// ---- whole installations

struct ExportRequest {
    std::string output;  // name of a file; "": the screen
    bool jsonLines = false;
};

// Writes every value of the route as CSV, or every record as a line of JSON.
void ExportRecords(const Options& options, const ExportRequest& request, Screen& screen);

struct ReportRequest {
    std::string output;  // name of a file
};

// Writes the route as a page for a browser.
void WriteReport(const Options& options, const ReportRequest& request, Screen& screen);

struct SimulateRequest {
    std::string folder;  // is made
    int meters = 100;
    std::uint64_t seed = 1;
    int done = 60;      // share of meters that were read, in percent
    int readouts = 20;  // files with answers of meters that are to be read
};

// Makes an installation of made-up meters.
void SimulateInstallation(const Options& options, const SimulateRequest& request, Screen& screen);

struct CheckRequest {
    std::string file;    // a data file alone; "": the installation
    bool fix = false;    // repair what can be repaired without loss
    bool all = false;    // show every finding
    bool rules = false;  // show what is looked for
};

// Shows what would go wrong in the field. Ends with kRefused when that is more than notes.
void CheckFiles(const Options& options, const CheckRequest& request, Screen& screen);

// ---- functions of a meter

struct CatalogueRequest {
    std::string meter;
};

// Show the commands or the options that are offered for a meter.
void ShowCommands(const Options& options, const CatalogueRequest& request, Screen& screen);
void ShowOptions(const Options& options, const CatalogueRequest& request, Screen& screen);

struct RunRequest {
    std::string meter;
    int code = 0;
    std::string readout;  // name of a file; "" for a function that is not answered by one
    bool force = false;   // also when the readout is of another meter
};

// Runs a function of a meter and notes that it was done.
void RunFunction(const Options& options, const RunRequest& request, Screen& screen);

// ---- the raw data archive

struct ArchiveAddRequest {
    std::vector<std::string> files;  // names in the spool directory
};

// Moves files of the spool directory into the archive.
void AddToArchive(const Options& options, const ArchiveAddRequest& request, Screen& screen);

struct ArchiveListRequest {};

// Shows the blocks of the archive.
void ListArchive(const Options& options, const ArchiveListRequest& request, Screen& screen);

struct ArchiveExtractRequest {
    std::string block;   // its name or its number
    std::string output;  // name of a file; "": that of the block
};

// Writes a block of the archive into a file.
void ExtractFromArchive(const Options& options, const ArchiveExtractRequest& request, Screen& screen);

struct ArchiveDeleteRequest {
    bool yes = false;  // without asking
};

// Deletes the archive.
void DeleteArchive(const Options& options, const ArchiveDeleteRequest& request, Screen& screen);

// ---- the store

struct StoreListRequest {};

// Shows the meters that are carried along for exchanges, and which of them are free.
void ListStore(const Options& options, const StoreListRequest& request, Screen& screen);

struct StoreFindRequest {
    std::string number;  // of a meter
};

// Shows the store meter with a number.
void FindInStore(const Options& options, const StoreFindRequest& request, Screen& screen);

struct StoreMountRequest {
    std::string meter;
    std::string store;  // number in the store or of the meter
};

// Takes a store meter into the record of a meter that is to be exchanged or mounted.
void MountFromStore(const Options& options, const StoreMountRequest& request, Screen& screen);

// ---- parameter files

struct ParametersRequest {
    std::optional<std::string> file;  // to be registered; none: the register is shown
    std::string whom;
    std::string what;
};

// Shows the register of parameter files, or enters one into it.
void ShowOrRegisterParameters(const Options& options, const ParametersRequest& request, Screen& screen);
