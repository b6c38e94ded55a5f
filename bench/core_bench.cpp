// Measures the core against minimal references and writes one JSON object. `--smoke` runs each measurement once without
// judging it.

#include "Allocations.h"
#include "KTRMeetingRecordConvertingJobRunner.h"
#include "KTRMeetingRecordItem.h"
#include "Pairs.h"
#include "platform/FileManager.h"
#include "platform/ThreadSerialQueue.h"
#include "reference_calls.h"
#include "support/FakeDispatchQueue.h"
#include "support/FakeFileManager.h"
#include "support/ScriptedMediaConverter.h"
#include "unifiedtram/unifiedtram.h"

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <thread>

namespace {

struct Settings {
    std::size_t pairs = 15;
    std::size_t calls = 2'000'000;
    std::size_t jobs = 2'000;
    std::size_t longList = 10'000;
};

double perCall(std::size_t calls, const std::function<void()>& loop) {
    return bench::secondsOf(loop) / static_cast<double>(calls);
}

bench::Pairs traceCall(const Settings& settings) {
    const auto ours = [&] {
        return perCall(settings.calls, [&] {
            for (std::size_t i = 0; i < settings.calls; ++i) {
                MacInfoTrace2("RecordConverter", "%s: pid = %d", "-[KTRMeetingPool init]", 4711);
            }
        });
    };
    const auto reference = [&] {
        return perCall(settings.calls, [&] {
            for (std::size_t i = 0; i < settings.calls; ++i) {
                emptyCall("RecordConverter", "%s: pid = %d", "-[KTRMeetingPool init]", 4711);
            }
        });
    };
    return bench::measure("trace call without a plug-in", 2.0, settings.pairs, ours, reference);
}

std::size_t traceAllocations() {
    const std::size_t before = bench::allocationsOfThisThread();
    for (int i = 0; i < 1000; ++i) {
        MacInfoTrace2("RecordConverter", "%s: pid = %d", "-[KTRMeetingPool init]", i);
    }
    return bench::allocationsOfThisThread() - before;
}

/// Waits for one event at a time.
class Gate {
public:
    void open() {
        {
            const std::lock_guard lock(mutex_);
            open_ = true;
        }
        changed_.notify_one();
    }

    void wait() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return open_; });
        open_ = false;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool open_ = false;
};

class JobObserver final : public KTRMeetingRecordConvertingJobRunnerDelegate {
public:
    void recordConvertingJobRunnerDidStartConvertingRecordItem(KTRMeetingRecordConvertingJobRunner&,
                                                               const std::shared_ptr<KTRMeetingRecordItem>&) override {
        startedAt = std::chrono::steady_clock::now();
    }
    void recordConvertingJobRunnerDidRunOutOfJobs(KTRMeetingRecordConvertingJobRunner&) override { idle.open(); }

    std::chrono::steady_clock::time_point startedAt;
    Gate idle;
};

bench::Pairs scheduleToStart(const Settings& settings) {
    support::ScriptedMediaConverter::reset();
    platform::ThreadSerialQueueMaker maker;
    test::FakeFileManager files;
    const auto observer = std::make_shared<JobObserver>();
    const auto runner = std::make_shared<KTRMeetingRecordConvertingJobRunner>(maker, files);
    runner->setDelegate(observer);

    const auto ours = [&] {
        std::chrono::duration<double> sum{0};
        for (std::size_t i = 0; i < settings.jobs; ++i) {
            const auto item = std::make_shared<KTRMeetingRecordItem>(1, "/m/talk.mkv", files);
            const auto begin = std::chrono::steady_clock::now();
            runner->scheduleJob(item);
            observer->idle.wait();
            sum += observer->startedAt - begin;
        }
        support::ScriptedMediaConverter::reset();
        return sum.count() / static_cast<double>(settings.jobs);
    };

    const auto reference = [&] {
        std::chrono::duration<double> sum{0};
        std::chrono::steady_clock::time_point arrived;
        Gate work;
        Gate done;
        std::thread worker([&] {
            for (std::size_t i = 0; i < settings.jobs; ++i) {
                work.wait();
                arrived = std::chrono::steady_clock::now();
                done.open();
            }
        });
        for (std::size_t i = 0; i < settings.jobs; ++i) {
            const auto begin = std::chrono::steady_clock::now();
            work.open();
            done.wait();
            sum += arrived - begin;
        }
        worker.join();
        return sum.count() / static_cast<double>(settings.jobs);
    };
    return bench::measure("schedule to start report", 3.0, settings.pairs, ours, reference);
}

/// Seconds per item for scheduling `count` items and removing all of them again.
double waitingListSeconds(std::size_t count) {
    test::FakeSerialQueueMaker maker;
    test::FakeFileManager files;
    const auto runner = std::make_shared<KTRMeetingRecordConvertingJobRunner>(maker, files);
    std::vector<std::shared_ptr<KTRMeetingRecordItem>> items;
    for (std::size_t i = 0; i < count; ++i) {
        items.push_back(std::make_shared<KTRMeetingRecordItem>(1, "/m/talk.mkv", files));
    }
    return bench::secondsOf([&] {
               for (auto& item : items) {
                   runner->scheduleJob(std::move(item));
               }
               while (runner->popFront()) {
               }
           }) /
           static_cast<double>(count);
}

double waitingListBytes(std::size_t count) {
    test::FakeSerialQueueMaker maker;
    test::FakeFileManager files;
    const auto runner = std::make_shared<KTRMeetingRecordConvertingJobRunner>(maker, files);
    const auto before = ::mallinfo2();
    for (std::size_t i = 0; i < count; ++i) {
        runner->scheduleJob(std::make_shared<KTRMeetingRecordItem>(1, "/home/user/Videos/meeting.mkv", files));
    }
    const auto after = ::mallinfo2();
    return static_cast<double>(after.uordblks - before.uordblks) / static_cast<double>(count);
}

bench::Pairs destinationName(const Settings& settings, std::size_t taken) {
    const auto folder = std::filesystem::temp_directory_path() / ("core-bench-" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < taken; ++i) {
        names.push_back(folder / (i == 0 ? std::string("talk.mp4") : "talk(" + std::to_string(i) + ").mp4"));
        std::ofstream(names.back()).put('x');
    }
    names.push_back(folder / (taken == 0 ? std::string("talk.mp4") : "talk(" + std::to_string(taken) + ").mp4"));

    const platform::PosixFileManager files;
    const std::string source = folder / "talk.mkv";
    const std::size_t repeats = std::max<std::size_t>(settings.calls / 100 / names.size(), 1);
    const auto ours = [&] {
        return perCall(repeats, [&] {
            for (std::size_t i = 0; i < repeats; ++i) {
                const KTRMeetingRecordItem item(1, source, files);
            }
        });
    };
    const auto reference = [&] {
        return perCall(repeats, [&] {
            struct stat status {};
            for (std::size_t i = 0; i < repeats; ++i) {
                for (const auto& name : names) {
                    static_cast<void>(::lstat(name.c_str(), &status));
                }
            }
        });
    };
    auto result =
        bench::measure("destination name, " + std::to_string(taken) + " taken", 1.3, settings.pairs, ours, reference);
    std::filesystem::remove_all(folder);
    return result;
}

}  // namespace

int main(int argc, char* argv[]) {
    Settings settings;
    if (argc > 1 && std::strcmp(argv[1], "--smoke") == 0) {
        settings = {1, 1000, 10, 100};
    }
    std::printf("{\"figures\": [\n");
    bench::print(traceCall(settings));
    bench::print(scheduleToStart(settings));
    for (const std::size_t taken : {0U, 10U, 1000U}) {
        bench::print(destinationName(settings, taken), taken == 1000U);
    }
    std::printf("],\n\"traceAllocations\": %zu,\n\"waitingItemBytes\": %.1f,\n\"waitingItemSeconds\": {",
                traceAllocations(), waitingListBytes(settings.longList));
    const char* separator = "";
    for (const std::size_t count : {std::size_t{10}, std::size_t{1000}, settings.longList}) {
        std::vector<double> seconds;
        for (std::size_t i = 0; i < settings.pairs; ++i) {
            seconds.push_back(waitingListSeconds(count));
        }
        std::printf("%s\"%zu\": %.4g", separator, count, bench::median(seconds));
        separator = ", ";
    }
    std::printf("}}\n");
    return EXIT_SUCCESS;
}
