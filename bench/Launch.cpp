#include "Launch.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

const QString spawnConfirm = QStringLiteral("kMeetingRecordNotificationName_AppSpawnConfirm");

}  // namespace

void fail(const std::string& what) {
    static_cast<void>(std::fprintf(stderr, "system-bench: %s\n", what.c_str()));
    std::exit(EXIT_FAILURE);
}

std::unique_ptr<Child> launch(BusClient& client, const std::vector<std::string>& command, double* seconds) {
    bool confirmed = false;
    client.setHeard([&](const QString& name, const QVariantMap&) { confirmed = confirmed || name == spawnConfirm; });
    const auto begin = Clock::now();
    auto child = std::make_unique<Child>(command);
    if (!BusClient::waitUntil([&] { return confirmed; }, 10)) {
        fail("no spawn confirmation from " + command.front());
    }
    if (seconds != nullptr) {
        *seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    }
    client.setHeard(nullptr);
    return child;
}

double launchSeconds(BusClient& client, const std::vector<std::string>& command) {
    double seconds = 0;
    launch(client, command, &seconds)->end();
    return seconds;
}

void letSettle() {
    std::this_thread::sleep_for(std::chrono::seconds(2));
}

double idlePrivateKiB(BusClient& client, const std::vector<std::string>& command) {
    const auto child = launch(client, command);
    letSettle();
    const double result = child->privateKiB();
    child->end();
    return result;
}

}  // namespace bench
