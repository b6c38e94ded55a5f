#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

/// The living processes that have the file at `path` open for writing, in no order; as far as this user may see them.
std::vector<pid_t> processesWriting(const std::string& path);
