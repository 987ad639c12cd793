// The display texts of the database by their places in the text table: command texts, states of records and
// plants, actions on meters. Keys and default texts stand in Core.cpp.
#pragma once

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

}  // namespace MeterRecords
