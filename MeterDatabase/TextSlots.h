// The display texts of the database by their places in the text table: command texts, states of records and
// plants, actions on meters.
#pragma once

#include <iterator>

namespace MeterRecords {

enum TextSlot {
    kReadStandardList,
    kReadList2,
    kReadList3,
    kReadStandardWithRadio,
    kReadActualValues,
    kDetermineMeterType,
    kReadLoadProfile,
    kReadLogbook,
    kReadValueProfile,
    kReadDateTime,
    kSetDateTime,
    kMaximumDemandReset,
    kClearError,
    kTableActualValues,
    kReadConfiguration,
    kWriteConfiguration,
    kShowActualState,
    kStateNew,
    kStateInfoRecord,
    kStateInUse,
    kStateUnhandled,
    kStateHandled,
    kStateCardLeft,
    kStateReadOnly,
    kStateDeferred,
    kSaveError,
    kActionChange,
    kActionChangeable,
    kActionUnmount,
    kActionUnmountable,
    kActionMount,
    kActionReadOut,
    kActionCollect,
    kActionSwitchOn,
    kActionSwitchOff,
    kTextSlots
};

struct DisplayText {
    const char* key;  // spelled as the language files in the field have it
    const char* text;
};

inline constexpr DisplayText kDisplayTexts[] = {
    {"RawMeterReadingStandart", "read standard list"},
    {"RawList2", "read list 2"},
    {"RawList3", "read list 3"},
    {"RawMeterReadingStdRF", "read standard with radio"},
    {"RawActualValues", "read actual values"},
    {"RawDetermineMetertype", "determine metertype"},
    {"RawLoadProfile", "read load profile"},
    {"RawLogfile", "read logbook"},
    {"RawValueProfile", "read value profile"},
    {"RawGetDateTime", "read date / time"},
    {"RawSetDateTime", "set  date / time"},
    {"RawDoMaxReset", "maximum demand reset"},
    {"RawDoClearError", "clear error"},
    {"RawDoGetActualValues", "table/graphic actual values"},
    {"RawDoGetParams", "read configuration"},
    {"RawDoSetParams", "write configuration"},
    {"RawDoShowStateStd", "show actual state"},
    {"RawNewDataRecord", "new appended"},
    {"RawInfoRecord", "info record"},
    {"RawInUse", "in modification"},
    {"RawNotUsed", "unhandled"},
    {"RawUsed", "handled"},
    {"RawCardLeft", "card left"},
    {"RawReadOnly", "read only"},
    {"RawDeferPlant", "deferred"},
    {"RawSaveError", "save error"},
    {"ActionMeterChange", "change"},
    {"ActionMeterChangeable", "marked to change"},
    {"ActionMeterUnmount", "unmount"},
    {"ActionMeterUnmountable", "marked to unmount"},
    {"ActionMeterMount", "mount"},
    {"ActionMeterReadout", "read out"},
    {"ActionMeterCollect", "collect"},
    {"ActionMeterSwitchOn", "switch on"},
    {"ActionMeterSwitchOff", "switch off"},
};
static_assert(std::size(kDisplayTexts) == kTextSlots, "every slot has its key and default");

}  // namespace MeterRecords
