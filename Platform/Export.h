// What a shared library shows to its users. Each public class carries the macro of its library; everything
// else stays hidden. Nothing is marked as imported: the public classes have no data outside their objects,
// and functions reach their library without it.
#pragma once

#if defined(_WIN32)
#define METER_EXPORTED_SYMBOL __declspec(dllexport)
#else
#define METER_EXPORTED_SYMBOL __attribute__((visibility("default")))
#endif

#if defined(METERUTIL_BUILDING) || !defined(_WIN32)
#define METERUTIL_API METER_EXPORTED_SYMBOL
#else
#define METERUTIL_API
#endif

#if defined(METERDATABASE_BUILDING) || !defined(_WIN32)
#define METERDATABASE_API METER_EXPORTED_SYMBOL
#else
#define METERDATABASE_API
#endif
