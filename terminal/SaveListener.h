// Hears of the saves that fail while it lives, so that a command can say which file it was. One at a time.
#pragma once

#include <string>

#include "MeterUtil/MeterIniFile.h"
#include "terminal/Utf8.h"

class SaveListener {
public:
    SaveListener() { CMeterIniFile::SetSaveErrorHandler(Keep, this); }
    ~SaveListener() { CMeterIniFile::SetSaveErrorHandler(nullptr, nullptr); }
    SaveListener(const SaveListener&) = delete;
    SaveListener& operator=(const SaveListener&) = delete;

    // The installation's words for a failed save and the file; "" when no save failed.
    const std::string& Reason() const { return m_reason; }

private:
    static void Keep(void* context, const wchar_t* path, const wchar_t* text) {
        std::string words = Utf8::Shown(Utf8::FromWide(text));
        words.erase(words.find_last_not_of(". ") + 1);
        if (words.empty())
            words = "this file could not be saved";
        static_cast<SaveListener*>(context)->m_reason = words + ": " + Utf8::ShownPath(Utf8::FromWide(path));
    }

    std::string m_reason;
};
