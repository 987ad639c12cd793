#include "terminal/RawArchive.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>

#include "MeterUtil/Text.h"
#include "terminal/Record.h"
#include "terminal/Refusal.h"
#include "terminal/Utf8.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kRawFile = "RawFile";
constexpr const char* kRawPath = "RawPath";
constexpr const char* kNothingChanged = ". Nothing was changed.";
constexpr std::size_t kNameBytes = 229;  // that a marker has room for

// ---- names and files

bool CanBeABlock(const std::string& name) {
    const bool isPlain = std::all_of(name.begin(), name.end(), [](char c) {
        return static_cast<unsigned char>(c) >= ' ' && !MeterText::Contains(",/\\", c);
    });
    return isPlain && !name.empty() && name.size() <= kNameBytes;
}

// The library takes a list of names by the low bytes of its characters.
std::wstring ListOf(const std::string& name) {
    std::wstring list;
    for (const char c : name)
        list.push_back(static_cast<wchar_t>(static_cast<unsigned char>(c)));
    return list;
}

bool Exists(const fs::path& path) {
    std::error_code ignored;
    return fs::exists(path, ignored);
}

fs::path InSpool(Installation& installation, const std::string& file) {
    return installation.FilePath(kRawPath) / fs::u8path(file);
}

// A name that no file in the directory has.
std::string FreeName(const fs::path& directory, const std::string& wanted) {
    const fs::path parts = fs::u8path(wanted);
    std::string name = wanted;
    for (int copy = 2; Exists(directory / fs::u8path(name)); ++copy)
        name = parts.stem().u8string() + "-" + std::to_string(copy) + parts.extension().u8string();
    return name;
}

// Writes a new file by `write`, which gets the stream and tells whether there was everything to write.
template <typename Write>
void WriteNewFile(const fs::path& path, Write write) {
    std::ofstream file(path, std::ios::binary);
    const bool written = file && write(file);
    file.close();
    if (file && written)
        return;
    std::error_code ignored;
    fs::remove(path, ignored);
    throw Refusal(kFileFailed, "the file " + Utf8::Shown(path.u8string()) + " cannot be written");
}

// ---- the archive

struct CloseStream {
    void operator()(std::FILE* stream) const { static_cast<void>(std::fclose(stream)); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

Stream OpenArchive(Installation& installation) {
    return Stream(std::fopen(installation.FilePath(kRawFile).string().c_str(), "rb"));
}

// Goes to the content of a block by its number; its name, nothing when there is no such block.
std::optional<std::string> GoToBlock(BlockScanner* scanner, const std::string& number) {
    if (!IsCount(number))
        return std::nullopt;
    std::optional<std::string> name;
    for (int left = MeterText::ToInt(number); left > 0; --left)
        if (name = scanner->Next([](std::string_view) {}); !name)
            break;
    return name;
}

void WriteContent(BlockScanner* scanner, std::FILE* archive, const fs::path& path) {
    WriteNewFile(path, [scanner, archive](std::ofstream& file) {
        scanner->Next([&file](std::string_view bytes) {
            file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        });
        return std::ferror(archive) == 0;
    });
}

}  // namespace

std::string RawArchive::SpoolName() const {
    const std::string name = m_installation.FileName(kRawPath);
    return name.empty() ? "the directory of the application" : name;
}

std::vector<RawBlock> RawArchive::Blocks() const {
    if (!Exists(m_installation.FilePath(kRawFile)))
        return {};
    const Stream archive = OpenArchive(m_installation);
    std::vector<RawBlock> blocks = archive == nullptr ? std::vector<RawBlock>() : ListBlocks(archive.get());
    if (archive == nullptr || std::ferror(archive.get()) != 0)
        throw Refusal(kFileFailed, "the archive " + Name() + " cannot be read");
    return blocks;
}

// ---- adding

std::uintmax_t RawArchive::SpooledBytes(const std::string& file) const {
    if (!CanBeABlock(file))
        throw Refusal(kRefused, "\"" + Utf8::Shown(file) + "\" is no name of a file in " + SpoolName() +
                                    ": it has up to 229 characters, no directory and no comma" +
                                    kNothingChanged);
    const fs::path path = InSpool(m_installation, file);
    std::error_code failure;
    if (!fs::is_regular_file(path, failure))
        throw Refusal(kRefused,
                      "there is no file " + Utf8::Shown(file) + " in " + SpoolName() + kNothingChanged);
    if (m_installation.Needs(path))
        throw Refusal(kRefused, Utf8::Shown(file) + " belongs to the installation" + kNothingChanged);
    return fs::file_size(path, failure);
}

void RawArchive::Add(const std::string& file) const {
    m_installation.Database().CopyRawDataFiles(ListOf(file).c_str());
    if (Exists(InSpool(m_installation, file)))
        throw Refusal(kFileFailed, Utf8::Shown(file) + " could not be moved into the archive " + Name() +
                                       ": it stays in " + SpoolName());
}

std::string RawArchive::AddBytes(std::string_view bytes, const std::string& name) const {
    std::string file = FreeName(m_installation.FilePath(kRawPath), name);
    WriteNewFile(InSpool(m_installation, file), [bytes](std::ofstream& stream) {
        stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return true;
    });
    Add(file);
    return file;
}

// ---- extracting and deleting

std::string RawArchive::Extract(const std::string& block, const std::string& output) const {
    Stream archive(
        static_cast<std::FILE*>(m_installation.Database().OpenRawDataFile(block.c_str(), nullptr)));
    const bool isNamed = archive != nullptr;
    if (!isNamed)
        archive = OpenArchive(m_installation);
    BlockScanner scanner(archive.get());
    const std::optional<std::string> name =
        isNamed || archive == nullptr ? std::optional(block) : GoToBlock(&scanner, block);
    if (archive == nullptr || !name)
        throw Refusal(kRefused, "the archive " + Name() + " has no block \"" + Utf8::Shown(block) +
                                    "\"; meterdb archive list shows those that it has");
    if (output.empty() && !CanBeABlock(*name))
        throw Refusal(kRefused,
                      "a file cannot be called " + Utf8::Shown(*name) + ": --output gives it a name");
    std::string file = output.empty() ? *name : output;
    if (Exists(fs::u8path(file)))
        throw Refusal(kRefused, "there is a file " + Utf8::Shown(file) +
                                    " already: --output names another one" + kNothingChanged);
    WriteContent(&scanner, archive.get(), fs::u8path(file));
    return file;
}

void RawArchive::Delete() const {
    const fs::path path = m_installation.FilePath(kRawFile);
    if (!Exists(path))
        throw Refusal(kRefused, "there is no archive " + Name() + kNothingChanged);
    m_installation.Database().DeleteRawDataFile();
    if (Exists(path))
        throw Refusal(kFileFailed, "the archive " + Name() + " could not be deleted");
}
