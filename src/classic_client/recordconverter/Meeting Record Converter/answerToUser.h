#pragma once

#include <optional>
#include <string>
#include <vector>

/// What `--help` or `--version` asks for, to be printed before the process ends; nothing for every other launch. Each
/// counts only as the one argument behind the program's name, so that it stays a value where an option comes before it.
/// `version` is the program's. Any thread.
std::optional<std::string> answerToUser(const std::vector<std::string>& arguments, const std::string& version);
