// Calls of Windows CE that the headers of desktop Windows do not declare. The Windows unit of the platform is
// compiled with them once in the way of Windows CE, to see which calls it makes.
#pragma once

#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

extern "C" {
__declspec(dllimport) BOOL WINAPI CeGenRandom(DWORD size, BYTE* bytes);
__declspec(dllimport) BOOL WINAPI DeleteAndRenameFile(const wchar_t* target, const wchar_t* source);
__declspec(dllimport) void WINAPI SystemIdleTimerReset();
}
