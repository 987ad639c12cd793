// Parts of what several commands show.
#pragma once

#include <string>

#include "terminal/Edit.h"
#include "terminal/Installation.h"
#include "terminal/Place.h"
#include "terminal/Screen.h"

// The title of the current record: its place, its meter and where that is.
std::string MeterTitle(CMeterDatabase& database, Place place);

// Where an edit was saved, by whom, and the lines that it changed.
void ShowSaved(const SavedEdit& saved, Installation& installation, Screen& screen);

Tone ToneOf(const std::string& mark);

// A text as it can be shown; "-" for none.
std::string OrDash(const std::string& text);

// "1 meter", "2 meters".
std::string CountOf(long count, const char* one, const char* many);

// Names with commas between, as they can be shown.
std::string Joined(const std::vector<std::string>& texts);

// YYYYMMDDhhmmss as a person writes it.
std::string TimeText(const std::string& stamp);
