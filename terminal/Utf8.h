// Text on its way between the files, the library and the screen. The screen takes UTF-8; texts of files are
// UTF-8 or of devices that write the Windows code page 1252, and may hold anything.
#pragma once

#include <string>
#include <string_view>

namespace Utf8 {

// Takes the first character off `*rest`, which is not empty. A byte that is no valid UTF-8 is taken as
// one of the code page.
char32_t TakeCharacter(std::string_view* rest);

// True when all of the bytes are UTF-8.
bool IsValid(std::string_view bytes);

void Append(std::string* text, char32_t character);

// Text as it can be shown: whatever would move the cursor, change the screen or turn the direction of writing
// becomes U+FFFD, so that neither a file nor a meter can write anywhere but in its own cell.
std::string Shown(std::string_view bytes);

// Wide text of the library as bytes of a file: bytes that were no UTF-8 stand in it as U+DC00 + byte.
std::string FromWide(std::wstring_view text);

// A path or name given by the user, as the library takes it; what FromWide undoes.
std::wstring ToWide(std::string_view bytes);

// Columns that a shown text takes on the screen.
int Width(std::string_view shown);

// A path as it can be shown, with the separators of this system: the library writes its own between names.
std::string ShownPath(std::string_view path);

// A shown text cut to `columns` columns, two points at its end where it was cut.
std::string Cut(std::string_view shown, int columns);

}  // namespace Utf8
