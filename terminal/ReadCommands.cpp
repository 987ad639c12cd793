// `meterdb read`: a whole visit. `meterdb run`: a function of the meter, with a visit when a readout answers
// it.
#include <optional>

#include "terminal/Commands.h"
#include "terminal/Edit.h"
#include "terminal/Functions.h"
#include "terminal/Place.h"
#include "terminal/Reading.h"
#include "terminal/ReadoutInterface.h"
#include "terminal/Record.h"
#include "terminal/Refusal.h"
#include "terminal/Report.h"
#include "terminal/Utf8.h"

namespace {

std::string Named(const Function& function) {
    return "function " + std::to_string(function.code) + " (" + Utf8::Shown(function.text) + ")";
}

Function OfferedFunction(CMeterDatabase& database, ReadoutInterface& meter, const Options& options,
                         const RunRequest& request) {
    if (std::optional<Function> function = FindFunction(database, meter, request.code))
        return *std::move(function);
    const std::string name = Utf8::Shown(request.meter);
    const std::string level = options.level ? " at access level " + std::to_string(*options.level) : "";
    throw Refusal(kRefused, "function " + std::to_string(request.code) + " is not offered for this meter" +
                                level + "; meterdb commands " + name + " and meterdb options " + name +
                                " list those that are. Nothing was changed.");
}

void CheckReadout(const Function& function, bool bringsReadout, bool isGiven) {
    if (bringsReadout && !isGiven)
        throw Refusal(kRefused, Named(function) +
                                    " reads the meter: give the file with its answer. Nothing was changed.");
    if (!bringsReadout && isGiven)
        throw Refusal(kRefused, Named(function) + " is not answered by a readout. Nothing was changed.");
}

void RunWithoutReadout(const Options& options, Installation& installation, Place place,
                       const Function& function, ReadoutInterface& meter, Screen& screen) {
    CMeterDatabase& database = installation.Database();
    const std::vector<RecordText> before = RecordsOfMeter(database);
    NoteDone(database, meter, function.code, "");
    const SavedEdit saved = StampAndSave(database, options.user, before);
    screen.Heading(MeterTitle(database, place));
    screen.Line({Cell("  Done     " + Utf8::Shown(function.text), Tone::Good)});
    ShowSaved(saved, installation, screen);
}

}  // namespace

void ReadMeter(const Options& options, const ReadRequest& request, Screen& screen) {
    const LoadedReadout loaded = LoadReadout(request.readout);
    Installation installation(options);
    const Place place = SelectMeter(installation.Database(), request.meter);
    MeterType type;  // nothing is run
    TakeReadout(installation, place, {loaded.readout, type, options.user, std::nullopt},
                {request.readout, loaded.bytes, "", request.force}, screen);
}

void RunFunction(const Options& options, const RunRequest& request, Screen& screen) {
    const bool isGiven = !request.readout.empty();
    const LoadedReadout loaded = isGiven ? LoadReadout(request.readout) : LoadedReadout();
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    const Place place = SelectMeter(database, request.meter);
    const MeterType type = TypeOfMeter(installation);
    ReadoutInterface meter(loaded.readout, type);
    const Function function = OfferedFunction(database, meter, options, request);
    CheckReadout(function, BringsReadout(database, meter, type, function.code), isGiven);
    if (!isGiven)
        RunWithoutReadout(options, installation, place, function, meter, screen);
    else
        TakeReadout(installation, place, {loaded.readout, type, options.user, function.code},
                    {request.readout, loaded.bytes, function.text, request.force}, screen);
}
