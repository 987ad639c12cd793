// `meterdb simulate`: a made-up installation of any size.
#include <filesystem>
#include <fstream>

#include "terminal/Commands.h"
#include "terminal/Embedded.h"
#include "terminal/Progress.h"
#include "terminal/Refusal.h"
#include "terminal/Report.h"
#include "terminal/Utf8.h"
#include "terminal/simulate/Simulation.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kRouteFile = "data/route.ini";
constexpr const char* kAppFile = "data/app.ini";
constexpr const char* kAppText = "[State]\r\nDirty=No\r\nMandatorIdx=12\r\n\r\n[System]\r\nLanguage=en\r\n";
constexpr const char* kEmptyFolders[] = {"spool", "readouts"};

// A new file; what cannot be written ends the command.
class NewFile {
public:
    explicit NewFile(const fs::path& path) : m_path(path) {
        fs::create_directories(path.parent_path());
        m_stream.open(path, std::ios::binary | std::ios::trunc);
    }

    void Write(std::string_view bytes) {
        if (!m_stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size())))
            Fail();
    }

    void Close() {
        m_stream.close();
        if (!m_stream)
            Fail();
    }

private:
    [[noreturn]] void Fail() const {
        throw Refusal(kFileFailed, Utf8::Shown(m_path.u8string()) + " cannot be written");
    }

    fs::path m_path;
    std::ofstream m_stream;
};

void WriteFile(const fs::path& path, std::string_view bytes) {
    NewFile file(path);
    file.Write(bytes);
    file.Close();
}

void WriteTemplate(const fs::path& folder) {
    for (const EmbeddedFile& file : InstallationFiles())
        WriteFile(folder / fs::u8path(file.name), file.bytes);
    WriteFile(folder / kAppFile, kAppText);
    for (const char* empty : kEmptyFolders)
        fs::create_directories(folder / empty);
}

int WriteRoute(const fs::path& folder, const SimulateRequest& request, Screen& screen) {
    Progress progress(screen, "Making the route");
    NewFile route(folder / kRouteFile);
    int readouts = 0;
    Simulate::Sink sink;
    sink.route = [&route](const std::string& text) { route.Write(text); };
    sink.readout = [&](const std::string& name, const std::string& bytes) {
        if (readouts >= request.readouts)
            return;
        WriteFile(folder / "readouts" / (name + ".txt"), bytes);
        ++readouts;
    };
    sink.progress = [&progress](double share) { progress.Report(share); };
    Simulate::MakeRoute({request.meters, request.seed, request.done}, sink);
    route.Close();
    return readouts;
}

}  // namespace

void SimulateInstallation(const Options& /*options*/, const SimulateRequest& request, Screen& screen) {
    const fs::path folder = fs::u8path(request.folder);
    try {
        if (fs::exists(folder) && !fs::is_empty(folder))
            throw Refusal(kRefused, Utf8::Shown(request.folder) +
                                        " is there already and not empty. Nothing was changed.");
        WriteTemplate(folder);
        const int readouts = WriteRoute(folder, request, screen);
        screen.Line({Cell("Made "), Cell(Utf8::Shown(request.folder), Tone::Strong),
                     Cell(": " + CountOf(request.meters, "meter", "meters") + ", " +
                          CountOf(readouts, "readout", "readouts") + " of those that are to be read")});
        screen.Line({Cell("Try it: meterdb --dir " + Utf8::Shown(request.folder) + " route", Tone::Faint)});
    } catch (const fs::filesystem_error& error) {
        throw Refusal(kFileFailed, Utf8::Shown(error.path1().u8string()) + " cannot be written");
    }
}
