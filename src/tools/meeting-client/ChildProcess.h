#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

/// Programs that a meeting client starts. Arguments are bytes, so a path need not be UTF-8. Main thread.

/// Starts `program` (searched on PATH if it contains no slash) as a child that the kernel kills when this process dies.
/// Standard input and output are empty; standard error is this process's. Returns the process id, or -1 with errno set
/// if the program could not be started.
pid_t startChild(const std::string& program, const std::vector<std::string>& arguments);

/// Starts `program` in a session of its own, reparented to init, so that it outlives this process. Standard input and
/// output are empty; standard error is appended to `log`, or is this process's own if `log` is empty. Result as above.
pid_t startDetached(const std::string& program, const std::vector<std::string>& arguments, const std::string& log);
