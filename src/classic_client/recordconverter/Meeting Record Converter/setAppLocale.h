#pragma once

/// Reads "-locale" from the raw argument vector and makes it the application's language (1 when it is missing, below 1
/// or no number). The entry point calls it before the application exists, so that every text of this run is looked up
/// in that language.
void setAppLocale(int argc, const char* const argv[]);
