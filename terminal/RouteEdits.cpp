// `meterdb append`, `delete` and `wipe`: which meters the route has.
#include <filesystem>

#include "MeterUtil/Text.h"
#include "terminal/AppendTypes.h"
#include "terminal/Commands.h"
#include "terminal/Edit.h"
#include "terminal/Place.h"
#include "terminal/Record.h"
#include "terminal/Refusal.h"
#include "terminal/Report.h"
#include "terminal/SaveListener.h"
#include "terminal/Utf8.h"

namespace {

// The type as the installation writes it.
std::string OfferedType(CMeterDatabase& database, const std::string& wanted) {
    std::vector<std::string> names;
    for (const AppendType& type : AppendTypes(database)) {
        if (MeterText::EqualIgnoringCase(type.name, wanted))
            return type.name;
        names.push_back(type.name);
    }
    throw Refusal(kRefused, "no meter of type \"" + Utf8::Shown(wanted) +
                                "\" can be appended: the installation has " +
                                (names.empty() ? "no types" : Joined(names)) + ". Nothing was changed.");
}

std::string MovedDown(int meters) {
    if (meters == 0)
        return "Deleted";
    return "Deleted; " +
           (meters == 1 ? std::string("the meter behind it has")
                        : "the " + std::to_string(meters) + " meters behind it have") +
           " moved down by one";
}

}  // namespace

void AppendMeter(const Options& options, const AppendRequest& request, Screen& screen) {
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    const std::string type = OfferedType(database, request.type);
    const int meter = database.AppendNewMeterToDataFile(type.c_str());
    if (meter == 0)
        throw Refusal(kRefused, "the installation has no template for type \"" + Utf8::Shown(type) +
                                    "\". Nothing was changed.");
    database.SetAppendix(0);
    const SavedEdit saved = StampAndSave(database, options.user, {});

    screen.Heading(MeterTitle(database, {meter, 0}));
    screen.Line({Cell("  State    " + Utf8::Shown(StateAndAction(database)))});
    ShowSaved(saved, installation, screen);
}

void DeleteMeter(const Options& options, const DeleteRequest& request, Screen& screen) {
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    const Place place = SelectMeter(database, request.meter);
    if (place.appendix != 0)
        throw Refusal(kRefused, "an appendix is deleted with its meter only: say " +
                                    ToText({place.meter, 0}) + ". Nothing was changed.");
    const std::string title = MeterTitle(database, place);
    if (!request.yes && !screen.Agrees(title + "\nDelete this meter with its appendices?"))
        throw Refusal(kRefused, "Nothing was changed.");
    const int metersBehind = database.GetNumberOfMeters() - place.meter;
    const SavedEdit saved = DeleteAndSave(database);

    screen.Heading(title);
    screen.Line({Cell("  " + MovedDown(metersBehind))});
    ShowSaved(saved, installation, screen);
}

void WipeRoute(const Options& options, const WipeRequest& request, Screen& screen) {
    Installation installation(options);
    CMeterDatabase& database = installation.Database();
    const std::string what = installation.FileName("DataFile") + " with " +
                             CountOf(database.GetNumberOfMeters(), "meter", "meters") +
                             ", and the archive of what they answered";
    if (!request.yes && !screen.CanAsk())
        throw Refusal(kWrongUse, "nobody can be asked here: --yes deletes the route without asking");
    if (!request.yes && !screen.Agrees("Delete " + what + "?"))
        throw Refusal(kRefused, "Nothing was changed.");
    const SaveListener saves;
    database.DeleteAllData();
    if (database.GetNumberOfMeters() != 0 || std::filesystem::exists(installation.FilePath("RawFile")))
        throw Refusal(kFileFailed, "not all files could be deleted");
    // An empty file is a route that meters can be appended to.
    database.UpdateDatabaseForeground();
    if (!saves.Reason().empty())
        throw Refusal(kFileFailed, saves.Reason() + ". " + what + ", is deleted.");
    screen.Line({Cell("Deleted " + what)});
}
