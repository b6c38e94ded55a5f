#include "Acknowledgements.h"

#include "Child.h"
#include "Launch.h"
#include "Pairs.h"
#include "contract/PrivateBus.h"

#include <QByteArray>
#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <utility>

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

double percentile99(std::vector<double> values) {
    const auto place = values.begin() + static_cast<std::ptrdiff_t>(values.size() * 99 / 100);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

/// Restores an environment variable at its end.
class KeptVariable {
public:
    explicit KeptVariable(const char* name)
        : name_(name), wasSet_(qEnvironmentVariableIsSet(name)), value_(qgetenv(name)) {}
    ~KeptVariable() { wasSet_ ? qputenv(name_, value_) : qunsetenv(name_); }

    KeptVariable(const KeptVariable&) = delete;
    KeptVariable& operator=(const KeptVariable&) = delete;

private:
    const char* name_;
    bool wasSet_;
    QByteArray value_;
};

/// A program on a bus of its own, launched. The destructor ends it.
class Answerer {
public:
    explicit Answerer(const std::vector<std::string>& command)
        : client_(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS")), child_(launch(client_, command)) {
        session_.reset();
        system_.reset();
        client_.setHeard([this](const QString& name, const QVariantMap& userInfo) {
            acknowledged_ =
                acknowledged_ || (name == acknowledgement && userInfo.value(ackToProcessId).toInt() == awaited_);
        });
    }

    double acknowledgementSeconds() {
        awaited_ = 1'000'000 + (awaited_ + 1) % 100;
        acknowledged_ = false;
        return secondsOf([this] {
            client_.post(recordingStopped, awaited_);
            if (!BusClient::waitUntil([this] { return acknowledged_; }, 10)) {
                fail("no acknowledgement");
            }
        });
    }

private:
    // A private bus is named in the environment; here only until its program has been launched.
    std::optional<KeptVariable> session_{std::in_place, "DBUS_SESSION_BUS_ADDRESS"};
    std::optional<KeptVariable> system_{std::in_place, "DBUS_SYSTEM_BUS_ADDRESS"};
    test::PrivateBus bus_;
    BusClient client_;
    std::unique_ptr<Child> child_;
    int awaited_ = 0;
    bool acknowledged_ = false;
};

}  // namespace

void printLatencies(const std::vector<std::string>& converter, const std::vector<std::string>& echo, std::size_t pairs,
                    int notifications) {
    Pairs medians{"recording-stopped to acknowledgement, median", 1.3, {}, {}};
    Pairs tails{"recording-stopped to acknowledgement, 99th percentile", 1.3, {}, {}};
    std::vector<double> allOurs;
    std::vector<double> allReference;
    for (std::size_t i = 0; i < pairs; ++i) {
        Answerer ours(converter);
        Answerer reference(echo);
        // A recording is stopped long after the launch, some of whose work comes after the spawn confirmation.
        letSettle();
        std::vector<double> oursOfPair;
        std::vector<double> referenceOfPair;
        // The slowest hundredth depends on other load on the machine, which lasts longer than many notifications: both
        // are queried in turns, so that it affects both, and all pairs are evaluated together.
        for (int k = 0; k < notifications; ++k) {
            referenceOfPair.push_back(reference.acknowledgementSeconds());
            oursOfPair.push_back(ours.acknowledgementSeconds());
        }
        medians.ours.push_back(median(oursOfPair));
        medians.reference.push_back(median(referenceOfPair));
        tails.ours.push_back(percentile99(oursOfPair));
        tails.reference.push_back(percentile99(referenceOfPair));
        allOurs.insert(allOurs.end(), oursOfPair.begin(), oursOfPair.end());
        allReference.insert(allReference.end(), referenceOfPair.begin(), referenceOfPair.end());
    }
    tails.oursOfAll = percentile99(allOurs);
    tails.referenceOfAll = percentile99(allReference);
    print(medians);
    print(tails);
}

Burst burstSeconds(BusClient& client, const std::vector<std::string>& command, int count, int senders) {
    const auto child = launch(client, command);
    // Each sender numbers its process ids upwards, so that the acknowledgements reveal their order.
    const int each = count / senders;
    std::vector<int> next(static_cast<std::size_t>(senders), 0);
    Burst result;
    int arrived = 0;
    client.setHeard([&](const QString& name, const QVariantMap& userInfo) {
        if (name == acknowledgement) {
            const int id = userInfo.value(ackToProcessId).toInt() - 1'000'000;
            auto& expected = next.at(static_cast<std::size_t>(id / each));
            result.inOrder = result.inOrder && id % each == expected;
            ++expected;
            ++arrived;
        }
    });
    const auto begin = Clock::now();
    for (int i = 0; i < each; ++i) {
        for (int sender = 0; sender < senders; ++sender) {
            client.post(recordingStopped, 1'000'000 + sender * each + i, sender);
        }
    }
    BusClient::waitUntil([&] { return arrived == count; }, 60);
    result.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    result.lost = count - arrived;
    client.setHeard(nullptr);
    child->end();
    return result;
}

}  // namespace bench
