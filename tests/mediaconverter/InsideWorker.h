#pragma once

#include "mediaconverter/worker/Reporter.h"

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace mediatest {

/// Runs `inside` in a separate process and returns its result.
inline bool holdsInside(const std::function<bool(worker::Reporter&)>& inside) {
    const pid_t child = ::fork();
    if (child == 0) {
        worker::Reporter reporter(::open("/dev/null", O_WRONLY));
        ::_exit(inside(reporter) ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Runs `inside`, with its expectations, in a separate process. That process prints those that fail.
inline void expectInside(const std::function<void(worker::Reporter&)>& inside) {
    EXPECT_TRUE(holdsInside([&](worker::Reporter& reporter) {
        inside(reporter);
        return !testing::Test::HasFailure();
    }));
}

inline bool isRefused(long result) {
    return result < 0 && (errno == EPERM || errno == EACCES);
}

}  // namespace mediatest
