// `meterdb archive add`, `list`, `extract` and `delete`: the raw answers of meters that travel with the
// route.
#include <algorithm>
#include <numeric>

#include "terminal/Commands.h"
#include "terminal/RawArchive.h"
#include "terminal/Refusal.h"
#include "terminal/Report.h"
#include "terminal/Utf8.h"

namespace {

std::string BytesText(std::uintmax_t bytes) {
    return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
}

std::vector<std::string> WithoutRepeats(const std::vector<std::string>& names) {
    std::vector<std::string> once;
    for (const std::string& name : names)
        if (std::find(once.begin(), once.end(), name) == once.end())
            once.push_back(name);
    return once;
}

}  // namespace

void AddToArchive(const Options& options, const ArchiveAddRequest& request, Screen& screen) {
    Installation installation(options);
    const RawArchive archive(installation);
    const std::vector<std::string> files = WithoutRepeats(request.files);
    std::vector<std::uintmax_t> sizes;
    sizes.reserve(files.size());
    for (const std::string& file : files)
        sizes.push_back(archive.SpooledBytes(file));
    for (std::size_t i = 0; i < files.size(); ++i) {
        archive.Add(files[i]);
        screen.Line(
            {Cell("Moved "), Cell(Utf8::Shown(files[i]), Tone::Strong),
             Cell(", " + BytesText(sizes[i]) + ", from " + archive.SpoolName() + " into " + archive.Name())});
    }
}

void ListArchive(const Options& options, const ArchiveListRequest& /*request*/, Screen& screen) {
    Installation installation(options);
    const RawArchive archive(installation);
    const std::vector<RawBlock> blocks = archive.Blocks();
    Table table;
    table.columns = {{"#", true, false, 0, "number"}, {"Block"}, {"Bytes", true}};
    for (const RawBlock& block : blocks)
        table.rows.push_back({Cell(std::to_string(table.rows.size() + 1), Tone::Faint),
                              Cell(Utf8::Shown(block.name), Tone::Strong),
                              Cell(std::to_string(block.bytes))});
    if (!table.rows.empty()) {
        screen.Print(table);
        screen.Line();
    }
    const std::uintmax_t bytes =
        std::accumulate(blocks.begin(), blocks.end(), std::uintmax_t{0},
                        [](std::uintmax_t sum, const RawBlock& block) { return sum + block.bytes; });
    screen.Line({Cell(CountOf(static_cast<long>(blocks.size()), "block", "blocks") + " in " + archive.Name() +
                          (blocks.empty() ? "" : ", " + BytesText(bytes)),
                      Tone::Faint)});
}

void ExtractFromArchive(const Options& options, const ArchiveExtractRequest& request, Screen& screen) {
    Installation installation(options);
    const RawArchive archive(installation);
    const std::string file = archive.Extract(request.block, request.output);
    screen.Line({Cell("Extracted to "), Cell(Utf8::Shown(file), Tone::Strong)});
}

void DeleteArchive(const Options& options, const ArchiveDeleteRequest& request, Screen& screen) {
    Installation installation(options);
    const RawArchive archive(installation);
    const std::string what =
        archive.Name() + " with " + CountOf(static_cast<long>(archive.Blocks().size()), "block", "blocks");
    if (!request.yes && !screen.Agrees("Delete " + what + "?"))
        throw Refusal(kRefused, "Nothing was changed.");
    archive.Delete();
    screen.Line({Cell("Deleted " + what)});
}
