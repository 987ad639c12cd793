// The INI store: a whole INI-style text file held in memory as an ordered list of lines. It answers look-ups
// by section and key, by position within a section and by position within the file, edits lines in place, and
// writes the file back so that it is never lost.
//
// The rules of the text, for every operation:
// - Bytes are kept. A file that is loaded and saved unchanged has the same bytes, whatever it holds.
// - A line ends with LF or CR LF; a lone CR is text. New lines take the line end of the file's first line; a
//   new file, or one without any line end, uses CR LF.
// - Blanks are the space and the tab. A header is a line whose first other character is '[' and that has a
//   ']' after it; the name is what stands between '[' and the first ']'. Lines before the first header belong
//   to no section.
// - An entry is a line of a section with a '=' and something other than blanks before it, unless it begins
//   with ';' (a comment) or is a header. The key stands before the first '=', without blanks around it; the
//   value is everything behind that '=', exactly.
// - Names of sections and keys are compared ignoring the case of ASCII letters. Of several with one name the
//   first in the file counts.
// - What cannot stand in one line, or would change the structure of the file, is refused and nothing changes:
//   CR or LF in a name, value or line; an empty key, or one that holds '=' or begins with '[' or ';'; an
//   empty section name, or one that holds ']'.
//
// Conventions: sizes are in bytes, terminator included. A null output, or a size below 1, means that the
// output is not wanted. Outputs are emptied first and always terminated; longer text is cut. A null input
// counts as an empty text where a value is expected and is refused where a name is. Nothing throws: without
// memory an operation fails. Files of up to 4 GiB - 1 bytes and 2^31 lines are held.
//
// Threads: one thread at a time uses a store. A store that saves in the background does that on a thread of
// its own, with a snapshot; the store may be used meanwhile.
#pragma once

#include <atomic>
#include <cstdint>

#include "Platform/Export.h"

namespace MeterUtil {
class IniStore;
}

class METER_PUBLIC_CLASS CMeterIniFile {
public:
    // True once loading or saving failed (or the owner set it); never cleared, and keeps no later save from
    // being tried.
    std::atomic<bool> m_error;

    // Loads the file at `path` (wide, see the platform's path rules). A missing file gives an empty store;
    // the first save creates it. A file that exists but cannot be read, or is no regular file, sets m_error;
    // such a store is empty and never saves. Null counts as the empty path, which can be neither loaded nor
    // saved.
    explicit CMeterIniFile(const wchar_t* path);

    // Waits for background saves; saves nothing itself.
    ~CMeterIniFile();

    CMeterIniFile(const CMeterIniFile&) = delete;
    CMeterIniFile& operator=(const CMeterIniFile&) = delete;

    // ---- look-ups

    // Value of a key into dst. False, with dst "", when the section or the key does not exist.
    bool ReadString(const char* section, const char* key, char* dst, int size) const;

    // Entry number `index` (from 1) of a section, split at its first '='. False when there is none.
    bool ReadByIndex(const char* section, int index, char* key, int keySize, char* value,
                     int valueSize) const;

    // Line number `index` (from 1) behind the section's header, whole. False when there is none.
    bool ReadLineByIndex(const char* section, int index, char* dst, int size) const;

    // Line number `line` (from 0) of the whole file, headers included, without its line end. False past the
    // last line.
    bool GetString(int line, char* dst, int size) const;

    // Number of the first line at or behind `line` (from 0) whose first character is '['; -1 when there is
    // none. A walk over the headers of a large file need not touch the other lines.
    int FindBracketLine(int line) const;

    // True when the section has a header.
    bool SectionExists(const char* section) const;

    // ---- edits in memory

    // Sets a value: in place when the key exists (what stands up to the '=' is kept), else as a new line
    // behind the last line of the section that is not blank, else in a new section at the end of the file.
    // Blanks around the key are ignored. False when refused.
    bool WriteString(const char* section, const char* key, const char* value);

    // Replaces the text of line `line` (from 0); its line end stays. A header becomes another section by its
    // new name. False past the last line or when refused.
    bool SetString(int line, const char* text);

    // Adds a new last line; the empty text adds an empty line. Number of the new line (from 0); -1 when
    // refused.
    int AppendString(const char* text);

    // Removes the header and all lines of a section. False when there is none.
    bool DeleteSection(const char* section);

    // Removes the line of an entry. False when there is none.
    bool DeleteKey(const char* section, const char* key);

    // Keeps a copy of the section's lines until the store is destroyed, in place of an earlier one. The copy
    // belongs to the section: it follows a renamed header, and it is dropped when another section takes the
    // name. False when the section does not exist; an earlier copy then stays.
    bool BackupSection(const char* section);

    // Puts the kept lines in the place of the section's; a deleted section comes back at the end of the file.
    // May be called more than once. False when there is no copy.
    bool RestoreSection(const char* section);

    // ---- saving

    // Saves now: the file and then, also when the file failed, the mirror when one is set. Each is replaced
    // in one step and is on the medium when the call returns: a crash or a power cut leaves the whole old or
    // the whole new file. Waits for background saves first. False, with m_error set, when either failed.
    bool UpdateFile();

    // Arranges a save of the present state and returns; later edits are not part of it. One save is under way
    // at a time; of those that wait only the latest is written. Failures set m_error. False only for a store
    // that could not load its file. Without memory for the snapshot or the thread the file is saved before
    // the call returns.
    bool UpdateFileBackground();

    // A second path to which every save also writes; "" or null: none. Nothing is written now. Without memory
    // for the path the earlier one stays, and m_error is set.
    void SetMirror(const wchar_t* path);

    // Takes the application path; saves keep the device awake where the system can be asked. Always true.
    bool PowerButtonControl(const wchar_t* path);

    // The text to present to the user when a save fails; "" at first. The store keeps a copy and shows
    // nothing itself.
    void SetSaveErrorText(const wchar_t* text);
    const wchar_t* GetSaveErrorText() const;  // belongs to the store, valid until the next SetSaveErrorText

    // Called whenever a save of any store fails, on the thread that saved, with the path that failed and the
    // store's save-error text (both valid during the call, unless it gives the store another mirror or text).
    // It must not destroy the store. On the thread of a background save it may ask for m_error and no more; a
    // save that it asks for there is refused.
    using SaveErrorHandler = void (*)(void* context, const wchar_t* path, const wchar_t* text);

    // Sets the handler of the process; null: none (the default). A save that is under way on another thread
    // may still call the earlier one: what `context` points to must outlive the stores that save in the
    // background.
    static void SetSaveErrorHandler(SaveErrorHandler handler, void* context);

    // ---- helpers

    // True when a file exists at `path`.
    static bool FileExists(const wchar_t* path);

    // Removes the double quotes that enclose a text, in place. Null is allowed.
    static void EliminateQuotes(char* text);

    // Copies token `index` (from 1; -n is the same token as n) of `source` into dst, cut to dstSize. n
    // delimiters make n + 1 tokens; an empty source has none. A token that begins with a double quote runs to
    // the first double quote that is followed by a delimiter or the end, delimiters inside it included;
    // without such a quote it is an ordinary character. Enclosing quotes are part of the token. `source` and
    // `dst` may be the same buffer. dst when the source has the token, else null with dst ""; null, with
    // nothing written, for a null dst or a size below 1.
    static char* ExtractTokenDelimitedBy(const char* source, char* dst, int dstSize, int index,
                                         const char* delimiters);

private:
    MeterUtil::IniStore* m_store;  // null when there was no memory
};
