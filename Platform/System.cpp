// The implementation of the seam for the system that the libraries are built for.
#if defined(_WIN32)
#include "Platform/SystemWindows.cpp"
#else
#include "Platform/SystemPosix.cpp"
#endif
