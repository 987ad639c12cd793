// The archive of raw meter data: files that meters left behind, one block after the other. Owns the form of a
// block, the rule by which a block is found, and the rule that a gathered file is deleted only when its bytes
// are in the archive and on the medium. Adding a file to the archive whole or not at all is the platform's
// work: a block that a power cut left half written has no whole marker, so no search finds it.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>

#include "MeterDatabase/MeterDatabase.h"
#include "MeterDatabase/StoreAccess.h"
#include "MeterUtil/Text.h"
#include "Platform/Platform.h"

using namespace MeterRecords;

namespace {

constexpr int kMarkerBytes = 256;
constexpr std::size_t kNameListChars = 255;
constexpr std::size_t kWindowBytes = std::size_t{16} * 1024;  // of the archive that are searched at once
constexpr int kLineBytes = 1024;  // of a line that is extracted at once, terminator included

constexpr std::string_view kMarkerStart = "<<<<<~~~~~(";
constexpr std::string_view kMarkerEnd = ")~~~~~>>>>>";

std::string Marker(std::string_view name) {
    std::string marker = "\r\n";
    marker.append(kMarkerStart).append(name).append(kMarkerEnd).append("\r\n");
    marker.resize(std::min<std::size_t>(marker.size(), kMarkerBytes - 1));
    return marker;
}

struct CloseStream {
    void operator()(std::FILE* stream) const { static_cast<void>(std::fclose(stream)); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

// The low bytes of the characters, up to the first that is zero.
std::string LowBytes(std::wstring_view text) {
    std::string bytes;
    for (const wchar_t c : text.substr(0, kNameListChars))
        bytes += static_cast<char>(static_cast<unsigned>(c) & 0xFF);
    return bytes.substr(0, bytes.find('\0'));
}

// Copies lines of text up to the next marker. A zero byte ends the text of its line.
bool CopyLines(std::FILE* archive, std::FILE* target) {
    char line[kLineBytes];
    while (std::fgets(line, kLineBytes, archive) != nullptr) {
        const std::string_view text = line;
        if (text.substr(0, kMarkerStart.size()) == kMarkerStart)
            return true;
        if (std::fwrite(text.data(), 1, text.size(), target) != text.size())
            return false;
    }
    return std::ferror(archive) == 0;
}

}  // namespace

// A file that a store saves: blocks that were put into it would be gone with the next save.
bool CMeterDatabase::IsStoreFile(const std::wstring& path) const {
    const wchar_t* const files[] = {m_dataFilePath, m_appFilePath, m_systemIniPath, m_dataMirrorPath,
                                    m_appMirrorPath};
    return std::any_of(std::begin(files), std::end(files), [&path](const wchar_t* file) {
        return file[0] != L'\0' && Platform::SamePath(path, file);
    });
}

// A file of the database: no raw data that could be moved, and no place to extract any to.
bool CMeterDatabase::IsOwnFile(const std::wstring& path) const {
    return Platform::SamePath(path, m_rawFilePath) ||
           (m_rawMirrorPath[0] != L'\0' && Platform::SamePath(path, m_rawMirrorPath)) || IsStoreFile(path);
}

// ---- gathering

bool CMeterDatabase::CopyRawDataFiles(const wchar_t* names) try {
    if (m_systemIni == nullptr || m_dataFile == nullptr)
        return false;
    const std::string list = LowBytes(MeterText::View(names));
    if (list.empty() || list.front() == ',' || IsStoreFile(m_rawFilePath))
        return false;
    const std::wstring directory = RawDirectory();
    MeterText::TokenReader files(list);
    for (std::string_view name; files.Next(&name);)
        GatherFile(directory, name);
    return false;
} catch (const std::bad_alloc&) {
    return false;
}

std::wstring CMeterDatabase::RawDirectory() const {
    std::wstring base = m_applicationPath;
    const std::wstring path =
        Platform::WideFromNarrow(ReadText(*m_systemIni, "System", "RawPath").value_or(""));
    if (path.empty())
        return base;
    return Platform::IsAbsolutePath(path) ? path : base + L"\\" + path;
}

// Moves a file into the archive. The mirror gets no block that the archive has not.
void CMeterDatabase::GatherFile(const std::wstring& directory, std::string_view name) const {
    const std::wstring source = directory + L"\\" + Platform::WideFromNarrow(name);
    if (name.empty() || IsOwnFile(source))
        return;
    const std::string marker = Marker(name);
    if (!Platform::AppendFile(m_rawFilePath, marker, source))
        return;
    if (m_rawMirrorPath[0] != L'\0' && !Platform::SamePath(m_rawFilePath, m_rawMirrorPath) &&
        !IsStoreFile(m_rawMirrorPath))
        Platform::AppendFile(m_rawMirrorPath, marker, source);
    Platform::DeleteFileW(source.c_str());
}

// ---- reading

// Moves to the first content byte of the first block with this marker. What could be the beginning of a
// marker is searched again with what follows it.
bool CMeterDatabase::FindBlock(std::FILE* archive, const std::string& marker) {
    std::string window(kWindowBytes, '\0');
    const std::size_t length = marker.size();
    for (std::size_t kept = 0;; kept = length) {
        const std::size_t filled = kept + std::fread(&window[kept], 1, kWindowBytes - kept, archive);
        const char* const found = SearchInBufWithLen(window.data(), static_cast<int>(filled), marker.data(),
                                                     static_cast<int>(length));
        if (found != nullptr) {
            const std::ptrdiff_t behind = window.data() + filled - (found + length);
            return Platform::StepBack(archive, static_cast<std::uint64_t>(behind));
        }
        if (filled < kWindowBytes)
            return false;
        std::memmove(window.data(), window.data() + filled - length, length);
    }
}

void* CMeterDatabase::OpenRawDataFile(const char* name, char* marker) try {
    MeterText::CopyText(marker, kMarkerBytes, {});
    if (m_systemIni == nullptr || m_dataFile == nullptr)
        return nullptr;
    Stream archive(Platform::_wfopen(m_rawFilePath, L"rb"));
    if (archive == nullptr)
        return nullptr;
    const std::string wanted = Marker(MeterText::View(name));
    MeterText::CopyText(marker, kMarkerBytes, wanted);
    return FindBlock(archive.get(), wanted) ? archive.release() : nullptr;
} catch (const std::bad_alloc&) {
    return nullptr;
}

bool CMeterDatabase::ExtractRawDataFile(const char* name, const wchar_t* target) try {
    if (m_systemIni == nullptr || m_dataFile == nullptr || target == nullptr || IsOwnFile(target))
        return false;
    Stream extracted(Platform::_wfopen(target, L"wb"));
    if (extracted == nullptr)
        return false;
    const Stream archive(static_cast<std::FILE*>(OpenRawDataFile(name, nullptr)));
    if (archive == nullptr)
        return false;
    const bool copied = CopyLines(archive.get(), extracted.get()) && Platform::FlushStream(extracted.get());
    if (std::fclose(extracted.release()) == 0 && copied)
        return true;
    extracted.reset(Platform::_wfopen(target, L"wb"));  // half a block would pass for a whole one
    return false;
} catch (const std::bad_alloc&) {
    return false;
}

bool CMeterDatabase::DeleteRawDataFile() {
    Platform::DeleteFileW(m_rawFilePath);
    if (m_rawMirrorPath[0] != L'\0')
        Platform::DeleteFileW(m_rawMirrorPath);
    return true;
}
