#pragma once

/// Reads "-locale" from the raw argument vector and makes it the application's language (1 if it is missing, below 1 or
/// not a number). The entry point calls it before the application exists, so that this run looks up every text in that
/// language.
void setAppLocale(int argc, const char* const argv[]);
