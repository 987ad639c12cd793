// What a shared library shows to its users. Its public class carries this mark; which of the class's names
// are shown says cmake/exports/. On Windows that list alone decides, and nothing is marked as imported: the
// public classes have no data outside their objects, and functions reach their library without it.
#pragma once

#if defined(_WIN32)
#define METER_PUBLIC_CLASS
#else
#define METER_PUBLIC_CLASS __attribute__((visibility("default")))
#endif
