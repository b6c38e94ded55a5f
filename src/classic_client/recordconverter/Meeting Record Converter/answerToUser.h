#pragma once

#include <optional>
#include <string>
#include <vector>

/// The answer to `--help` or `--version`, to be printed before the process ends; absent for every other launch. Each
/// counts only as the sole argument, so that it remains a value when it follows another option. `version` is the
/// program's. Any thread.
std::optional<std::string> answerToUser(const std::vector<std::string>& arguments, const std::string& version);
