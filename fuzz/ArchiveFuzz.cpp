// Archives of any bytes: what is gathered is found again, whatever was in the archive before, and the list of
// the blocks agrees with the look-up of one.
#include "MeterDatabase/MeterDatabase.h"
#include "Platform/Platform.h"
#include "fuzz/MemoryDisk.h"
#include "fuzz/Script.h"
#include "terminal/RawBlocks.h"

namespace {

constexpr std::string_view kSystemIni =
    "[System]\nAppFile=app.ini\nRawFile=raw.dat\nDataFile=data.ini\nRawPath=spool\n";

using Stream = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

Stream OpenBlock(CMeterDatabase* database, const std::string& name) {
    Output marker(256);
    Stream block(static_cast<std::FILE*>(database->OpenRawDataFile(name.c_str(), marker.Data())),
                 std::fclose);
    if (block)
        static_cast<void>(marker.Text());
    return block;
}

std::string Bytes(std::FILE* stream, std::size_t most) {
    std::string bytes(most, '\0');
    bytes.resize(std::fread(bytes.data(), 1, most, stream));
    return bytes;
}

bool IsName(const std::string& name) {
    return !name.empty() && name.size() < 100 &&
           name.find_first_of(",/\\\r\n()<>~ \"") == std::string::npos &&
           Platform::NarrowFromWide(Platform::WideFromNarrow(name)) == name &&
           std::all_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// A file that is gone is whole in the archive, behind what was there.
void Gather(CMeterDatabase* database, const std::string& name, const std::string& content) {
    const std::string before = MemoryDisk::Read("raw.dat");
    MemoryDisk::Write("spool/" + name, content);
    database->CopyRawDataFiles(Platform::WideFromNarrow(name).c_str());
    const std::string archive = MemoryDisk::Read("raw.dat");
    Require(archive.compare(0, before.size(), before) == 0, "an archive keeps its bytes");
    Require(!MemoryDisk::Exists("spool/" + name), "a file is moved");
    const std::string tail = archive.substr(before.size());
    Require(tail == "\r\n<<<<<~~~~~(" + name + ")~~~~~>>>>>\r\n" + content, "a file is in the archive whole");
}

// The first block of a name in the list is the one that is opened.
void CheckList(CMeterDatabase* database) {
    const std::string archive = MemoryDisk::Read("raw.dat");
    const Stream stream(Platform::_wfopen(MemoryDisk::Path("raw.dat").c_str(), L"rb"), std::fclose);
    if (!stream)
        return;
    std::uint64_t bytes = 0;
    for (const RawBlock& block : ListBlocks(stream.get())) {
        bytes += block.bytes;
        static_cast<void>(OpenBlock(database, block.name));
    }
    Require(bytes <= archive.size(), "blocks are no larger than their archive");
}

void Extract(CMeterDatabase* database, const std::string& name) {
    const bool done = database->ExtractRawDataFile(name.c_str(), L"out.dat");
    const std::string out = MemoryDisk::Read("out.dat");
    const Stream block = OpenBlock(database, name);
    Require(done || out.empty(), "nothing is left of what could not be extracted");
    if (!done || !block)
        return;
    const std::string content = Bytes(block.get(), out.size() + 1);
    if (content.find('\0') == std::string::npos)
        Require(content.compare(0, out.size(), out) == 0, "a block is extracted as it stands");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Script script(data, size);
    MemoryDisk::Format();
    MemoryDisk::Write("system.ini", kSystemIni);
    MemoryDisk::Write("raw.dat", script.File());
    CMeterDatabase database(MemoryDisk::kDirectory);
    database.SetIniFile(L"system.ini");
    Require(database.OpenDataFile(false), "the route opens");
    while (script.Next()) {
        const std::string operation = script.Word();
        const std::string name = script.Word();
        switch (operation.empty() ? ' ' : operation[0]) {
            case 'g':
                if (IsName(name))
                    Gather(&database, name, script.Word());
                break;
            case 'n':
                database.CopyRawDataFiles(Platform::WideFromNarrow(name).c_str());
                break;
            case 'e':
                Extract(&database, name);
                break;
            case 'o':
                static_cast<void>(OpenBlock(&database, name));
                break;
            default:
                break;
        }
    }
    CheckList(&database);
    return 0;
}
