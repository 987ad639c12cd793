// The real system under another name, for a unit that puts a system of its own in its place: that unit
// defines the calls that it changes, and has the real ones as Platform::RealSystem. Calls that nobody changes
// - text, the form of paths, memory that is given back - go straight through. For one unit of a program.
#pragma once

#include "Platform/System.h"

namespace Platform::RealSystem {
using System::File;
using System::FileState;
using System::kBytesPerWide;
using System::Kind;
using System::kNoFile;
using System::RenameResult;
}  // namespace Platform::RealSystem
#define System RealSystem
#include "Platform/System.cpp"
#undef System

namespace Platform::System {

void Release(void* block) noexcept {
    RealSystem::Release(block);
}

void UseLargePages(void* block, std::size_t bytes) noexcept {
    RealSystem::UseLargePages(block, bytes);
}

std::size_t Widen(std::string_view text, wchar_t* dst, std::size_t room) noexcept {
    return RealSystem::Widen(text, dst, room);
}

std::size_t Narrow(std::wstring_view text, char* dst, std::size_t room) noexcept {
    return RealSystem::Narrow(text, dst, room);
}

bool IsAbsolute(std::wstring_view path) noexcept {
    return RealSystem::IsAbsolute(path);
}

std::size_t NamePosition(std::wstring_view path) noexcept {
    return RealSystem::NamePosition(path);
}

bool SameLetters(std::wstring_view first, std::wstring_view second) noexcept {
    return RealSystem::SameLetters(first, second);
}

bool StepBack(std::FILE* stream, std::uint64_t bytes) noexcept {
    return RealSystem::StepBack(stream, bytes);
}

}  // namespace Platform::System
