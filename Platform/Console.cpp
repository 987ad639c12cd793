// The console of the system that the program is built for.
#if defined(_WIN32)
#include "Platform/ConsoleWindows.cpp"
#else
#include "Platform/ConsolePosix.cpp"
#endif
